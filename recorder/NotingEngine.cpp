#include "recorder/NotingEngine.h"

#include <tuple>
#include <utility>

namespace vemo {
namespace {

/// Notes calls whose names begin with `prefix`.
class CallNotes {
 public:
  CallNotes(std::shared_ptr<Notes> notes, std::string_view prefix)
      : notes_(std::move(notes)), prefix_(prefix) {}

  template <class... Args>
  void operator()(std::string_view name, const Args&... args) const {
    const notes::Parts call{prefix_, name};
    if constexpr ((NoteWriter::isPlain<Args> && ...)) {
      notes_->effectOf("engine", notes::Member{"call", call},
                       notes::Member{"args", notes::Array(args...)});
    } else {
      notes_->effect("engine",
                     [&](NoteWriter& text) { text.add("call", call).addArray("args", args...); });
    }
  }

 private:
  const std::shared_ptr<Notes> notes_;
  const std::string_view prefix_;
};

/// Notes the events and hands them to `target`, which it holds weakly, as an engine does.
class Delegate final : public KOBUCloudDelegateOf<Delegate> {
 public:
  Delegate(std::shared_ptr<Notes> notes, const std::shared_ptr<KOBUCloudDelegate>& target)
      : notes_(std::move(notes)), target_(target) {}

  template <auto operation, class... Args>
  void told(const Args&... args) {
    constexpr auto event = std::get<EngineEvent<operation>>(engineEvents);
    const auto target = target_.lock();  // outlives the step: what its end does is no part of it
    if (!target) return;
    const auto notes = notes_;
    const Notes::Step step(
        *notes, Notes::Step::onEngine,
        [&](NoteWriter& text) {
          text.add("event", event.name);
          if constexpr (sizeof...(args) > 0) text.addArray("args", args...);
        },
        event.isPeriodic);
    (target.get()->*operation)(args...);
  }

 private:
  const std::shared_ptr<Notes> notes_;
  const std::weak_ptr<KOBUCloudDelegate> target_;
};

class AudioEffects final : public ForwardingPWAudioEffectManager {
 public:
  AudioEffects(const std::shared_ptr<Notes>& notes, PWAudioEffectManager& target)
      : ForwardingPWAudioEffectManager(target), notes_(notes), call_(notes, "audioEffect.") {}

  void startPlayMusic(const PWAudioMusicParam& music, OnStart onStart, OnProgress onProgress,
                      OnComplete onComplete) override {
    call_("startPlayMusic", music);
    target().startPlayMusic(music, ended("start", music.ID, std::move(onStart)),
                            advanced(music.ID, std::move(onProgress)),
                            ended("complete", music.ID, std::move(onComplete)));
  }
  void stopPlayMusic(std::int32_t id) override {
    call_("stopPlayMusic", id);
    target().stopPlayMusic(id);
  }
  void pausePlayMusic(std::int32_t id) override {
    call_("pausePlayMusic", id);
    target().pausePlayMusic(id);
  }
  void resumePlayMusic(std::int32_t id) override {
    call_("resumePlayMusic", id);
    target().resumePlayMusic(id);
  }
  void seekMusicToPosInMS(std::int32_t id, std::int32_t positionMs) override {
    call_("seekMusicToPosInMS", id, positionMs);
    target().seekMusicToPosInMS(id, positionMs);
  }
  void setAllMusicVolume(std::int32_t volume) override {
    call_("setAllMusicVolume", volume);
    target().setAllMusicVolume(volume);
  }
  void setMusicPlayoutVolume(std::int32_t id, std::int32_t volume) override {
    call_("setMusicPlayoutVolume", id, volume);
    target().setMusicPlayoutVolume(id, volume);
  }
  void setMusicPublishVolume(std::int32_t id, std::int32_t volume) override {
    call_("setMusicPublishVolume", id, volume);
    target().setMusicPublishVolume(id, volume);
  }

