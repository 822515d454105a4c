#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace spdlog::sinks {
class sink;
}

namespace vemo {

/// Lines on their way to a place that may be slow, full or stuck. Whoever adds one never
/// waits: a thread of the queue's own writes them, and a full queue, be it full by the number
/// of its lines or by their bytes, drops its oldest.
/// What is lost is counted, and said as soon as it can be, by a line of its own before
/// the next one. No control character gets through (see visibleText), so one text is one
/// line; and no signal of writing (SIGPIPE, SIGXFSZ) ends the process.
///
/// Threads: any. Destruction writes what waits, and ends even if that can't be written.
class LineQueue {
 public:
  /// How much waits at most; a single longer line may.
  static constexpr std::size_t kMaxBytes = std::size_t{32} << 20U;

  /// The text of a line that says that `count` lines are lost: "dropped" by the full
  /// queue, or "notWritten", `why` then being what the target said last. Called by the
  /// queue's thread.
  using LossLine =
      std::function<std::string(std::string_view what, std::size_t count, std::string_view why)>;

  /// Writes to `target`, which is used by the queue's thread alone and throws what it
  /// can't write; it is given each line without its line break. A LineOutput is told to
  /// hurry at the end. `capacity` is not 0.
  LineQueue(std::shared_ptr<spdlog::sinks::sink> target, std::size_t capacity, LossLine lossLine);
  ~LineQueue();
  LineQueue(const LineQueue&) = delete;
  LineQueue& operator=(const LineQueue&) = delete;

  void add(std::string_view line);
  /// Counts a line as dropped for which there is no memory.
  void drop();

 private:
  class Writer;
  const std::unique_ptr<Writer> writer_;
};

}  // namespace vemo
