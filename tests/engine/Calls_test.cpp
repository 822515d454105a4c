#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <latch>
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
  bob.enter();
  bob->startLocalPreview(true, nullptr);
  bob->startLocalAudio(2);
  bob.entered();
  Person alice("alice", options);
  const auto visits = [&alice](int times) {
    for (int i = 0; i < times; ++i) {
      alice.enter();
      alice->startLocalPreview(true, nullptr);
      alice->startLocalAudio(2);
      alice.told->waitFor("onFirstVideoFrame bob");
      alice.told->waitFor("onFirstAudioFrame bob");
      alice->exitRoom();
      alice.told->waitFor("onExitRoom");
      alice.told->clear();
    }
  };
  visits(10);  // what is kept for the next time is there by then
  const auto before = usedKiB();
  visits(20);
  EXPECT_LT(usedKiB() - before, 20 * kMostKiBOfAVisit);
}

}  // namespace
}  // namespace vemo
