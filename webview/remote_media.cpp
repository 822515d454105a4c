#include "webview/event_routing.h"

// Other users: what is shown and heard of them, and what they do.

namespace vemo {

// ---- Views and render parameters

Outcome VEMOKOBUMsgRouter::startRemoteView(
    KOBUCloud& engine, const Command<param::UserId, param::StreamType>& command) {
  const std::string userId(command.get<param::UserId>());
  const auto source = customRenderSource();
  if (!source) return fail(error::noSource);
  // The camera view serves every stream type here.
  auto view = source->renderViewOf(userId, ViewType::camera);
  if (!view) return fail(error::noView);
  engine.startRemoteView(userId, command.get<param::StreamType>(), std::move(view));
  return success;
}

Outcome VEMOKOBUMsgRouter::startRemoteSubStreamView(KOBUCloud& engine,
                                                    const Command<param::UserId>& command) {
  const std::string userId(command.get<param::UserId>());
  const auto source = customRenderSource();
  if (!source) return fail(error::noSource);
  auto view = source->renderViewOf(userId, ViewType::subStream);
  if (!view) return fail(error::noView);
  engine.startRemoteView(userId, kKOBUStreamTypeSub, std::move(view));
  return success;
}

Outcome VEMOKOBUMsgRouter::setRemotePreviewParams(
    KOBUCloud& engine,
    const Command<Maybe<param::UserId>, param::StreamType, Checked<param::RenderParams>>& command) {
  const auto userId = command.get<param::UserId>();
  if (!userId) return success;  // here a missing user is deliberately no error
  const auto params = command.get<param::RenderParams>();
  if (!params) {
    // Logged under another command's name: part of the interface as it stands.
    return paramError(param::RenderParams::missing).loggedAs("stopRemoteViewFailed");
  }
  engine.setRemoteRenderParams(std::string(*userId), command.get<param::StreamType>(), *params);
  return success;
}

Outcome VEMOKOBUMsgRouter::setRemoteSubStreamPreviewParams(
    KOBUCloud& engine, const Command<param::UserId, Maybe<param::RenderParams>>& command) {
  if (const auto params = command.get<param::RenderParams>()) {
    engine.setRemoteRenderParams(std::string(command.get<param::UserId>()), kKOBUStreamTypeSub,
                                 *params);
  }
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

// ---- Events

void VEMOKOBUMsgRouter::onRemoteUserEnterRoom(const Text& userId) {
  tell<event::OnRemoteUserEnterRoom>("-[VEMOKOBUMsgRouter onRemoteUserEnterRoom:]", userId);
}

void VEMOKOBUMsgRouter::onRemoteUserLeaveRoom(const Text& userId, std::int64_t reason) {
  tell<event::OnRemoteUserLeaveRoom>("-[VEMOKOBUMsgRouter onRemoteUserLeaveRoom:reason:]", userId,
                                     reason);
}

void VEMOKOBUMsgRouter::onUserAudioAvailable(const Text& userId, bool available) {
  tell<event::OnUserAudioAvailable>("-[VEMOKOBUMsgRouter onUserAudioAvailable:available:]", userId,
                                    available);
}

void VEMOKOBUMsgRouter::onUserVideoAvailable(const Text& userId, bool available) {
  tell<event::OnUserVideoAvailable>("-[VEMOKOBUMsgRouter onUserVideoAvailable:available:]", userId,
                                    available);
}

void VEMOKOBUMsgRouter::onUserSubStreamAvailable(const Text& userId, bool available) {
  tell<event::OnUserSubStreamAvailable>("-[VEMOKOBUMsgRouter onUserSubStreamAvailable:available:]",
                                        userId, available);
}

void VEMOKOBUMsgRouter::onFirstVideoFrame(const Text& userId, std::int64_t streamType,
                                          std::int32_t width, std::int32_t height) {
  tell<event::OnFirstVideoFrame>("-[VEMOKOBUMsgRouter onFirstVideoFrame:streamType:width:height:]",
                                 userId, streamType, width, height);
}

void VEMOKOBUMsgRouter::onFirstAudioFrame(const Text& userId) {
  tell<event::OnFirstAudioFrame>("-[VEMOKOBUMsgRouter onFirstAudioFrame:]", userId);
}

}  // namespace vemo
