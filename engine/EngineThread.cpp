#include "engine/EngineThread.h"

#include <condition_variable>
#include <map>
#include <mutex>
#include <utility>

namespace vemo {

struct EngineThread::State {
  /// What a source of the loop is there for.
  struct Call {
    std::shared_ptr<const Task> task;
    bool again = false;
  };

  GMainContext* const context = g_main_context_new();
  GMainLoop* const loop = g_main_loop_new(context, FALSE);

  std::mutex mutex;
  std::condition_variable idle;
  int underWay = 0;
  // Handed over under the lock, not by the sources, between whose threads only GLib knows the
  // order.
  std::map<GSource*, Call> calls;

  State() = default;
  State(const State&) = delete;
  State& operator=(const State&) = delete;
  ~State() {
    g_main_loop_unref(loop);
    g_main_context_unref(context);
  }

  void attach(GSource* source, Call call) {
    {
      const std::lock_guard lock(mutex);
      calls.emplace(source, std::move(call));
    }
    g_source_set_callback(
        source,
        [](gpointer self) { return static_cast<State*>(self)->run(g_main_current_source()); }, this,
        nullptr);
    g_source_attach(source, context);
  }
  /// The call of a source, which is forgotten if it comes but once; nothing when it was forgotten.
  Call take(GSource* source) {
    const std::lock_guard lock(mutex);
    const auto found = calls.find(source);
    if (found == calls.end()) return {};
    return found->second.again ? found->second : std::move(calls.extract(found).mapped());
  }
  gboolean run(GSource* source) {
    const auto call = take(source);
    if (call.task) (*call.task)();
    return call.again ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
  }
  void forget(GSource* source) {
    Call dropped;  // dies with no lock held
    const std::lock_guard lock(mutex);
    if (const auto found = calls.extract(source)) dropped = std::move(found.mapped());
  }
};

EngineThread::EngineThread() : state_(std::make_shared<State>()) {
  thread_ = std::thread([state = state_] {
    g_main_context_push_thread_default(state->context);
    g_main_loop_run(state->loop);
    while (g_main_context_iteration(state->context, FALSE)) {
    }
    g_main_context_pop_thread_default(state->context);
  });
}

EngineThread::~EngineThread() {
  // Through the queue: a loop that does not run yet would not see the end of it.
  post([state = state_] { g_main_loop_quit(state->loop); });
  if (isCurrent()) {
    thread_.detach();
  } else {
    thread_.join();
  }
}

void EngineThread::post(Task task) {
  GSource* source = g_idle_source_new();
  g_source_set_priority(source, G_PRIORITY_DEFAULT);
  state_->attach(
      source, {std::make_shared<const Task>([task = std::move(task), busy = busy()] { task(); })});
  g_source_unref(source);
}

EngineThread::Timer EngineThread::after(std::chrono::milliseconds delay, Task task) {
  return timer(delay, false, std::move(task));
}

EngineThread::Timer EngineThread::every(std::chrono::milliseconds period, Task task) {
  return timer(period, true, std::move(task));
}

EngineThread::Timer EngineThread::timer(std::chrono::milliseconds delay, bool again, Task task) {
  GSource* source = g_timeout_source_new(static_cast<guint>(delay.count()));
  state_->attach(source, {std::make_shared<const Task>(std::move(task)), again});
  return {source, [weak = std::weak_ptr(state_)](void* data) {
            auto* held = static_cast<GSource*>(data);
            g_source_destroy(held);
            if (const auto state = weak.lock()) state->forget(held);
            g_source_unref(held);
          }};
}

bool EngineThread::isCurrent() const { return thread_.get_id() == std::this_thread::get_id(); }

EngineThread::Busy EngineThread::busy() const {
  const std::lock_guard lock(state_->mutex);
  ++state_->underWay;
  return {state_.get(), [state = state_](void*) {
            const std::lock_guard done(state->mutex);
            if (--state->underWay == 0) state->idle.notify_all();
          }};
}

bool EngineThread::waitUntilIdle(std::chrono::milliseconds timeout) const {
  std::unique_lock lock(state_->mutex);
  return state_->idle.wait_for(lock, timeout, [this] { return state_->underWay == 0; });
}

}  // namespace vemo
