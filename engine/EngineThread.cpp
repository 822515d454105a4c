#include "engine/EngineThread.h"

#include <condition_variable>
#include <mutex>
#include <utility>

namespace vemo {
namespace {

struct Call {
  EngineThread::Task task;
  EngineThread::Busy busy;
  bool again = false;
};

gboolean run(gpointer data) {
  const auto& call = *static_cast<Call*>(data);
  call.task();
  return call.again ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

void attach(GSource* source, GMainContext* context, Call call) {
  g_source_set_callback(source, run, new Call(std::move(call)),
                        [](gpointer data) { delete static_cast<Call*>(data); });
  g_source_attach(source, context);
}

}  // namespace

struct EngineThread::State {
  GMainContext* const context = g_main_context_new();
  GMainLoop* const loop = g_main_loop_new(context, FALSE);

  std::mutex mutex;
  std::condition_variable idle;
  int underWay = 0;

  State() = default;
  State(const State&) = delete;
  State& operator=(const State&) = delete;
  ~State() {
    g_main_loop_unref(loop);
    g_main_context_unref(context);
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
  attach(source, state_->context, {std::move(task), busy(), false});
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
  attach(source, state_->context, {std::move(task), nullptr, again});
  return {source, [](void* data) {
            auto* held = static_cast<GSource*>(data);
            g_source_destroy(held);
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
