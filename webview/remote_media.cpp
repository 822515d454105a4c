#include "webview/KOBURenderParams_VEMOExt.h"
#include "webview/VEMOKOBUMsgRouter.h"

namespace vemo {
namespace {

/// "streamType": 0 to 2; anything else, or none, is the main stream.
std::int32_t streamTypeOf(const Command& command) {
  return command.int32InRange("streamType", kKOBUStreamTypeMain, kKOBUStreamTypeSub,
                              kKOBUStreamTypeMain);
}

Failure noRenderSource(Place site = Place::here()) {
  return failure(kNotAvailable, "no render source", site).from(VEMOModule::KOBU);
}

Failure noRenderView(Place site = Place::here()) {
  return failure(kNotAvailable, "no found render view", site).from(VEMOModule::KOBU);
}

}  // namespace

// ---- Views and render parameters

Outcome VEMOKOBUMsgRouter::setRemoteVideoStreamType(KOBUCloud& engine, const Command& command) {
  const auto userId = command.nonEmptyText("userId");
  const auto type = command.number("type");
  if (!userId || !type) return paramError("userId or type param error");
  engine.setRemoteVideoStreamType(*userId, type->int32());
  return success;
}

Outcome VEMOKOBUMsgRouter::startRemoteView(KOBUCloud& engine, const Command& command) {
  const auto userId = command.nonEmptyText("userId");
  if (!userId) return paramError("userId param error");
  const auto source = renderSource();
  if (!source) return noRenderSource();
  // The camera view serves every stream type here.
  auto view = source->renderViewOf(userId, ViewType::camera);
  if (!view) return noRenderView();
  engine.startRemoteView(*userId, streamTypeOf(command), std::move(view));
  return success;
}

Outcome VEMOKOBUMsgRouter::startRemoteSubStreamView(KOBUCloud& engine, const Command& command) {
  const auto userId = command.nonEmptyText("userId");
  if (!userId) return paramError("userId param error");
  const auto source = renderSource();
  if (!source) return noRenderSource();
  auto view = source->renderViewOf(userId, ViewType::subStream);
  if (!view) return noRenderView();
  engine.startRemoteView(*userId, kKOBUStreamTypeSub, std::move(view));
  return success;
}

Outcome VEMOKOBUMsgRouter::setRemotePreviewParams(KOBUCloud& engine, const Command& command) {
  const auto userId = command.nonEmptyText("userId");
  if (!userId) return success;  // here a missing user is deliberately no error
  const auto params = renderParamsFrom(command.params());
  if (!params) {
    // Logged under another command's name: part of the interface as it stands.
    return paramError("render param error").loggedAs("stopRemoteViewFailed");
  }
  engine.setRemoteRenderParams(*userId, streamTypeOf(command), *params);
  return success;
}

Outcome VEMOKOBUMsgRouter::setRemoteSubStreamPreviewParams(KOBUCloud& engine,
                                                           const Command& command) {
  const auto userId = command.nonEmptyText("userId");
  if (!userId) return paramError("userId param error");
  if (const auto params = renderParamsFrom(command.params())) {
    engine.setRemoteRenderParams(*userId, kKOBUStreamTypeSub, *params);
  }
  return success;
}

Outcome VEMOKOBUMsgRouter::stopRemoteView(KOBUCloud& engine, const Command& command) {
  const auto userId = command.nonEmptyText("userId");
  if (!userId) return paramError("userId param error");
  engine.stopRemoteView(*userId, streamTypeOf(command));
  return success;
}

Outcome VEMOKOBUMsgRouter::stopRemoteSubStreamView(KOBUCloud& engine, const Command& command) {
  const auto userId = command.nonEmptyText("userId");
  if (!userId) return paramError("userId param error");
  engine.stopRemoteView(*userId, kKOBUStreamTypeSub);
  return success;
}

Outcome VEMOKOBUMsgRouter::stopAllRemoteView(KOBUCloud& engine, const Command&) {
  engine.stopAllRemoteView();
  return success;
}

// ---- Muting and volume

Outcome VEMOKOBUMsgRouter::muteRemoteVideoStream(KOBUCloud& engine, const Command& command) {
  const auto userId = command.nonEmptyText("userId");
  const auto mute = command.number("mute");
  if (!userId || !mute) return paramError("userId or mute param error");
  engine.muteRemoteVideoStream(*userId, mute->boolean());
  return success;
}

Outcome VEMOKOBUMsgRouter::muteAllRemoteVideoStreams(KOBUCloud& engine, const Command& command) {
  const auto mute = command.number("mute");
  if (!mute) return paramError("mute param error");
  engine.muteAllRemoteVideoStreams(mute->boolean());
  return success;
}

Outcome VEMOKOBUMsgRouter::muteRemoteAudio(KOBUCloud& engine, const Command& command) {
  const auto userId = command.nonEmptyText("userId");
  const auto mute = command.number("mute");
  if (!userId || !mute) return paramError("userId or mute param error");
  engine.muteRemoteAudio(*userId, mute->boolean());
  return success;
}

Outcome VEMOKOBUMsgRouter::muteAllRemoteAudio(KOBUCloud& engine, const Command& command) {
  const auto mute = command.number("mute");
  if (!mute) return paramError("mute param error");
  engine.muteAllRemoteAudio(mute->boolean());
  return success;
}

Outcome VEMOKOBUMsgRouter::setRemoteAudioVolume(KOBUCloud& engine, const Command& command) {
  const auto userId = command.nonEmptyText("userId");
  const auto volume = command.number("volume");
  if (!userId || !volume) return paramError("userId or volume param error");
  engine.setRemoteAudioVolume(*userId, volume->int32());
  return success;
}

// ---- Operations of the host

void VEMOKOBUMsgRouter::kobuStartSubStream(const Text& userId, std::shared_ptr<NativeView> view) {
  const auto engine = sharedKOBU_.load();
  if (!engine || !view || isOwnUser(userId)) return;
  engine->startRemoteView(*userId, kKOBUStreamTypeSub, std::move(view));
}

void VEMOKOBUMsgRouter::kobuStopSubStream(const Text& userId,
                                          const std::shared_ptr<NativeView>& view) {
  const auto engine = sharedKOBU_.load();
  if (!engine || !view || isOwnUser(userId)) return;
  engine->stopRemoteView(*userId, kKOBUStreamTypeSub);
}

void VEMOKOBUMsgRouter::kobuStopAllRemoteVideo() {
  if (const auto engine = sharedKOBU_.load()) engine->stopAllRemoteView();
}

void VEMOKOBUMsgRouter::kobuMuteAllRemoteVideo(bool mute) {
  if (const auto engine = sharedKOBU_.load()) engine->muteAllRemoteVideoStreams(mute);
}

void VEMOKOBUMsgRouter::kobuMuteAllRemoteAudio(bool mute) {
  if (const auto engine = sharedKOBU_.load()) engine->muteAllRemoteAudio(mute);
}

}  // namespace vemo
