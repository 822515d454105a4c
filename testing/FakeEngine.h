#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "bridge/KOBUCloud.h"

namespace vemo {

/// An engine that accepts everything and answers nothing; a test overrides what it looks
/// at and tells events through `delegate()`.
class FakeEngine : public KOBUCloud, private PWAudioEffectManager, private KOBUDeviceManager {
 public:
  void setDelegate(std::shared_ptr<KOBUCloudDelegate> delegate) override {
    const std::lock_guard lock(mutex_);
    delegate_ = delegate;
  }
  std::shared_ptr<KOBUCloudDelegate> delegate() const {
    const std::lock_guard lock(mutex_);
    return delegate_.lock();
  }

  void enterRoom(const KOBUParams&, std::int64_t) override {}
  void exitRoom() override {}
  void switchRole(std::int32_t) override {}
  void setDefaultStreamRecvMode(bool, bool) override {}
  void setNetworkQosParam(const KOBUNetworkQosParam&) override {}
  void startLocalPreview(bool, std::shared_ptr<NativeView>) override {}
  void stopLocalPreview() override {}
  void muteLocalVideo(bool) override {}
  void setVideoMuteImage(std::shared_ptr<VEMOImage>, std::int32_t) override {}
  void setLocalRenderParams(const KOBURenderParams&) override {}
  void setVideoEncoderParam(const KOBUVideoEncParam&) override {}
  void setVideoEncoderRotation(std::int32_t) override {}
  void setVideoEncoderMirror(bool) override {}
  void setGSensorMode(std::int32_t) override {}
  void enableEncSmallVideoStream(bool, const KOBUVideoEncParam*) override {}
  void startLocalAudio(std::int32_t) override {}
  void stopLocalAudio() override {}
  void muteLocalAudio(bool) override {}
  void setAudioRoute(std::int32_t) override {}
  void setAudioCaptureVolume(std::int32_t) override {}
  std::int32_t getAudioCaptureVolume() override { return 0; }
  void setAudioPlayoutVolume(std::int32_t) override {}
  std::int32_t getAudioPlayoutVolume() override { return 0; }
  void enableAudioVolumeEvaluation(std::int32_t) override {}
  void startRemoteView(const std::string&, std::int32_t, std::shared_ptr<NativeView>) override {}
  void stopRemoteView(const std::string&, std::int32_t) override {}
  void stopAllRemoteView() override {}
  void setRemoteVideoStreamType(const std::string&, std::int32_t) override {}
  void setRemoteRenderParams(const std::string&, std::int32_t, const KOBURenderParams&) override {}
  void muteRemoteVideoStream(const std::string&, bool) override {}
  void muteAllRemoteVideoStreams(bool) override {}
  void muteRemoteAudio(const std::string&, bool) override {}
  void muteAllRemoteAudio(bool) override {}
  void setRemoteAudioVolume(const std::string&, std::int32_t) override {}
  PWAudioEffectManager& getAudioEffectManager() override { return *this; }
  KOBUDeviceManager& getDeviceManager() override { return *this; }
  void startSpeedTest(std::uint32_t, const std::string&, const std::string&,
                      SpeedTestCompletion) override {}
  void stopSpeedTest() override {}
  void callExperimentalAPI(const std::string&) override {}
  void showDebugView(std::int32_t) override {}
  void setDebugViewMargin(const std::string&, EdgeInsets) override {}
  void startScreenCaptureInApp(const KOBUVideoEncParam&) override {}
  void startScreenCaptureByReplaykit(const KOBUVideoEncParam&, const std::string&) override {}
  std::int64_t pauseScreenCapture() override { return 0; }
  std::int64_t resumeScreenCapture() override { return 0; }
  std::int64_t stopScreenCapture() override { return 0; }

 private:
  void startPlayMusic(const PWAudioMusicParam&, OnStart, OnProgress, OnComplete) override {}
  void stopPlayMusic(std::int32_t) override {}
  void pausePlayMusic(std::int32_t) override {}
  void resumePlayMusic(std::int32_t) override {}
  void seekMusicToPosInMS(std::int32_t, std::int32_t) override {}
  void setAllMusicVolume(std::int32_t) override {}
  void setMusicPlayoutVolume(std::int32_t, std::int32_t) override {}
  void setMusicPublishVolume(std::int32_t, std::int32_t) override {}
  std::int32_t switchCamera(bool) override { return 0; }

  mutable std::mutex mutex_;
  std::weak_ptr<KOBUCloudDelegate> delegate_;
};

/// The class of FakeEngine.
class FakeEngineClass final : public KOBUCloudClass {
 public:
  std::string getSDKVersion() override { return "1.0.0"; }
  std::shared_ptr<KOBUCloud> sharedInstance() override {
    const std::lock_guard lock(mutex_);
    if (!instance_) instance_ = std::make_shared<FakeEngine>();
    return instance_;
  }
  void destroySharedIntance() override {
    std::shared_ptr<FakeEngine> old;
    const std::lock_guard lock(mutex_);
    old.swap(instance_);
  }
  void setLogLevel(std::int32_t) override {}
  void setConsoleEnabled(bool) override {}
  void setLogCompressEnabled(bool) override {}
  void setLogDirPath(const std::string&) override {}

  /// The present instance; null when there is none.
  std::shared_ptr<FakeEngine> instance() const {
    const std::lock_guard lock(mutex_);
    return instance_;
  }

 private:
  mutable std::mutex mutex_;
  std::shared_ptr<FakeEngine> instance_;
};

}  // namespace vemo
