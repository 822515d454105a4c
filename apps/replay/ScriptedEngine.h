#pragma once

#include <map>
#include <memory>

#include "replay/Census.h"
#include "replay/Device.h"
#include "testing/NullEngine.h"

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

/// The engine class: answers as the device is set; nothing happens by itself.
class ScriptedEngineClass final : public NullKOBUCloudClass {
 public:
  /// The references outlive this and every instance.
  ScriptedEngineClass(const Device& device, Census& census) : device_(device), census_(census) {}

  std::string getSDKVersion() override { return device_.sdkVersion; }
  std::shared_ptr<KOBUCloud> sharedInstance() override;
  void destroySharedIntance() override;

  /// Who receives the events of the latest instance; null when nobody does.
  std::shared_ptr<KOBUCloudDelegate> delegate() const;

  OpenEngineWork& open() { return open_; }

 private:
  class Engine;

  const Device& device_;
  Census& census_;
  OpenEngineWork open_;
  std::shared_ptr<Engine> instance_;
  std::weak_ptr<Engine> latest_;  // still has a delegate when only the router holds it
};

}  // namespace vemo::replay
