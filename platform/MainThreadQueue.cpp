#include "platform/MainThreadQueue.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <utility>

namespace vemo {

struct MainThreadQueue::State {
  explicit State(std::function<void()> wakeHost) : wake(std::move(wakeHost)) {}

  const std::function<void()> wake;
  std::mutex mutex;
  std::condition_variable changed;
  std::deque<std::function<void()>> tasks;
  bool stopping = false;
  bool closed = false;      // the queue is gone
  bool performing = false;  // main thread only

  std::size_t waiting() {
    const std::lock_guard lock(mutex);
    return tasks.size();
  }

  std::function<void()> next() {
    const std::lock_guard lock(mutex);
    if (tasks.empty()) return nullptr;
    auto task = std::move(tasks.front());
    tasks.pop_front();
    return task;
  }

  void perform(std::function<void()> task) {
    struct Performing {
      explicit Performing(bool& flag) : flag_(flag) { flag_ = true; }
      ~Performing() { flag_ = false; }
      Performing(const Performing&) = delete;
      Performing& operator=(const Performing&) = delete;
      bool& flag_;
    };
    const Performing now(performing);
    // Destroyed before another runs, and still as part of its own turn, even if it throws.
    const auto own = std::move(task);
    own();
  }

  void wakeIfWaiting() {
    if (wake && waiting() > 0) wake();
  }
};

MainThreadQueue::MainThreadQueue(std::function<void()> wake)
    : state_(std::make_shared<State>(std::move(wake))), mainThread_(std::this_thread::get_id()) {}

MainThreadQueue::~MainThreadQueue() {
  {
    const std::lock_guard lock(state_->mutex);
    state_->closed = true;
  }
  // One by one, without the lock; a deque of its own to put them in would take memory.
  while (state_->next()) {
  }
}

bool MainThreadQueue::isMainThread() const {
  return mainThread_.load() == std::this_thread::get_id();
}

void MainThreadQueue::bindToThisThread() { mainThread_.store(std::this_thread::get_id()); }

void MainThreadQueue::dispatchAsync(std::function<void()> task) {
  if (!task) return;
  const auto state = state_;
  bool first = false;
  {
    const std::lock_guard lock(state->mutex);
    if (state->closed) return;  // the task is destroyed by our caller, without the lock
    first = state->tasks.empty();
    state->tasks.push_back(std::move(task));
  }
  state->changed.notify_one();
  if (first && state->wake) state->wake();
}

std::size_t MainThreadQueue::drain() {
  const auto state = state_;
  if (state->performing) return 0;
  const auto due = state->waiting();
  std::size_t count = 0;
  try {
    while (count < due) {
      auto task = state->next();
      if (!task) break;  // a task has destroyed the queue
      ++count;
      state->perform(std::move(task));
    }
  } catch (...) {
    state->wakeIfWaiting();
    throw;
  }
  state->wakeIfWaiting();
  return count;
}

void MainThreadQueue::run() {
  const auto state = state_;
  for (;;) {
    {
      std::unique_lock lock(state->mutex);
      state->changed.wait(
          lock, [&] { return state->stopping || state->closed || !state->tasks.empty(); });
      if (state->closed || std::exchange(state->stopping, false)) return;
    }
    state->perform(state->next());
  }
}

void MainThreadQueue::stop() {
  const auto state = state_;
  {
    const std::lock_guard lock(state->mutex);
    state->stopping = true;
  }
  state->changed.notify_one();
}

}  // namespace vemo
