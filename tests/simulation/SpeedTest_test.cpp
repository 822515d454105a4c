#include <gtest/gtest.h>

#include "Classroom.h"

namespace vemo {
namespace {

struct SpeedTestTest : testing::Test {
  Classroom classroom;
  TestHandset alice = classroom.handset();
  struct Answer {
    KOBUSpeedTestResult result;
    std::int64_t completed, total;
  };
  std::vector<Answer> answers;  // by the callback thread, inside advance

  void start() {
    alice->startSpeedTest(kApplication, "alice", "signature",
                          [this](const auto& result, auto completed, auto total) {
                            answers.push_back({*result, completed, total});
                          });
  }
};

TEST_F(SpeedTestTest, AnswersOnceForEachServer) {
  alice.engineClass->setNetwork({milliseconds(40), milliseconds(0), 2, 5});
  start();
  EXPECT_TRUE(alice.snapshot().speedTestRunning);
  classroom.advance(5000);
  ASSERT_EQ(answers.size(), 3U);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(answers[i].completed, static_cast<std::int64_t>(i) + 1);
    EXPECT_EQ(answers[i].total, 3);
    EXPECT_DOUBLE_EQ(answers[i].result.upLostRate, 0.02);
    EXPECT_DOUBLE_EQ(answers[i].result.downLostRate, 0.05);
    EXPECT_EQ(answers[i].result.quality, 3);
  }
  EXPECT_EQ(answers[0].result.ip, "10.0.0.1");
  EXPECT_EQ(answers[0].result.rtt, 90);
  EXPECT_EQ(answers[2].result.rtt, 200);
  EXPECT_FALSE(alice.snapshot().speedTestRunning);
}

TEST_F(SpeedTestTest, AStopEndsIt) {
  start();
  classroom.advance(400);
  alice->stopSpeedTest();
  classroom.advance(5000);
  EXPECT_EQ(answers.size(), 1U);
}

TEST_F(SpeedTestTest, AStartReplacesTheOneThatRuns) {
  start();
  classroom.advance(400);
  start();
  classroom.advance(5000);
  EXPECT_EQ(answers.size(), 4U);
}

TEST_F(SpeedTestTest, WithoutAConnectionEverythingIsLost) {
  alice.engineClass->dropConnection();
  start();
  classroom.advance(5000);
  ASSERT_EQ(answers.size(), 3U);
  EXPECT_EQ(answers[0].result.quality, 6);
  EXPECT_DOUBLE_EQ(answers[0].result.upLostRate, 1);
}

TEST(SpeedTestWithoutServers, IsDoneAtOnceWithoutAResult) {
  auto options = Classroom::steady();
  options.speedTestServers.clear();
  Classroom classroom(options);
  const auto alice = classroom.handset();
  int calls = 0;
  alice->startSpeedTest(1, "alice", "signature", [&](const auto& result, auto done, auto total) {
    EXPECT_EQ(result, nullptr);
    EXPECT_EQ(done, total);
    ++calls;
  });
  classroom.advance(1000);
  EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace vemo
