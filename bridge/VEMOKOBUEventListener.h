#pragma once

#include <cstdint>

#include "bridge/KOBUCloudDelegate.h"
#include "bridge/Text.h"

namespace vemo {

/// A native listener to room and media events. It overrides the operations it wants.
///
/// Threads: called on the main thread, after the router's own state has changed (save that
/// the room's record is still there while its exit is told) and before the page hears of
/// the event; it may add and remove listeners meanwhile.
/// The router holds listeners weakly. Arguments are the engine's own.
class VEMOKOBUEventListener {
 public:
  virtual ~VEMOKOBUEventListener() = default;

  /// `selfId`: the own user's id; absent when there is none.
  virtual void onVEMOEnterRoom(std::int64_t /*result*/, const Text& /*selfId*/) {}
  virtual void onVEMOExitRoom(std::int64_t /*reason*/, const Text& /*selfId*/) {}
  virtual void onVEMORemoteUserEnterRoom(const Text& /*userId*/) {}
  virtual void onVEMORemoteUserLeaveRoom(const Text& /*userId*/, std::int64_t /*reason*/) {}
  virtual void onVEMOAudioRouteChanged(std::int64_t /*route*/, std::int64_t /*fromRoute*/) {}
  virtual void onVEMOUserAudioAvailable(const Text& /*userId*/, bool /*available*/) {}
  virtual void onVEMOUserVideoAvailable(const Text& /*userId*/, bool /*available*/) {}
  virtual void onVEMOUserSubStreamAvailable(const Text& /*userId*/, bool /*available*/) {}
  virtual void onVEMONetworkQuality(const Shared<KOBUQualityInfo>& /*localQuality*/,
                                    const SharedList<KOBUQualityInfo>& /*remoteQuality*/) {}
  virtual void onVEMOStatistics(const Shared<KOBUStatistics>& /*statistics*/) {}
  /// The own user's record carries the own id, where there is one.
  virtual void onVEMOUserVoiceVolume(const SharedList<KOBUVolumeInfo>& /*userVolumes*/,
                                     std::int64_t /*totalVolume*/) {}
  virtual void onVEMOConnectionLost() {}
  virtual void onVEMOTryToReconnect() {}
  virtual void onVEMOConnectionRecovery() {}
};

}  // namespace vemo
