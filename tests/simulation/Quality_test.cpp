#include "simulation/Quality.h"

#include <gtest/gtest.h>

namespace vemo {
namespace {

using std::chrono::milliseconds;

TEST(Quality, IsThatOfTheWorstProperty) {
  EXPECT_EQ(qualityOf(0, 0, milliseconds(20)), 1);
  EXPECT_EQ(qualityOf(0, 2, milliseconds(20)), 2);
  EXPECT_EQ(qualityOf(0, 0, milliseconds(300)), 3);
  EXPECT_EQ(qualityOf(10, 0, milliseconds(20)), 4);
  EXPECT_EQ(qualityOf(30, 0, milliseconds(1000)), 5);
  EXPECT_EQ(qualityOf(31, 0, milliseconds(0)), 6);
  EXPECT_EQ(qualityOf(0, 0, milliseconds(1001)), 6);
}

TEST(Quality, LossesOnTheWayCombine) {
  EXPECT_EQ(combinedLoss(0, 0), 0U);
  EXPECT_EQ(combinedLoss(10, 0), 10U);
  EXPECT_EQ(combinedLoss(50, 50), 75U);
  EXPECT_EQ(combinedLoss(100, 0), 100U);
  EXPECT_EQ(combinedLoss(1000, 1000), 100U);
}

}  // namespace
}  // namespace vemo
