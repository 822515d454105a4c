#include "classroom/CameraPortal.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "engine/FakePortal.h"
#include "platform/PrivateBus.h"
#include "testing/Arrivals.h"

namespace vemo {
namespace {

using namespace std::chrono_literals;
using Answer = CameraPortal::Answer;
using Trouble = FakePortal::Trouble;

/// What comes of a question.
std::optional<Answer> answerOf(const CameraPortal& cameras) {
  Arrivals<Answer> answers;
  const auto question = cameras.ask([&](Answer answer) { answers.add(answer); });
  return answers.next();
}

TEST(CameraPortalTest, TellsWhatTheUserAnswers) {
  struct Case {
    Trouble trouble;
    Answer answer;
  };
  for (const auto& [trouble, answer] :
       {Case{Trouble::none, Answer::allowed}, Case{Trouble::cancelled, Answer::refused},
        Case{Trouble::ended, Answer::none}, Case{Trouble::error, Answer::none}}) {
    const PrivateBus bus;
    FakePortal portal(bus.address(), {.method = "AccessCamera", .trouble = trouble});
    const CameraPortal cameras({.bus = bus.address()});
    EXPECT_EQ(answerOf(cameras), answer);
    EXPECT_EQ(portal.calls.next(), "AccessCamera");
  }
}

TEST(CameraPortalTest, WithoutAPortalOrABusThereIsNoAnswer) {
  const PrivateBus bus;
  EXPECT_EQ(answerOf(CameraPortal({.bus = bus.address()})), Answer::none);
  EXPECT_EQ(answerOf(CameraPortal({.bus = "unix:path=/nowhere/bus"})), Answer::none);
}

TEST(CameraPortalTest, APortalThatSaysNothingIsWaitedForForATimeOnly) {
  PrivateBus bus;
  FakePortal portal(bus.address(), {.method = "AccessCamera", .trouble = Trouble::silent});
  EXPECT_EQ(answerOf(CameraPortal({.bus = bus.address(), .choiceTimeout = 50ms})), Answer::none);
  // The dialog goes away, as the user is now asked otherwise.
  EXPECT_EQ(portal.calls.next(2), (std::vector<std::string>{"AccessCamera", "close request"}));
  bus.hang();
  EXPECT_EQ(answerOf(CameraPortal({.bus = bus.address(), .answerTimeout = 50ms})), Answer::none);
  bus.goOn();
}

TEST(CameraPortalTest, APortalOrABusThatDiesGivesNoAnswer) {
  PrivateBus bus;
  const CameraPortal cameras({.bus = bus.address()});
  Arrivals<Answer> answers;
  const auto told = [&](Answer answer) { answers.add(answer); };
  FakePortal portal(bus.address(), {.method = "AccessCamera", .trouble = Trouble::silent});
  const auto first = cameras.ask(told);
  EXPECT_EQ(portal.calls.next(), "AccessCamera");
  portal.die();
  EXPECT_EQ(answers.next(), Answer::none);

  FakePortal again(bus.address(), {.method = "AccessCamera", .trouble = Trouble::silent});
  const auto second = cameras.ask(told);
  EXPECT_EQ(again.calls.next(), "AccessCamera");
  bus.stop();
  EXPECT_EQ(answers.next(), Answer::none);
}

TEST(CameraPortalTest, WhoNoLongerWaitsTakesTheDialogAway) {
  const PrivateBus bus;
  FakePortal portal(bus.address(), {.method = "AccessCamera", .trouble = Trouble::silent});
  const CameraPortal cameras({.bus = bus.address()});
  Arrivals<Answer> answers;
  auto question = cameras.ask([&](Answer answer) { answers.add(answer); });
  EXPECT_EQ(portal.calls.next(), "AccessCamera");
  question.reset();
  EXPECT_EQ(portal.calls.next(), "close request");
  EXPECT_EQ(answers.count(), 0U);
}

}  // namespace
}  // namespace vemo
