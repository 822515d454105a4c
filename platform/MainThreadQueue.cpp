#include "platform/MainThreadQueue.h"

#include <utility>

namespace vemo {

MainThreadQueue::MainThreadQueue(std::function<void()> wake)
    : wake_(std::move(wake)), mainThread_(std::this_thread::get_id()) {}

MainThreadQueue::~MainThreadQueue() {
  std::deque<std::function<void()>> unrun;
  const std::lock_guard lock(mutex_);
  closed_ = true;
  unrun.swap(tasks_);
}

bool MainThreadQueue::isMainThread() const {
  return mainThread_.load() == std::this_thread::get_id();
}

void MainThreadQueue::bindToThisThread() { mainThread_.store(std::this_thread::get_id()); }

void MainThreadQueue::dispatchAsync(std::function<void()> task) {
  if (!task) return;
  bool first = false;
  {
    const std::lock_guard lock(mutex_);
    if (closed_) return;  // the task is destroyed by our caller, without the lock
    first = tasks_.empty();
    tasks_.push_back(std::move(task));
  }
  changed_.notify_one();
  if (first && wake_) wake_();
}

std::function<void()> MainThreadQueue::next() {
  const std::lock_guard lock(mutex_);
  if (tasks_.empty()) return nullptr;
  auto task = std::move(tasks_.front());
  tasks_.pop_front();
  return task;
}

void MainThreadQueue::perform(std::function<void()> task) {
  performing_ = true;
  task();
  task = nullptr;  // destroyed before another runs
  performing_ = false;
}

std::size_t MainThreadQueue::drain() {
  if (performing_) return 0;
  std::size_t count = 0;
  while (auto task = next()) {
    perform(std::move(task));
    ++count;
  }
  return count;
}

void MainThreadQueue::run() {
  for (;;) {
    {
      std::unique_lock lock(mutex_);
      changed_.wait(lock, [this] { return stopping_ || !tasks_.empty(); });
      if (std::exchange(stopping_, false)) return;
    }
    perform(next());
  }
}

void MainThreadQueue::stop() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  changed_.notify_one();
}

}  // namespace vemo
