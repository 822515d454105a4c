#include "platform/LineQueue.h"

#include <signal.h>
#include <spdlog/async.h>
#include <spdlog/async_logger.h>
#include <spdlog/sinks/sink.h>

#include <exception>
#include <string>
#include <utility>

#include "platform/LineOutput.h"
#include "platform/VisibleText.h"

namespace vemo {

/// Passes lines on to the target, and says before the next one what was lost.
/// Used by the queue's thread alone.
class LossReporter final : public spdlog::sinks::sink {
 public:
  LossReporter(spdlog::sink_ptr target, LineQueue::LossLine lossLine)
      : target_(std::move(target)), lossLine_(std::move(lossLine)) {
    target_->set_pattern("%v");
  }

  /// The queue that drops lines; it outlives this one's use.
  void watch(spdlog::details::thread_pool& queue) { queue_ = &queue; }

  void log(const spdlog::details::log_msg& line) override {
    if (!reportLosses() || !pass(line)) ++notWritten_;
  }

  /// Says what can be said; false when the target doesn't take it.
  bool reportLosses() {
    const auto dropped = queue_->overrun_counter();
    if (dropped != reportedDropped_) {
      if (!pass(lossLine_("dropped", dropped - reportedDropped_, {}))) return false;
      reportedDropped_ = dropped;
    }
    if (notWritten_ != 0) {
      if (!pass(lossLine_("notWritten", notWritten_, why_))) return false;
      notWritten_ = 0;
    }
    return true;
  }

  void flush() override {}  // done with each line: a reader, or a crash, finds them all
  void set_pattern(const std::string&) override {}
  void set_formatter(std::unique_ptr<spdlog::formatter>) override {}

 private:
  bool pass(const std::string& line) {
    const auto visible = visibleText(line);
    return pass({{}, spdlog::level::err, visible});
  }

  bool pass(const spdlog::details::log_msg& line) {
    try {
      target_->log(line);
      target_->flush();
      return true;
    } catch (const std::exception& problem) {
      why_ = problem.what();
    } catch (...) {
      why_ = "unknown";
    }
    return false;
  }

  const spdlog::sink_ptr target_;
  const LineQueue::LossLine lossLine_;
  spdlog::details::thread_pool* queue_ = nullptr;
  std::size_t reportedDropped_ = 0;
  std::size_t notWritten_ = 0;
  std::string why_;
};

namespace {

void blockSignalsOfWriting() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGPIPE);
  sigaddset(&signals, SIGXFSZ);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

}  // namespace

LineQueue::LineQueue(std::shared_ptr<spdlog::sinks::sink> target, std::size_t capacity,
                     LossLine lossLine)
    : output_(std::dynamic_pointer_cast<LineOutput>(target)),
      reporter_(std::make_shared<LossReporter>(std::move(target), std::move(lossLine))),
      thread_(std::make_shared<spdlog::details::thread_pool>(
          capacity, 1, blockSignalsOfWriting,
          [reporter = reporter_] { reporter->reportLosses(); })),
      lines_(std::make_shared<spdlog::async_logger>(
          "", reporter_, thread_, spdlog::async_overflow_policy::overrun_oldest)) {
  reporter_->watch(*thread_);
}

LineQueue::~LineQueue() {
  if (output_) output_->hurry();
  thread_.reset();  // writes what waits, then ends; all else must still be there
}

void LineQueue::add(std::string_view line) { lines_->log(spdlog::level::info, visibleText(line)); }

}  // namespace vemo
