#pragma once

#include <functional>
#include <utility>

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
  /// are destroyed unrun. An empty task is ignored. A task for which there is no memory is
  /// destroyed, and std::bad_alloc thrown. Any thread.
  virtual void dispatchAsync(std::function<void()> task) = 0;
};

/// Runs `task` before it returns when the calling thread is the main thread; else queues it.
/// Any thread.
template <class Task>
void runOnMain(MainQueue& queue, Task task) {
  if (queue.isMainThread()) {
    task();
  } else {
    queue.dispatchAsync(std::move(task));
  }
}

}  // namespace vemo
