#include "platform/Turns.h"

#include <gtest/gtest.h>

#include <deque>
#include <string>

namespace vemo {
namespace {

struct TurnsTest : ::testing::Test {
  /// What is taken until nothing is left, one after the other.
  std::string all() {
    std::string taken;
    while (auto turn = turns.take()) taken += turn->work;
    return taken;
  }

  Turns<std::string> turns;
};

TEST_F(TurnsTest, EachIsServedInTurnAndKeepsItsOrder) {
  EXPECT_TRUE(turns.empty());
  for (const auto* work : {"a", "b", "c", "d"}) turns.add(1, work);
  for (const auto* work : {"1", "2"}) turns.add(2, work);
  turns.add(3, "x");
  EXPECT_FALSE(turns.empty());
  EXPECT_EQ(all(), "a1xb2cd");
  EXPECT_TRUE(turns.empty());
}

TEST_F(TurnsTest, WhoComesBackStandsAtTheEnd) {
  turns.add(1, "a");
  turns.add(2, "1");
  EXPECT_EQ(turns.take()->requester, 1U);
  turns.add(1, "b");
  EXPECT_EQ(all(), "1b");
}

TEST_F(TurnsTest, WhoMayNotKeepsItsPlace) {
  for (const auto* work : {"a", "b"}) turns.add(1, work);
  for (const auto* work : {"1", "2"}) turns.add(2, work);
  const auto second = [](auto requester) { return requester == 2; };
  EXPECT_EQ(turns.take(second)->work, "1");
  EXPECT_EQ(turns.take(second)->work, "2");
  EXPECT_FALSE(turns.take(second));
  EXPECT_EQ(all(), "ab");
}

TEST_F(TurnsTest, WhatIsDroppedIsNotTaken) {
  for (const auto* work : {"a", "b"}) turns.add(1, work);
  turns.add(2, "1");
  EXPECT_EQ(turns.of(1), (std::deque<std::string>{"a", "b"}));
  EXPECT_EQ(turns.drop(1), (std::deque<std::string>{"a", "b"}));
  EXPECT_TRUE(turns.of(1).empty());
  EXPECT_TRUE(turns.drop(1).empty());
  EXPECT_EQ(all(), "1");
}

}  // namespace
}  // namespace vemo
