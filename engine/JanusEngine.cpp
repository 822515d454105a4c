#include "engine/JanusEngine.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "bridge/EngineCodes.h"
#include "engine/Gst.h"

namespace vemo {
namespace {

using namespace janus;

constexpr std::chrono::milliseconds kLongestGoodbye{3'000};

std::int32_t volumeWithin(std::int32_t volume) { return std::clamp(volume, 0, 100); }

}  // namespace

JanusEngine::JanusEngine(std::shared_ptr<EngineThread> thread,
                         std::shared_ptr<const EngineOptions> options,
                         std::shared_ptr<EngineLog> log)
    : thread_(std::move(thread)),
      log_(log),
      conference_(std::make_shared<Conference>(thread_, std::move(options), std::move(log))) {}

JanusEngine::~JanusEngine() {
  conference_->silence();
  post([](Conference& conference) { conference.close(); });
}

void JanusEngine::setDelegate(std::shared_ptr<KOBUCloudDelegate> delegate) {
  post([weak = std::weak_ptr(delegate)](Conference& conference) { conference.setDelegate(weak); });
}

// Room

void JanusEngine::enterRoom(const KOBUParams& params, std::int64_t /*appScene*/) {
  post([params](Conference& conference) { conference.enter(params); });
}
void JanusEngine::exitRoom() {
  post([](Conference& conference) { conference.exit(); });
}
void JanusEngine::switchRole(std::int32_t role) {
  post([role](Conference& conference) { conference.switchRole(role); });
}
void JanusEngine::setDefaultStreamRecvMode(bool audio, bool video) {
  post([audio, video](Conference& conference) { conference.setReceiveMode(audio, video); });
}
void JanusEngine::setNetworkQosParam(const KOBUNetworkQosParam& param) {
  post([param](Conference& conference) { conference.setGivingWay(param); });
}

// Local video

void JanusEngine::startLocalPreview(bool frontCamera, std::shared_ptr<NativeView> view) {
  cameraOn_ = true;
  post([frontCamera, view = std::move(view)](Conference& conference) {
    conference.startCamera(frontCamera, view);
  });
}
void JanusEngine::stopLocalPreview() {
  cameraOn_ = false;
  post([](Conference& conference) { conference.stopCamera(); });
}
void JanusEngine::muteLocalVideo(bool mute) {
  post([mute](Conference& conference) { conference.muteCamera(mute); });
}
void JanusEngine::setVideoMuteImage(std::shared_ptr<VEMOImage> image, std::int32_t fps) {
  post([image = std::move(image), fps](Conference& conference) {
    conference.setMuteImage(image, fps);
  });
}
void JanusEngine::setLocalRenderParams(const KOBURenderParams& params) {
  post([params](Conference& conference) { conference.setLocalDrawing(params); });
}
void JanusEngine::setVideoEncoderParam(const KOBUVideoEncParam& param) {
  post([param](Conference& conference) { conference.setCameraEncoding(param); });
}
void JanusEngine::setVideoEncoderRotation(std::int32_t rotation) {
  post([rotation](Conference& conference) { conference.setCameraRotation(rotation); });
}
void JanusEngine::setVideoEncoderMirror(bool mirror) {
  post([mirror](Conference& conference) { conference.setCameraMirror(mirror); });
}
void JanusEngine::setGSensorMode(std::int32_t /*mode*/) {
  post([](Conference& conference) { conference.cannot("a desktop is not turned"); });
}
void JanusEngine::enableEncSmallVideoStream(bool enable, const KOBUVideoEncParam* quality) {
  post([enable, kept = quality ? std::optional(*quality) : std::nullopt](Conference& conference) {
    conference.setSmallStream(enable, kept);
  });
}

// Local audio

void JanusEngine::startLocalAudio(std::int32_t quality) {
  post([quality](Conference& conference) { conference.startMicrophone(quality); });
}
void JanusEngine::stopLocalAudio() {
  post([](Conference& conference) { conference.stopMicrophone(); });
}
void JanusEngine::muteLocalAudio(bool mute) {
  post([mute](Conference& conference) { conference.muteMicrophone(mute); });
}
void JanusEngine::setAudioRoute(std::int32_t route) {
  post([route](Conference& conference) { conference.setAudioRoute(route); });
}
void JanusEngine::setAudioCaptureVolume(std::int32_t volume) {
  captureVolume_ = volumeWithin(volume);
  post(
      [kept = volumeWithin(volume)](Conference& conference) { conference.setCaptureVolume(kept); });
}
void JanusEngine::setAudioPlayoutVolume(std::int32_t volume) {
  playoutVolume_ = volumeWithin(volume);
  post(
      [kept = volumeWithin(volume)](Conference& conference) { conference.setPlayoutVolume(kept); });
}
void JanusEngine::enableAudioVolumeEvaluation(std::int32_t intervalMs) {
  post([intervalMs](Conference& conference) { conference.setVolumeInterval(intervalMs); });
}

// Other users

void JanusEngine::startRemoteView(const std::string& userId, std::int32_t streamType,
                                  std::shared_ptr<NativeView> view) {
  post([userId, streamType, view = std::move(view)](Conference& conference) {
    conference.startView(userId, streamType, view);
  });
}
void JanusEngine::stopRemoteView(const std::string& userId, std::int32_t streamType) {
  post([userId, streamType](Conference& conference) { conference.stopView(userId, streamType); });
}
void JanusEngine::stopAllRemoteView() {
  post([](Conference& conference) { conference.stopAllViews(); });
}
void JanusEngine::setRemoteVideoStreamType(const std::string& userId, std::int32_t type) {
  post([userId, type](Conference& conference) { conference.setStreamType(userId, type); });
}
void JanusEngine::setRemoteRenderParams(const std::string& userId, std::int32_t streamType,
                                        const KOBURenderParams& params) {
  post([userId, streamType, params](Conference& conference) {
    conference.setRemoteDrawing(userId, streamType, params);
  });
}
void JanusEngine::muteRemoteVideoStream(const std::string& userId, bool mute) {
  post([userId, mute](Conference& conference) { conference.muteVideo(userId, mute); });
}
void JanusEngine::muteAllRemoteVideoStreams(bool mute) {
  post([mute](Conference& conference) { conference.muteAllVideo(mute); });
}
void JanusEngine::muteRemoteAudio(const std::string& userId, bool mute) {
  post([userId, mute](Conference& conference) { conference.muteAudio(userId, mute); });
}
void JanusEngine::muteAllRemoteAudio(bool mute) {
  post([mute](Conference& conference) { conference.muteAllAudio(mute); });
}
void JanusEngine::setRemoteAudioVolume(const std::string& userId, std::int32_t volume) {
  post([userId, volume](Conference& conference) { conference.setVolume(userId, volume); });
}

// Diagnostics

void JanusEngine::startSpeedTest(std::uint32_t /*sdkAppId*/, const std::string& /*userId*/,
                                 const std::string& userSig, SpeedTestCompletion completion) {
  auto shared = std::make_shared<const SpeedTestCompletion>(std::move(completion));
  post([userSig, shared = std::move(shared)](Conference& conference) {
    conference.startSpeedTest(userSig, shared);
  });
}
void JanusEngine::stopSpeedTest() {
  post([](Conference& conference) { conference.stopSpeedTest(); });
}
void JanusEngine::callExperimentalAPI(const std::string& jsonText) {
  post([jsonText](Conference& conference) { conference.experimental(jsonText); });
}
void JanusEngine::showDebugView(std::int32_t showType) {
  post([showType](Conference& conference) { conference.showPanels(showType != 0); });
}
void JanusEngine::setDebugViewMargin(const std::string& userId, EdgeInsets margin) {
  post([userId, margin](Conference& conference) { conference.setPanelMargin(userId, margin); });
}

// Screen sharing

void JanusEngine::startScreenCaptureInApp(const KOBUVideoEncParam& param) {
  int idle = screenIdle;
  if (!screen_->compare_exchange_strong(idle, screenStarting)) {
    post([](Conference& conference) {
      conference.warn(kWarnCaptureRunning, "the screen is captured already");
    });
    return;
  }
  post([param, state = screen_](Conference& conference) { conference.startScreen(param, state); });
}
void JanusEngine::startScreenCaptureByReplaykit(const KOBUVideoEncParam& param,
                                                const std::string& /*appGroup*/) {
  startScreenCaptureInApp(param);
}
std::int64_t JanusEngine::pauseScreenCapture() {
  int capturing = screenCapturing;
  if (!screen_->compare_exchange_strong(capturing, screenPaused)) return kNotCapturing;
  post([](Conference& conference) { conference.pauseScreen(true); });
  return 0;
}
std::int64_t JanusEngine::resumeScreenCapture() {
  int paused = screenPaused;
  if (!screen_->compare_exchange_strong(paused, screenCapturing)) return kNotCapturing;
  post([](Conference& conference) { conference.pauseScreen(false); });
  return 0;
}
std::int64_t JanusEngine::stopScreenCapture() {
  if (screen_->exchange(screenIdle) == screenIdle) return kNotCapturing;
  post([](Conference& conference) { conference.stopScreen(); });
  return 0;
}

// Music

void JanusEngine::startPlayMusic(const PWAudioMusicParam& music, OnStart onStart,
                                 OnProgress onProgress, OnComplete onComplete) {
  post([music, callbacks = MusicPlayer::Callbacks{std::move(onStart), std::move(onProgress),
                                                  std::move(onComplete)}](Conference& conference) {
    conference.music().start(music, callbacks);
  });
}
void JanusEngine::stopPlayMusic(std::int32_t id) {
  post([id](Conference& conference) { conference.music().stop(id); });
}
void JanusEngine::pausePlayMusic(std::int32_t id) {
  post([id](Conference& conference) { conference.music().pause(id); });
}
void JanusEngine::resumePlayMusic(std::int32_t id) {
  post([id](Conference& conference) { conference.music().resume(id); });
}
void JanusEngine::seekMusicToPosInMS(std::int32_t id, std::int32_t positionMs) {
  post([id, positionMs](Conference& conference) { conference.music().seek(id, positionMs); });
}
void JanusEngine::setAllMusicVolume(std::int32_t volume) {
  post([volume](Conference& conference) { conference.music().setAllVolume(volume); });
}
void JanusEngine::setMusicPlayoutVolume(std::int32_t id, std::int32_t volume) {
  post([id, volume](Conference& conference) { conference.music().setPlayoutVolume(id, volume); });
}
void JanusEngine::setMusicPublishVolume(std::int32_t id, std::int32_t volume) {
  post([id, volume](Conference& conference) { conference.music().setPublishVolume(id, volume); });
}

// Devices

std::int32_t JanusEngine::switchCamera(bool frontCamera) {
  post([frontCamera](Conference& conference) { conference.switchCamera(frontCamera); });
  return cameraOn_ ? 0 : kCameraOff;
}

JanusEngineClass::JanusEngineClass(EngineOptions options)
    : options_(std::make_shared<const EngineOptions>(std::move(options))) {
  janus::keepOpenSslAtExit();
}

JanusEngineClass::~JanusEngineClass() {
  destroySharedIntance();
  if (!thread_->isCurrent()) settle(kLongestGoodbye);
}

std::string JanusEngineClass::getSDKVersion() { return options_->version; }

std::shared_ptr<KOBUCloud> JanusEngineClass::sharedInstance() {
  const std::lock_guard lock(mutex_);
  if (!instance_) instance_ = std::make_shared<JanusEngine>(thread_, options_, log_);
  return instance_;
}

void JanusEngineClass::destroySharedIntance() {
  std::shared_ptr<JanusEngine> instance;  // dies, perhaps, with no lock held
  const std::lock_guard lock(mutex_);
  instance.swap(instance_);
}

void JanusEngineClass::setLogLevel(std::int32_t level) { log_->setLevel(level); }
void JanusEngineClass::setConsoleEnabled(bool enabled) { log_->setConsole(enabled); }
void JanusEngineClass::setLogCompressEnabled(bool enabled) {
  if (enabled) log_->write(EngineLog::warning, "the log is one file, and not compressed");
}
void JanusEngineClass::setLogDirPath(const std::string& path) { log_->setFolder(path); }

bool JanusEngineClass::settle(std::chrono::milliseconds timeout) const {
  return thread_->waitUntilIdle(timeout);
}

}  // namespace vemo
