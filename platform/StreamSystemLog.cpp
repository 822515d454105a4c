#include "platform/StreamSystemLog.h"

#include <fmt/format.h>
#include <spdlog/sinks/sink.h>

#include <memory>
#include <ostream>
#include <stdexcept>

#include "platform/LineOutput.h"

namespace vemo {
namespace {

constexpr std::size_t kQueuedLines = 1024;

/// A stream's own way of failing is silent.
class StreamOutput final : public spdlog::sinks::sink {
 public:
  explicit StreamOutput(std::ostream& out) : out_(out) {}

  void log(const spdlog::details::log_msg& line) override {
    out_.clear();
    out_ << std::string_view(line.payload.data(), line.payload.size()) << '\n' << std::flush;
    if (!out_) throw std::runtime_error("the stream fails");
  }
  void flush() override {}
  void set_pattern(const std::string&) override {}
  void set_formatter(std::unique_ptr<spdlog::formatter>) override {}

 private:
  std::ostream& out_;
};

std::string lossSentence(std::string_view what, std::size_t count, std::string_view why) {
  return fmt::format("StreamSystemLog: {} {}{}{}", count, what, why.empty() ? "" : ": ", why);
}

}  // namespace

StreamSystemLog::StreamSystemLog()
    : lines_(std::make_shared<StandardErrorOutput>(), kQueuedLines, lossSentence) {}

StreamSystemLog::StreamSystemLog(std::ostream& out)
    : lines_(std::make_shared<StreamOutput>(out), kQueuedLines, lossSentence) {}

void StreamSystemLog::writeLine(std::string_view line) {
  std::string buffer;
  lines_.add(mask_.masked(line, buffer));
}

}  // namespace vemo
