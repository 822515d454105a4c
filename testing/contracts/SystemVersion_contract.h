#pragma once

#include <gtest/gtest.h>

#include "bridge/SystemVersion.h"

namespace vemo {

/// What every SystemVersion promises. A Maker has:
///   SystemVersion& version();
///   void set(int major, int minor, int patch);  the version of the running system
template <class Maker>
class SystemVersionContract : public ::testing::Test {
 protected:
  bool isAtLeast(int major, int minor, int patch) {
    return maker_.version().isAtLeast(major, minor, patch);
  }

  Maker maker_;
};

TYPED_TEST_SUITE_P(SystemVersionContract);

TYPED_TEST_P(SystemVersionContract, ComparesPartByPart) {
  this->maker_.set(12, 3, 4);
  EXPECT_TRUE(this->isAtLeast(12, 3, 4));
  EXPECT_TRUE(this->isAtLeast(12, 3, 3));
  EXPECT_TRUE(this->isAtLeast(12, 2, 9));
  EXPECT_TRUE(this->isAtLeast(11, 9, 9));
  EXPECT_TRUE(this->isAtLeast(0, 0, 0));
  EXPECT_FALSE(this->isAtLeast(12, 3, 5));
  EXPECT_FALSE(this->isAtLeast(12, 4, 0));
  EXPECT_FALSE(this->isAtLeast(13, 0, 0));
}

TYPED_TEST_P(SystemVersionContract, KnowsTheVersionsThatScreenSharingAsksFor) {
  this->maker_.set(10, 3, 0);
  EXPECT_FALSE(this->isAtLeast(11, 0, 0));
  this->maker_.set(11, 4, 0);
  EXPECT_TRUE(this->isAtLeast(11, 0, 0));
  EXPECT_FALSE(this->isAtLeast(12, 0, 0));
  this->maker_.set(13, 0, 0);
  EXPECT_TRUE(this->isAtLeast(13, 0, 0));
  this->maker_.set(17, 0, 0);
  EXPECT_TRUE(this->isAtLeast(13, 0, 0));
}

REGISTER_TYPED_TEST_SUITE_P(SystemVersionContract, ComparesPartByPart,
                            KnowsTheVersionsThatScreenSharingAsksFor);

}  // namespace vemo
