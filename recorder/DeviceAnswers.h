#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "bridge/CaptureAuthorization.h"
#include "bridge/DownloadService.h"
#include "bridge/Text.h"
#include "bridge/VEMOUIRenderSource.h"

namespace vemo {

class Notes;

/// What the router was answered when it asked the phone or the engine something: noted as a
/// change of a scenario's device, each time an answer is not what the scenario would give.
/// Threads: any.
class DeviceAnswers {
 public:
  explicit DeviceAnswers(Notes& notes) : notes_(notes) {}

  void authorization(MediaType media, AuthorizationStatus status);
  void information(std::string_view key, const Text& value);
  void canOpenSettings(bool can);
  /// Noted is one of the versions for which all is true that was answered.
  void isAtLeast(std::array<int, 3> version, bool is);
  void appGroup(const std::string& group);
  void sdkVersion(const std::string& version);
  /// Whether the host has a render source.
  void renderSource(bool there);
  /// `view`: null when there is none.
  void view(const Text& userId, ViewType type, const NativeView* view);
  void captureVolume(std::int32_t volume);
  void playoutVolume(std::int32_t volume);
  void screenCaptureResult(std::string_view operation, std::int64_t result);
  /// A download ends; of a file `readable` says whether it could be read.
  void download(const std::optional<DownloadError>& error, bool readable);

 private:
  using Texts = std::map<std::string, std::string, std::less<>>;

  /// Notes that `key` has the value whose JSON is `json`, unless that was so before.
  void told(std::string_view key, std::string json);
  void tellViews();

  Notes& notes_;
  std::mutex mutex_;
  // JSON by key, and what makes it where a key is replaced whole; at the start as a
  // scenario's device is.
  Texts told_{{"camera", "3"},
              {"microphone", "3"},
              {"canOpenSettings", "true"},
              {"appGroup", R"("group.vemo.classroom")"},
              {"sdkVersion", R"("1.0.0")"},
              {"captureVolume", "100"},
              {"playoutVolume", "100"},
              {"pauseScreenCapture", "0"},
              {"resumeScreenCapture", "0"},
              {"stopScreenCapture", "0"},
              {"views", "{}"}};
  Texts bundle_{{"CFBundleName", "Classroom"}};
  Texts views_;
  std::array<int, 3> os_{17, 0, 0};
  std::string appGroup_ = "group.vemo.classroom";
  bool hasRenderSource_ = true;
};

}  // namespace vemo
