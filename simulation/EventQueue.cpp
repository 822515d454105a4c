#include "simulation/EventQueue.h"

#include <condition_variable>
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

  /// Nothing, and `task` left alone, once stopped.
  std::optional<Key> post(Clock::Time due, Task& task) {
    const std::lock_guard lock(mutex_);
    if (stopped_) return std::nullopt;
    const Key key{due, posted_++};
    tasks_.emplace(key, std::move(task));
    changed_.notify_all();
    return key;
  }

  void takeBack(Key key) {
    Tasks::node_type dropped;  // destroyed with no lock held
    const std::lock_guard lock(mutex_);
    dropped = tasks_.extract(key);
    if (!isWorkDue()) idle_.notify_all();
  }

  std::size_t size() const {
    const std::lock_guard lock(mutex_);
    return tasks_.size();
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
  using Tasks = std::map<Key, Task>;

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

EventQueue::Ticket::~Ticket() {
  const auto state = state_.lock();
  if (state && key_) state->takeBack(*key_);
}

bool EventQueue::post(Clock::Time due, Task& task) { return state_->post(due, task).has_value(); }

std::shared_ptr<const EventQueue::Ticket> EventQueue::postRevocable(Clock::Time due,
                                                                    RevocableTask task) {
  const auto ticket = std::make_shared<Ticket>(state_);
  Task work = [weak = std::weak_ptr<const Ticket>(ticket), task = std::move(task)] { task(weak); };
  ticket->key_ = state_->post(due, work);
  return ticket;
}

std::size_t EventQueue::size() const { return state_->size(); }

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
