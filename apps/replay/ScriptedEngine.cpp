#include "replay/ScriptedEngine.h"

#include <utility>

namespace vemo::replay {
namespace {

class AudioEffects final : public NullPWAudioEffectManager {
 public:
  explicit AudioEffects(OpenEngineWork& open) : open_(open) {}

  void startPlayMusic(const PWAudioMusicParam& music, OnStart onStart, OnProgress onProgress,
                      OnComplete onComplete) override {
    open_.music[music.ID] = {std::move(onStart), std::move(onProgress), std::move(onComplete)};
  }

 private:
  OpenEngineWork& open_;
};

}  // namespace

class ScriptedEngineClass::Engine final : public NullKOBUCloud {
 public:
  Engine(const Device& device, OpenEngineWork& open) : device_(device), open_(open), audio_(open) {}

  std::shared_ptr<KOBUCloudDelegate> delegate() const { return delegate_.lock(); }

  void setDelegate(std::shared_ptr<KOBUCloudDelegate> delegate) override { delegate_ = delegate; }

  std::int32_t getAudioCaptureVolume() override { return device_.captureVolume; }
  std::int32_t getAudioPlayoutVolume() override { return device_.playoutVolume; }

  PWAudioEffectManager& getAudioEffectManager() override { return audio_; }
  KOBUDeviceManager& getDeviceManager() override { return devices_; }

  void startSpeedTest(std::uint32_t, const std::string&, const std::string&,
                      SpeedTestCompletion completion) override {
    open_.speedTest = std::move(completion);
  }

  std::int64_t pauseScreenCapture() override { return device_.pauseScreenCapture; }
  std::int64_t resumeScreenCapture() override { return device_.resumeScreenCapture; }
  std::int64_t stopScreenCapture() override { return device_.stopScreenCapture; }

 private:
  const Device& device_;
  OpenEngineWork& open_;
  AudioEffects audio_;
  NullKOBUDeviceManager devices_;
  std::weak_ptr<KOBUCloudDelegate> delegate_;
};

std::shared_ptr<KOBUCloud> ScriptedEngineClass::sharedInstance() {
  if (!instance_) {
    instance_ = std::make_shared<Engine>(device_, open_);
    latest_ = instance_;
    census_.watch("engine", instance_);
  }
  return instance_;
}

void ScriptedEngineClass::destroySharedIntance() { instance_.reset(); }

std::shared_ptr<KOBUCloudDelegate> ScriptedEngineClass::delegate() const {
  const auto engine = latest_.lock();
  return engine ? engine->delegate() : nullptr;
}

}  // namespace vemo::replay
