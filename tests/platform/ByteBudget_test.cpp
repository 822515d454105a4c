#include "platform/ByteBudget.h"

#include <gtest/gtest.h>

#include <chrono>

namespace vemo {
namespace {

using std::chrono::seconds;

constexpr ByteBudget::Time kStart{};

TEST(ByteBudget, GivesTheBurstAtOnceAndThenTheRate) {
  ByteBudget budget({1000, 100}, kStart);
  for (int i = 0; i < 10; ++i) EXPECT_TRUE(budget.take(100, kStart));
  EXPECT_FALSE(budget.take(100, kStart));
  EXPECT_TRUE(budget.take(100, kStart + seconds(1)));
  EXPECT_FALSE(budget.take(1, kStart + seconds(1)));
  EXPECT_TRUE(budget.take(200, kStart + seconds(3)));
  EXPECT_FALSE(budget.take(1, kStart + seconds(3)));
}

TEST(ByteBudget, NeverGrowsBeyondTheBurst) {
  ByteBudget budget({1000, 100}, kStart);
  const auto later = kStart + std::chrono::hours(1000);
  EXPECT_TRUE(budget.take(1000, later));
  EXPECT_FALSE(budget.take(1, later));
}

TEST(ByteBudget, LetsALongTextPassAndRemembersIt) {
  ByteBudget budget({1000, 100}, kStart);
  EXPECT_TRUE(budget.take(1'000'000, kStart));
  EXPECT_FALSE(budget.take(1, kStart + seconds(10))) << "a debt of one burst";
  EXPECT_TRUE(budget.take(1, kStart + seconds(11))) << "and no more";
}

TEST(ByteBudget, HasNothingForATextThatIsLongerThanWhatIsLeft) {
  ByteBudget budget({1000, 100}, kStart);
  EXPECT_TRUE(budget.take(999, kStart));
  EXPECT_FALSE(budget.take(2, kStart));
  EXPECT_TRUE(budget.take(1, kStart));
}

TEST(ByteBudget, MayBeginWithAShareOfAnother) {
  ByteBudget all({1000, 100}, kStart);
  EXPECT_EQ(all.share(kStart), 1);
  EXPECT_TRUE(all.take(750, kStart));
  EXPECT_EQ(all.share(kStart), 0.25);
  ByteBudget part({100, 10}, kStart, all.share(kStart));
  EXPECT_TRUE(part.take(25, kStart));
  EXPECT_FALSE(part.take(1, kStart));
  EXPECT_TRUE(all.take(250, kStart));
  EXPECT_TRUE(all.take(100'000, kStart + seconds(10)));
  EXPECT_EQ(all.share(kStart + seconds(10)), 0) << "a debt is no share";
}

}  // namespace
}  // namespace vemo
