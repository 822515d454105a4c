#pragma once

#include <boost/json/object.hpp>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "bridge/KOBUCloud.h"
#include "bridge/KOBUCloudDelegate.h"
#include "bridge/KOBUDeviceManager.h"
#include "bridge/PWAudioEffectManager.h"

// The engine with its managers, its class, and who hears of its events, each as what accepts
// everything and does nothing, so that a double overrides the one operation that it is about. Any
// thread; nothing that is given is kept.

namespace vemo {

/// Plays nothing: no callback is called.
class NullPWAudioEffectManager : public PWAudioEffectManager {
 public:
  void startPlayMusic(const PWAudioMusicParam&, OnStart, OnProgress, OnComplete) override {}
  void stopPlayMusic(std::int32_t) override {}
  void pausePlayMusic(std::int32_t) override {}
  void resumePlayMusic(std::int32_t) override {}
  void seekMusicToPosInMS(std::int32_t, std::int32_t) override {}
  void setAllMusicVolume(std::int32_t) override {}
  void setMusicPlayoutVolume(std::int32_t, std::int32_t) override {}
  void setMusicPublishVolume(std::int32_t, std::int32_t) override {}
};

/// Each switch of the camera is a success.
class NullKOBUDeviceManager : public KOBUDeviceManager {
 public:
  std::int32_t switchCamera(bool) override { return 0; }
};

/// An engine in which nothing happens: no events, no answers, volumes and results of 0.
class NullKOBUCloud : public KOBUCloud {
 public:
  void setDelegate(std::shared_ptr<KOBUCloudDelegate>) override {}
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
  PWAudioEffectManager& getAudioEffectManager() override { return music_; }
  KOBUDeviceManager& getDeviceManager() override { return devices_; }
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
  NullPWAudioEffectManager music_;
  NullKOBUDeviceManager devices_;
};

/// Version "1.0.0"; its one instance is never let go.
class NullKOBUCloudClass : public KOBUCloudClass {
 public:
  std::string getSDKVersion() override { return "1.0.0"; }
  std::shared_ptr<KOBUCloud> sharedInstance() override { return instance_; }
  void destroySharedIntance() override {}
  void setLogLevel(std::int32_t) override {}
  void setConsoleEnabled(bool) override {}
  void setLogCompressEnabled(bool) override {}
  void setLogDirPath(const std::string&) override {}

 private:
  const std::shared_ptr<KOBUCloud> instance_ = std::make_shared<NullKOBUCloud>();
};

/// Hears of nothing.
class NullKOBUCloudDelegate : public KOBUCloudDelegateOf<NullKOBUCloudDelegate> {
 public:
  template <auto operation, class... Args>
  void told(const Args&...) {}
};

}  // namespace vemo
