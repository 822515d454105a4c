#pragma once

#include <gtest/gtest.h>

#include <thread>

#include "bridge/VEMOExtensionLauncher.h"

namespace vemo {

/// What every VEMOExtensionLauncher promises. A Maker has:
///   VEMOExtensionLauncher& launcher();
///   bool launched(int times);  waits until the extension was asked for so often, and no
///                              oftener; false when it was not
template <class Maker>
class VEMOExtensionLauncherContract : public ::testing::Test {
 protected:
  Maker maker_;
};

TYPED_TEST_SUITE_P(VEMOExtensionLauncherContract);

TYPED_TEST_P(VEMOExtensionLauncherContract, AsksForTheExtensionEachTime) {
  this->maker_.launcher().launch();
  EXPECT_TRUE(this->maker_.launched(1));
  this->maker_.launcher().launch();
  EXPECT_TRUE(this->maker_.launched(2));
}

TYPED_TEST_P(VEMOExtensionLauncherContract, MayBeCalledFromAnyThread) {
  std::thread([this] { this->maker_.launcher().launch(); }).join();
  EXPECT_TRUE(this->maker_.launched(1));
}

REGISTER_TYPED_TEST_SUITE_P(VEMOExtensionLauncherContract, AsksForTheExtensionEachTime,
                            MayBeCalledFromAnyThread);

}  // namespace vemo
