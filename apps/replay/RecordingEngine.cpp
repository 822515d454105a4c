#include "RecordingEngine.h"

#include <string_view>
#include <utility>

#include "Values.h"

namespace vemo::replay {
namespace {

/// Writes calls whose names begin with `prefix`.
class CallWriter {
 public:
  CallWriter(Recorder& recorder, std::string prefix)
      : recorder_(recorder), prefix_(std::move(prefix)) {}

  template <class... Args>
  void operator()(std::string_view name, const Args&... args) const {
    recorder_.write("engine",
                    {{"call", prefix_ + std::string(name)}, {"args", jsonArray(args...)}});
  }

 private:
  Recorder& recorder_;
  const std::string prefix_;
};

class AudioEffects final : public PWAudioEffectManager {
 public:
  AudioEffects(Recorder& recorder, OpenEngineWork& open)
      : call_(recorder, "audioEffect."), open_(open) {}

  void startPlayMusic(const PWAudioMusicParam& music, OnStart onStart, OnProgress onProgress,
                      OnComplete onComplete) override {
    call_("startPlayMusic", music);
    open_.music[music.ID] = {std::move(onStart), std::move(onProgress), std::move(onComplete)};
  }
  void stopPlayMusic(std::int32_t id) override { call_("stopPlayMusic", id); }
  void pausePlayMusic(std::int32_t id) override { call_("pausePlayMusic", id); }
  void resumePlayMusic(std::int32_t id) override { call_("resumePlayMusic", id); }
  void seekMusicToPosInMS(std::int32_t id, std::int32_t positionMs) override {
    call_("seekMusicToPosInMS", id, positionMs);
  }
  void setAllMusicVolume(std::int32_t volume) override { call_("setAllMusicVolume", volume); }
  void setMusicPlayoutVolume(std::int32_t id, std::int32_t volume) override {
    call_("setMusicPlayoutVolume", id, volume);
  }
  void setMusicPublishVolume(std::int32_t id, std::int32_t volume) override {
    call_("setMusicPublishVolume", id, volume);
  }

 private:
  const CallWriter call_;
  OpenEngineWork& open_;
};

class Devices final : public KOBUDeviceManager {
 public:
  explicit Devices(Recorder& recorder) : call_(recorder, "device.") {}
  std::int32_t switchCamera(bool frontCamera) override {
    call_("switchCamera", frontCamera);
    return 0;
  }

 private:
  const CallWriter call_;
};

}  // namespace

class RecordingEngineClass::Engine final : public KOBUCloud {
 public:
  Engine(Recorder& recorder, const Device& device, OpenEngineWork& open)
      : call_(recorder, ""),
        device_(device),
        open_(open),
        audio_(recorder, open),
        devices_(recorder) {}

  std::shared_ptr<KOBUCloudDelegate> delegate() const { return delegate_.lock(); }

  void setDelegate(std::shared_ptr<KOBUCloudDelegate> delegate) override {
    call_("setDelegate", delegate != nullptr);
    delegate_ = delegate;
  }

  void enterRoom(const KOBUParams& params, std::int64_t appScene) override {
    call_("enterRoom", params, appScene);
  }
  void exitRoom() override { call_("exitRoom"); }
  void switchRole(std::int32_t role) override { call_("switchRole", role); }
  void setDefaultStreamRecvMode(bool audio, bool video) override {
    call_("setDefaultStreamRecvMode", audio, video);
  }
  void setNetworkQosParam(const KOBUNetworkQosParam& param) override {
    call_("setNetworkQosParam", param);
  }

  void startLocalPreview(bool frontCamera, std::shared_ptr<NativeView> view) override {
    call_("startLocalPreview", frontCamera, view);
  }
  void stopLocalPreview() override { call_("stopLocalPreview"); }
  void muteLocalVideo(bool mute) override { call_("muteLocalVideo", mute); }
  void setVideoMuteImage(std::shared_ptr<VEMOImage> image, std::int32_t fps) override {
    call_("setVideoMuteImage", image, fps);
  }
  void setLocalRenderParams(const KOBURenderParams& params) override {
    call_("setLocalRenderParams", params);
  }
  void setVideoEncoderParam(const KOBUVideoEncParam& param) override {
    call_("setVideoEncoderParam", param);
  }
  void setVideoEncoderRotation(std::int32_t rotation) override {
    call_("setVideoEncoderRotation", rotation);
  }
  void setVideoEncoderMirror(bool mirror) override { call_("setVideoEncoderMirror", mirror); }
  void setGSensorMode(std::int32_t mode) override { call_("setGSensorMode", mode); }
  void enableEncSmallVideoStream(bool enable, const KOBUVideoEncParam* quality) override {
    call_("enableEncSmallVideoStream", enable, quality);
  }

