#include "platform/Subscriptions.h"

#include <algorithm>

namespace vemo {
namespace {

/// How many callbacks this thread is in.
int& callbacksHere() {
  thread_local int count = 0;
  return count;
}

}  // namespace

/// A call of a subscription, from before it looks whether the subscription has ended:
/// whoever ends one and then finds no call knows that none will begin.
class Subscriptions::Call {
 public:
  explicit Call(Subscription& of) : of_(of) {
    ++of_.calls;
    ++callbacksHere();
  }
  ~Call() {
    --callbacksHere();
    if (--of_.calls == 0) of_.calls.notify_all();
  }
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;

 private:
  Subscription& of_;
};

void Subscriptions::add(const void* observer, const std::string& name, Callback callback) {
  if (!callback) return;
  auto subscription = std::make_shared<Subscription>(observer, name, std::move(callback));
  const std::lock_guard lock(mutex_);
  subscriptions_.push_back(std::move(subscription));
}

template <class Matches>
void Subscriptions::end(Matches matches) {
  std::vector<std::shared_ptr<Subscription>> ended;  // destroyed without the lock
  {
    const std::lock_guard lock(mutex_);
    // Whoever ended these before did so in a callback, or waits still.
    std::erase_if(leaving_, [&](const auto& left) {
      auto entry = left.lock();
      if (!entry) return true;
      if (matches(*entry)) ended.push_back(std::move(entry));
      return false;
    });
    std::erase_if(subscriptions_, [&](const auto& entry) {
      const bool matching = matches(*entry);
      if (matching) {
        ended.push_back(entry);
        leaving_.push_back(entry);
      }
      return matching;
    });
  }
  for (const auto& entry : ended) entry->ended = true;
  if (callbacksHere() > 0) return;
  for (const auto& entry : ended) {
    for (int calls = entry->calls; calls > 0; calls = entry->calls) entry->calls.wait(calls);
  }
}

void Subscriptions::remove(const void* observer, const std::string& name) {
  end([&](const Subscription& entry) { return entry.observer == observer && entry.name == name; });
}

void Subscriptions::removeEvery(const void* observer) {
  end([&](const Subscription& entry) { return entry.observer == observer; });
}

void Subscriptions::clear() {
  end([](const Subscription&) { return true; });
}

void Subscriptions::call(const std::string& name) const {
  std::vector<std::shared_ptr<Subscription>> called;
  {
    const std::lock_guard lock(mutex_);
    std::copy_if(subscriptions_.begin(), subscriptions_.end(), std::back_inserter(called),
                 [&](const auto& entry) { return entry->name == name; });
  }
  for (const auto& entry : called) {
    const Call underWay(*entry);
    if (!entry->ended) entry->callback(name);
  }
}

}  // namespace vemo
