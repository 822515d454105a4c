#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "bridge/KOBUCloud.h"
#include "engine/Conference.h"
#include "engine/EngineOptions.h"

namespace vemo {

/// An engine on GStreamer and a Janus server: each operation is passed to the engine thread.
///
/// Views are VideoViews; in others nothing is drawn. Images are given pixels by
/// EngineOptions::pixelsOf. A user signature is what vemo-sign prints.
///
/// What a desktop can't do leaves a record in the engine's log, and does nothing else:
/// turning with the device (setGSensorMode), playing by an earpiece (setAudioRoute), compressing
/// the log's files (setLogCompressEnabled). Sharing the whole device and sharing the
/// application's own screen are the same here: the screen.
///
/// Where more than a tenth of the packets is lost, less is sent of pictures, down to minBitrate (a
/// tenth of bitrate where that is 0). setNetworkQosParam: with the preference 2 there are fewer
/// pictures then, with any other each is worse; with adjustResolution they are smaller, too, at
/// less than half of the bit rate. It is always the engine that decides: another controlMode than 0
/// leaves a record.
///
/// A panel over the videos (showDebugView with anything but 0) says in what size, how often and
/// with how many bits a stream comes or goes, what is lost of it, and how long a round trip takes.
/// It is new every two seconds, in a room.
///
/// The screen is captured by ximagesrc under X11, and by the desktop's screencast portal under
/// Wayland or without a display (EngineOptions::screen). The portal asks the user. What is refused,
/// can't be had or breaks off ends the capture with a warning and onScreenCaptureStoped; what the
/// portal says that the user ended at the desktop, with a record and onScreenCaptureStoped alone.
/// What was picked holds until the share is stopped, pauses included; then the user is asked again.
///
/// A speed test measures the round trip by requests, and the loss each way by sound that it sends
/// into a room of its own and receives again; docs/engine.md says what a result tells where that
/// can't be. It makes its room with the signature, whatever room that is for.
///
/// A speaker or microphone that can't be used, or went away, is tried again after ever longer
/// pauses up to eight seconds, which leaves a record once it is back.
///
/// Experimental calls: {"api":"dropConnection"} drops the connection to the server, as a network
/// might; {"api":"losePackets","percent":20} loses so many of what is sent, until the room is left
/// or it is 0; all else is warned of.
class JanusEngine final : public KOBUCloud, PWAudioEffectManager, KOBUDeviceManager {
 public:
  JanusEngine(std::shared_ptr<EngineThread> thread, std::shared_ptr<const EngineOptions> options,
              std::shared_ptr<janus::EngineLog> log);
  ~JanusEngine() override;
  JanusEngine(const JanusEngine&) = delete;
  JanusEngine& operator=(const JanusEngine&) = delete;

  void setDelegate(std::shared_ptr<KOBUCloudDelegate> delegate) override;

  // Room
  void enterRoom(const KOBUParams& params, std::int64_t appScene) override;
  void exitRoom() override;
  void switchRole(std::int32_t role) override;
  void setDefaultStreamRecvMode(bool audio, bool video) override;
  void setNetworkQosParam(const KOBUNetworkQosParam& param) override;

  // Local video
  void startLocalPreview(bool frontCamera, std::shared_ptr<NativeView> view) override;
  void stopLocalPreview() override;
  void muteLocalVideo(bool mute) override;
  void setVideoMuteImage(std::shared_ptr<VEMOImage> image, std::int32_t fps) override;
  void setLocalRenderParams(const KOBURenderParams& params) override;
  void setVideoEncoderParam(const KOBUVideoEncParam& param) override;
  void setVideoEncoderRotation(std::int32_t rotation) override;
  void setVideoEncoderMirror(bool mirror) override;
  void setGSensorMode(std::int32_t mode) override;
  void enableEncSmallVideoStream(bool enable, const KOBUVideoEncParam* quality) override;

  // Local audio
  void startLocalAudio(std::int32_t quality) override;
  void stopLocalAudio() override;
  void muteLocalAudio(bool mute) override;
  void setAudioRoute(std::int32_t route) override;
  void setAudioCaptureVolume(std::int32_t volume) override;
  std::int32_t getAudioCaptureVolume() override { return captureVolume_; }
  void setAudioPlayoutVolume(std::int32_t volume) override;
  std::int32_t getAudioPlayoutVolume() override { return playoutVolume_; }
  void enableAudioVolumeEvaluation(std::int32_t intervalMs) override;

