#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <utility>
#include <vector>

namespace vemo::test {

/// What a service was asked for and has not done yet. Any thread; each chore is done once.
class Chores {
 public:
  void add(std::function<void()> chore) {
    const std::lock_guard lock(mutex_);
    waiting_.push_back(std::move(chore));
  }

  /// Does the one of those that wait to which `pick` leads; false when none does.
  bool doOne(std::uint64_t pick) {
    std::function<void()> chore;
    {
      const std::lock_guard lock(mutex_);
      if (waiting_.empty()) return false;
      std::swap(waiting_[pick % waiting_.size()], waiting_.back());
      chore = std::move(waiting_.back());
      waiting_.pop_back();
      ++underWay_;
    }
    chore();
    chore = nullptr;  // what it holds goes before it counts as done
    const std::lock_guard lock(mutex_);
    --underWay_;
    return true;
  }

  bool allDone() const {
    const std::lock_guard lock(mutex_);
    return waiting_.empty() && underWay_ == 0;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::function<void()>> waiting_;
  std::size_t underWay_ = 0;
};

}  // namespace vemo::test
