#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

#include "bridge/MainQueue.h"

namespace vemo {

/// A main queue that its host drives: drain() from an event loop or a test, or run()
/// where the queue is the loop.
///
/// The main thread is the one that made the queue, until another binds itself.
class MainThreadQueue final : public MainQueue {
 public:
  /// `wake`, if given, is called on the queueing thread, without a lock, when a task
  /// is queued and none was waiting: a host with an event loop of its own has it call
  /// drain() soon. Such calls may come more often than needed.
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

  /// Runs tasks, those queued meanwhile included, until none is left; returns how many
  /// it ran. Main thread; called from a task it does nothing, as tasks run one at a time.
  std::size_t drain();

  /// Runs tasks, waiting for more when there are none, until stop. Main thread.
  void run();
  /// Ends the run under way after its present task, or else the next one at its start;
  /// what is queued stays. Any thread.
  void stop();

 private:
  std::function<void()> next();
  void perform(std::function<void()> task);

  const std::function<void()> wake_;
  std::atomic<std::thread::id> mainThread_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::function<void()>> tasks_;
  bool stopping_ = false;
  bool closed_ = false;
  bool performing_ = false;  // main thread only
};

}  // namespace vemo
