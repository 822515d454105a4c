#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "bridge/NotificationCenter.h"

namespace vemo {

/// What every NotificationCenter promises. A Maker has:
///   NotificationCenter& center();
template <class Maker>
class NotificationCenterContract : public ::testing::Test {
 protected:
  NotificationCenter& center() { return maker_.center(); }

  Maker maker_;
  int first_ = 0;  // observers: their addresses are all that counts
  int second_ = 0;
};

TYPED_TEST_SUITE_P(NotificationCenterContract);

TYPED_TEST_P(NotificationCenterContract, CallsObserversInsidePostInOrderOfSubscription) {
  std::vector<std::string> calls;
  const auto poster = std::this_thread::get_id();
  this->center().addObserver(&this->first_, "news", [&](const std::string& name) {
    EXPECT_EQ(std::this_thread::get_id(), poster);
    calls.push_back("first " + name);
  });
  this->center().addObserver(&this->second_, "news",
                             [&](const std::string& name) { calls.push_back("second " + name); });
  this->center().addObserver(&this->first_, "news",
                             [&](const std::string& name) { calls.push_back("again " + name); });
  this->center().post("news");
  EXPECT_EQ(calls, (std::vector<std::string>{"first news", "second news", "again news"}));
}

TYPED_TEST_P(NotificationCenterContract, CallsOnlyThoseOfTheName) {
  int calls = 0;
  this->center().addObserver(&this->first_, "news", [&](const std::string&) { ++calls; });
  this->center().post("olds");
  this->center().post("");
  EXPECT_EQ(calls, 0);
}

TYPED_TEST_P(NotificationCenterContract, RemovesEverySubscriptionOfOneObserver) {
  int removed = 0;
  int kept = 0;
  this->center().addObserver(&this->first_, "a", [&](const std::string&) { ++removed; });
  this->center().addObserver(&this->first_, "b", [&](const std::string&) { ++removed; });
  this->center().addObserver(&this->second_, "a", [&](const std::string&) { ++kept; });
  this->center().removeEveryObserver(&this->first_);
  this->center().post("a");
  this->center().post("b");
  EXPECT_EQ(removed, 0);
  EXPECT_EQ(kept, 1);
}

TYPED_TEST_P(NotificationCenterContract, LetsGoOfCallbacksOfARemovedObserver) {
  const auto token = std::make_shared<int>();
  this->center().addObserver(&this->first_, "a", [token](const std::string&) {});
  EXPECT_EQ(token.use_count(), 2);
  this->center().removeEveryObserver(&this->first_);
  EXPECT_EQ(token.use_count(), 1);
}

TYPED_TEST_P(NotificationCenterContract, AnObserverMayPostSubscribeAndUnsubscribe) {
  std::vector<std::string> calls;
  this->center().addObserver(&this->first_, "outer", [&](const std::string&) {
    calls.emplace_back("outer");
    this->center().addObserver(&this->second_, "inner",
                               [&](const std::string&) { calls.emplace_back("inner"); });
    this->center().post("inner");
    this->center().removeEveryObserver(&this->first_);
  });
  this->center().post("outer");
  this->center().post("outer");
  EXPECT_EQ(calls, (std::vector<std::string>{"outer", "inner"}));
}

TYPED_TEST_P(NotificationCenterContract, NeverLooksAtTheObserver) {
  int calls = 0;
  // No such object: whoever looks at it ends the test.
  // NOLINTNEXTLINE(performance-no-int-to-ptr)
  const auto* gone = reinterpret_cast<const void*>(std::uintptr_t{1});
  this->center().addObserver(gone, "a", [&](const std::string&) { ++calls; });
  this->center().post("a");
  this->center().removeEveryObserver(gone);
  this->center().removeEveryObserver(nullptr);
  EXPECT_EQ(calls, 1);
}

TYPED_TEST_P(NotificationCenterContract, ServesManyThreads) {
  constexpr int kRounds = 200;
  std::atomic<int> calls = 0;
  this->center().addObserver(&this->first_, "a", [&](const std::string&) { ++calls; });
  const auto work = [&] {
    int own = 0;
    for (int i = 0; i < kRounds; ++i) {
      this->center().addObserver(&own, "b", [](const std::string&) {});
      this->center().post("a");
      this->center().post("b");
      this->center().removeEveryObserver(&own);
    }
  };
  std::thread other(work);
  work();
  other.join();
  EXPECT_EQ(calls, 2 * kRounds);
}

REGISTER_TYPED_TEST_SUITE_P(NotificationCenterContract,
                            CallsObserversInsidePostInOrderOfSubscription, CallsOnlyThoseOfTheName,
                            RemovesEverySubscriptionOfOneObserver,
                            LetsGoOfCallbacksOfARemovedObserver,
                            AnObserverMayPostSubscribeAndUnsubscribe, NeverLooksAtTheObserver,
                            ServesManyThreads);

}  // namespace vemo
