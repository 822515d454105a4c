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
using Given = CameraPortal::Answer;
using Trouble = FakePortal::Trouble;

/// What comes of a question.
std::optional<Given> answerOf(const CameraPortal& cameras) {
  Arrivals<Given> answers;
  const auto question = cameras.ask([&](Given answer) { answers.add(answer); });
  return answers.next();
}

TEST(CameraPortalTest, TellsWhatTheUserAnswers) {
  struct Case {
    Trouble trouble;
    Given answer;
  };
  for (const auto& [trouble, answer] :
       {Case{Trouble::none, Given::allowed}, Case{Trouble::cancelled, Given::refused},
        Case{Trouble::ended, Given::none}, Case{Trouble::error, Given::none}}) {
    const PrivateBus bus;
    FakePortal portal(bus.address(), {.method = "AccessCamera", .trouble = trouble});
    const CameraPortal cameras({.bus = bus.address()});
    EXPECT_EQ(answerOf(cameras), answer);
    EXPECT_EQ(portal.calls.next(), "AccessCamera");
  }
}

TEST(CameraPortalTest, WithoutAPortalOrABusThereIsNoAnswer) {
  const PrivateBus bus;
  EXPECT_EQ(answerOf(CameraPortal({.bus = bus.address()})), Given::none);
  EXPECT_EQ(answerOf(CameraPortal({.bus = "unix:path=/nowhere/bus"})), Given::none);
}

TEST(CameraPortalTest, APortalThatSaysNothingIsWaitedForForATimeOnly) {
  PrivateBus bus;
  FakePortal portal(bus.address(), {.method = "AccessCamera", .trouble = Trouble::silent});
  EXPECT_EQ(answerOf(CameraPortal({.bus = bus.address(), .choiceTimeout = 50ms})), Given::none);
  // The dialog goes away, as the user is now asked otherwise.
  EXPECT_EQ(portal.calls.next(2), (std::vector<std::string>{"AccessCamera", "close request"}));
  bus.hang();
  EXPECT_EQ(answerOf(CameraPortal({.bus = bus.address(), .answerTimeout = 50ms})), Given::none);
  bus.goOn();
}

TEST(CameraPortalTest, APortalOrABusThatDiesGivesNoAnswer) {
  PrivateBus bus;
  const CameraPortal cameras({.bus = bus.address()});
  Arrivals<Given> answers;
  const auto told = [&](Given answer) { answers.add(answer); };
  FakePortal portal(bus.address(), {.method = "AccessCamera", .trouble = Trouble::silent});
  const auto first = cameras.ask(told);
  EXPECT_EQ(portal.calls.next(), "AccessCamera");
  portal.die();
  EXPECT_EQ(answers.next(), Given::none);

  FakePortal again(bus.address(), {.method = "AccessCamera", .trouble = Trouble::silent});
  const auto second = cameras.ask(told);
  EXPECT_EQ(again.calls.next(), "AccessCamera");
  bus.stop();
  EXPECT_EQ(answers.next(), Given::none);
}

TEST(CameraPortalTest, WhoNoLongerWaitsTakesTheDialogAway) {
  const PrivateBus bus;
  FakePortal portal(bus.address(), {.method = "AccessCamera", .trouble = Trouble::silent});
  const CameraPortal cameras({.bus = bus.address()});
  Arrivals<Given> answers;
  auto question = cameras.ask([&](Given answer) { answers.add(answer); });
  EXPECT_EQ(portal.calls.next(), "AccessCamera");
  question.reset();
  EXPECT_EQ(portal.calls.next(), "close request");
  EXPECT_EQ(answers.count(), 0U);
}

}  // namespace
}  // namespace vemo
