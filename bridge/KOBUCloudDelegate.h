#pragma once

#include <boost/json/object.hpp>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
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
/// at a time, with no lock held, and hold the delegate for the call; references are valid during
/// the call only. A text or dictionary that the engine did not give is absent.
class KOBUCloudDelegate {
 public:
  virtual ~KOBUCloudDelegate() = default;

  virtual void onError(std::int32_t errCode, const Text& errMsg,
                       const std::optional<boost::json::object>& extInfo) = 0;
  virtual void onWarning(std::int32_t warningCode, const Text& warningMsg,
                         const std::optional<boost::json::object>& extInfo) = 0;
  /// `result` is the time taken in milliseconds, or a negative error code.
  virtual void onEnterRoom(std::int64_t result) = 0;
  /// `reason`: 0 the user left, 1 removed by the server, 2 the room was dismissed.
  virtual void onExitRoom(std::int64_t reason) = 0;
  virtual void onSwitchRole(std::int32_t errCode, const Text& errMsg) = 0;
  virtual void onRemoteUserEnterRoom(const Text& userId) = 0;
  /// `reason`: 0 the user left, 1 its connection timed out, 2 removed by the server,
  /// 3 it became audience.
  virtual void onRemoteUserLeaveRoom(const Text& userId, std::int64_t reason) = 0;
  virtual void onAudioRouteChanged(std::int64_t route, std::int64_t fromRoute) = 0;
  virtual void onUserAudioAvailable(const Text& userId, bool available) = 0;
  virtual void onUserVideoAvailable(const Text& userId, bool available) = 0;
  virtual void onUserSubStreamAvailable(const Text& userId, bool available) = 0;
  virtual void onNetworkQuality(Shared<KOBUQualityInfo> localQuality,
                                SharedList<KOBUQualityInfo> remoteQuality) = 0;
  virtual void onStatistics(Shared<KOBUStatistics> statistics) = 0;
  virtual void onUserVoiceVolume(SharedList<KOBUVolumeInfo> userVolumes,
                                 std::int64_t totalVolume) = 0;
  virtual void onConnectionLost() = 0;
  virtual void onTryToReconnect() = 0;
  virtual void onConnectionRecovery() = 0;
  virtual void onFirstVideoFrame(const Text& userId, std::int64_t streamType, std::int32_t width,
                                 std::int32_t height) = 0;
  virtual void onFirstAudioFrame(const Text& userId) = 0;
  virtual void onSendFirstLocalVideoFrame(std::int64_t streamType) = 0;
  virtual void onSendFirstLocalAudioFrame() = 0;
  virtual void onCameraDidReady() = 0;
  virtual void onMicDidReady() = 0;
  virtual void onScreenCaptureStarted() = 0;
  virtual void onScreenCapturePaused(std::int32_t reason) = 0;
  virtual void onScreenCaptureResumed(std::int32_t reason) = 0;
  virtual void onScreenCaptureStoped(std::int32_t reason) = 0;
};

}  // namespace vemo