  // Other users
  void startRemoteView(const std::string& userId, std::int32_t streamType,
                       std::shared_ptr<NativeView> view) override;
  void stopRemoteView(const std::string& userId, std::int32_t streamType) override;
  void stopAllRemoteView() override;
  void setRemoteVideoStreamType(const std::string& userId, std::int32_t type) override;
  void setRemoteRenderParams(const std::string& userId, std::int32_t streamType,
                             const KOBURenderParams& params) override;
  void muteRemoteVideoStream(const std::string& userId, bool mute) override;
  void muteAllRemoteVideoStreams(bool mute) override;
  void muteRemoteAudio(const std::string& userId, bool mute) override;
  void muteAllRemoteAudio(bool mute) override;
  void setRemoteAudioVolume(const std::string& userId, std::int32_t volume) override;

  PWAudioEffectManager& getAudioEffectManager() override { return *this; }
  KOBUDeviceManager& getDeviceManager() override { return *this; }

  // Diagnostics
  void startSpeedTest(std::uint32_t sdkAppId, const std::string& userId, const std::string& userSig,
                      SpeedTestCompletion completion) override;
  void stopSpeedTest() override;
  void callExperimentalAPI(const std::string& jsonText) override;
  void showDebugView(std::int32_t showType) override;
  void setDebugViewMargin(const std::string& userId, EdgeInsets margin) override;

  // Screen sharing
  void startScreenCaptureInApp(const KOBUVideoEncParam& param) override;
  void startScreenCaptureByReplaykit(const KOBUVideoEncParam& param,
                                     const std::string& appGroup) override;
  std::int64_t pauseScreenCapture() override;
  std::int64_t resumeScreenCapture() override;
  std::int64_t stopScreenCapture() override;

 private:
  // Music
  void startPlayMusic(const PWAudioMusicParam& music, OnStart onStart, OnProgress onProgress,
                      OnComplete onComplete) override;
  void stopPlayMusic(std::int32_t id) override;
  void pausePlayMusic(std::int32_t id) override;
  void resumePlayMusic(std::int32_t id) override;
  void seekMusicToPosInMS(std::int32_t id, std::int32_t positionMs) override;
  void setAllMusicVolume(std::int32_t volume) override;
  void setMusicPlayoutVolume(std::int32_t id, std::int32_t volume) override;
  void setMusicPublishVolume(std::int32_t id, std::int32_t volume) override;

  // Devices
  std::int32_t switchCamera(bool frontCamera) override;

  /// Runs `step` with the conference on the engine thread.
  template <class Step>
  void post(Step step) {
    thread_->post([conference = conference_, step = std::move(step)] { step(*conference); });
  }

  const std::shared_ptr<EngineThread> thread_;
  const std::shared_ptr<janus::EngineLog> log_;
  const std::shared_ptr<janus::Conference> conference_;
  std::atomic<std::int32_t> captureVolume_ = 100, playoutVolume_ = 100;
  std::atomic<bool> cameraOn_ = false;
  const std::shared_ptr<std::atomic<int>> screen_ =
      std::make_shared<std::atomic<int>>(janus::screenIdle);
};

/// Makes the one engine of an application. Any thread; it may be destroyed by an event of its
/// engine, too. An application that uses OpenSSL itself makes one of these before, or calls
/// OPENSSL_init_crypto(OPENSSL_INIT_NO_ATEXIT, nullptr) first: else it may fall when it exits while
/// threads of GStreamer still end.
class JanusEngineClass final : public KOBUCloudClass {
 public:
  explicit JanusEngineClass(EngineOptions options);
  /// Waits a moment for goodbyes that are on their way.
  ~JanusEngineClass() override;
  JanusEngineClass(const JanusEngineClass&) = delete;
  JanusEngineClass& operator=(const JanusEngineClass&) = delete;

  std::string getSDKVersion() override;
  std::shared_ptr<KOBUCloud> sharedInstance() override;
  void destroySharedIntance() override;
  void setLogLevel(std::int32_t level) override;
  void setConsoleEnabled(bool enabled) override;
  void setLogCompressEnabled(bool enabled) override;
  void setLogDirPath(const std::string& path) override;

  /// Waits until nothing is under way: no request unanswered, no music playing, no speed test;
  /// whether that came to be in time. For tests, not on the engine's thread.
  bool settle(std::chrono::milliseconds timeout) const;

 private:
  const std::shared_ptr<const EngineOptions> options_;
  const std::shared_ptr<janus::EngineLog> log_ = std::make_shared<janus::EngineLog>();
  const std::shared_ptr<EngineThread> thread_ = std::make_shared<EngineThread>();
  std::mutex mutex_;
  std::shared_ptr<JanusEngine> instance_;
};

}  // namespace vemo
