#include "platform/JsonLineLogger.h"

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <spdlog/async.h>
#include <spdlog/async_logger.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/sink.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <chrono>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>

#include "json/JsonText.h"

namespace vemo {
namespace {

void appendTime(std::string& line) {
  using namespace std::chrono;
  const auto now = floor<milliseconds>(system_clock::now());
  fmt::format_to(std::back_inserter(line), R"("time":"{:%Y-%m-%dT%H:%M}:{:06.3f}Z")",
                 fmt::gmtime(system_clock::to_time_t(now)),
                 static_cast<double>((now.time_since_epoch() % minutes(1)).count()) / 1000);
}

/// Writes the members of a line that have a value.
class Members {
 public:
  explicit Members(std::string& line) : line_(line) {}

  void add(std::string_view name, const std::optional<std::string_view>& text) {
    if (!text) return;
    addName(name);
    appendJsonString(line_, *text);
  }

  template <class Value>
  void add(std::string_view name, const std::optional<Value>& value) {
    if (!value) return;
    addName(name);
    fmt::format_to(std::back_inserter(line_), "{}", *value);
  }

 private:
  void addName(std::string_view name) {
    fmt::format_to(std::back_inserter(line_), ",\"{}\":", name);
  }

  std::string& line_;
};

std::string droppedLine(std::size_t count) {
  std::string line = "{";
  appendTime(line);
  fmt::format_to(std::back_inserter(line),
                 R"(,"level":{},"module":"JsonLineLogger","actionName":"dropped","dropped":{}}})",
                 DUNLogParam::kFailure, count);
  return line;
}

/// Passes lines on to the target; where the queue has dropped some, it says so first.
/// Used by the logger's thread alone.
class DropReporter final : public spdlog::sinks::sink {
 public:
  DropReporter(spdlog::sink_ptr target, spdlog::details::thread_pool& queue)
      : target_(std::move(target)), queue_(queue) {}

  void log(const spdlog::details::log_msg& message) override {
    const auto dropped = queue_.overrun_counter();
    if (dropped != reported_) {
      const auto line = droppedLine(dropped - std::exchange(reported_, dropped));
      target_->log({message.logger_name, spdlog::level::err, line});
    }
    target_->log(message);
  }
  void flush() override { target_->flush(); }
  void set_pattern(const std::string& pattern) override { target_->set_pattern(pattern); }
  void set_formatter(std::unique_ptr<spdlog::formatter> formatter) override {
    target_->set_formatter(std::move(formatter));
  }

 private:
  const spdlog::sink_ptr target_;
  spdlog::details::thread_pool& queue_;
  std::size_t reported_ = 0;
};

}  // namespace

std::unique_ptr<JsonLineLogger> JsonLineLogger::create(const JsonLineLoggerOptions& options,
                                                       std::string* error) {
  if (options.queuedLines == 0) {
    if (error) *error = "queuedLines must not be 0";
    return nullptr;
  }
  try {
    spdlog::sink_ptr target;
    if (options.file.empty()) {
      target = std::make_shared<spdlog::sinks::stderr_sink_mt>();
    } else {
      target = std::make_shared<spdlog::sinks::rotating_file_sink_st>(
          options.file, options.maxFileBytes, options.oldFiles);
    }
    return std::make_unique<JsonLineLogger>(std::move(target), options.queuedLines);
  } catch (const spdlog::spdlog_ex& problem) {
    if (error) *error = problem.what();
    return nullptr;
  }
}

JsonLineLogger::JsonLineLogger(std::shared_ptr<spdlog::sinks::sink> target, std::size_t queuedLines)
    : thread_(std::make_shared<spdlog::details::thread_pool>(queuedLines, 1)),
      lines_(std::make_shared<spdlog::async_logger>(
          "JsonLineLogger", std::make_shared<DropReporter>(std::move(target), *thread_), thread_,
          spdlog::async_overflow_policy::overrun_oldest)) {
  lines_->set_pattern("%v");
  lines_->flush_on(spdlog::level::trace);  // a reader, or a crash, finds every line written
}

JsonLineLogger::~JsonLineLogger() {
  thread_.reset();  // writes what is queued, then ends; the sinks must still be there
}

void JsonLineLogger::log(const DUNLogParam& record) {
  std::string line;
  line.reserve(512);
  line += '{';
  appendTime(line);
  Members members(line);
  members.add("needReport", record.needReport);
  members.add("level", record.level);
  members.add("module", record.module);
  members.add("actionName", record.actionName);
  members.add("actionParam", record.actionParam);
  members.add("errorCode", record.errorCode);
  members.add("errorDesc", record.errorDesc);
  members.add("fileName", record.fileName);
  members.add("funcName", record.funcName);
  members.add("line", record.line);
  if (const auto sdkAppId = sdkAppId_.load()) members.add("sdkAppId", std::optional(sdkAppId));
  line += '}';
  lines_->log(spdlog::level::info, line);
}

void JsonLineLogger::updateLogConfig(const std::function<void(DUNLoggerConfig&)>& update) {
  DUNLoggerConfig config{sdkAppId_.load()};
  update(config);
  sdkAppId_ = config.sdkAppId;
}

}  // namespace vemo
