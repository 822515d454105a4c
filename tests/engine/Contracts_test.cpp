#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>

#include "Folder.h"
#include "MediaServer.h"
#include "Senses.h"
#include "Tone.h"
#include "engine/JanusEngine.h"
#include "testing/contracts/KOBUCloud_contract.h"
#include "testing/contracts/KOBUDeviceManager_contract.h"
#include "testing/contracts/PWAudioEffectManager_contract.h"

namespace vemo {
namespace {

using namespace std::chrono_literals;

struct CloudMaker {
  static constexpr bool kAnswers = true;

  MediaServer server;
  std::shared_ptr<JanusEngineClass> made =
      std::make_shared<JanusEngineClass>(testOptions(server.url()));

  KOBUCloudClass& engineClass() { return *made; }
  KOBUParams params() { return MediaServer::params("alice"); }
  KOBUParams badParams() {
    auto params = MediaServer::params("alice");
    params.userSig = "bad";
    return params;
  }
  void settle() { EXPECT_TRUE(made->settle(60s)); }
};

struct MusicMaker {
  Folder folder;
  JanusEngineClass made{testOptions("")};
  std::shared_ptr<KOBUCloud> engine = made.sharedInstance();

  MusicMaker() { writeTone(music(), 660, 2); }
  PWAudioEffectManager& manager() { return engine->getAudioEffectManager(); }
  std::string music() { return folder.file("song.wav"); }
  std::string noMusic() { return folder.file("nothing.wav"); }
  void playToEnd() { EXPECT_TRUE(made.settle(60s)); }
};

struct DeviceMaker {
  JanusEngineClass made{testOptions("")};
  std::shared_ptr<KOBUCloud> engine = made.sharedInstance();
  std::shared_ptr<SeenView> view = std::make_shared<SeenView>();

  DeviceMaker() { engine->startLocalPreview(true, view); }
  KOBUDeviceManager& manager() { return engine->getDeviceManager(); }
  bool frontCamera() {
    EXPECT_TRUE(made.settle(60s));
    EXPECT_TRUE(view->waitForPictures(5));
    return view->waitForColour("red", 0s);
  }
};

INSTANTIATE_TYPED_TEST_SUITE_P(JanusEngine, KOBUCloudContract, CloudMaker);
INSTANTIATE_TYPED_TEST_SUITE_P(JanusEngine, PWAudioEffectManagerContract, MusicMaker);
INSTANTIATE_TYPED_TEST_SUITE_P(JanusEngine, KOBUDeviceManagerContract, DeviceMaker);

}  // namespace
}  // namespace vemo
