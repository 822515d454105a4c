#pragma once

#include <boost/json/object.hpp>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "bridge/KOBUCloud.h"
#include "bridge/KOBUCloudDelegate.h"
#include "bridge/KOBUDeviceManager.h"
#include "bridge/PWAudioEffectManager.h"
#include "platform/Forwarding.h"

// The engine with its managers, its class, and who hears of its events. Each of these passes every
// call on to its target (platform/Forwarding.h), so that what stands in between overrides
// the operations that it is about.

namespace vemo {

class ForwardingPWAudioEffectManager : public Forwarding<PWAudioEffectManager> {
 public:
  using Forwarding::Forwarding;

  void startPlayMusic(const PWAudioMusicParam& music, OnStart onStart, OnProgress onProgress,
                      OnComplete onComplete) override {
    target().startPlayMusic(music, std::move(onStart), std::move(onProgress),
                            std::move(onComplete));
  }
  void stopPlayMusic(std::int32_t id) override { target().stopPlayMusic(id); }
  void pausePlayMusic(std::int32_t id) override { target().pausePlayMusic(id); }
  void resumePlayMusic(std::int32_t id) override { target().resumePlayMusic(id); }
  void seekMusicToPosInMS(std::int32_t id, std::int32_t positionMs) override {
    target().seekMusicToPosInMS(id, positionMs);
  }
  void setAllMusicVolume(std::int32_t volume) override { target().setAllMusicVolume(volume); }
  void setMusicPlayoutVolume(std::int32_t id, std::int32_t volume) override {
    target().setMusicPlayoutVolume(id, volume);
  }
  void setMusicPublishVolume(std::int32_t id, std::int32_t volume) override {
    target().setMusicPublishVolume(id, volume);
  }
};

class ForwardingKOBUDeviceManager : public Forwarding<KOBUDeviceManager> {
 public:
  using Forwarding::Forwarding;

  std::int32_t switchCamera(bool frontCamera) override {
    return target().switchCamera(frontCamera);
  }
};

class ForwardingKOBUCloud : public Forwarding<KOBUCloud> {
 public:
  using Forwarding::Forwarding;

