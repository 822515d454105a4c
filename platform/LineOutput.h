#pragma once

#include <spdlog/sinks/sink.h>

#include <memory>
#include <string>
#include <string_view>

#include "platform/PatientWriter.h"

namespace vemo {

/// A place for lines that are written whole, each with a line break at its end; used by
/// one thread, save `hurry`. A line that can't be written throws, and what was written of
/// it is taken back or ended, so that the next line begins a line.
class LineOutput : public spdlog::sinks::sink {
 public:
  /// Makes waits for a slow reader short. Any thread.
  void hurry() { writer_.hurry(); }

  void flush() final {}  // nothing is held back
  void set_pattern(const std::string&) final {}
  void set_formatter(std::unique_ptr<spdlog::formatter>) final {}

 protected:
  /// Writes `text` and a line break, after one more where an earlier line was left
  /// unended. Throws std::system_error.
  void write(int descriptor, std::string_view text);

  bool unended_ = false;  ///< whether what was written last lacks its line break

 private:
  PatientWriter writer_;
};

/// Standard error, whatever that is when a line is written.
class StandardErrorOutput final : public LineOutput {
 public:
  void log(const spdlog::details::log_msg& line) override;
};

}  // namespace vemo
