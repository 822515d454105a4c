#include "simulation/SimulatedEngine.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "bridge/EngineCodes.h"
#include "simulation/ExperimentalCall.h"

namespace vemo {
namespace {

/// Which of a user's pictures a stream type is of; nothing when it is none.
std::optional<MediaKind> pictureKind(std::int32_t streamType) {
  switch (streamType) {
    case kKOBUStreamTypeMain:
    case kKOBUStreamTypeMainSmall: return MediaKind::video;
    case kKOBUStreamTypeSub: return MediaKind::subStream;
    default: return std::nullopt;
  }
}

}  // namespace

SimulatedEngine::SimulatedEngine(std::shared_ptr<World> world, std::shared_ptr<Handset> handset)
    : world_(std::move(world)), client_(std::make_shared<Client>(*world_, std::move(handset))) {}

SimulatedEngine::~SimulatedEngine() { locked()->close(); }

void SimulatedEngine::setDelegate(std::shared_ptr<KOBUCloudDelegate> delegate) {
  locked()->delegate = delegate;
}

void SimulatedEngine::enterRoom(const KOBUParams& params, std::int64_t appScene) {
  const bool signatureGood = world_->signatureIsGood(params);
  locked()->enter(params, appScene, signatureGood);
}

void SimulatedEngine::exitRoom() { locked()->exit(); }

void SimulatedEngine::switchRole(std::int32_t role) { locked()->switchRole(role); }

void SimulatedEngine::setDefaultStreamRecvMode(bool audio, bool video) {
  locked()->nextReceiveMode = {audio, video};
}

void SimulatedEngine::setNetworkQosParam(const KOBUNetworkQosParam& param) {
  locked()->video.qos = param;
}

void SimulatedEngine::startLocalPreview(bool frontCamera, std::shared_ptr<NativeView> view) {
  locked()->startCamera(frontCamera, std::move(view));
}

void SimulatedEngine::stopLocalPreview() { locked()->stopCamera(); }

void SimulatedEngine::muteLocalVideo(bool mute) {
  const auto client = locked();
  client->video.muted = mute;
  client->publish();
}

void SimulatedEngine::setVideoMuteImage(std::shared_ptr<VEMOImage> image, std::int32_t fps) {
  const auto client = locked();
  client->video.muteImageFps = fps;
  world_->discard(std::exchange(client->video.muteImage, std::move(image)));
}

void SimulatedEngine::setLocalRenderParams(const KOBURenderParams& params) {
  locked()->video.renderParams = params;
}

void SimulatedEngine::setVideoEncoderParam(const KOBUVideoEncParam& param) {
  const auto client = locked();
  if (client->accepts(param)) client->video.encoder = param;
}

void SimulatedEngine::setVideoEncoderRotation(std::int32_t rotation) {
  locked()->video.encoderRotation = rotation;
}

void SimulatedEngine::setVideoEncoderMirror(bool mirror) { locked()->video.encoderMirror = mirror; }

void SimulatedEngine::setGSensorMode(std::int32_t mode) { locked()->video.sensorMode = mode; }

void SimulatedEngine::enableEncSmallVideoStream(bool enable, const KOBUVideoEncParam* quality) {
  const auto client = locked();
  client->video.smallStream.reset();
  if (!enable) return;
  client->video.smallStream.emplace();
  if (quality && client->accepts(*quality)) client->video.smallStream = *quality;
}

void SimulatedEngine::startLocalAudio(std::int32_t quality) { locked()->startMicrophone(quality); }

void SimulatedEngine::stopLocalAudio() { locked()->stopMicrophone(); }

void SimulatedEngine::muteLocalAudio(bool mute) {
  const auto client = locked();
  client->audio.muted = mute;
  client->publish();
}

void SimulatedEngine::setAudioRoute(std::int32_t route) {
  const auto client = locked();
  if (route != kRouteSpeaker && route != kRouteEarpiece) {
    client->warn(kWarnBadValue, "unknown audio route");
    return;
  }
  const auto former = std::exchange(client->audio.route, route);
  if (former == route) return;
  client->emit([route, former](auto& to) { to.onAudioRouteChanged(route, former); });
}

void SimulatedEngine::setAudioCaptureVolume(std::int32_t volume) {
  locked()->audio.captureVolume = volumeWithin(volume);
}

std::int32_t SimulatedEngine::getAudioCaptureVolume() { return locked()->audio.captureVolume; }

void SimulatedEngine::setAudioPlayoutVolume(std::int32_t volume) {
  locked()->audio.playoutVolume = volumeWithin(volume);
}

std::int32_t SimulatedEngine::getAudioPlayoutVolume() { return locked()->audio.playoutVolume; }

void SimulatedEngine::enableAudioVolumeEvaluation(std::int32_t intervalMs) {
  locked()->setVolumeInterval(intervalMs);
}

void SimulatedEngine::startRemoteView(const std::string& userId, std::int32_t streamType,
                                      std::shared_ptr<NativeView> view) {
  const auto client = locked();
  const auto kind = pictureKind(streamType);
  if (!kind) {
    client->warn(kWarnBadValue, "unknown stream type");
    world_->discard(std::move(view));
    return;
  }
  auto* shown = client->kept(client->views, {userId, *kind});
  if (!shown) {
    world_->discard(std::move(view));
    return;
  }
  shown->streamType = streamType;
  world_->discard(std::exchange(shown->view, std::move(view)));
  client->receive(userId);
}

void SimulatedEngine::stopRemoteView(const std::string& userId, std::int32_t streamType) {
  const auto client = locked();
  const auto kind = pictureKind(streamType);
  if (!kind) {
    client->warn(kWarnBadValue, "unknown stream type");
    return;
  }
  const auto found = client->views.find({userId, *kind});
  if (found == client->views.end()) return;
  world_->discard(std::move(found->second.view));
  client->views.erase(found);
}

void SimulatedEngine::stopAllRemoteView() { locked()->stopRemoteViews(); }

void SimulatedEngine::setRemoteVideoStreamType(const std::string& userId, std::int32_t type) {
  const auto client = locked();
  if (type != kKOBUStreamTypeMain && type != kKOBUStreamTypeMainSmall) {
    client->warn(kWarnBadValue, "unknown stream type");
    return;
  }
  if (auto* wish = client->kept(client->wishes, userId)) wish->preferredStream = type;
}

void SimulatedEngine::setRemoteRenderParams(const std::string& userId, std::int32_t streamType,
                                            const KOBURenderParams& params) {
  const auto client = locked();
  const auto kind = pictureKind(streamType);
  if (!kind) {
    client->warn(kWarnBadValue, "unknown stream type");
    return;
  }
  if (auto* drawing = client->kept(client->drawings, {userId, *kind})) *drawing = params;
}

void SimulatedEngine::muteRemoteVideoStream(const std::string& userId, bool mute) {
  const auto client = locked();
  auto* wish = client->kept(client->wishes, userId);
  if (!wish) return;
  wish->videoMuted = mute;
  client->receive(userId);
}

void SimulatedEngine::muteAllRemoteVideoStreams(bool mute) {
  const auto client = locked();
  client->allVideoMuted = mute;
  for (auto& [user, wish] : client->wishes) wish.videoMuted.reset();
  client->receiveAll();
}

void SimulatedEngine::muteRemoteAudio(const std::string& userId, bool mute) {
  const auto client = locked();
  auto* wish = client->kept(client->wishes, userId);
  if (!wish) return;
  wish->audioMuted = mute;
  client->receive(userId);
}

void SimulatedEngine::muteAllRemoteAudio(bool mute) {
  const auto client = locked();
  client->allAudioMuted = mute;
  for (auto& [user, wish] : client->wishes) wish.audioMuted.reset();
  client->receiveAll();
}

void SimulatedEngine::setRemoteAudioVolume(const std::string& userId, std::int32_t volume) {
  const auto client = locked();
  if (auto* wish = client->kept(client->wishes, userId)) wish->volume = volumeWithin(volume);
}

void SimulatedEngine::startSpeedTest(std::uint32_t /*sdkAppId*/, const std::string& /*userId*/,
                                     const std::string& /*userSig*/,
                                     SpeedTestCompletion completion) {
  auto shared = std::make_shared<const SpeedTestCompletion>(std::move(completion));
  locked()->speedTest.start(std::move(shared));
}

void SimulatedEngine::stopSpeedTest() { locked()->speedTest.stop(); }

void SimulatedEngine::callExperimentalAPI(const std::string& jsonText) {
  const auto call = experimentalCallFrom(jsonText);
  experimentalCall(*locked(), call, jsonText);
}

void SimulatedEngine::showDebugView(std::int32_t showType) { locked()->debugView = showType; }

void SimulatedEngine::setDebugViewMargin(const std::string& userId, EdgeInsets margin) {
  const auto client = locked();
  if (auto* kept = client->kept(client->debugViewMargins, userId)) *kept = margin;
}

void SimulatedEngine::startScreenCaptureInApp(const KOBUVideoEncParam& param) {
  locked()->startCapture(param, false, "");
}

void SimulatedEngine::startScreenCaptureByReplaykit(const KOBUVideoEncParam& param,
                                                    const std::string& appGroup) {
  locked()->startCapture(param, true, appGroup);
}

std::int64_t SimulatedEngine::pauseScreenCapture() { return locked()->pauseCapture(); }

std::int64_t SimulatedEngine::resumeScreenCapture() { return locked()->resumeCapture(); }

std::int64_t SimulatedEngine::stopScreenCapture() { return locked()->stopCapture(); }

void SimulatedEngine::startPlayMusic(const PWAudioMusicParam& music, OnStart onStart,
                                     OnProgress onProgress, OnComplete onComplete) {
  const auto& durationOf = world_->options().musicDuration;
  const auto duration = durationOf && music.path ? durationOf(*music.path) : std::nullopt;
  auto callbacks = std::make_shared<const MusicPlayer::Callbacks>(
      MusicPlayer::Callbacks{std::move(onStart), std::move(onProgress), std::move(onComplete)});
  locked()->music.start(music, std::move(callbacks), duration);
}

void SimulatedEngine::stopPlayMusic(std::int32_t id) { locked()->music.stop(id); }

void SimulatedEngine::pausePlayMusic(std::int32_t id) { locked()->music.pause(id); }

void SimulatedEngine::resumePlayMusic(std::int32_t id) { locked()->music.resume(id); }

void SimulatedEngine::seekMusicToPosInMS(std::int32_t id, std::int32_t positionMs) {
  locked()->music.seek(id, Clock::Time(positionMs));
}

void SimulatedEngine::setAllMusicVolume(std::int32_t volume) {
  locked()->music.setAllVolume(volume);
}

void SimulatedEngine::setMusicPlayoutVolume(std::int32_t id, std::int32_t volume) {
  locked()->music.setPlayoutVolume(id, volume);
}

void SimulatedEngine::setMusicPublishVolume(std::int32_t id, std::int32_t volume) {
  locked()->music.setPublishVolume(id, volume);
}

std::int32_t SimulatedEngine::switchCamera(bool frontCamera) {
  const auto client = locked();
  client->video.front = frontCamera;
  return client->video.cameraOn ? 0 : kCameraOff;
}

}  // namespace vemo
