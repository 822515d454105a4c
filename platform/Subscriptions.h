#pragma once

#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace vemo {

/// The subscriptions of a notification centre, in the order in which they were made.
/// Any thread; the lock is never held while a callback is called or destroyed.
///
/// What ends a subscription waits for calls of it that are under way on other threads, so
/// that none is left when it returns: the caller must not hold what a callback waits for.
/// From within a callback, of whichever centre, it does not wait, as two that end each
/// other would wait for ever; a call under way on another thread then still finishes.
/// It takes no memory.
class Subscriptions {
 public:
  using Callback = std::function<void(const std::string& name)>;

  void add(const void* observer, const std::string& name, Callback callback);

  /// Ends the subscriptions of `observer` to `name`.
  void remove(const void* observer, const std::string& name);
  /// Ends every subscription of `observer`.
  void removeEvery(const void* observer);
  /// Ends all.
  void clear();

  /// Calls those that are subscribed to `name` now, one after the other, on this
  /// thread; what is ended meanwhile is not called any more, what is added waits for
  /// the next time.
  void call(const std::string& name) const;

 private:
  struct Subscription {
    const void* observer;
    std::string name;
    Callback callback;
    std::atomic<bool> ended = false;
    std::atomic<int> calls = 0;                      // under way
    std::list<std::weak_ptr<Subscription>> leaving;  // this one, until it has ended
  };

  class Call;

  template <class Matches>
  void end(Matches matches);
  template <class Matches>
  std::shared_ptr<Subscription> underWay(Matches matches) const;

  mutable std::mutex mutex_;
  std::list<std::shared_ptr<Subscription>> subscriptions_;
  std::list<std::weak_ptr<Subscription>> leaving_;  // ended; calls of them may be under way
};

}  // namespace vemo