 private:
  std::function<void(std::int64_t)> ended(std::string_view on, std::int32_t id,
                                          std::function<void(std::int64_t)> target) {
    if (!target) return nullptr;
    return [notes = notes_, on, id, target = std::move(target)](std::int64_t code) {
      const Notes::Step step(*notes, Notes::Step::onEngine, [&](NoteWriter& text) {
        text.add("music", id).add("on", on).add("code", code);
      });
      target(code);
    };
  }
  OnProgress advanced(std::int32_t id, OnProgress target) {
    if (!target) return nullptr;
    return [notes = notes_, id, target = std::move(target)](std::int64_t progressMs,
                                                            std::int64_t durationMs) {
      const Notes::Step step(
          *notes, Notes::Step::onEngine,
          [&](NoteWriter& text) {
            text.add("music", id).add("on", "progress");
            text.add("progressMs", progressMs).add("durationMs", durationMs);
          },
          true);
      target(progressMs, durationMs);
    };
  }

  const std::shared_ptr<Notes> notes_;
  const CallNotes call_;
};

class Devices final : public ForwardingKOBUDeviceManager {
 public:
  Devices(const std::shared_ptr<Notes>& notes, KOBUDeviceManager& target)
      : ForwardingKOBUDeviceManager(target), call_(notes, "device.") {}

  std::int32_t switchCamera(bool frontCamera) override {
    call_("switchCamera", frontCamera);
    return target().switchCamera(frontCamera);
  }

 private:
  const CallNotes call_;
};

}  // namespace

class NotingKOBUCloudClass::Engine final : public ForwardingKOBUCloud {
 public:
  Engine(const std::shared_ptr<Notes>& notes, const std::shared_ptr<KOBUCloud>& engine)
      : ForwardingKOBUCloud(engine),
        notes_(notes),
        call_(notes, ""),
        audio_(notes, engine->getAudioEffectManager()),
        devices_(notes, engine->getDeviceManager()) {}

  bool isAround(const std::shared_ptr<KOBUCloud>& engine) const {
    return &target() == engine.get();
  }

  void setDelegate(std::shared_ptr<KOBUCloudDelegate> delegate) override {
    call_("setDelegate", delegate != nullptr);
    auto noting = delegate ? std::make_shared<Delegate>(notes_, delegate) : nullptr;
    target().setDelegate(noting);
    const std::lock_guard lock(mutex_);
    delegate_.swap(noting);
  }
  void enterRoom(const KOBUParams& params, std::int64_t appScene) override {
    call_("enterRoom", params, appScene);
    target().enterRoom(params, appScene);
  }
  void exitRoom() override {
    call_("exitRoom");
    target().exitRoom();
  }
  void switchRole(std::int32_t role) override {
    call_("switchRole", role);
    target().switchRole(role);
  }
  void setDefaultStreamRecvMode(bool audio, bool video) override {
    call_("setDefaultStreamRecvMode", audio, video);
    target().setDefaultStreamRecvMode(audio, video);
  }
  void setNetworkQosParam(const KOBUNetworkQosParam& param) override {
    call_("setNetworkQosParam", param);
    target().setNetworkQosParam(param);
  }

  void startLocalPreview(bool frontCamera, std::shared_ptr<NativeView> view) override {
    call_("startLocalPreview", frontCamera, view);
    target().startLocalPreview(frontCamera, std::move(view));
  }
  void stopLocalPreview() override {
    call_("stopLocalPreview");
    target().stopLocalPreview();
  }
  void muteLocalVideo(bool mute) override {
    call_("muteLocalVideo", mute);
    target().muteLocalVideo(mute);
  }
  void setVideoMuteImage(std::shared_ptr<VEMOImage> image, std::int32_t fps) override {
    call_("setVideoMuteImage", image, fps);
    target().setVideoMuteImage(std::move(image), fps);
  }
  void setLocalRenderParams(const KOBURenderParams& params) override {
    call_("setLocalRenderParams", params);
    target().setLocalRenderParams(params);
  }
  void setVideoEncoderParam(const KOBUVideoEncParam& param) override {
    call_("setVideoEncoderParam", param);
    target().setVideoEncoderParam(param);
  }
  void setVideoEncoderRotation(std::int32_t rotation) override {
    call_("setVideoEncoderRotation", rotation);
    target().setVideoEncoderRotation(rotation);
  }
  void setVideoEncoderMirror(bool mirror) override {
    call_("setVideoEncoderMirror", mirror);
    target().setVideoEncoderMirror(mirror);
  }
  void setGSensorMode(std::int32_t mode) override {
    call_("setGSensorMode", mode);
    target().setGSensorMode(mode);
  }
  void enableEncSmallVideoStream(bool enable, const KOBUVideoEncParam* quality) override {
    call_("enableEncSmallVideoStream", enable, quality);
    target().enableEncSmallVideoStream(enable, quality);
  }

