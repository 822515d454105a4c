#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "Classroom.h"

namespace vemo {
namespace {

TEST(Lifetime, TheInstanceMayBeDestroyedByItsOwnEvent) {
  Classroom classroom;
  auto alice = classroom.handset();
  const std::weak_ptr<KOBUCloud> engine = alice.engine;
  alice.events->onLine = [&](const std::string&) {
    alice.engineClass->destroySharedIntance();
    alice.engine.reset();
  };
  alice->enterRoom(paramsOf("alice"), 0);
  classroom.advance(5000);
  EXPECT_EQ(alice.events->lines(), Lines{"onEnterRoom 60"});
  EXPECT_TRUE(engine.expired());
  EXPECT_FALSE(alice.engineClass->snapshot().has_value());
}

/// A delegate that tears its engine down when it dies, as a router does.
class Owner : public Recorder {
 public:
  explicit Owner(std::shared_ptr<SimulatedEngineClass> made)
      : engineClass(std::move(made)), engine(engineClass->sharedInstance()) {}
  ~Owner() override {
    engine->setDelegate(nullptr);
    engine->exitRoom();
    engine.reset();
    engineClass->destroySharedIntance();
  }

  std::shared_ptr<SimulatedEngineClass> engineClass;
  std::shared_ptr<KOBUCloud> engine;
};

TEST(Lifetime, TheLastReferenceToTheDelegateMayBeDroppedDuringItsEvent) {
  Classroom classroom;
  const auto bob = classroom.entered("bob");
  auto owner = std::make_shared<Owner>(classroom.cloud->makeEngineClass());
  const std::weak_ptr<Owner> gone = owner;
  owner->engine->setDelegate(owner);
  // The event holds the delegate then, and lets go of it on the callback thread.
  owner->onLine = [&](const std::string&) { owner.reset(); };
  owner->engine->enterRoom(paramsOf("alice"), 0);
  classroom.advance(1000);
  EXPECT_TRUE(gone.expired());
  EXPECT_EQ(bob.events->lines(),
            (Lines{"onRemoteUserEnterRoom alice", "onRemoteUserLeaveRoom alice 0"}));
}

TEST(Lifetime, ADelegateIsKeptWeakly) {
  Classroom classroom;
  auto alice = classroom.handset();
  const std::weak_ptr<Recorder> events = alice.events;
  alice->enterRoom(paramsOf("alice"), 0);
  alice.events.reset();
  EXPECT_TRUE(events.expired());
  classroom.advance(5000);
  EXPECT_EQ(alice.snapshot().room, RoomState::inside);
}

TEST(Lifetime, EventsUnderWayGoToTheDelegateOfTheirArrival) {
  Classroom classroom;
  const auto alice = classroom.handset();
  const auto next = std::make_shared<Recorder>();
  alice->setAudioRoute(kRouteEarpiece);
  alice->setDelegate(next);
  classroom.advance(10);
  alice->setAudioRoute(kRouteSpeaker);
  alice->setDelegate(nullptr);
  classroom.advance(10);
  EXPECT_TRUE(alice.events->lines().empty());
  EXPECT_EQ(next->lines(), Lines{"onAudioRouteChanged 1 0"});
}

TEST(Lifetime, NoEventComesOnceTheLastHolderLetGo) {
  Classroom classroom;
  auto alice = classroom.handset();
  alice->enterRoom(paramsOf("alice"), 0);
  alice.engineClass->destroySharedIntance();
  classroom.advance(100);
  EXPECT_EQ(alice.events->take(), Lines{"onEnterRoom 60"}) << "it is still held here";
  alice->exitRoom();
  alice.engine.reset();
  classroom.advance(5000);
  EXPECT_TRUE(alice.events->lines().empty());
}

TEST(Lifetime, OthersSeeAHandsetGoWhoseInstanceIsDestroyed) {
  Classroom classroom;
  const auto bob = classroom.entered("bob");
  auto alice = classroom.entered("alice");
  bob.events->take();
  alice.engine.reset();
  alice.engineClass.reset();
  classroom.advance(100);
  EXPECT_EQ(bob.events->lines(), Lines{"onRemoteUserLeaveRoom alice 0"});
}

TEST(Lifetime, ANewInstanceStartsAfresh) {
  Classroom classroom;
  auto alice = classroom.entered("alice");
  alice->startLocalPreview(true, nullptr);
  alice.engine.reset();
  alice.engineClass->destroySharedIntance();
  alice.engineClass->destroySharedIntance();
  alice.engine = alice.engineClass->sharedInstance();
  EXPECT_EQ(alice.snapshot().room, RoomState::outside);
  EXPECT_FALSE(alice.snapshot().video.cameraOn);
  EXPECT_EQ(alice.engine, alice.engineClass->sharedInstance());
}

TEST(Lifetime, HandsetsOutliveTheirCloud) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  const auto bob = classroom.entered("bob");
  alice.events->take();
  bob->startLocalPreview(true, nullptr);
  classroom.cloud.reset();
  classroom.advance(5000);
  alice->exitRoom();
  alice->enterRoom(paramsOf("alice"), 0);
  alice->muteLocalAudio(true);
  alice->getAudioEffectManager().startPlayMusic({.ID = 1, .path = "song.mp3"}, {}, {}, {});
  alice->startSpeedTest(1, "alice", "signature", nullptr);
  EXPECT_EQ(alice.engineClass->sharedInstance(), alice.engine);
  EXPECT_TRUE(alice.engineClass->snapshot().has_value());
  classroom.advance(5000);
  EXPECT_TRUE(alice.events->lines().empty());
}

TEST(Lifetime, TheCloudMayBeDestroyedByAnEvent) {
  Classroom classroom;
  const auto alice = classroom.handset();
  alice.events->onLine = [&](const std::string&) { classroom.cloud.reset(); };
  alice->enterRoom(paramsOf("alice"), 0);
  classroom.advance(5000);
  EXPECT_EQ(alice.events->lines(), Lines{"onEnterRoom 60"});
}

TEST(Lifetime, ViewsAreLetGoOfWithNoLockHeld) {
  /// A view that asks the engine when it dies.
  struct AskingView : NativeView {
    explicit AskingView(KOBUCloud& asked) : engine(asked) {}
    ~AskingView() override { engine.getAudioCaptureVolume(); }
    KOBUCloud& engine;
  };
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  const auto view = [&] { return std::make_shared<AskingView>(*alice.engine); };
  alice->startLocalPreview(true, view());
  alice->startLocalPreview(true, view());
  alice->stopLocalPreview();
  alice->startRemoteView("bob", 0, view());
  alice->startRemoteView("bob", 0, view());
  alice->startRemoteView("bob", 9, view());
  alice->stopRemoteView("bob", 0);
  alice->startRemoteView("bob", 2, view());
  alice->stopAllRemoteView();
  alice->startRemoteView("bob", 0, view());
  alice->exitRoom();
  EXPECT_TRUE(alice.snapshot().remoteViews.empty());
}

TEST(Lifetime, ManyThreadsMayUseTheCloudAtOnce) {
  CloudOptions options = Classroom::steady();
  options.clock = std::make_shared<RealClock>();
  options.network.delay = milliseconds(1);
  ClassroomCloud cloud(options);
  std::atomic<std::size_t> events = 0;
  const auto lesson = [&](int number) {
    const auto user = "user" + std::to_string(number);
    const auto engineClass = cloud.makeEngineClass();
    for (int round = 0; round < 20; ++round) {
      const auto recorder = std::make_shared<Recorder>();
      auto engine = engineClass->sharedInstance();
      engine->setDelegate(recorder);
      engine->enterRoom(paramsOf(user), 0);
      recorder->waitFor("onEnterRoom");
      engine->startLocalAudio(2);
      engine->startLocalPreview(true, std::make_shared<NativeView>());
      engine->startRemoteView("user0", 0, std::make_shared<NativeView>());
      EXPECT_TRUE(engineClass->snapshot().has_value());
      if (round % 2 == 0) {
        engine->exitRoom();
        recorder->waitFor("onExitRoom");
      }
      engineClass->destroySharedIntance();
      engine.reset();
      events += recorder->lines().size();
    }
  };
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int number = 0; number < 4; ++number) threads.emplace_back(lesson, number);
  for (auto& thread : threads) thread.join();
  EXPECT_GE(events, 4U * 20U);
  EXPECT_TRUE(cloud.rooms().empty());
}

}  // namespace
}  // namespace vemo
