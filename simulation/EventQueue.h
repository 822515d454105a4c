#pragma once

#include <functional>
#include <memory>

#include "simulation/Clock.h"

namespace vemo {

/// Timed work and the one thread that does it: by due time, and in the order of
/// posting where that is equal, one piece at a time, with no lock held.
///
/// Threads: any, the queue's own included.
class EventQueue {
 public:
  using Task = std::function<void()>;

  /// Starts the thread.
  explicit EventQueue(std::shared_ptr<Clock> clock);
  /// Stops.
  ~EventQueue();
  EventQueue(const EventQueue&) = delete;
  EventQueue& operator=(const EventQueue&) = delete;

  /// Takes `task` and runs it at `due`, or soon when that is past; false, and `task`
  /// left alone, once stopped.
  bool post(Clock::Time due, Task& task);

  /// Drops what waits. No task runs after the return, save one that itself called
  /// this. To be called by one thread at a time.
  void stop();

 private:
  class State;
  std::shared_ptr<State> state_;  // shared with the thread, which may outlive the queue
};

}  // namespace vemo
