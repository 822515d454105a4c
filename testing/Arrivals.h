#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace vemo {

/// What arrives on other threads, in order, for a test to wait for. The time limit is
/// there so that what never arrives fails the test instead of hanging it.
template <class T>
class Arrivals {
 public:
  void add(T value) {
    const std::lock_guard lock(mutex_);
    values_.push_back(std::move(value));
    changed_.notify_all();  // with the lock: the taker may destroy this at once
  }

  /// The next that was not yet taken; nothing, and a failure, when none comes.
  std::optional<T> next() {
    std::unique_lock lock(mutex_);
    if (!waitFor(lock, [this] { return !values_.empty(); })) return std::nullopt;
    std::optional<T> value(std::move(values_.front()));
    values_.pop_front();
    return value;
  }

  /// The next `count`; fewer, and a failure, when they don't come.
  std::vector<T> next(std::size_t count) {
    std::unique_lock lock(mutex_);
    waitFor(lock, [&] { return values_.size() >= count; });
    std::vector<T> taken;
    while (taken.size() < count && !values_.empty()) {
      taken.push_back(std::move(values_.front()));
      values_.pop_front();
    }
    return taken;
  }

  /// How many are there now, untaken.
  std::size_t count() const {
    const std::lock_guard lock(mutex_);
    return values_.size();
  }

 private:
  template <class Condition>
  bool waitFor(std::unique_lock<std::mutex>& lock, Condition condition) {
    const bool came = changed_.wait_for(lock, std::chrono::seconds(30), condition);
    EXPECT_TRUE(came) << "nothing arrived in 30 seconds";
    return came;
  }

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<T> values_;
};

}  // namespace vemo