  void setDelegate(std::shared_ptr<KOBUCloudDelegate> delegate) override {
    target().setDelegate(std::move(delegate));
  }
  void enterRoom(const KOBUParams& params, std::int64_t appScene) override {
    target().enterRoom(params, appScene);
  }
  void exitRoom() override { target().exitRoom(); }
  void switchRole(std::int32_t role) override { target().switchRole(role); }
  void setDefaultStreamRecvMode(bool audio, bool video) override {
    target().setDefaultStreamRecvMode(audio, video);
  }
  void setNetworkQosParam(const KOBUNetworkQosParam& param) override {
    target().setNetworkQosParam(param);
  }
  void startLocalPreview(bool frontCamera, std::shared_ptr<NativeView> view) override {
    target().startLocalPreview(frontCamera, std::move(view));
  }
  void stopLocalPreview() override { target().stopLocalPreview(); }
  void muteLocalVideo(bool mute) override { target().muteLocalVideo(mute); }
  void setVideoMuteImage(std::shared_ptr<VEMOImage> image, std::int32_t fps) override {
    target().setVideoMuteImage(std::move(image), fps);
  }
  void setLocalRenderParams(const KOBURenderParams& params) override {
    target().setLocalRenderParams(params);
  }
  void setVideoEncoderParam(const KOBUVideoEncParam& param) override {
    target().setVideoEncoderParam(param);
  }
  void setVideoEncoderRotation(std::int32_t rotation) override {
    target().setVideoEncoderRotation(rotation);
  }
  void setVideoEncoderMirror(bool mirror) override { target().setVideoEncoderMirror(mirror); }
  void setGSensorMode(std::int32_t mode) override { target().setGSensorMode(mode); }
  void enableEncSmallVideoStream(bool enable, const KOBUVideoEncParam* quality) override {
    target().enableEncSmallVideoStream(enable, quality);
  }
  void startLocalAudio(std::int32_t quality) override { target().startLocalAudio(quality); }
  void stopLocalAudio() override { target().stopLocalAudio(); }
  void muteLocalAudio(bool mute) override { target().muteLocalAudio(mute); }
  void setAudioRoute(std::int32_t route) override { target().setAudioRoute(route); }
  void setAudioCaptureVolume(std::int32_t volume) override {
    target().setAudioCaptureVolume(volume);
  }
  std::int32_t getAudioCaptureVolume() override { return target().getAudioCaptureVolume(); }
  void setAudioPlayoutVolume(std::int32_t volume) override {
    target().setAudioPlayoutVolume(volume);
  }
  std::int32_t getAudioPlayoutVolume() override { return target().getAudioPlayoutVolume(); }
  void enableAudioVolumeEvaluation(std::int32_t intervalMs) override {
    target().enableAudioVolumeEvaluation(intervalMs);
  }
  void startRemoteView(const std::string& userId, std::int32_t streamType,
                       std::shared_ptr<NativeView> view) override {
    target().startRemoteView(userId, streamType, std::move(view));
  }
  void stopRemoteView(const std::string& userId, std::int32_t streamType) override {
    target().stopRemoteView(userId, streamType);
  }
  void stopAllRemoteView() override { target().stopAllRemoteView(); }
  void setRemoteVideoStreamType(const std::string& userId, std::int32_t type) override {
    target().setRemoteVideoStreamType(userId, type);
  }
  void setRemoteRenderParams(const std::string& userId, std::int32_t streamType,
                             const KOBURenderParams& params) override {
    target().setRemoteRenderParams(userId, streamType, params);
  }
  void muteRemoteVideoStream(const std::string& userId, bool mute) override {
    target().muteRemoteVideoStream(userId, mute);
  }
  void muteAllRemoteVideoStreams(bool mute) override { target().muteAllRemoteVideoStreams(mute); }
  void muteRemoteAudio(const std::string& userId, bool mute) override {
    target().muteRemoteAudio(userId, mute);
  }
  void muteAllRemoteAudio(bool mute) override { target().muteAllRemoteAudio(mute); }
  void setRemoteAudioVolume(const std::string& userId, std::int32_t volume) override {
    target().setRemoteAudioVolume(userId, volume);
  }
  PWAudioEffectManager& getAudioEffectManager() override {
    return target().getAudioEffectManager();
  }
  KOBUDeviceManager& getDeviceManager() override { return target().getDeviceManager(); }
  void startSpeedTest(std::uint32_t sdkAppId, const std::string& userId, const std::string& userSig,
                      SpeedTestCompletion completion) override {
    target().startSpeedTest(sdkAppId, userId, userSig, std::move(completion));
  }
  void stopSpeedTest() override { target().stopSpeedTest(); }
  void callExperimentalAPI(const std::string& jsonText) override {
    target().callExperimentalAPI(jsonText);
  }
  void showDebugView(std::int32_t showType) override { target().showDebugView(showType); }
  void setDebugViewMargin(const std::string& userId, EdgeInsets margin) override {
    target().setDebugViewMargin(userId, margin);
  }
  void startScreenCaptureInApp(const KOBUVideoEncParam& param) override {
    target().startScreenCaptureInApp(param);
  }
  void startScreenCaptureByReplaykit(const KOBUVideoEncParam& param,
                                     const std::string& appGroup) override {
    target().startScreenCaptureByReplaykit(param, appGroup);
  }
  std::int64_t pauseScreenCapture() override { return target().pauseScreenCapture(); }
  std::int64_t resumeScreenCapture() override { return target().resumeScreenCapture(); }
  std::int64_t stopScreenCapture() override { return target().stopScreenCapture(); }
};

class ForwardingKOBUCloudClass : public Forwarding<KOBUCloudClass> {
 public:
  using Forwarding::Forwarding;

  std::string getSDKVersion() override { return target().getSDKVersion(); }
  std::shared_ptr<KOBUCloud> sharedInstance() override { return target().sharedInstance(); }
  void destroySharedIntance() override { target().destroySharedIntance(); }
  void setLogLevel(std::int32_t level) override { target().setLogLevel(level); }
  void setConsoleEnabled(bool enabled) override { target().setConsoleEnabled(enabled); }
  void setLogCompressEnabled(bool enabled) override { target().setLogCompressEnabled(enabled); }
  void setLogDirPath(const std::string& path) override { target().setLogDirPath(path); }
};

class ForwardingKOBUCloudDelegate : public KOBUCloudDelegateOf<ForwardingKOBUCloudDelegate>,
                                    public Target<KOBUCloudDelegate> {
 public:
  using Target::Target;

  template <auto operation, class... Args>
  void told(const Args&... args) {
    (target().*operation)(args...);
  }
};

}  // namespace vemo
