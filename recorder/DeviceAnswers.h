#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <forward_list>
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

/// What the router was answered when it asked the device or the engine something: noted as a
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
  /// The file of a download was read: noted are the size, a digest and the kind of `bytes`.
  void downloaded(std::string_view bytes);

 private:
  using Texts = std::map<std::string, std::string, std::less<>>;

  /// Notes that `key` has the value whose JSON is `json`, unless that was so before.
  void told(std::string_view key, std::string json);
  void tellViews();
  static bool isSame(std::atomic<std::int64_t>& latest, std::int64_t value);

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
  std::forward_list<std::string> appGroups_{"group.vemo.classroom"};  // none goes: they are few
  std::atomic<const std::string*> appGroup_ = &appGroups_.front();
  // What is asked often, so that no lock is taken while the answer is the same.
  std::atomic<std::int64_t> camera_ = 3;
  std::atomic<std::int64_t> microphone_ = 3;
  std::atomic<std::int64_t> captureVolume_ = 100;
  std::atomic<std::int64_t> playoutVolume_ = 100;
  bool hasRenderSource_ = true;
};

}  // namespace vemo
