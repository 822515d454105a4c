#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bridge/NotificationCenter.h"
#include "testing/Arrivals.h"

namespace vemo {

/// What every CrossProcessNotificationCenter promises. A Maker has:
///   CrossProcessNotificationCenter& center();
///   void settle();   lets what was posted reach its callbacks, now or soon; a centre
///                    that delivers by itself needs nothing
///   void destroy();  destroys the centre; called from its callbacks too
template <class Maker>
class CrossProcessNotificationCenterContract : public ::testing::Test {
 protected:
  CrossProcessNotificationCenter& center() { return maker_.center(); }

  CrossProcessNotificationCenter::Callback arriving() {
    return [this](const std::string& name) { arrivals_.add(name); };
  }

  /// Everything that arrives from what was posted before, by way of a last post.
  std::vector<std::string> arrived() {
    center().addObserver(&last_, "last", arriving());
    center().post("last");
    maker_.settle();
    std::vector<std::string> names;
    for (auto name = arrivals_.next(); name && *name != "last"; name = arrivals_.next()) {
      names.push_back(*name);
    }
    center().removeEveryObserver(&last_);
    return names;
  }

  Arrivals<std::string> arrivals_;
  int first_ = 0;  // observers: their addresses are all that counts
  int second_ = 0;
  int last_ = 0;
  Maker maker_;  // goes first: it may still call back
};

TYPED_TEST_SUITE_P(CrossProcessNotificationCenterContract);

TYPED_TEST_P(CrossProcessNotificationCenterContract, DeliversInOrderOfPosting) {
  this->center().addObserver(&this->first_, "a", this->arriving());
  this->center().addObserver(&this->first_, "b", this->arriving());
  for (const auto* name : {"a", "b", "c", "a", "a", "b"}) this->center().post(name);
  EXPECT_EQ(this->arrived(), (std::vector<std::string>{"a", "b", "a", "a", "b"}));
}

TYPED_TEST_P(CrossProcessNotificationCenterContract, CallsTwiceWhatWasAddedTwice) {
  this->center().addObserver(&this->first_, "a", this->arriving());
  this->center().addObserver(&this->first_, "a", this->arriving());
  this->center().post("a");
  EXPECT_EQ(this->arrived(), (std::vector<std::string>{"a", "a"}));
}

TYPED_TEST_P(CrossProcessNotificationCenterContract, CallsOneAtATime) {
  std::atomic<int> inside = 0;
  std::atomic<bool> overlapped = false;
  const auto callback = [&](const std::string& name) {
    if (++inside > 1) overlapped = true;
    std::this_thread::yield();
    --inside;
    this->arrivals_.add(name);
  };
  this->center().addObserver(&this->first_, "a", callback);
  this->center().addObserver(&this->second_, "a", callback);
  const auto post = [this] {
    for (int i = 0; i < 20; ++i) this->center().post("a");
  };
  std::thread other(post);
  post();
  other.join();
  this->maker_.settle();
  EXPECT_EQ(this->arrivals_.next(80).size(), 80U);
  EXPECT_FALSE(overlapped);
}

TYPED_TEST_P(CrossProcessNotificationCenterContract, RemovesOneNameOfOneObserver) {
  this->center().addObserver(&this->first_, "a", this->arriving());
  this->center().addObserver(&this->first_, "a", this->arriving());
  this->center().addObserver(&this->first_, "b", this->arriving());
  this->center().addObserver(&this->second_, "a", this->arriving());
  this->center().removeObserver(&this->first_, "a");
  this->center().removeObserver(&this->first_, "a");         // none left
  this->center().removeObserver(&this->second_, "unknown");  // never was
  this->center().post("a");
  this->center().post("b");
  EXPECT_EQ(this->arrived(), (std::vector<std::string>{"a", "b"}));
}

TYPED_TEST_P(CrossProcessNotificationCenterContract, RemovesEverySubscriptionOfOneObserver) {
  this->center().addObserver(&this->first_, "a", this->arriving());
  this->center().addObserver(&this->first_, "b", this->arriving());
  this->center().addObserver(&this->second_, "b", this->arriving());
  this->center().removeEveryObserver(&this->first_);
  this->center().removeEveryObserver(&this->first_);
  this->center().post("a");
  this->center().post("b");
  EXPECT_EQ(this->arrived(), (std::vector<std::string>{"b"}));
}

TYPED_TEST_P(CrossProcessNotificationCenterContract, LetsGoOfCallbacksOfARemovedObserver) {
  const auto token = std::make_shared<int>();
  this->center().addObserver(&this->first_, "a", [token](const std::string&) {});
  this->center().addObserver(&this->first_, "b", [token](const std::string&) {});
  EXPECT_EQ(token.use_count(), 3);
  this->center().removeObserver(&this->first_, "a");
  EXPECT_EQ(token.use_count(), 2);
  this->center().removeEveryObserver(&this->first_);
  EXPECT_EQ(token.use_count(), 1);
}

TYPED_TEST_P(CrossProcessNotificationCenterContract, ACallbackMayPostSubscribeAndUnsubscribe) {
  this->center().addObserver(&this->first_, "outer", [this](const std::string& name) {
    this->arrivals_.add(name);
    this->center().removeEveryObserver(&this->first_);
    this->center().addObserver(&this->second_, "inner", this->arriving());
    this->center().post("inner");
  });
  this->center().post("outer");
  this->maker_.settle();
  EXPECT_EQ(this->arrivals_.next(), "outer");
  this->maker_.settle();
  EXPECT_EQ(this->arrivals_.next(), "inner");
  this->center().post("outer");
  EXPECT_EQ(this->arrived(), (std::vector<std::string>{}));
}

TYPED_TEST_P(CrossProcessNotificationCenterContract, MayBeDestroyedByItsOwnCallback) {
  this->center().addObserver(&this->first_, "end", [this](const std::string& name) {
    this->maker_.destroy();
    this->arrivals_.add(name);
  });
  // Nobody can call the second any more once what it holds is gone.
  std::shared_ptr<void> token(nullptr, [this](void*) { this->arrivals_.add("second let go"); });
  this->center().addObserver(
      &this->second_, "end",
      [this, token = std::move(token)](const std::string&) { this->arrivals_.add("called"); });
  this->center().post("end");
  this->maker_.settle();
  auto names = this->arrivals_.next(2);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{"end", "second let go"}));
  EXPECT_EQ(this->arrivals_.count(), 0U);
}

