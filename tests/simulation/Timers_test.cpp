#include <gtest/gtest.h>

#include <limits>

#include "Classroom.h"
#include "simulation/SimulatedEngine.h"

namespace vemo {
namespace {

constexpr std::int32_t kHuge = std::numeric_limits<std::int32_t>::max();

struct Repeated {
  const char* name;
  std::function<void(TestHandset&, int round)> command;
};

/// What a page may repeat as often as it likes.
class Repetition : public testing::TestWithParam<Repeated> {};

TEST_P(Repetition, LeavesNoStepsBehind) {
  Classroom classroom;
  auto alice = classroom.entered("alice");
  const auto before = classroom.cloud->waitingSteps();
  for (int round = 0; round < 2'000; ++round) {
    GetParam().command(alice, round);
    classroom.advance(0);  // what is to be told now is told
  }
  EXPECT_LE(classroom.cloud->waitingSteps(), before + 3);
}

INSTANTIATE_TEST_SUITE_P(
    , Repetition,
    testing::Values(
        Repeated{"VolumeInterval",
                 [](auto& alice, int round) {
                   alice->enableAudioVolumeEvaluation(kHuge - 100'000 * round);
                   alice->enableAudioVolumeEvaluation(500 + round % 2);
                 }},
        Repeated{"Camera",
                 [](auto& alice, int) {
                   alice->startLocalPreview(true, nullptr);
                   alice->stopLocalPreview();
                 }},
        Repeated{"Microphone",
                 [](auto& alice, int) {
                   alice->startLocalAudio(1);
                   alice->stopLocalAudio();
                 }},
        Repeated{"Screen",
                 [](auto& alice, int) {
                   alice->startScreenCaptureInApp({});
                   alice->stopScreenCapture();
                 }},
        Repeated{"Music",
                 [](auto& alice, int) {
                   auto& music = alice->getAudioEffectManager();
                   music.startPlayMusic({.ID = 1, .path = "song.mp3"}, {}, {}, {});
                   music.pausePlayMusic(1);
                   music.resumePlayMusic(1);
                 }},
        Repeated{"SpeedTest",
                 [](auto& alice, int) { alice->startSpeedTest(1, "alice", "signature", nullptr); }},
        Repeated{"Enter",
                 [](auto& alice, int) {
                   alice.engineClass->dropConnection();
                   alice->exitRoom();
                   alice->enterRoom(paramsOf("alice"), 0);
                 }},
        Repeated{"Connection",
                 [](auto& alice, int) {
                   alice.engineClass->dropConnection();
                   alice.engineClass->restoreConnection();
                 }},
        Repeated{"Network",
                 [](auto& alice, int) {
                   alice->callExperimentalAPI(R"({"api":"setNetwork","params":{"delayMs":60000}})");
                 }}),
    [](const auto& repeated) { return repeated.param.name; });

TEST(Timers, MutingAgainAndAgainLeavesNoFirstFramesBehind) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  alice->startLocalAudio(2);
  classroom.advance(1000);
  const auto before = classroom.cloud->waitingSteps();
  alice.events->take();
  for (int round = 0; round < 2'000; ++round) {
    alice->muteLocalAudio(true);
    alice->muteLocalAudio(false);
  }
  EXPECT_EQ(classroom.cloud->waitingSteps(), before + 2);  // one, and the next announcement
  classroom.advance(100);
  EXPECT_EQ(alice.events->lines(), Lines{"onSendFirstLocalAudioFrame"});
}

TEST(Timers, OfWhatChangesAgainAndAgainTheOthersHearNowAndThen) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  const auto bob = classroom.entered("bob");
  alice->startLocalAudio(2);
  classroom.advance(1000);
  const auto before = classroom.cloud->waitingSteps();
  bob.events->take();
  for (int round = 0; round < 2'000; ++round) {
    alice->muteLocalAudio(false);
    alice->muteLocalAudio(true);
  }
  EXPECT_LE(classroom.cloud->waitingSteps(), before + 2);  // one to bob, and the next
  classroom.advance(100);
  EXPECT_EQ(bob.events->take(), Lines{"onUserAudioAvailable alice 0"});

