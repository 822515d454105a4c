#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "bridge/KOBUCloud.h"
#include "bridge/KOBUCloudDelegate.h"
#include "bridge/KOBUDeviceManager.h"
#include "bridge/PWAudioEffectManager.h"
#include "platform/ForwardingEngine.h"
#include "recorder/Notes.h"

namespace vemo {

/// Notes the calls of the engine class and of its engines, and passes them on; notes what the
/// engines tell and answer, on the way back.
class NotingKOBUCloudClass final : public ForwardingKOBUCloudClass {
 public:
  /// `target` outlives this and every instance.
  NotingKOBUCloudClass(std::shared_ptr<Notes> notes, KOBUCloudClass& target)
      : ForwardingKOBUCloudClass(target), notes_(std::move(notes)) {}

  std::string getSDKVersion() override;
  std::shared_ptr<KOBUCloud> sharedInstance() override;
  void destroySharedIntance() override;
  void setLogLevel(std::int32_t level) override;
  void setConsoleEnabled(bool enabled) override;
  void setLogCompressEnabled(bool enabled) override;
  void setLogDirPath(const std::string& path) override;

 private:
  class Engine;

  const std::shared_ptr<Notes> notes_;
  std::mutex mutex_;
  std::shared_ptr<Engine> instance_;  // around the target's latest
};

}  // namespace vemo