  void startLocalAudio(std::int32_t quality) override {
    call_("startLocalAudio", quality);
    target().startLocalAudio(quality);
  }
  void stopLocalAudio() override {
    call_("stopLocalAudio");
    target().stopLocalAudio();
  }
  void muteLocalAudio(bool mute) override {
    call_("muteLocalAudio", mute);
    target().muteLocalAudio(mute);
  }
  void setAudioRoute(std::int32_t route) override {
    call_("setAudioRoute", route);
    target().setAudioRoute(route);
  }
  void setAudioCaptureVolume(std::int32_t volume) override {
    call_("setAudioCaptureVolume", volume);
    target().setAudioCaptureVolume(volume);
  }
  std::int32_t getAudioCaptureVolume() override {
    const auto volume = target().getAudioCaptureVolume();
    notes_->device().captureVolume(volume);
    return volume;
  }
  void setAudioPlayoutVolume(std::int32_t volume) override {
    call_("setAudioPlayoutVolume", volume);
    target().setAudioPlayoutVolume(volume);
  }
  std::int32_t getAudioPlayoutVolume() override {
    const auto volume = target().getAudioPlayoutVolume();
    notes_->device().playoutVolume(volume);
    return volume;
  }
  void enableAudioVolumeEvaluation(std::int32_t intervalMs) override {
    call_("enableAudioVolumeEvaluation", intervalMs);
    target().enableAudioVolumeEvaluation(intervalMs);
  }

  void startRemoteView(const std::string& userId, std::int32_t streamType,
                       std::shared_ptr<NativeView> view) override {
    call_("startRemoteView", userId, streamType, view);
    target().startRemoteView(userId, streamType, std::move(view));
  }
  void stopRemoteView(const std::string& userId, std::int32_t streamType) override {
    call_("stopRemoteView", userId, streamType);
    target().stopRemoteView(userId, streamType);
  }
  void stopAllRemoteView() override {
    call_("stopAllRemoteView");
    target().stopAllRemoteView();
  }
  void setRemoteVideoStreamType(const std::string& userId, std::int32_t type) override {
    call_("setRemoteVideoStreamType", userId, type);
    target().setRemoteVideoStreamType(userId, type);
  }
  void setRemoteRenderParams(const std::string& userId, std::int32_t streamType,
                             const KOBURenderParams& params) override {
    call_("setRemoteRenderParams", userId, streamType, params);
    target().setRemoteRenderParams(userId, streamType, params);
  }
  void muteRemoteVideoStream(const std::string& userId, bool mute) override {
    call_("muteRemoteVideoStream", userId, mute);
    target().muteRemoteVideoStream(userId, mute);
  }
  void muteAllRemoteVideoStreams(bool mute) override {
    call_("muteAllRemoteVideoStreams", mute);
    target().muteAllRemoteVideoStreams(mute);
  }
  void muteRemoteAudio(const std::string& userId, bool mute) override {
    call_("muteRemoteAudio", userId, mute);
    target().muteRemoteAudio(userId, mute);
  }
  void muteAllRemoteAudio(bool mute) override {
    call_("muteAllRemoteAudio", mute);
    target().muteAllRemoteAudio(mute);
  }
  void setRemoteAudioVolume(const std::string& userId, std::int32_t volume) override {
    call_("setRemoteAudioVolume", userId, volume);
    target().setRemoteAudioVolume(userId, volume);
  }

  PWAudioEffectManager& getAudioEffectManager() override { return audio_; }
  KOBUDeviceManager& getDeviceManager() override { return devices_; }

