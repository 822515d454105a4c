#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <latch>
#include <limits>
#include <memory>
#include <string>

#include "Classroom.h"
#include "EveryCall.h"
#include "MediaServer.h"
#include "Memory.h"
#include "Senses.h"

namespace vemo {
namespace {

using namespace std::chrono_literals;

TEST(CallsTest, NoneWaitsForTheEngineThread) {
  const MediaServer server;
  std::latch held(1);
  Person alice("alice", testOptions(server.url()));
  alice.told->inEvent = [&held](const RecordingDelegate::Event& event) {
    if (event.name == "onEnterRoom") held.wait();
  };
  alice.enter().entered();
  // The thread is in that event, and stays there until all calls have returned.
  int calls = 0;
  makeEveryCall(*alice.operator->(), std::make_shared<SeenView>(),
                [&calls](const char*, const auto& call) {
                  call();
                  ++calls;
                });
  EXPECT_GT(calls, 45);
  EXPECT_EQ(alice.told->count("onExitRoom"), 0U);
  held.count_down();
  alice.told->waitFor("onExitRoom");
}

TEST(CallsTest, EnteringAndLeavingAgainAndAgainTakesNoMoreMemory) {
  const MediaServer server;
  const auto options = testOptions(server.url());
  Person bob("bob", options);
  bob.enterSending();
  bob.entered();
  Person alice("alice", options);
  // The least that was in use after one of these visits: what is on its way comes and goes.
  const auto leastAfter = [&alice, &bob](int visits) {
    long least = std::numeric_limits<long>::max();
    for (int i = 0; i < visits; ++i) {
      alice.enterSending();
      alice.told->waitFor("onFirstVideoFrame bob");
      alice.told->waitFor("onFirstAudioFrame bob");
      alice->exitRoom();
      alice.told->waitFor("onExitRoom");
      alice.told->clear();
      bob.told->clear();
      least = std::min(least, usedKiB());
    }
    return least;
  };
  leastAfter(5);  // what is kept for the next time is there by then
  const auto before = leastAfter(10);
  constexpr long kConnection = 200;  // KiB, and less than one takes
  EXPECT_LT(leastAfter(10) - before, 10 * kConnection);
}

}  // namespace
}  // namespace vemo
