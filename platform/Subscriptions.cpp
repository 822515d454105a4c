#include "platform/Subscriptions.h"

#include <algorithm>
#include <vector>

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
  std::list added{std::make_shared<Subscription>(observer, name, std::move(callback))};
  added.front()->leaving.emplace_back(added.front());
  const std::lock_guard lock(mutex_);
  subscriptions_.splice(subscriptions_.end(), added);
}

// Who dies ends what it subscribed to: nothing here takes memory.
template <class Matches>
void Subscriptions::end(Matches matches) {
  std::list<std::shared_ptr<Subscription>> ended;  // destroyed without the lock
  {
    const std::lock_guard lock(mutex_);
    leaving_.remove_if([](const auto& left) { return left.expired(); });
    for (auto next = subscriptions_.begin(); next != subscriptions_.end();) {
      const auto entry = next++;
      if (!matches(**entry)) continue;
      (*entry)->ended = true;
      leaving_.splice(leaving_.end(), (*entry)->leaving);
      ended.splice(ended.end(), subscriptions_, entry);
    }
  }
  if (callbacksHere() > 0) return;
  // Others ended some of them before, in a callback, or wait still.
  while (const auto entry = underWay(matches)) {
    for (int calls = entry->calls; calls > 0; calls = entry->calls) entry->calls.wait(calls);
  }
}

/// One that has ended, and of which a call is under way; null when there is none.
template <class Matches>
std::shared_ptr<Subscriptions::Subscription> Subscriptions::underWay(Matches matches) const {
  const std::lock_guard lock(mutex_);
  for (const auto& left : leaving_) {
    auto entry = left.lock();
    if (entry && entry->calls > 0 && matches(*entry)) return entry;
  }
  return nullptr;
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
