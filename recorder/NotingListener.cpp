#include "recorder/NotingListener.h"

#include <array>

namespace vemo {

using Listener = VEMOKOBUEventListener;

std::span<const std::string_view> listenerOperations() {
  static constexpr auto names = std::to_array<std::string_view>({
      "onVEMOEnterRoom",
      "onVEMOExitRoom",
      "onVEMORemoteUserEnterRoom",
      "onVEMORemoteUserLeaveRoom",
      "onVEMOAudioRouteChanged",
      "onVEMOUserAudioAvailable",
      "onVEMOUserVideoAvailable",
      "onVEMOUserSubStreamAvailable",
      "onVEMONetworkQuality",
      "onVEMOStatistics",
      "onVEMOUserVoiceVolume",
      "onVEMOConnectionLost",
      "onVEMOTryToReconnect",
      "onVEMOConnectionRecovery",
  });
  return names;
}

template <auto operation, class... Args>
void NotingListener::hear(std::string_view name, const Args&... args) {
  if (notes(name)) {
    notes_->effect("listener", [&](NoteWriter& text) {
      text.add("name", name_).add("op", name).addArray("args", args...);
    });
  }
  (target().*operation)(args...);
}

void NotingListener::onVEMOEnterRoom(std::int64_t result, const Text& selfId) {
  hear<&Listener::onVEMOEnterRoom>("onVEMOEnterRoom", result, selfId);
}
void NotingListener::onVEMOExitRoom(std::int64_t reason, const Text& selfId) {
  hear<&Listener::onVEMOExitRoom>("onVEMOExitRoom", reason, selfId);
}
void NotingListener::onVEMORemoteUserEnterRoom(const Text& userId) {
  hear<&Listener::onVEMORemoteUserEnterRoom>("onVEMORemoteUserEnterRoom", userId);
}
void NotingListener::onVEMORemoteUserLeaveRoom(const Text& userId, std::int64_t reason) {
  hear<&Listener::onVEMORemoteUserLeaveRoom>("onVEMORemoteUserLeaveRoom", userId, reason);
}
void NotingListener::onVEMOAudioRouteChanged(std::int64_t route, std::int64_t fromRoute) {
  hear<&Listener::onVEMOAudioRouteChanged>("onVEMOAudioRouteChanged", route, fromRoute);
}
void NotingListener::onVEMOUserAudioAvailable(const Text& userId, bool available) {
  hear<&Listener::onVEMOUserAudioAvailable>("onVEMOUserAudioAvailable", userId, available);
}
void NotingListener::onVEMOUserVideoAvailable(const Text& userId, bool available) {
  hear<&Listener::onVEMOUserVideoAvailable>("onVEMOUserVideoAvailable", userId, available);
}
void NotingListener::onVEMOUserSubStreamAvailable(const Text& userId, bool available) {
  hear<&Listener::onVEMOUserSubStreamAvailable>("onVEMOUserSubStreamAvailable", userId, available);
}
void NotingListener::onVEMONetworkQuality(const Shared<KOBUQualityInfo>& localQuality,
                                          const SharedList<KOBUQualityInfo>& remoteQuality) {
  hear<&Listener::onVEMONetworkQuality>("onVEMONetworkQuality", localQuality, remoteQuality);
}
void NotingListener::onVEMOStatistics(const Shared<KOBUStatistics>& statistics) {
  hear<&Listener::onVEMOStatistics>("onVEMOStatistics", statistics);
}
void NotingListener::onVEMOUserVoiceVolume(const SharedList<KOBUVolumeInfo>& userVolumes,
                                           std::int64_t totalVolume) {
  hear<&Listener::onVEMOUserVoiceVolume>("onVEMOUserVoiceVolume", userVolumes, totalVolume);
}
void NotingListener::onVEMOConnectionLost() {
  hear<&Listener::onVEMOConnectionLost>("onVEMOConnectionLost");
}
void NotingListener::onVEMOTryToReconnect() {
  hear<&Listener::onVEMOTryToReconnect>("onVEMOTryToReconnect");
}
void NotingListener::onVEMOConnectionRecovery() {
  hear<&Listener::onVEMOConnectionRecovery>("onVEMOConnectionRecovery");
}

}  // namespace vemo
