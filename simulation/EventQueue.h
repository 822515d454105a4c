#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "simulation/Clock.h"

namespace vemo {

/// Timed work and the one thread that does it: by due time, and in the order of
/// posting where that is equal, one piece at a time, with no lock held.
///
/// Threads: any, the queue's own included.
class EventQueue {
 public:
  using Task = std::function<void()>;
  class Ticket;
  /// Work that learns whether its ticket is gone.
  using RevocableTask = std::function<void(const std::weak_ptr<const Ticket>& ticket)>;

  /// Starts the thread.
  explicit EventQueue(std::shared_ptr<Clock> clock);
  /// Stops.
  ~EventQueue();
  EventQueue(const EventQueue&) = delete;
  EventQueue& operator=(const EventQueue&) = delete;

  /// Takes `task` and runs it at `due`, or soon when that is past; false, and `task`
  /// left alone, once stopped.
  bool post(Clock::Time due, Task& task);

  /// The same for work that is of no use without its ticket: what waits is taken back,
  /// and destroyed, when the ticket goes. Work that has begun by then is not stopped;
  /// it sees the ticket expired. Once stopped, `task` is dropped.
  std::shared_ptr<const Ticket> postRevocable(Clock::Time due, RevocableTask task);

  /// How many pieces of work wait.
  std::size_t size() const;

  /// Drops what waits. No task runs after the return, save one that itself called
  /// this. To be called by one thread at a time.
  void stop();

 private:
  class State;
  // Due time, and order of posting.
  using Key = std::pair<Clock::Time, std::uint64_t>;
  std::shared_ptr<State> state_;  // shared with the thread, which may outlive the queue
};

/// The place of work that waits in a queue. May outlive the queue.
class EventQueue::Ticket {
 public:
  explicit Ticket(const std::shared_ptr<State>& state) : state_(state) {}
  ~Ticket();
  Ticket(const Ticket&) = delete;
  Ticket& operator=(const Ticket&) = delete;

 private:
  friend class EventQueue;
  const std::weak_ptr<State> state_;
  std::optional<Key> key_;
};

}  // namespace vemo