  void startLocalAudio(std::int32_t quality) override { call_("startLocalAudio", quality); }
  void stopLocalAudio() override { call_("stopLocalAudio"); }
  void muteLocalAudio(bool mute) override { call_("muteLocalAudio", mute); }
  void setAudioRoute(std::int32_t route) override { call_("setAudioRoute", route); }
  void setAudioCaptureVolume(std::int32_t volume) override {
    call_("setAudioCaptureVolume", volume);
  }
  std::int32_t getAudioCaptureVolume() override { return device_.captureVolume; }
  void setAudioPlayoutVolume(std::int32_t volume) override {
    call_("setAudioPlayoutVolume", volume);
  }
  std::int32_t getAudioPlayoutVolume() override { return device_.playoutVolume; }
  void enableAudioVolumeEvaluation(std::int32_t intervalMs) override {
    call_("enableAudioVolumeEvaluation", intervalMs);
  }

  void startRemoteView(const std::string& userId, std::int32_t streamType,
                       std::shared_ptr<NativeView> view) override {
    call_("startRemoteView", userId, streamType, view);
  }
  void stopRemoteView(const std::string& userId, std::int32_t streamType) override {
    call_("stopRemoteView", userId, streamType);
  }
  void stopAllRemoteView() override { call_("stopAllRemoteView"); }
  void setRemoteVideoStreamType(const std::string& userId, std::int32_t type) override {
    call_("setRemoteVideoStreamType", userId, type);
  }
  void setRemoteRenderParams(const std::string& userId, std::int32_t streamType,
                             const KOBURenderParams& params) override {
    call_("setRemoteRenderParams", userId, streamType, params);
  }
  void muteRemoteVideoStream(const std::string& userId, bool mute) override {
    call_("muteRemoteVideoStream", userId, mute);
  }
  void muteAllRemoteVideoStreams(bool mute) override { call_("muteAllRemoteVideoStreams", mute); }
  void muteRemoteAudio(const std::string& userId, bool mute) override {
    call_("muteRemoteAudio", userId, mute);
  }
  void muteAllRemoteAudio(bool mute) override { call_("muteAllRemoteAudio", mute); }
  void setRemoteAudioVolume(const std::string& userId, std::int32_t volume) override {
    call_("setRemoteAudioVolume", userId, volume);
  }

  PWAudioEffectManager& getAudioEffectManager() override { return audio_; }
  KOBUDeviceManager& getDeviceManager() override { return devices_; }

  void startSpeedTest(std::uint32_t sdkAppId, const std::string& userId, const std::string& userSig,
                      SpeedTestCompletion completion) override {
    call_("startSpeedTest", sdkAppId, userId, userSig);
    open_.speedTest = std::move(completion);
  }
  void stopSpeedTest() override { call_("stopSpeedTest"); }
  void callExperimentalAPI(const std::string& jsonText) override {
    call_("callExperimentalAPI", jsonText);
  }
  void showDebugView(std::int32_t showType) override { call_("showDebugView", showType); }
  void setDebugViewMargin(const std::string& userId, EdgeInsets margin) override {
    call_("setDebugViewMargin", userId, margin);
  }

  void startScreenCaptureInApp(const KOBUVideoEncParam& param) override {
    call_("startScreenCaptureInApp", param);
  }
  void startScreenCaptureByReplaykit(const KOBUVideoEncParam& param,
                                     const std::string& appGroup) override {
    call_("startScreenCaptureByReplaykit", param, appGroup);
  }
  std::int64_t pauseScreenCapture() override {
    call_("pauseScreenCapture");
    return device_.pauseScreenCapture;
  }
  std::int64_t resumeScreenCapture() override {
    call_("resumeScreenCapture");
    return device_.resumeScreenCapture;
  }
  std::int64_t stopScreenCapture() override {
    call_("stopScreenCapture");
    return device_.stopScreenCapture;
  }

 private:
  const CallWriter call_;
  const Device& device_;
  OpenEngineWork& open_;
  AudioEffects audio_;
  Devices devices_;
  std::weak_ptr<KOBUCloudDelegate> delegate_;
};

std::shared_ptr<KOBUCloud> RecordingEngineClass::sharedInstance() {
  CallWriter(recorder_, "KOBUCloud.")("sharedInstance");
  if (!instance_) {
    instance_ = std::make_shared<Engine>(recorder_, device_, open_);
    latest_ = instance_;
    census_.watch("engine", instance_);
  }
  return instance_;
}

void RecordingEngineClass::destroySharedIntance() {
  CallWriter(recorder_, "KOBUCloud.")("destroySharedIntance");
  instance_.reset();
}

void RecordingEngineClass::setLogLevel(std::int32_t level) {
  CallWriter(recorder_, "KOBUCloud.")("setLogLevel", level);
}
void RecordingEngineClass::setConsoleEnabled(bool enabled) {
  CallWriter(recorder_, "KOBUCloud.")("setConsoleEnabled", enabled);
}
void RecordingEngineClass::setLogCompressEnabled(bool enabled) {
  CallWriter(recorder_, "KOBUCloud.")("setLogCompressEnabled", enabled);
}
void RecordingEngineClass::setLogDirPath(const std::string& path) {
  CallWriter(recorder_, "KOBUCloud.")("setLogDirPath", path);
}

std::shared_ptr<KOBUCloudDelegate> RecordingEngineClass::delegate() const {
  const auto engine = latest_.lock();
  return engine ? engine->delegate() : nullptr;
}

}  // namespace vemo::replay
