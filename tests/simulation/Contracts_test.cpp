#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <string>

#include "Classroom.h"
#include "platform/ForwardingEngine.h"
#include "testing/contracts/KOBUCloud_contract.h"
#include "testing/contracts/KOBUDeviceManager_contract.h"
#include "testing/contracts/PWAudioEffectManager_contract.h"

namespace vemo {
namespace {

struct CloudMaker {
  static constexpr bool kAnswers = true;

  Classroom classroom;
  std::shared_ptr<SimulatedEngineClass> made = classroom.cloud->makeEngineClass();

  KOBUCloudClass& engineClass() { return *made; }
  KOBUParams params() { return paramsOf("alice"); }
  KOBUParams badParams() {
    auto params = paramsOf("alice");
    params.userSig = "bad";
    return params;
  }
  void settle() { classroom.advance(5000); }
};

/// Puts a forwarder before each instance of the real class.
class ForwardedClass final : public ForwardingKOBUCloudClass {
 public:
  using ForwardingKOBUCloudClass::ForwardingKOBUCloudClass;

  std::shared_ptr<KOBUCloud> sharedInstance() override {
    const auto real = target().sharedInstance();
    const std::lock_guard lock(mutex_);
    if (!forwarder_) forwarder_ = std::make_shared<ForwardingKOBUCloud>(real);
    return forwarder_;
  }
  void destroySharedIntance() override {
    std::shared_ptr<KOBUCloud> old;
    {
      const std::lock_guard lock(mutex_);
      old.swap(forwarder_);
    }
    target().destroySharedIntance();
  }

 private:
  std::mutex mutex_;
  std::shared_ptr<KOBUCloud> forwarder_;
};

struct ForwardedCloudMaker : CloudMaker {
  KOBUCloudClass& engineClass() { return forwarder_; }

  ForwardedClass forwarder_{made};
};

struct MusicMaker {
  Classroom classroom;
  TestHandset handset = classroom.handset();

  PWAudioEffectManager& manager() { return handset->getAudioEffectManager(); }
  std::string music() { return "song.mp3"; }
  std::string noMusic() { return "nothing.mp3"; }
  void playToEnd() { classroom.advance(5000); }
};

struct ForwardedMusicMaker : MusicMaker {
  PWAudioEffectManager& manager() { return forwarder_; }

  ForwardingPWAudioEffectManager forwarder_{handset->getAudioEffectManager()};
};

struct DeviceMaker {
  Classroom classroom;
  TestHandset handset = classroom.handset();

  DeviceMaker() { handset->startLocalPreview(true, nullptr); }
  KOBUDeviceManager& manager() { return handset->getDeviceManager(); }
  bool frontCamera() { return handset.snapshot().video.front; }
};

struct ForwardedDeviceMaker : DeviceMaker {
  KOBUDeviceManager& manager() { return forwarder_; }

  ForwardingKOBUDeviceManager forwarder_{handset->getDeviceManager()};
};

INSTANTIATE_TYPED_TEST_SUITE_P(ClassroomCloud, KOBUCloudContract, CloudMaker);
INSTANTIATE_TYPED_TEST_SUITE_P(ClassroomCloud, PWAudioEffectManagerContract, MusicMaker);
INSTANTIATE_TYPED_TEST_SUITE_P(ClassroomCloud, KOBUDeviceManagerContract, DeviceMaker);
INSTANTIATE_TYPED_TEST_SUITE_P(Forwarding, KOBUCloudContract, ForwardedCloudMaker);
INSTANTIATE_TYPED_TEST_SUITE_P(Forwarding, PWAudioEffectManagerContract, ForwardedMusicMaker);
INSTANTIATE_TYPED_TEST_SUITE_P(Forwarding, KOBUDeviceManagerContract, ForwardedDeviceMaker);

}  // namespace
}  // namespace vemo
