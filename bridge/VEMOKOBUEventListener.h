#pragma once

#include <cstdint>
#include <string_view>
#include <tuple>

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

/// What there is to say of an operation of listeners.
template <auto operation>
struct ListenerOperation {
  std::string_view name;
};

/// All of them, in their order; of one, std::get by its type.
inline constexpr std::tuple listenerOperations{
    ListenerOperation<&VEMOKOBUEventListener::onVEMOEnterRoom>{"onVEMOEnterRoom"},
    ListenerOperation<&VEMOKOBUEventListener::onVEMOExitRoom>{"onVEMOExitRoom"},
    ListenerOperation<&VEMOKOBUEventListener::onVEMORemoteUserEnterRoom>{
        "onVEMORemoteUserEnterRoom"},
    ListenerOperation<&VEMOKOBUEventListener::onVEMORemoteUserLeaveRoom>{
        "onVEMORemoteUserLeaveRoom"},
    ListenerOperation<&VEMOKOBUEventListener::onVEMOAudioRouteChanged>{"onVEMOAudioRouteChanged"},
    ListenerOperation<&VEMOKOBUEventListener::onVEMOUserAudioAvailable>{"onVEMOUserAudioAvailable"},
    ListenerOperation<&VEMOKOBUEventListener::onVEMOUserVideoAvailable>{"onVEMOUserVideoAvailable"},
    ListenerOperation<&VEMOKOBUEventListener::onVEMOUserSubStreamAvailable>{
        "onVEMOUserSubStreamAvailable"},
    ListenerOperation<&VEMOKOBUEventListener::onVEMONetworkQuality>{"onVEMONetworkQuality"},
    ListenerOperation<&VEMOKOBUEventListener::onVEMOStatistics>{"onVEMOStatistics"},
    ListenerOperation<&VEMOKOBUEventListener::onVEMOUserVoiceVolume>{"onVEMOUserVoiceVolume"},
    ListenerOperation<&VEMOKOBUEventListener::onVEMOConnectionLost>{"onVEMOConnectionLost"},
    ListenerOperation<&VEMOKOBUEventListener::onVEMOTryToReconnect>{"onVEMOTryToReconnect"},
    ListenerOperation<&VEMOKOBUEventListener::onVEMOConnectionRecovery>{
        "onVEMOConnectionRecovery"}};

/// A listener that does the same with all that it hears: each is a call of a member of `Self`,
///     template <auto operation, class... Args> void heard(const Args&... args);
/// with what it is told. `Self` may override single operations.
template <class Self>
class VEMOKOBUEventListenerOf : public VEMOKOBUEventListener {
 public:
  void onVEMOEnterRoom(std::int64_t result, const Text& selfId) override {
    each<&VEMOKOBUEventListener::onVEMOEnterRoom>(result, selfId);
  }
  void onVEMOExitRoom(std::int64_t reason, const Text& selfId) override {
    each<&VEMOKOBUEventListener::onVEMOExitRoom>(reason, selfId);
  }
  void onVEMORemoteUserEnterRoom(const Text& userId) override {
    each<&VEMOKOBUEventListener::onVEMORemoteUserEnterRoom>(userId);
  }
  void onVEMORemoteUserLeaveRoom(const Text& userId, std::int64_t reason) override {
    each<&VEMOKOBUEventListener::onVEMORemoteUserLeaveRoom>(userId, reason);
  }
  void onVEMOAudioRouteChanged(std::int64_t route, std::int64_t fromRoute) override {
    each<&VEMOKOBUEventListener::onVEMOAudioRouteChanged>(route, fromRoute);
  }
  void onVEMOUserAudioAvailable(const Text& userId, bool available) override {
    each<&VEMOKOBUEventListener::onVEMOUserAudioAvailable>(userId, available);
  }
  void onVEMOUserVideoAvailable(const Text& userId, bool available) override {
    each<&VEMOKOBUEventListener::onVEMOUserVideoAvailable>(userId, available);
  }
  void onVEMOUserSubStreamAvailable(const Text& userId, bool available) override {
    each<&VEMOKOBUEventListener::onVEMOUserSubStreamAvailable>(userId, available);
  }
  void onVEMONetworkQuality(const Shared<KOBUQualityInfo>& localQuality,
                            const SharedList<KOBUQualityInfo>& remoteQuality) override {
    each<&VEMOKOBUEventListener::onVEMONetworkQuality>(localQuality, remoteQuality);
  }
  void onVEMOStatistics(const Shared<KOBUStatistics>& statistics) override {
    each<&VEMOKOBUEventListener::onVEMOStatistics>(statistics);
  }
  void onVEMOUserVoiceVolume(const SharedList<KOBUVolumeInfo>& userVolumes,
                             std::int64_t totalVolume) override {
    each<&VEMOKOBUEventListener::onVEMOUserVoiceVolume>(userVolumes, totalVolume);
  }
  void onVEMOConnectionLost() override { each<&VEMOKOBUEventListener::onVEMOConnectionLost>(); }
  void onVEMOTryToReconnect() override { each<&VEMOKOBUEventListener::onVEMOTryToReconnect>(); }
  void onVEMOConnectionRecovery() override {
    each<&VEMOKOBUEventListener::onVEMOConnectionRecovery>();
  }

 private:
  friend Self;
  VEMOKOBUEventListenerOf() = default;

  template <auto operation, class... Args>
  void each(const Args&... args) {
    static_cast<Self&>(*this).template heard<operation>(args...);
  }
};

}  // namespace vemo
