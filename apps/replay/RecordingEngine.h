#pragma once

#include <map>
#include <memory>

#include "Census.h"
#include "Device.h"
#include "Recorder.h"
#include "bridge/KOBUCloud.h"

namespace vemo::replay {

/// What plays: the callbacks of one "startPlayMusic".
struct PlayingMusic {
  PWAudioEffectManager::OnStart onStart;
  PWAudioEffectManager::OnProgress onProgress;
  PWAudioEffectManager::OnComplete onComplete;
};

/// What the engine was asked for and can still answer; it outlives the instances.
struct OpenEngineWork {
  std::map<std::int32_t, PlayingMusic> music;  ///< the latest of each id
  KOBUCloud::SpeedTestCompletion speedTest;    ///< the latest
};

/// The engine class: each call is an effect, nothing happens by itself.
class RecordingEngineClass final : public KOBUCloudClass {
 public:
  /// The references outlive this and every instance.
  RecordingEngineClass(Recorder& recorder, const Device& device, Census& census)
      : recorder_(recorder), device_(device), census_(census) {}

  std::string getSDKVersion() override { return device_.sdkVersion; }
  std::shared_ptr<KOBUCloud> sharedInstance() override;
  void destroySharedIntance() override;
  void setLogLevel(std::int32_t level) override;
  void setConsoleEnabled(bool enabled) override;
  void setLogCompressEnabled(bool enabled) override;
  void setLogDirPath(const std::string& path) override;

  /// Who receives the events of the latest instance; null when nobody does.
  std::shared_ptr<KOBUCloudDelegate> delegate() const;

  OpenEngineWork& open() { return open_; }

 private:
  class Engine;

  Recorder& recorder_;
  const Device& device_;
  Census& census_;
  OpenEngineWork open_;
  std::shared_ptr<Engine> instance_;
  std::weak_ptr<Engine> latest_;  // still has a delegate when only the router holds it
};

}  // namespace vemo::replay
