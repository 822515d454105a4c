#include <algorithm>
#include <atomic>

#include "json/JsonText.h"
#include "webview/TextForms.h"
#include "webview/event_routing.h"

// The own microphone, where sound is played, and volumes.

namespace vemo {
namespace {

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

Outcome VEMOKOBUMsgRouter::startLocalAudio(KOBUCloud&,
                                           const Command<param::AudioQuality>& command) {
  command.answerLater();
  innerStartLocalAudio(
      command.get<param::AudioQuality>(),
      loggedAnswer(command, "startLocalAudio", "-[VEMOKOBUMsgRouter startLocalAudio:webView:]"));
  return success;
}

Outcome VEMOKOBUMsgRouter::stopLocalAudio(KOBUCloud& engine, const Command<>&) {
  stopAudioAndReport(engine);
  return success;
}

Outcome VEMOKOBUMsgRouter::setAudioVolume(
    KOBUCloud& engine,
    const Command<Maybe<param::CaptureVolume>, Maybe<param::PlayoutVolume>>& command) {
  const auto capture = command.get<param::CaptureVolume>();
  const auto playout = command.get<param::PlayoutVolume>();
  if (!capture && !playout) return fail(error::noVolumeGiven);
  if (capture) engine.setAudioCaptureVolume(*capture);
  if (playout) engine.setAudioPlayoutVolume(*playout);
  return success;
}

Outcome VEMOKOBUMsgRouter::getAudioVolume(
    KOBUCloud& engine,
    const Command<Or<param::Capture, false>, Or<param::Playout, false>>& command) {
  boost::json::object volumes(2, command.arena());
  if (command.get<param::Capture>()) volumes["captureVolume"] = engine.getAudioCaptureVolume();
  if (command.get<param::Playout>()) volumes["playoutVolume"] = engine.getAudioPlayoutVolume();
  if (volumes.empty()) return fail(error::noVolumeGiven);
  command.setValue(std::move(volumes));
  return success;
}

// ---- Operations of the host

void VEMOKOBUMsgRouter::kobuStartAudio(const Text& userId,
                                       const std::shared_ptr<NativeView>& view) {
  const auto engine = sharedKOBU_.load();
  if (!engine || !view) return;
  if (!isOwnUser(userId)) {
    engine->muteRemoteAudio(*userId, false);
    return;
  }
  const auto params =
      jsonText(boost::json::object{{"view", addressText(view.get())}, {"userId", cleaned(userId)}});
  innerStartLocalAudio(
      param::AudioQuality::fallback,
      weakly([params](VEMOKOBUMsgRouter& router, VEMOModule, std::int64_t code, const Text& desc) {
        router.logRouter(DUNLogParam::kInformation, "kobuStartAudio", params, Result{code, desc},
                         "-[VEMOKOBUMsgRouter kobuStartAudio:fromView:]");
        if (code != 0) return;
        // A microphone started this way must not stay muted from before.
        if (const auto present = router.sharedKOBU_.load()) present->muteLocalAudio(false);
      }));
}

void VEMOKOBUMsgRouter::kobuStopAudio(const Text& userId, const std::shared_ptr<NativeView>& view) {
  const auto engine = sharedKOBU_.load();
  if (!engine || !view) return;
  if (isOwnUser(userId)) {
    stopAudioAndReport(*engine);
  } else {
    engine->muteRemoteAudio(*userId, true);
  }
}

void VEMOKOBUMsgRouter::stopAudioAndReport(KOBUCloud& engine) {
  engine.stopLocalAudio();
  report("disable_mic");
}

// ---- Events

void VEMOKOBUMsgRouter::onAudioRouteChanged(std::int64_t route, std::int64_t fromRoute) {
  tell<event::OnAudioRouteChanged>("-[VEMOKOBUMsgRouter onAudioRouteChanged:fromRoute:]", route,
                                   fromRoute);
}

void VEMOKOBUMsgRouter::onSendFirstLocalAudioFrame() {
  tell<event::OnSendFirstLocalAudioFrame>("-[VEMOKOBUMsgRouter onSendFirstLocalAudioFrame]");
}

void VEMOKOBUMsgRouter::onMicDidReady() {
  tell<event::OnMicDidReady>("-[VEMOKOBUMsgRouter onMicDidReady]");
}

/// Every 120th of the process leaves a record; the page is told of each that it wants.
void VEMOKOBUMsgRouter::onUserVoiceVolume(SharedList<KOBUVolumeInfo> userVolumes,
                                          std::int64_t totalVolume) {
  const auto count = nextVolumeEvent();
  onMain([userVolumes = std::move(userVolumes), totalVolume, count](VEMOKOBUMsgRouter& router) {
    using event::OnUserVoiceVolume;
    const auto ownId = router.curEnteredRoomUserId();
    const auto volumes = withOwnId(userVolumes, ownId);
    router.tellListeners<OnUserVoiceVolume>(volumes, totalVolume);
    const bool wanted = router.isRegistered(OnUserVoiceVolume::words.name);
    const bool recorded = count % kVolumeRecordEvery == 0;
    if (!wanted && !recorded) return;
    auto payload = OnUserVoiceVolume::payload(ownId, totalVolume, volumes.get());
    if (wanted) router.tellPage<OnUserVoiceVolume>(payload);
    if (!recorded) return;
    payload.add("count", count);  // for the log only
    router.logEvent<OnUserVoiceVolume>(payload.text(), std::nullopt,
                                       "-[VEMOKOBUMsgRouter onUserVoiceVolume:totalVolume:]");
  });
}

}  // namespace vemo
