#include <gtest/gtest.h>

#include "Classroom.h"
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

struct MusicMaker {
  Classroom classroom;
  TestHandset handset = classroom.handset();

  PWAudioEffectManager& manager() { return handset->getAudioEffectManager(); }
  std::string music() { return "song.mp3"; }
  std::string noMusic() { return "nothing.mp3"; }
  void playToEnd() { classroom.advance(5000); }
};

struct DeviceMaker {
  Classroom classroom;
  TestHandset handset = classroom.handset();

  DeviceMaker() { handset->startLocalPreview(true, nullptr); }
  KOBUDeviceManager& manager() { return handset->getDeviceManager(); }
  bool frontCamera() { return handset.snapshot().video.front; }
};

INSTANTIATE_TYPED_TEST_SUITE_P(ClassroomCloud, KOBUCloudContract, CloudMaker);
INSTANTIATE_TYPED_TEST_SUITE_P(ClassroomCloud, PWAudioEffectManagerContract, MusicMaker);
INSTANTIATE_TYPED_TEST_SUITE_P(ClassroomCloud, KOBUDeviceManagerContract, DeviceMaker);

}  // namespace
}  // namespace vemo
