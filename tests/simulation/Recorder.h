#pragma once

#include <algorithm>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "bridge/KOBUCloudDelegate.h"

namespace vemo {

/// Writes the events of one handset down, a line each: "onUserVideoAvailable bob 1".
class Recorder : public KOBUCloudDelegate {
 public:
  /// Called with each line after it was written down, on the thread of the event.
  std::function<void(const std::string& line)> onLine;

  std::vector<std::string> lines() const {
    const std::lock_guard lock(mutex_);
    return lines_;
  }
  /// The lines so far, which are then forgotten.
  std::vector<std::string> take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(lines_, {});
  }
  /// The same without the events that come again and again.
  std::vector<std::string> takeRare() {
    auto lines = take();
    std::erase_if(lines, [](const std::string& line) {
      return line.starts_with("onNetworkQuality") || line.starts_with("onStatistics") ||
             line.starts_with("onUserVoiceVolume");
    });
    return lines;
  }
  std::size_t count(const std::string& prefix) const {
    const std::lock_guard lock(mutex_);
    std::size_t found = 0;
    for (const auto& line : lines_) found += line.starts_with(prefix) ? 1U : 0U;
    return found;
  }
  /// The threads that events came on.
  std::vector<std::thread::id> threads() const {
    const std::lock_guard lock(mutex_);
    return threads_;
  }
  /// Waits until a line begins with `prefix`.
  void waitFor(const std::string& prefix) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] {
      return std::ranges::any_of(lines_,
                                 [&](const auto& line) { return line.starts_with(prefix); });
    });
  }

  Shared<KOBUStatistics> statistics() const {
    const std::lock_guard lock(mutex_);
    return statistics_;
  }
  SharedList<KOBUVolumeInfo> volumes() const {
    const std::lock_guard lock(mutex_);
    return volumes_;
  }

  void onError(std::int32_t errCode, const Text& errMsg,
               const std::optional<boost::json::object>&) override {
    write("onError", errCode, errMsg.value_or("(null)"));
  }
  void onWarning(std::int32_t warningCode, const Text& warningMsg,
                 const std::optional<boost::json::object>&) override {
    write("onWarning", warningCode, warningMsg.value_or("(null)"));
  }
  void onEnterRoom(std::int64_t result) override { write("onEnterRoom", result); }
  void onExitRoom(std::int64_t reason) override { write("onExitRoom", reason); }
  void onSwitchRole(std::int32_t errCode, const Text& errMsg) override {
    write("onSwitchRole", errCode, errMsg.value_or("(null)"));
  }
  void onRemoteUserEnterRoom(const Text& userId) override {
    write("onRemoteUserEnterRoom", userId.value_or("(null)"));
  }
  void onRemoteUserLeaveRoom(const Text& userId, std::int64_t reason) override {
    write("onRemoteUserLeaveRoom", userId.value_or("(null)"), reason);
  }
  void onAudioRouteChanged(std::int64_t route, std::int64_t fromRoute) override {
    write("onAudioRouteChanged", route, fromRoute);
  }
  void onUserAudioAvailable(const Text& userId, bool available) override {
    write("onUserAudioAvailable", userId.value_or("(null)"), available);
  }
  void onUserVideoAvailable(const Text& userId, bool available) override {
    write("onUserVideoAvailable", userId.value_or("(null)"), available);
  }
  void onUserSubStreamAvailable(const Text& userId, bool available) override {
    write("onUserSubStreamAvailable", userId.value_or("(null)"), available);
  }
  void onNetworkQuality(Shared<KOBUQualityInfo> localQuality,
                        SharedList<KOBUQualityInfo> remoteQuality) override {
    std::ostringstream line;
    line << localQuality->quality;
    for (const auto& remote : *remoteQuality)
      line << ' ' << *remote.userId << ' ' << remote.quality;
    write("onNetworkQuality", line.str());
  }
  void onStatistics(Shared<KOBUStatistics> statistics) override {
    {
      const std::lock_guard lock(mutex_);
      statistics_ = statistics;
    }
    write("onStatistics", statistics->rtt, statistics->sentBytes, statistics->receivedBytes);
  }
  void onUserVoiceVolume(SharedList<KOBUVolumeInfo> userVolumes,
                         std::int64_t totalVolume) override {
    {
      const std::lock_guard lock(mutex_);
      volumes_ = userVolumes;
    }
    std::ostringstream line;
    for (const auto& user : *userVolumes) {
      line << user.userId.value_or("(null)") << ' ' << user.volume << ' ';
    }
    write("onUserVoiceVolume", line.str() + std::to_string(totalVolume));
  }
  void onConnectionLost() override { write("onConnectionLost"); }
  void onTryToReconnect() override { write("onTryToReconnect"); }
  void onConnectionRecovery() override { write("onConnectionRecovery"); }
  void onFirstVideoFrame(const Text& userId, std::int64_t streamType, std::int32_t width,
                         std::int32_t height) override {
    write("onFirstVideoFrame", userId.value_or("(null)"), streamType, width, height);
  }
  void onFirstAudioFrame(const Text& userId) override {
    write("onFirstAudioFrame", userId.value_or("(null)"));
  }
  void onSendFirstLocalVideoFrame(std::int64_t streamType) override {
    write("onSendFirstLocalVideoFrame", streamType);
  }
  void onSendFirstLocalAudioFrame() override { write("onSendFirstLocalAudioFrame"); }
  void onCameraDidReady() override { write("onCameraDidReady"); }
  void onMicDidReady() override { write("onMicDidReady"); }
  void onScreenCaptureStarted() override { write("onScreenCaptureStarted"); }
  void onScreenCapturePaused(std::int32_t reason) override {
    write("onScreenCapturePaused", reason);
  }
  void onScreenCaptureResumed(std::int32_t reason) override {
    write("onScreenCaptureResumed", reason);
  }
  void onScreenCaptureStoped(std::int32_t reason) override {
    write("onScreenCaptureStoped", reason);
  }

 private:
  template <class... Values>
  void write(const char* event, const Values&... values) {
    std::ostringstream line;
    line << event;
    ((line << ' ' << values), ...);
    {
      const std::lock_guard lock(mutex_);
      lines_.push_back(line.str());
      threads_.push_back(std::this_thread::get_id());
      changed_.notify_all();
    }
    if (onLine) onLine(line.str());
  }

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> lines_;
  std::vector<std::thread::id> threads_;
  Shared<KOBUStatistics> statistics_;
  SharedList<KOBUVolumeInfo> volumes_;
};

}  // namespace vemo
