#include "json/JsonText.h"
#include "webview/TextForms.h"
#include "webview/VEMOKOBUMsgRouter.h"

namespace vemo {
namespace {

constexpr std::int32_t kDefaultQuality = 2;
constexpr std::int32_t kMinQuality = 1;
constexpr std::int32_t kMaxQuality = 3;

}  // namespace

Outcome VEMOKOBUMsgRouter::startLocalAudio(KOBUCloud&, const Command& command) {
  command.item->setIsAsyncTask(true);
  innerStartLocalAudio(
      command.int32InRange("quality", kMinQuality, kMaxQuality, kDefaultQuality),
      loggedAnswer(command, "startLocalAudio", "-[VEMOKOBUMsgRouter startLocalAudio:webView:]"));
  return success;
}

Outcome VEMOKOBUMsgRouter::stopLocalAudio(KOBUCloud& engine, const Command&) {
  stopAudioAndReport(engine);
  return success;
}

Outcome VEMOKOBUMsgRouter::muteLocalAudio(KOBUCloud& engine, const Command& command) {
  const auto mute = command.number("mute");
  if (!mute) return paramError("no mute param");
  engine.muteLocalAudio(mute->boolean());
  return success;
}

Outcome VEMOKOBUMsgRouter::enableAudioVolumeEvaluation(KOBUCloud& engine, const Command& command) {
  const auto interval = command.number("interval");
  if (!interval) return paramError("no interval param");
  engine.enableAudioVolumeEvaluation(interval->int32());
  return success;
}

Outcome VEMOKOBUMsgRouter::setAudioRoute(KOBUCloud& engine, const Command& command) {
  const auto route = command.number("route");
  if (!route) return paramError("no route param");
  engine.setAudioRoute(route->int32());
  return success;
}

Outcome VEMOKOBUMsgRouter::setAudioVolume(KOBUCloud& engine, const Command& command) {
  const auto capture = command.number("captureVolume");
  const auto playout = command.number("playoutVolume");
  if (!capture && !playout) return paramError("params error");
  if (capture) engine.setAudioCaptureVolume(capture->int32());
  if (playout) engine.setAudioPlayoutVolume(playout->int32());
  return success;
}

Outcome VEMOKOBUMsgRouter::getAudioVolume(KOBUCloud& engine, const Command& command) {
  boost::json::object volumes(2, command.item->arena());
  if (command.flag("capture")) volumes["captureVolume"] = engine.getAudioCaptureVolume();
  if (command.flag("playout")) volumes["playoutVolume"] = engine.getAudioPlayoutVolume();
  if (volumes.empty()) return paramError("params error");
  command.item->setMsgRetval(std::move(volumes));
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
      kDefaultQuality,
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
  reportEvent("disable_mic");
}

}  // namespace vemo
