#pragma once

#include <glib.h>

#include <chrono>
#include <functional>
#include <memory>
#include <thread>

namespace vemo {

/// The thread that owns an engine's state: a GLib main loop, which sockets, timers and GStreamer's
/// promises report to. May be destroyed on any thread, its own included; what was posted before is
/// done first.
class EngineThread {
 public:
  using Task = std::function<void()>;
  /// What runs later, until the last holder lets go.
  using Timer = std::shared_ptr<void>;
  /// Held as long as something is under way; see waitUntilIdle.
  using Busy = std::shared_ptr<void>;

  EngineThread();
  ~EngineThread();
  EngineThread(const EngineThread&) = delete;
  EngineThread& operator=(const EngineThread&) = delete;

  /// Runs `task` on the thread, after those that were posted before. Any thread.
  void post(Task task);
  /// Runs `task` on the thread once `delay` has passed. Any thread.
  [[nodiscard]] Timer after(std::chrono::milliseconds delay, Task task);
  /// The same again and again.
  [[nodiscard]] Timer every(std::chrono::milliseconds period, Task task);
  bool isCurrent() const;

  /// Something is under way until the result is let go of. Any thread.
  [[nodiscard]] Busy busy() const;
  /// Waits until nothing is posted and nothing is under way; whether that came to be in time.
  /// Not on the thread itself.
  bool waitUntilIdle(std::chrono::milliseconds timeout) const;

 private:
  struct State;
  [[nodiscard]] Timer timer(std::chrono::milliseconds delay, bool again, Task task);

  const std::shared_ptr<State> state_;
  std::thread thread_;
};

}  // namespace vemo