TYPED_TEST_P(CrossProcessNotificationCenterContract, BeginsNoCallAfterARemoval) {
  std::atomic<bool> done = false;
  std::thread poster([&] {
    while (!done) {
      this->center().post("a");
      std::this_thread::yield();
    }
  });
  for (int round = 0; round < 1000; ++round) {
    const auto removed = std::make_shared<std::atomic<bool>>(false);
    this->center().addObserver(&this->first_, "a", [this, removed](const std::string& name) {
      EXPECT_FALSE(*removed);
      this->arrivals_.add(name);
    });
    EXPECT_EQ(this->arrivals_.next(), "a");
    if (round % 2 == 0) {
      this->center().removeObserver(&this->first_, "a");
    } else {
      this->center().removeEveryObserver(&this->first_);
    }
    *removed = true;
  }
  done = true;
  poster.join();
}

TYPED_TEST_P(CrossProcessNotificationCenterContract, MayBeDestroyedWithWorkPending) {
  const auto token = std::make_shared<int>();
  std::atomic<bool> destroyed = false;
  this->center().addObserver(&this->first_, "a", [&, token](const std::string&) {
    EXPECT_FALSE(destroyed) << "called after the centre's death";
  });
  for (int i = 0; i < 10; ++i) this->center().post("a");
  this->maker_.destroy();
  destroyed = true;
  EXPECT_EQ(token.use_count(), 1) << "something can still be called";
}

REGISTER_TYPED_TEST_SUITE_P(CrossProcessNotificationCenterContract, DeliversInOrderOfPosting,
                            CallsTwiceWhatWasAddedTwice, CallsOneAtATime,
                            RemovesOneNameOfOneObserver, RemovesEverySubscriptionOfOneObserver,
                            LetsGoOfCallbacksOfARemovedObserver,
                            ACallbackMayPostSubscribeAndUnsubscribe, MayBeDestroyedByItsOwnCallback,
                            BeginsNoCallAfterARemoval, MayBeDestroyedWithWorkPending);

}  // namespace vemo
