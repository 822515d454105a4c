#include "simulation/EventQueue.h"

#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

namespace vemo {

class EventQueue::State final : public ClockedQueue {
 public:
  explicit State(std::shared_ptr<Clock> clock) : clock_(std::move(clock)) {}

  std::optional<Clock::Time> nextDue() const override {
    const std::lock_guard lock(mutex_);
    return firstDue();
  }

  void runDue() override {
    std::unique_lock lock(mutex_);
    allowed_ = true;
    changed_.notify_all();
    idle_.wait(lock, [this] { return stopped_ || (!running_ && !isWorkDue()); });
    allowed_ = false;
  }

  bool post(Clock::Time due, Task& task) {
    const std::lock_guard lock(mutex_);
    if (stopped_) return false;
    tasks_.emplace(std::pair(due, posted_++), std::move(task));
    changed_.notify_all();
    return true;
  }

  void stop() {
    Tasks dropped;  // destroyed with no lock held
    const std::lock_guard lock(mutex_);
    stopped_ = true;
    dropped.swap(tasks_);
    changed_.notify_all();
    idle_.notify_all();
  }

  void run() {
    std::unique_lock lock(mutex_);
    while (!stopped_) {
      if ((clock_->isDriven() && !allowed_) || !isWorkDue()) {
        clock_->wait(lock, changed_, firstDue());
        continue;
      }
      Task task = std::move(tasks_.begin()->second);
      tasks_.erase(tasks_.begin());
      running_ = true;
      lock.unlock();
      task();
      task = nullptr;  // what it holds may run code of others when it goes
      lock.lock();
      running_ = false;
      if (!isWorkDue()) idle_.notify_all();
    }
  }

  std::thread thread;

 private:
  // By due time, then by order of posting.
  using Tasks = std::map<std::pair<Clock::Time, std::uint64_t>, Task>;

  std::optional<Clock::Time> firstDue() const {
    if (tasks_.empty()) return std::nullopt;
    return tasks_.begin()->first.first;
  }

  bool isWorkDue() const {
    const auto due = firstDue();
    return due && *due <= clock_->now();
  }

  const std::shared_ptr<Clock> clock_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::condition_variable idle_;
  Tasks tasks_;
  std::uint64_t posted_ = 0;
  bool allowed_ = false;  // by a clock that drives
  bool running_ = false;
  bool stopped_ = false;
};

EventQueue::EventQueue(std::shared_ptr<Clock> clock) : state_(std::make_shared<State>(clock)) {
  clock->attach(state_);
  state_->thread = std::thread([state = state_] { state->run(); });
}

EventQueue::~EventQueue() { stop(); }

bool EventQueue::post(Clock::Time due, Task& task) { return state_->post(due, task); }

void EventQueue::stop() {
  state_->stop();
  if (!state_->thread.joinable()) return;
  if (state_->thread.get_id() == std::this_thread::get_id()) {
    state_->thread.detach();  // it ends when the task that runs now has returned
  } else {
    state_->thread.join();
  }
}

}  // namespace vemo
