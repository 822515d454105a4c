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
#include "recorder/DeviceState.h"

namespace vemo {

class Notes;

/// What the router was answered when it asked the device or the engine something: noted as a
/// change of a scenario's device, each time an answer is not what the scenario would give.
/// Threads: any.
class DeviceAnswers {
 public:
  explicit DeviceAnswers(Notes& notes);

  void authorization(MediaType media, AuthorizationStatus status);
  void information(std::string_view key, const Text& value);
  void canOpenSettings(bool can);
  /// Noted is one of the versions for which all is true that was answered.
  void isAtLeast(std::array<int, 3> version, bool is);
  /// At each message; notes are on.
  void appGroup(const std::string& group) {
    if (group != *appGroup_.load(std::memory_order_acquire)) tellAppGroup(group);
  }
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
  void tellAppGroup(const std::string& group);
  void tellViews();
  static bool isSame(std::atomic<std::int64_t>& latest, std::int64_t value);

  Notes& notes_;
  std::mutex mutex_;
  DeviceState latest_;  // what was noted of what is told whole, as a scenario would give it
  Texts told_;          // JSON by key
  Texts views_;
  bool hasRenderSource_ = latest_.views.has_value();
  std::forward_list<std::string> appGroups_{latest_.appGroup};  // none goes: they are few
  std::atomic<const std::string*> appGroup_ = &appGroups_.front();
  // What is asked often, so that no lock is taken while the answer is the same.
  std::atomic<std::int64_t> camera_ = latest_.camera;
  std::atomic<std::int64_t> microphone_ = latest_.microphone;
  std::atomic<std::int64_t> captureVolume_ = latest_.captureVolume;
  std::atomic<std::int64_t> playoutVolume_ = latest_.playoutVolume;
};

}  // namespace vemo
