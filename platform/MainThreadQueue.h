#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <thread>

#include "bridge/MainQueue.h"

namespace vemo {

/// A main queue that its host drives: drain() from an event loop or a test, or run()
/// where the queue is the loop.
///
/// The main thread is the one that made the queue, until another binds itself.
///
/// A task may destroy the queue, as the last work of a router does that owns its pieces:
/// the drain or run under way then returns after that task. A task may throw: the
/// exception leaves the drain or run under way, and what is still queued stays.
class MainThreadQueue final : public MainQueue {
 public:
  /// `wake`, if given, is called without a lock when a task is queued and none was
  /// waiting, on the queueing thread, and when a drain leaves tasks waiting, on the main
  /// thread: a host with an event loop of its own has it call drain() soon. Such calls may
  /// come more often than needed. A call can still be under way when the queue is
  /// destroyed by the very task that it tells of.
  explicit MainThreadQueue(std::function<void()> wake = nullptr);
  /// On the main thread. Tasks still queued are destroyed unrun, and so are those that
  /// their destruction queues.
  ~MainThreadQueue() override;
  MainThreadQueue(const MainThreadQueue&) = delete;
  MainThreadQueue& operator=(const MainThreadQueue&) = delete;

  bool isMainThread() const override;
  void dispatchAsync(std::function<void()> task) override;

  /// Makes the calling thread the main thread. Not while tasks run elsewhere.
  void bindToThisThread();

  /// Runs the tasks that wait now and returns how many it ran. What is queued meanwhile
  /// waits for the next drain, for which `wake` asks; without one, the host drains until
  /// the answer is 0. Main thread; called from a task it does nothing and returns 0, as
  /// tasks run one at a time.
  std::size_t drain();

  /// Runs tasks, waiting for more when there are none, until stop. Main thread, not from
  /// a task.
  void run();
  /// Ends the run under way after its present task, or else the next one at its start;
  /// what is queued stays. Any thread.
  void stop();

 private:
  struct State;

  // Shared with the operations under way, which may outlive the queue by the task that
  // destroys it.
  const std::shared_ptr<State> state_;
  std::atomic<std::thread::id> mainThread_;
};

}  // namespace vemo
