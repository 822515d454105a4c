#include <algorithm>
#include <atomic>

#include "webview/event_routing.h"

// What the engine measures again and again: quality, statistics, volumes. To spare the
// log, these leave no record of their own, save every 120th volume event; to spare the
// time, a payload is built only when somebody gets it.

namespace vemo {
namespace {

using Listener = VEMOKOBUEventListener;

constexpr std::int64_t kVolumeRecordEvery = 120;

/// Counts the volume events of the process, across routers.
std::int64_t nextVolumeEvent() {
  static std::atomic<std::int64_t> count = 0;
  return ++count;
}

/// The records with the own user's id, which the engine leaves out, filled in.
SharedList<KOBUVolumeInfo> withOwnId(SharedList<KOBUVolumeInfo> volumes, const Text& ownId) {
  const auto isOwn = [](const KOBUVolumeInfo& volume) { return !volume.userId; };
  if (!volumes || !ownId || std::none_of(volumes->begin(), volumes->end(), isOwn)) return volumes;
  auto filled = std::make_shared<std::vector<KOBUVolumeInfo>>(*volumes);
  for (auto& volume : *filled) {
    if (isOwn(volume)) volume.userId = ownId;
  }
  return filled;
}

}  // namespace

void VEMOKOBUMsgRouter::onNetworkQuality(Shared<KOBUQualityInfo> localQuality,
                                         SharedList<KOBUQualityInfo> remoteQuality) {
  onMain([local = std::move(localQuality),
          remote = std::move(remoteQuality)](VEMOKOBUMsgRouter& router) {
    router.tellListeners(&Listener::onVEMONetworkQuality, local, remote);
    if (!router.isRegistered("onNetworkQuality")) return;
    const auto ownId = router.curEnteredRoomUserId();
    JsonObjectText payload;
    payload.add("userId", ownId.value_or(""));
    if (local) {
      auto named = *local;
      named.userId = ownId;
      payload.add("localQuality", named);
    }
    if (remote) payload.add("remoteQuality", *remote);
    router.toPage("onNetworkQuality", payload.text(), false);
  });
}

void VEMOKOBUMsgRouter::onStatistics(Shared<KOBUStatistics> statistics) {
  lastStats_.publish(statistics);
  onMain([statistics = std::move(statistics)](VEMOKOBUMsgRouter& router) {
    router.tellListeners(&Listener::onVEMOStatistics, statistics);
    if (!router.isRegistered("onStatistics")) return;
    JsonObjectText payload;
    if (statistics) payload.add("statistics", *statistics);
    const auto ownId = router.curEnteredRoomUserId();
    if (ownId && !ownId->empty()) payload.add("userId", *ownId);
    router.toPage("onStatistics", payload.text(), false);
  });
}

void VEMOKOBUMsgRouter::onUserVoiceVolume(SharedList<KOBUVolumeInfo> userVolumes,
                                          std::int64_t totalVolume) {
  const auto count = nextVolumeEvent();
  onMain([userVolumes = std::move(userVolumes), totalVolume, count](VEMOKOBUMsgRouter& router) {
    const auto volumes = withOwnId(userVolumes, router.curEnteredRoomUserId());
    router.tellListeners(&Listener::onVEMOUserVoiceVolume, volumes, totalVolume);
    const bool wanted = router.isRegistered("onUserVoiceVolume");
    const bool recorded = count % kVolumeRecordEvery == 0;
    if (!wanted && !recorded) return;
    JsonObjectText payload;
    payload.add("totalVolume", totalVolume);
    if (volumes) payload.add("userVolumes", *volumes);
    if (wanted) router.toPage("onUserVoiceVolume", payload.text(), false);
    if (!recorded) return;
    payload.add("count", count);  // for the log only
    router.logEvent("onUserVoiceVolume", payload.text(), std::nullopt,
                    "-[VEMOKOBUMsgRouter onUserVoiceVolume:totalVolume:]");
  });
}

}  // namespace vemo
