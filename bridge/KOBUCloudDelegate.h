#pragma once

#include <boost/json/object.hpp>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "bridge/KOBURecords.h"
#include "bridge/Text.h"

namespace vemo {

/// Records that an event brings; null when the engine gave none. They are shared
/// and never change, so a receiver may keep them.
template <class Record>
using Shared = std::shared_ptr<const Record>;
template <class Record>
using SharedList = std::shared_ptr<const std::vector<Record>>;

/// The engine's events, in the order in which the router declares them.
///
/// Threads: the engine calls them on a thread of its own, or on the main thread, one
/// at a time, with no lock held. It holds the delegate for the call; references are valid
/// during the call only. A text or dictionary that the engine did not give is absent, and
/// codes, routes and reasons are the engine's own numbers where nothing else is said.
class KOBUCloudDelegate {
 public:
  virtual ~KOBUCloudDelegate() = default;

  /// An error; those of entering a room end the enter.
  virtual void onError(std::int32_t errCode, const Text& errMsg,
                       const std::optional<boost::json::object>& extInfo) = 0;
  /// Trouble that does not stop the engine.
  virtual void onWarning(std::int32_t warningCode, const Text& warningMsg,
                         const std::optional<boost::json::object>& extInfo) = 0;
  /// `result` is the time taken in milliseconds, or a negative error code.
  virtual void onEnterRoom(std::int64_t result) = 0;
  /// `reason`: kExitLeft, kExitRemoved or kExitDismissed (EngineCodes.h).
  virtual void onExitRoom(std::int64_t reason) = 0;
  /// A switch of the own role has ended; `errCode` 0 is success.
  virtual void onSwitchRole(std::int32_t errCode, const Text& errMsg) = 0;
  /// Another user has come as an anchor, or become one. Those who are there already come right
  /// behind onEnterRoom, before anything is measured.
  virtual void onRemoteUserEnterRoom(const Text& userId) = 0;
  /// `reason`: kLeaveLeft, kLeaveTimedOut, kLeaveRemoved or kLeaveAudience (EngineCodes.h).
  virtual void onRemoteUserLeaveRoom(const Text& userId, std::int64_t reason) = 0;
  /// Sound is played by way of `route` now, before by way of `fromRoute`.
  virtual void onAudioRouteChanged(std::int64_t route, std::int64_t fromRoute) = 0;
  /// Whether another user sends sound, the camera, or the screen now.
  virtual void onUserAudioAvailable(const Text& userId, bool available) = 0;
  virtual void onUserVideoAvailable(const Text& userId, bool available) = 0;
  virtual void onUserSubStreamAvailable(const Text& userId, bool available) = 0;
  /// Again and again in a room: the own user's network and that of each other user.
  virtual void onNetworkQuality(Shared<KOBUQualityInfo> localQuality,
                                SharedList<KOBUQualityInfo> remoteQuality) = 0;
  /// Again and again in a room: what was measured.
  virtual void onStatistics(Shared<KOBUStatistics> statistics) = 0;
  /// Every interval of enableAudioVolumeEvaluation: how loud each user is, the own one
  /// without an id, and all together, 0 to 100.
  virtual void onUserVoiceVolume(SharedList<KOBUVolumeInfo> userVolumes,
                                 std::int64_t totalVolume) = 0;
  /// The connection to the server is lost, is tried again, and is back.
  virtual void onConnectionLost() = 0;
  virtual void onTryToReconnect() = 0;
  virtual void onConnectionRecovery() = 0;
  /// The first picture of another user's stream is shown; its size is in pixels.
  virtual void onFirstVideoFrame(const Text& userId, std::int64_t streamType, std::int32_t width,
                                 std::int32_t height) = 0;
  /// The first sound of another user is played.
  virtual void onFirstAudioFrame(const Text& userId) = 0;
  /// The first picture of an own stream, or the first own sound, is sent.
  virtual void onSendFirstLocalVideoFrame(std::int64_t streamType) = 0;
  virtual void onSendFirstLocalAudioFrame() = 0;
  /// The camera runs; the microphone runs.
  virtual void onCameraDidReady() = 0;
  virtual void onMicDidReady() = 0;
  /// Screen capture has started, paused, gone on after a pause, ended.
  virtual void onScreenCaptureStarted() = 0;
  virtual void onScreenCapturePaused(std::int32_t reason) = 0;
  virtual void onScreenCaptureResumed(std::int32_t reason) = 0;
  virtual void onScreenCaptureStoped(std::int32_t reason) = 0;
};

/// What there is to say of the event that `operation` tells.
template <auto operation>
struct EngineEvent {
  std::string_view name;
  bool isPeriodic = false;  ///< whether it comes again and again
};

/// All events, in the order of their operations; of one, std::get by its type.
inline constexpr std::tuple engineEvents{
    EngineEvent<&KOBUCloudDelegate::onError>{"onError"},
    EngineEvent<&KOBUCloudDelegate::onWarning>{"onWarning"},
    EngineEvent<&KOBUCloudDelegate::onEnterRoom>{"onEnterRoom"},
    EngineEvent<&KOBUCloudDelegate::onExitRoom>{"onExitRoom"},
    EngineEvent<&KOBUCloudDelegate::onSwitchRole>{"onSwitchRole"},
    EngineEvent<&KOBUCloudDelegate::onRemoteUserEnterRoom>{"onRemoteUserEnterRoom"},
    EngineEvent<&KOBUCloudDelegate::onRemoteUserLeaveRoom>{"onRemoteUserLeaveRoom"},
    EngineEvent<&KOBUCloudDelegate::onAudioRouteChanged>{"onAudioRouteChanged"},
    EngineEvent<&KOBUCloudDelegate::onUserAudioAvailable>{"onUserAudioAvailable"},
    EngineEvent<&KOBUCloudDelegate::onUserVideoAvailable>{"onUserVideoAvailable"},
    EngineEvent<&KOBUCloudDelegate::onUserSubStreamAvailable>{"onUserSubStreamAvailable"},
    EngineEvent<&KOBUCloudDelegate::onNetworkQuality>{"onNetworkQuality", true},
    EngineEvent<&KOBUCloudDelegate::onStatistics>{"onStatistics", true},
    EngineEvent<&KOBUCloudDelegate::onUserVoiceVolume>{"onUserVoiceVolume", true},
    EngineEvent<&KOBUCloudDelegate::onConnectionLost>{"onConnectionLost"},
    EngineEvent<&KOBUCloudDelegate::onTryToReconnect>{"onTryToReconnect"},
    EngineEvent<&KOBUCloudDelegate::onConnectionRecovery>{"onConnectionRecovery"},
    EngineEvent<&KOBUCloudDelegate::onFirstVideoFrame>{"onFirstVideoFrame"},
    EngineEvent<&KOBUCloudDelegate::onFirstAudioFrame>{"onFirstAudioFrame"},
    EngineEvent<&KOBUCloudDelegate::onSendFirstLocalVideoFrame>{"onSendFirstLocalVideoFrame"},
    EngineEvent<&KOBUCloudDelegate::onSendFirstLocalAudioFrame>{"onSendFirstLocalAudioFrame"},
    EngineEvent<&KOBUCloudDelegate::onCameraDidReady>{"onCameraDidReady"},
    EngineEvent<&KOBUCloudDelegate::onMicDidReady>{"onMicDidReady"},
    EngineEvent<&KOBUCloudDelegate::onScreenCaptureStarted>{"onScreenCaptureStarted"},
    EngineEvent<&KOBUCloudDelegate::onScreenCapturePaused>{"onScreenCapturePaused"},
    EngineEvent<&KOBUCloudDelegate::onScreenCaptureResumed>{"onScreenCaptureResumed"},
    EngineEvent<&KOBUCloudDelegate::onScreenCaptureStoped>{"onScreenCaptureStoped"}};

/// Whether an event of this name comes again and again; false for one that is not the engine's.
constexpr bool isPeriodicEvent(std::string_view name) {
  return std::apply(
      [&](const auto&... event) { return ((event.isPeriodic && event.name == name) || ...); },
      engineEvents);
}

/// A delegate that does the same with all events: each is a call of a member of `Self`,
///     template <auto operation, class... Args> void told(const Args&... args);
/// with what the engine gives. `Self` may override single operations.
template <class Self>
class KOBUCloudDelegateOf : public KOBUCloudDelegate {
 public:
  void onError(std::int32_t errCode, const Text& errMsg,
               const std::optional<boost::json::object>& extInfo) override {
    each<&KOBUCloudDelegate::onError>(errCode, errMsg, extInfo);
  }
  void onWarning(std::int32_t warningCode, const Text& warningMsg,
                 const std::optional<boost::json::object>& extInfo) override {
    each<&KOBUCloudDelegate::onWarning>(warningCode, warningMsg, extInfo);
  }
  void onEnterRoom(std::int64_t result) override { each<&KOBUCloudDelegate::onEnterRoom>(result); }
  void onExitRoom(std::int64_t reason) override { each<&KOBUCloudDelegate::onExitRoom>(reason); }
  void onSwitchRole(std::int32_t errCode, const Text& errMsg) override {
    each<&KOBUCloudDelegate::onSwitchRole>(errCode, errMsg);
  }
  void onRemoteUserEnterRoom(const Text& userId) override {
    each<&KOBUCloudDelegate::onRemoteUserEnterRoom>(userId);
  }
  void onRemoteUserLeaveRoom(const Text& userId, std::int64_t reason) override {
    each<&KOBUCloudDelegate::onRemoteUserLeaveRoom>(userId, reason);
  }
  void onAudioRouteChanged(std::int64_t route, std::int64_t fromRoute) override {
    each<&KOBUCloudDelegate::onAudioRouteChanged>(route, fromRoute);
  }
  void onUserAudioAvailable(const Text& userId, bool available) override {
    each<&KOBUCloudDelegate::onUserAudioAvailable>(userId, available);
  }
  void onUserVideoAvailable(const Text& userId, bool available) override {
    each<&KOBUCloudDelegate::onUserVideoAvailable>(userId, available);
  }
  void onUserSubStreamAvailable(const Text& userId, bool available) override {
    each<&KOBUCloudDelegate::onUserSubStreamAvailable>(userId, available);
  }
  void onNetworkQuality(Shared<KOBUQualityInfo> localQuality,
                        SharedList<KOBUQualityInfo> remoteQuality) override {
    each<&KOBUCloudDelegate::onNetworkQuality>(localQuality, remoteQuality);
  }
  void onStatistics(Shared<KOBUStatistics> statistics) override {
    each<&KOBUCloudDelegate::onStatistics>(statistics);
  }
  void onUserVoiceVolume(SharedList<KOBUVolumeInfo> userVolumes,
                         std::int64_t totalVolume) override {
    each<&KOBUCloudDelegate::onUserVoiceVolume>(userVolumes, totalVolume);
  }
  void onConnectionLost() override { each<&KOBUCloudDelegate::onConnectionLost>(); }
  void onTryToReconnect() override { each<&KOBUCloudDelegate::onTryToReconnect>(); }
  void onConnectionRecovery() override { each<&KOBUCloudDelegate::onConnectionRecovery>(); }
  void onFirstVideoFrame(const Text& userId, std::int64_t streamType, std::int32_t width,
                         std::int32_t height) override {
    each<&KOBUCloudDelegate::onFirstVideoFrame>(userId, streamType, width, height);
  }
  void onFirstAudioFrame(const Text& userId) override {
    each<&KOBUCloudDelegate::onFirstAudioFrame>(userId);
  }
  void onSendFirstLocalVideoFrame(std::int64_t streamType) override {
    each<&KOBUCloudDelegate::onSendFirstLocalVideoFrame>(streamType);
  }
  void onSendFirstLocalAudioFrame() override {
    each<&KOBUCloudDelegate::onSendFirstLocalAudioFrame>();
  }
  void onCameraDidReady() override { each<&KOBUCloudDelegate::onCameraDidReady>(); }
  void onMicDidReady() override { each<&KOBUCloudDelegate::onMicDidReady>(); }
  void onScreenCaptureStarted() override { each<&KOBUCloudDelegate::onScreenCaptureStarted>(); }
  void onScreenCapturePaused(std::int32_t reason) override {
    each<&KOBUCloudDelegate::onScreenCapturePaused>(reason);
  }
  void onScreenCaptureResumed(std::int32_t reason) override {
    each<&KOBUCloudDelegate::onScreenCaptureResumed>(reason);
  }
  void onScreenCaptureStoped(std::int32_t reason) override {
    each<&KOBUCloudDelegate::onScreenCaptureStoped>(reason);
  }

 private:
  friend Self;
  KOBUCloudDelegateOf() = default;

  template <auto operation, class... Args>
  void each(const Args&... args) {
    static_cast<Self&>(*this).template told<operation>(args...);
  }
};

}  // namespace vemo
