#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace vemo {

/// What a clock drives: a queue of timed work with a thread of its own. Any thread.
class ClockedQueue {
 public:
  virtual ~ClockedQueue() = default;

  /// When the earliest work is due; nothing when there is none.
  virtual std::optional<std::chrono::milliseconds> nextDue() const = 0;

  /// Lets the queue's thread run all work due by now, what that work adds included,
  /// and returns when it is done.
  virtual void runDue() = 0;
};

/// Time in milliseconds since the clock was made. Any thread.
class Clock {
 public:
  using Time = std::chrono::milliseconds;

  virtual ~Clock() = default;

  virtual Time now() const = 0;

  /// Whether work runs only inside runDue, which the clock then calls; else a queue
  /// runs its work by itself as soon as it is due.
  virtual bool isDriven() const = 0;

  /// Makes the clock drive `queue`, for as long as it lives. Kept weakly.
  virtual void attach(std::weak_ptr<ClockedQueue> queue) = 0;

  /// Waits on `changed` with `lock` held, at most until `due` where that is given.
  /// May return early.
  virtual void wait(std::unique_lock<std::mutex>& lock, std::condition_variable& changed,
                    std::optional<Time> due) const = 0;
};

/// The steady clock of the machine.
class RealClock final : public Clock {
 public:
  Time now() const override;
  bool isDriven() const override { return false; }
  void attach(std::weak_ptr<ClockedQueue> /*queue*/) override {}
  void wait(std::unique_lock<std::mutex>& lock, std::condition_variable& changed,
            std::optional<Time> due) const override;

 private:
  const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

/// A clock that stands still until it is advanced, and so makes every run the same.
class ManualClock final : public Clock {
 public:
  Time now() const override { return Time(now_.load()); }
  bool isDriven() const override { return true; }
  void attach(std::weak_ptr<ClockedQueue> queue) override;
  void wait(std::unique_lock<std::mutex>& lock, std::condition_variable& changed,
            std::optional<Time> due) const override;

  /// Moves on by `time`, from one due time to the next, and returns when all work due
  /// on the way has run, each piece at its own time. `advance(Time(0))` runs what is
  /// due now. Not to be called by the work itself: it would wait for its own end.
  void advance(Time time);

 private:
  std::vector<std::shared_ptr<ClockedQueue>> queues();

  std::atomic<Time::rep> now_{0};
  std::mutex advancing_;  // one advance at a time
  std::mutex mutex_;
  std::vector<std::weak_ptr<ClockedQueue>> queues_;
};

}  // namespace vemo
