#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <boost/json/object.hpp>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bridge/KOBUCloudDelegate.h"

namespace vemo {

/// Keeps the engine's events in order, each with its number where it has one, and sees
/// to it that they come one at a time.
class RecordingDelegate final : public KOBUCloudDelegate {
 public:
  struct Event {
    std::string name;
    std::int64_t number = 0;
  };

  std::vector<Event> events() const {
    const std::lock_guard lock(mutex_);
    return events_;
  }
  std::vector<Event> events(const std::string& name) const {
    std::vector<Event> found;
    for (auto& event : events()) {
      if (event.name == name) found.push_back(std::move(event));
    }
    return found;
  }
  void clear() {
    const std::lock_guard lock(mutex_);
    events_.clear();
  }

  /// Called inside each event; set before there are any.
  std::function<void(const std::string& name)> inEvent;

  void onError(std::int32_t errCode, const Text&,
               const std::optional<boost::json::object>&) override {
    add("onError", errCode);
  }
  void onWarning(std::int32_t warningCode, const Text&,
                 const std::optional<boost::json::object>&) override {
    add("onWarning", warningCode);
  }
  void onEnterRoom(std::int64_t result) override { add("onEnterRoom", result); }
  void onExitRoom(std::int64_t reason) override { add("onExitRoom", reason); }
  void onSwitchRole(std::int32_t errCode, const Text&) override { add("onSwitchRole", errCode); }
  void onRemoteUserEnterRoom(const Text&) override { add("onRemoteUserEnterRoom"); }
  void onRemoteUserLeaveRoom(const Text&, std::int64_t reason) override {
    add("onRemoteUserLeaveRoom", reason);
  }
  void onAudioRouteChanged(std::int64_t route, std::int64_t) override {
    add("onAudioRouteChanged", route);
  }
  void onUserAudioAvailable(const Text&, bool available) override {
    add("onUserAudioAvailable", available);
  }
  void onUserVideoAvailable(const Text&, bool available) override {
    add("onUserVideoAvailable", available);
  }
  void onUserSubStreamAvailable(const Text&, bool available) override {
    add("onUserSubStreamAvailable", available);
  }
  void onNetworkQuality(Shared<KOBUQualityInfo>, SharedList<KOBUQualityInfo>) override {
    add("onNetworkQuality");
  }
  void onStatistics(Shared<KOBUStatistics>) override { add("onStatistics"); }
  void onUserVoiceVolume(SharedList<KOBUVolumeInfo>, std::int64_t totalVolume) override {
    add("onUserVoiceVolume", totalVolume);
  }
  void onConnectionLost() override { add("onConnectionLost"); }
  void onTryToReconnect() override { add("onTryToReconnect"); }
  void onConnectionRecovery() override { add("onConnectionRecovery"); }
  void onFirstVideoFrame(const Text&, std::int64_t streamType, std::int32_t,
                         std::int32_t) override {
    add("onFirstVideoFrame", streamType);
  }
  void onFirstAudioFrame(const Text&) override { add("onFirstAudioFrame"); }
  void onSendFirstLocalVideoFrame(std::int64_t streamType) override {
    add("onSendFirstLocalVideoFrame", streamType);
  }
  void onSendFirstLocalAudioFrame() override { add("onSendFirstLocalAudioFrame"); }
  void onCameraDidReady() override { add("onCameraDidReady"); }
  void onMicDidReady() override { add("onMicDidReady"); }
  void onScreenCaptureStarted() override { add("onScreenCaptureStarted"); }
  void onScreenCapturePaused(std::int32_t reason) override { add("onScreenCapturePaused", reason); }
  void onScreenCaptureResumed(std::int32_t reason) override {
    add("onScreenCaptureResumed", reason);
  }
  void onScreenCaptureStoped(std::int32_t reason) override { add("onScreenCaptureStoped", reason); }

 private:
  void add(const std::string& name, std::int64_t number = 0) {
    EXPECT_EQ(inside_.fetch_add(1), 0) << name << " came within another event";
    {
      const std::lock_guard lock(mutex_);
      events_.push_back({name, number});
    }
    if (inEvent) inEvent(name);
    --inside_;
  }

  mutable std::mutex mutex_;
  std::vector<Event> events_;
  std::atomic<int> inside_ = 0;
};

}  // namespace vemo
