#include "platform/LineQueue.h"

#include <signal.h>
#include <spdlog/details/log_msg.h>
#include <spdlog/sinks/sink.h>

#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include "platform/LineOutput.h"
#include "platform/VisibleText.h"

namespace vemo {
namespace {

void blockSignalsOfWriting() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGPIPE);
  sigaddset(&signals, SIGXFSZ);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

}  // namespace

/// The lines that wait and the thread that writes them. A queue of spdlog's own would count
/// lines alone, whatever they take.
class LineQueue::Writer {
 public:
  Writer(spdlog::sink_ptr target, std::size_t capacity, LossLine lossLine)
      : target_(std::move(target)), capacity_(capacity), lossLine_(std::move(lossLine)) {
    target_->set_pattern("%v");
    why_.reserve(256);  // so that it can be kept when memory is short
    thread_ = std::thread([this] { run(); });
  }
  ~Writer() {
    if (const auto output = std::dynamic_pointer_cast<LineOutput>(target_)) output->hurry();
    {
      const std::lock_guard lock(mutex_);
      stopping_ = true;
    }
    changed_.notify_one();
    thread_.join();
  }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  void add(std::string line) {
    {
      const auto size = line.size();
      const std::lock_guard lock(mutex_);
      lines_.push_back(std::move(line));
      bytes_ += size;
      while (lines_.size() > capacity_ || (bytes_ > kMaxBytes && lines_.size() > 1)) {
        take();
        ++dropped_;
      }
    }
    changed_.notify_one();
  }

  void drop() {
    const std::lock_guard lock(mutex_);
    ++dropped_;
  }

 private:
  /// The oldest line. With the lock.
  std::string take() {
    auto line = std::move(lines_.front());
    lines_.pop_front();
    bytes_ -= line.size();
    return line;
  }

  void run() {
    blockSignalsOfWriting();
    std::unique_lock lock(mutex_);
    for (;;) {
      changed_.wait(lock, [this] { return stopping_ || !lines_.empty(); });
      if (lines_.empty()) break;
      const auto line = take();
      lock.unlock();
      if (!reportLosses() || !write([&]() -> const std::string& { return line; })) ++notWritten_;
      lock.lock();
    }
    lock.unlock();
    reportLosses();
  }

  /// Says what was lost; false when the target doesn't take that.
  bool reportLosses() {
    const auto dropped = droppedLines();
    if (dropped != reportedDropped_) {
      if (!write([&] { return visibleText(lossLine_("dropped", dropped - reportedDropped_, {})); }))
        return false;
      reportedDropped_ = dropped;
    }
    if (notWritten_ != 0) {
      if (!write([&] { return visibleText(lossLine_("notWritten", notWritten_, why_)); }))
        return false;
      notWritten_ = 0;
    }
    return true;
  }

  std::size_t droppedLines() const {
    const std::lock_guard lock(mutex_);
    return dropped_;
  }

  /// Writes what `line()` gives; false when that, or the making of it, fails.
  template <class Line>
  bool write(Line line) {
    try {
      const std::string& text = line();
      target_->log({{}, spdlog::level::info, text});
      target_->flush();  // with each line: a reader, or a crash, finds them all
      return true;
    } catch (const std::exception& problem) {
      keepWhy(problem.what());
    } catch (...) {
      keepWhy("unknown");
    }
    return false;
  }

  void keepWhy(std::string_view why) { why_.assign(why.substr(0, why_.capacity())); }

  const spdlog::sink_ptr target_;
  const std::size_t capacity_;
  const LossLine lossLine_;

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::string> lines_;
  std::size_t bytes_ = 0;  // of these lines
  std::size_t dropped_ = 0;
  bool stopping_ = false;

  // The thread's own.
  std::size_t reportedDropped_ = 0;
  std::size_t notWritten_ = 0;
  std::string why_;

  std::thread thread_;
};

LineQueue::LineQueue(std::shared_ptr<spdlog::sinks::sink> target, std::size_t capacity,
                     LossLine lossLine)
    : writer_(std::make_unique<Writer>(std::move(target), capacity, std::move(lossLine))) {}

LineQueue::~LineQueue() = default;

void LineQueue::add(std::string_view line) { writer_->add(visibleText(line)); }

void LineQueue::drop() { writer_->drop(); }

}  // namespace vemo