  void startSpeedTest(std::uint32_t sdkAppId, const std::string& userId, const std::string& userSig,
                      SpeedTestCompletion completion) override {
    // Under its key, where a mask finds it; see notedEffect.
    call_("startSpeedTest", sdkAppId, userId, boost::json::object{{"userSig", userSig}});
    if (completion) {
      completion = [notes = notes_, answer = std::move(completion)](
                       const Shared<KOBUSpeedTestResult>& result, std::int64_t completed,
                       std::int64_t total) {
        const Notes::Step step(*notes, Notes::Step::onEngine, [&](NoteWriter& text) {
          text.add("speedTest", result).add("completed", completed).add("total", total);
        });
        answer(result, completed, total);
      };
    }
    target().startSpeedTest(sdkAppId, userId, userSig, std::move(completion));
  }
  void stopSpeedTest() override {
    call_("stopSpeedTest");
    target().stopSpeedTest();
  }
  void callExperimentalAPI(const std::string& jsonText) override {
    call_("callExperimentalAPI", jsonText);
    target().callExperimentalAPI(jsonText);
  }
  void showDebugView(std::int32_t showType) override {
    call_("showDebugView", showType);
    target().showDebugView(showType);
  }
  void setDebugViewMargin(const std::string& userId, EdgeInsets margin) override {
    call_("setDebugViewMargin", userId, margin);
    target().setDebugViewMargin(userId, margin);
  }

  void startScreenCaptureInApp(const KOBUVideoEncParam& param) override {
    call_("startScreenCaptureInApp", param);
    target().startScreenCaptureInApp(param);
  }
  void startScreenCaptureByReplaykit(const KOBUVideoEncParam& param,
                                     const std::string& appGroup) override {
    call_("startScreenCaptureByReplaykit", param, appGroup);
    target().startScreenCaptureByReplaykit(param, appGroup);
  }
  std::int64_t pauseScreenCapture() override {
    return result("pauseScreenCapture", &KOBUCloud::pauseScreenCapture);
  }
  std::int64_t resumeScreenCapture() override {
    return result("resumeScreenCapture", &KOBUCloud::resumeScreenCapture);
  }
  std::int64_t stopScreenCapture() override {
    return result("stopScreenCapture", &KOBUCloud::stopScreenCapture);
  }

 private:
  std::int64_t result(std::string_view name, std::int64_t (KOBUCloud::*operation)()) {
    call_(name);
    const auto code = (target().*operation)();
    notes_->device().screenCaptureResult(name, code);
    return code;
  }

  const std::shared_ptr<Notes> notes_;
  const CallNotes call_;
  AudioEffects audio_;
  Devices devices_;
  std::mutex mutex_;
  std::shared_ptr<Delegate> delegate_;  // the target holds it weakly
};

std::string NotingKOBUCloudClass::getSDKVersion() {
  auto version = target().getSDKVersion();
  notes_->device().sdkVersion(version);
  return version;
}

std::shared_ptr<KOBUCloud> NotingKOBUCloudClass::sharedInstance() {
  CallNotes(notes_, "KOBUCloud.")("sharedInstance");
  auto engine = target().sharedInstance();
  std::shared_ptr<Engine> former;  // goes without the lock
  const std::lock_guard lock(mutex_);
  if (!instance_ || !instance_->isAround(engine)) {
    former = std::exchange(instance_, std::make_shared<Engine>(notes_, engine));
  }
  return instance_;
}

void NotingKOBUCloudClass::destroySharedIntance() {
  CallNotes(notes_, "KOBUCloud.")("destroySharedIntance");
  std::shared_ptr<Engine> former;
  {
    const std::lock_guard lock(mutex_);
    former.swap(instance_);
  }
  target().destroySharedIntance();
}

void NotingKOBUCloudClass::setLogLevel(std::int32_t level) {
  CallNotes(notes_, "KOBUCloud.")("setLogLevel", level);
  target().setLogLevel(level);
}
void NotingKOBUCloudClass::setConsoleEnabled(bool enabled) {
  CallNotes(notes_, "KOBUCloud.")("setConsoleEnabled", enabled);
  target().setConsoleEnabled(enabled);
}
void NotingKOBUCloudClass::setLogCompressEnabled(bool enabled) {
  CallNotes(notes_, "KOBUCloud.")("setLogCompressEnabled", enabled);
  target().setLogCompressEnabled(enabled);
}
void NotingKOBUCloudClass::setLogDirPath(const std::string& path) {
  CallNotes(notes_, "KOBUCloud.")("setLogDirPath", path);
  target().setLogDirPath(path);
}

}  // namespace vemo
