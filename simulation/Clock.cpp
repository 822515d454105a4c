#include "simulation/Clock.h"

#include <algorithm>
#include <utility>

namespace vemo {

Clock::Time RealClock::now() const {
  return std::chrono::duration_cast<Time>(std::chrono::steady_clock::now() - start_);
}

void RealClock::wait(std::unique_lock<std::mutex>& lock, std::condition_variable& changed,
                     std::optional<Time> due) const {
  if (due) {
    changed.wait_until(lock, start_ + *due);
  } else {
    changed.wait(lock);
  }
}

void ManualClock::attach(std::weak_ptr<ClockedQueue> queue) {
  const std::lock_guard lock(mutex_);
  std::erase_if(queues_, [](const auto& known) { return known.expired(); });
  queues_.push_back(std::move(queue));
}

void ManualClock::wait(std::unique_lock<std::mutex>& lock, std::condition_variable& changed,
                       std::optional<Time> /*due*/) const {
  changed.wait(lock);
}

void ManualClock::advance(Time time) {
  const std::lock_guard advancing(advancing_);
  const Time end = now() + time;
  for (;;) {
    const auto driven = queues();
    std::optional<Time> next;
    for (const auto& queue : driven) {
      const auto due = queue->nextDue();
      if (due && *due <= end && (!next || *due < *next)) next = due;
    }
    if (!next) break;
    now_ = std::max(now(), *next).count();
    for (const auto& queue : driven) queue->runDue();
  }
  now_ = end.count();
}

std::vector<std::shared_ptr<ClockedQueue>> ManualClock::queues() {
  const std::lock_guard lock(mutex_);
  std::vector<std::shared_ptr<ClockedQueue>> live;
  for (const auto& queue : queues_) {
    if (auto strong = queue.lock()) live.push_back(std::move(strong));
  }
  return live;
}

}  // namespace vemo