  alice->muteLocalAudio(false);
  alice->muteLocalAudio(true);
  alice->muteLocalAudio(false);
  alice->muteLocalAudio(true);
  classroom.advance(100);
  EXPECT_EQ(bob.events->take(),
            (Lines{"onUserAudioAvailable alice 1", "onUserAudioAvailable alice 0"}))
      << "what was announced first, and what it is in the end";
}

TEST(Timers, AClientDiesWithItsEngineWhateverItWaitsFor) {
  Classroom classroom;
  auto alice = classroom.entered("alice");
  alice->enableAudioVolumeEvaluation(kHuge);
  alice->startLocalPreview(true, std::make_shared<NativeView>());
  alice->startLocalAudio(1);
  alice->startScreenCaptureInApp({});
  alice->getAudioEffectManager().startPlayMusic({.ID = 1, .path = "song.mp3"}, {}, {}, {});
  alice->startSpeedTest(1, "alice", "signature", nullptr);
  alice->switchRole(kKOBURoleAudience);
  alice.engineClass->dropConnection();
  alice->setAudioRoute(kRouteEarpiece);
  EXPECT_GT(classroom.cloud->waitingSteps(), 0U);

  const std::weak_ptr<Client> client =
      std::dynamic_pointer_cast<SimulatedEngine>(alice.engine)->client();
  alice.engine.reset();
  alice.engineClass->destroySharedIntance();
  EXPECT_TRUE(client.expired());
  // What is left has no client: the answer to the switch, and the change of the route.
  EXPECT_LE(classroom.cloud->waitingSteps(), 2U);
  classroom.advance(10'000);
  EXPECT_EQ(classroom.cloud->waitingSteps(), 0U);
  EXPECT_TRUE(alice.events->lines().empty());
}

TEST(Timers, TheVolumeIntervalHasARange) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  const auto interval = [&](std::int32_t asked) {
    alice->enableAudioVolumeEvaluation(asked);
    return alice.snapshot().audio.volumeIntervalMs;
  };
  EXPECT_EQ(interval(1), 100);
  EXPECT_EQ(interval(100), 100);
  EXPECT_EQ(interval(0), 0);
  EXPECT_EQ(interval(std::numeric_limits<std::int32_t>::min()), 0);
  EXPECT_EQ(interval(10'000), 10'000);
  EXPECT_EQ(interval(kHuge), 10'000);
  classroom.advance(10'000);
  EXPECT_EQ(alice.events->count("onUserVoiceVolume"), 1U);
}

TEST(Timers, AskingForTheSameIntervalAgainPutsNothingOff) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  for (int round = 0; round < 10; ++round) {
    alice->enableAudioVolumeEvaluation(500);
    classroom.advance(100);
  }
  EXPECT_EQ(alice.events->count("onUserVoiceVolume"), 2U);
}

TEST(Timers, WorkIsTakenBackWithItsTicket) {
  const auto clock = std::make_shared<ManualClock>();
  EventQueue queue(clock);
  Lines done;
  const auto step = [&](const char* name) {
    return [&done, name](const auto& ticket) {
      done.emplace_back(name);
      EXPECT_FALSE(ticket.expired());
    };
  };
  auto taken = queue.postRevocable(milliseconds(1), step("taken back"));
  auto kept = queue.postRevocable(milliseconds(2), step("kept"));
  EXPECT_EQ(queue.size(), 2U);
  taken.reset();
  EXPECT_EQ(queue.size(), 1U);
  clock->advance(milliseconds(2));
  EXPECT_EQ(done, Lines{"kept"});
  EXPECT_EQ(queue.size(), 0U);
  queue.stop();
  auto late = queue.postRevocable(milliseconds(3), step("late"));
  EXPECT_EQ(queue.size(), 0U);
}

TEST(Timers, ATicketMayGoWhileItsWorkRunsAndAfterItsQueue) {
  const auto clock = std::make_shared<ManualClock>();
  std::shared_ptr<const EventQueue::Ticket> ticket;
  {
    EventQueue queue(clock);
    bool expired = false;
    ticket = queue.postRevocable(milliseconds(1), [&](const auto& own) {
      ticket.reset();
      expired = own.expired();
    });
    clock->advance(milliseconds(1));
    EXPECT_TRUE(expired);
    ticket = queue.postRevocable(milliseconds(5), [](const auto&) {});
  }
  ticket.reset();
  clock->advance(milliseconds(10));
}

}  // namespace
}  // namespace vemo
