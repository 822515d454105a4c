#include "RecordingListener.h"

#include <algorithm>
#include <array>

#include "Values.h"

namespace vemo::replay {

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

template <class... Args>
void RecordingListener::called(std::string_view operation, const Args&... args) {
  if (std::ranges::find(operations_, operation) == operations_.end()) return;
  recorder_.write("listener", {{"name", name_}, {"op", operation}, {"args", jsonArray(args...)}});
}

void RecordingListener::onVEMOEnterRoom(std::int64_t result, const Text& selfId) {
  called("onVEMOEnterRoom", result, selfId);
}
void RecordingListener::onVEMOExitRoom(std::int64_t reason, const Text& selfId) {
  called("onVEMOExitRoom", reason, selfId);
}
void RecordingListener::onVEMORemoteUserEnterRoom(const Text& userId) {
  called("onVEMORemoteUserEnterRoom", userId);
}
void RecordingListener::onVEMORemoteUserLeaveRoom(const Text& userId, std::int64_t reason) {
  called("onVEMORemoteUserLeaveRoom", userId, reason);
}
void RecordingListener::onVEMOAudioRouteChanged(std::int64_t route, std::int64_t fromRoute) {
  called("onVEMOAudioRouteChanged", route, fromRoute);
}
void RecordingListener::onVEMOUserAudioAvailable(const Text& userId, bool available) {
  called("onVEMOUserAudioAvailable", userId, available);
}
void RecordingListener::onVEMOUserVideoAvailable(const Text& userId, bool available) {
  called("onVEMOUserVideoAvailable", userId, available);
}
void RecordingListener::onVEMOUserSubStreamAvailable(const Text& userId, bool available) {
  called("onVEMOUserSubStreamAvailable", userId, available);
}
void RecordingListener::onVEMONetworkQuality(const Shared<KOBUQualityInfo>& localQuality,
                                             const SharedList<KOBUQualityInfo>& remoteQuality) {
  called("onVEMONetworkQuality", localQuality, remoteQuality);
}
void RecordingListener::onVEMOStatistics(const Shared<KOBUStatistics>& statistics) {
  called("onVEMOStatistics", statistics);
}
void RecordingListener::onVEMOUserVoiceVolume(const SharedList<KOBUVolumeInfo>& userVolumes,
                                              std::int64_t totalVolume) {
  called("onVEMOUserVoiceVolume", userVolumes, totalVolume);
}
void RecordingListener::onVEMOConnectionLost() { called("onVEMOConnectionLost"); }
void RecordingListener::onVEMOTryToReconnect() { called("onVEMOTryToReconnect"); }
void RecordingListener::onVEMOConnectionRecovery() { called("onVEMOConnectionRecovery"); }

}  // namespace vemo::replay
