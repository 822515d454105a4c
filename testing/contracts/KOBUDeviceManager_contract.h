#pragma once

#include <gtest/gtest.h>

#include <thread>

#include "bridge/KOBUDeviceManager.h"

namespace vemo {

/// What every KOBUDeviceManager promises. A Maker has:
///   KOBUDeviceManager& manager();
///   bool frontCamera();  the camera that is used now
template <class Maker>
class KOBUDeviceManagerContract : public ::testing::Test {
 protected:
  Maker maker_;
};

TYPED_TEST_SUITE_P(KOBUDeviceManagerContract);

TYPED_TEST_P(KOBUDeviceManagerContract, SwitchesTheCameraOnAnyThread) {
  EXPECT_EQ(this->maker_.manager().switchCamera(false), 0);
  EXPECT_FALSE(this->maker_.frontCamera());
  EXPECT_EQ(this->maker_.manager().switchCamera(false), 0);
  EXPECT_FALSE(this->maker_.frontCamera());
  std::thread([this] { EXPECT_EQ(this->maker_.manager().switchCamera(true), 0); }).join();
  EXPECT_TRUE(this->maker_.frontCamera());
}

REGISTER_TYPED_TEST_SUITE_P(KOBUDeviceManagerContract, SwitchesTheCameraOnAnyThread);

}  // namespace vemo
