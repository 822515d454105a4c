#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <thread>

#include "bridge/Application.h"

namespace vemo {

/// What every Application promises. A Maker has:
///   Application& application();
///   void setInformation(const std::string& key, Text value);
///   void setCanOpenSettings(bool can);
///   int opened();  how often the settings page was opened so far
template <class Maker>
class ApplicationContract : public ::testing::Test {
 protected:
  Application& application() { return maker_.application(); }

  Maker maker_;
};

TYPED_TEST_SUITE_P(ApplicationContract);

TYPED_TEST_P(ApplicationContract, TellsWhatTheDictionaryHas) {
  this->maker_.setInformation("CFBundleName", "课堂");
  this->maker_.setInformation("NSCameraUsageDescription", "");
  EXPECT_EQ(this->application().information("CFBundleName"), "课堂");
  EXPECT_EQ(this->application().information("NSCameraUsageDescription"), "");
  EXPECT_EQ(this->application().information("NSMicrophoneUsageDescription"), std::nullopt);
  EXPECT_EQ(this->application().information(""), std::nullopt);
  Text elsewhere;
  std::thread([&] { elsewhere = this->application().information("CFBundleName"); }).join();
  EXPECT_EQ(elsewhere, "课堂");
}

TYPED_TEST_P(ApplicationContract, OpensItsSettingsPage) {
  this->maker_.setCanOpenSettings(false);
  EXPECT_FALSE(this->application().canOpenSettings());
  this->maker_.setCanOpenSettings(true);
  EXPECT_TRUE(this->application().canOpenSettings());
  EXPECT_EQ(this->maker_.opened(), 0);
  this->application().openSettings();
  EXPECT_EQ(this->maker_.opened(), 1);
}

REGISTER_TYPED_TEST_SUITE_P(ApplicationContract, TellsWhatTheDictionaryHas, OpensItsSettingsPage);

}  // namespace vemo
