#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "bridge/CaptureAuthorization.h"
#include "testing/Arrivals.h"

namespace vemo {

/// What every CaptureAuthorization promises. A Maker has:
///   CaptureAuthorization& authorization();
///   void setStatus(MediaType media, AuthorizationStatus status);
///   void answer(bool granted);  the user answers the oldest open request
///   void destroy();             destroys the platform with its open requests
template <class Maker>
class CaptureAuthorizationContract : public ::testing::Test {
 protected:
  CaptureAuthorization& authorization() { return maker_.authorization(); }

  Arrivals<bool> answers_;
  Maker maker_;  // goes first: it may still call back
};

TYPED_TEST_SUITE_P(CaptureAuthorizationContract);

TYPED_TEST_P(CaptureAuthorizationContract, TellsTheStatusOfEachMedium) {
  for (const auto status : {AuthorizationStatus::denied, AuthorizationStatus::authorized,
                            AuthorizationStatus::restricted, AuthorizationStatus::notDetermined}) {
    this->maker_.setStatus(MediaType::video, status);
    this->maker_.setStatus(MediaType::audio, AuthorizationStatus::denied);
    EXPECT_EQ(this->authorization().authorizationStatus(MediaType::video), status);
    EXPECT_EQ(this->authorization().authorizationStatus(MediaType::audio),
              AuthorizationStatus::denied);
  }
  AuthorizationStatus elsewhere{};
  std::thread([&] {
    elsewhere = this->authorization().authorizationStatus(MediaType::audio);
  }).join();
  EXPECT_EQ(elsewhere, AuthorizationStatus::denied);
}

TYPED_TEST_P(CaptureAuthorizationContract, HoldsARequestUntilTheUserAnswersIt) {
  this->maker_.setStatus(MediaType::video, AuthorizationStatus::notDetermined);
  for (const bool granted : {true, false}) {
    const auto token = std::make_shared<int>();
    this->authorization().requestAccess(MediaType::video,
                                        [this, token](bool answer) { this->answers_.add(answer); });
    EXPECT_EQ(this->answers_.count(), 0U) << "answered before the user did";
    EXPECT_GT(token.use_count(), 1) << "the answer is not held";
    this->maker_.answer(granted);
    EXPECT_EQ(this->answers_.next(), granted);
    this->maker_.setStatus(MediaType::video, AuthorizationStatus::notDetermined);
  }
}

TYPED_TEST_P(CaptureAuthorizationContract, AnswersEachRequestOnce) {
  this->maker_.setStatus(MediaType::audio, AuthorizationStatus::notDetermined);
  this->maker_.setStatus(MediaType::video, AuthorizationStatus::notDetermined);
  Arrivals<bool> ofAudio;
  Arrivals<bool> ofVideo;
  this->authorization().requestAccess(MediaType::audio, [&](bool answer) { ofAudio.add(answer); });
  this->authorization().requestAccess(MediaType::video, [&](bool answer) { ofVideo.add(answer); });
  this->maker_.answer(false);
  EXPECT_EQ(ofAudio.next(), false);
  this->maker_.answer(true);
  EXPECT_EQ(ofVideo.next(), true);
  EXPECT_EQ(ofAudio.count(), 0U);
  EXPECT_EQ(ofVideo.count(), 0U);
}

TYPED_TEST_P(CaptureAuthorizationContract, LetsGoOfARequestThatIsNeverAnswered) {
  this->maker_.setStatus(MediaType::audio, AuthorizationStatus::notDetermined);
  const auto token = std::make_shared<int>();
  this->authorization().requestAccess(MediaType::audio, [token](bool) { ADD_FAILURE(); });
  this->maker_.destroy();
  EXPECT_EQ(token.use_count(), 1);
}

REGISTER_TYPED_TEST_SUITE_P(CaptureAuthorizationContract, TellsTheStatusOfEachMedium,
                            HoldsARequestUntilTheUserAnswersIt, AnswersEachRequestOnce,
                            LetsGoOfARequestThatIsNeverAnswered);

}  // namespace vemo
