#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bridge/AlertPresenter.h"

namespace vemo {

/// What an alert shows.
struct ShownAlert {
  std::string title;
  std::string message;
  std::vector<std::pair<std::string, AlertActionStyle>> buttons;

  friend bool operator==(const ShownAlert&, const ShownAlert&) = default;
};

/// What every AlertPresenter promises. A Maker makes one whose main thread is the thread
/// of the test, and has:
///   AlertPresenter& alerts();
///   std::optional<ShownAlert> shown();      the oldest alert that is open
///   void press(const std::string& button);  the user presses a button of it; returns when
///                                           what that causes is done
template <class Maker>
class AlertPresenterContract : public ::testing::Test {
 protected:
  Alert alert(const std::string& title) {
    return {title,
            "Why not",
            {{"No", AlertActionStyle::destructive, [this] { pressed_.emplace_back("No"); }},
             {"Yes", AlertActionStyle::normal, [this, thread = std::this_thread::get_id()] {
                EXPECT_EQ(std::this_thread::get_id(), thread);
                pressed_.emplace_back("Yes");
              }}}};
  }

  std::vector<std::string> pressed_;
  Maker maker_;
};

TYPED_TEST_SUITE_P(AlertPresenterContract);

TYPED_TEST_P(AlertPresenterContract, ShowsTheButtonsInTheirOrder) {
  this->maker_.alerts().present(this->alert("First"));
  EXPECT_EQ(
      this->maker_.shown(),
      (ShownAlert{"First",
                  "Why not",
                  {{"No", AlertActionStyle::destructive}, {"Yes", AlertActionStyle::normal}}}));
  EXPECT_TRUE(this->pressed_.empty());
}

TYPED_TEST_P(AlertPresenterContract, AButtonClosesTheAlertAndCallsItsHandlerOnce) {
  this->maker_.alerts().present(this->alert("First"));
  this->maker_.alerts().present(this->alert("Second"));
  this->maker_.press("Yes");
  EXPECT_EQ(this->pressed_, std::vector<std::string>{"Yes"});
  ASSERT_TRUE(this->maker_.shown());
  EXPECT_EQ(this->maker_.shown()->title, "Second");
  this->maker_.press("No");
  EXPECT_EQ(this->pressed_, (std::vector<std::string>{"Yes", "No"}));
  EXPECT_FALSE(this->maker_.shown());
}

TYPED_TEST_P(AlertPresenterContract, AButtonWithoutAHandlerClosesTheAlert) {
  this->maker_.alerts().present({"First", "", {{"OK", AlertActionStyle::normal, nullptr}}});
  this->maker_.press("OK");
  EXPECT_FALSE(this->maker_.shown());
}

TYPED_TEST_P(AlertPresenterContract, HoldsTheHandlersUntilAButtonIsPressed) {
  const auto token = std::make_shared<int>();
  this->maker_.alerts().present({"First", "", {{"OK", AlertActionStyle::normal, [token] {}}}});
  EXPECT_GT(token.use_count(), 1);
  this->maker_.press("OK");
  EXPECT_EQ(token.use_count(), 1);
}

TYPED_TEST_P(AlertPresenterContract, ShowsAlertsOfOtherThreads) {
  std::thread([alert = this->alert("First"), this] {
    this->maker_.alerts().present(alert);
  }).join();
  ASSERT_TRUE(this->maker_.shown());
  this->maker_.press("Yes");
  EXPECT_EQ(this->pressed_, std::vector<std::string>{"Yes"});
}

REGISTER_TYPED_TEST_SUITE_P(AlertPresenterContract, ShowsTheButtonsInTheirOrder,
                            AButtonClosesTheAlertAndCallsItsHandlerOnce,
                            AButtonWithoutAHandlerClosesTheAlert,
                            HoldsTheHandlersUntilAButtonIsPressed, ShowsAlertsOfOtherThreads);

}  // namespace vemo
