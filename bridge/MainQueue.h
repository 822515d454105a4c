#pragma once

#include <functional>

namespace vemo {

/// The main thread and the queue of work for it.
class MainQueue {
 public:
  virtual ~MainQueue() = default;

  /// Whether the calling thread is the main thread. Any thread.
  virtual bool isMainThread() const = 0;

  /// Queues `task` and returns; the main thread runs tasks one at a time in the
  /// order in which they were queued, never inside this call. A task is destroyed on
  /// the main thread once it has run; tasks still queued when the queue is destroyed
  /// are destroyed unrun. An empty task is ignored. Any thread.
  virtual void dispatchAsync(std::function<void()> task) = 0;
};

}  // namespace vemo
