#include "platform/JsonLineLogger.h"

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <spdlog/sinks/sink.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <iterator>
#include <limits>
#include <mutex>
#include <new>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "json/JsonText.h"
#include "platform/LineOutput.h"
#include "platform/LineQueue.h"
#include "platform/RotatingFile.h"
#include "platform/SecretMask.h"
#include "platform/VisibleText.h"

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
  Members(std::string& line, const SecretMask& mask) : line_(line), mask_(mask) {}

  void add(std::string_view name, const std::optional<std::string_view>& text) {
    if (!text) return;
    addName(name);
    appendJsonString(line_, shortened(mask_.masked(*text, buffer_), JsonLineLogger::kMaxTextBytes));
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
  const SecretMask& mask_;
  std::string buffer_;
};

/// A line of the logger's own: `count` lines are missing, `what` having happened to them.
std::string lossLine(std::string_view what, std::size_t count, std::string_view why = {},
                     std::string_view session = {}) {
  std::string line = "{";
  appendTime(line);
  fmt::format_to(std::back_inserter(line),
                 R"(,"level":{},"module":"JsonLineLogger","actionName":"{}","{}":{})",
                 DUNLogParam::kFailure, what, what, count);
  const auto add = [&](std::string_view name, std::string_view text) {
    if (text.empty()) return;
    fmt::format_to(std::back_inserter(line), R"(,"{}":)", name);
    appendJsonString(line, text);
  };
  add("errorDesc", why);
  add("session", session);
  line += '}';
  return line;
}

constexpr ByteRate kUnlimited{std::numeric_limits<std::size_t>::max(),
                              std::numeric_limits<std::size_t>::max()};

}  // namespace

/// What the logger and the handles of its sessions share.
struct JsonLineLogger::Lines {
  Lines(std::shared_ptr<spdlog::sinks::sink> target, const JsonLineLoggerOptions& options)
      : mask(options.maskedKeys),
        queue(std::move(target), options.queuedLines,
              [](std::string_view what, std::size_t count, std::string_view why) {
                return lossLine(what, count, why);
              }) {}

  /// What a session begins with that is made now.
  ByteBudget budgetFor(ByteRate rate) {
    const auto now = std::chrono::steady_clock::now();
    const std::lock_guard lock(mutex);
    return {rate, now, all.share(now)};
  }

  void count(std::size_t bytes) {
    const auto now = std::chrono::steady_clock::now();
    const std::lock_guard lock(mutex);
    all.take(bytes, now);
  }

  const SecretMask mask;
  LineQueue queue;
  std::mutex mutex;
  ByteBudget all{JsonLineLogger::kSessionsRate, std::chrono::steady_clock::now()};
};

class JsonLineLogger::Session final : public VEMOLogger {
 public:
  Session(std::shared_ptr<Lines> lines, std::string name, ByteRate rate)
      : lines_(std::move(lines)), name_(std::move(name)), budget_(lines_->budgetFor(rate)) {}
  ~Session() override { tellOf(heldBack_); }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  void log(const DUNLogParam& record) override {
    asMemoryAllows([&] {
      const auto line = lineOf(record);
      std::size_t heldBack = 0;
      {
        const std::lock_guard lock(mutex_);
        if (!budget_.take(line.size() + 1, std::chrono::steady_clock::now())) {
          ++heldBack_;
          return;
        }
        heldBack = std::exchange(heldBack_, 0);
      }
      tellOf(heldBack);
      if (!name_.empty()) lines_->count(line.size() + 1);
      lines_->queue.add(line);
    });
  }

  void updateLogConfig(const std::function<void(DUNLoggerConfig&)>& update) override {
    DUNLoggerConfig config{sdkAppId_.load()};
    update(config);
    sdkAppId_ = config.sdkAppId;
  }

 private:
  std::string lineOf(const DUNLogParam& record) const {
    std::string line;
    line.reserve(512);
    line += '{';
    appendTime(line);
    Members members(line, lines_->mask);
    forEachField(record, [&](auto field, const auto& value) { members.add(field.name, value); });
    if (const auto sdkAppId = sdkAppId_.load()) members.add("sdkAppId", std::optional(sdkAppId));
    if (!name_.empty()) members.add("session", std::optional<std::string_view>(name_));
    line += '}';
    return line;
  }

  void tellOf(std::size_t heldBack) {
    if (heldBack == 0) return;
    asMemoryAllows([&] { lines_->queue.add(lossLine("heldBack", heldBack, {}, name_)); });
  }

  /// Adds a line by `work`. One that memory does not suffice for is lost, which is counted.
  template <class Work>
  void asMemoryAllows(Work work) {
    try {
      work();
    } catch (const std::bad_alloc&) {
      lines_->queue.drop();
    }
  }

  const std::shared_ptr<Lines> lines_;
  const std::string name_;
  std::atomic<std::uint32_t> sdkAppId_ = 0;
  std::mutex mutex_;
  ByteBudget budget_;
  std::size_t heldBack_ = 0;
};

std::unique_ptr<JsonLineLogger> JsonLineLogger::create(const JsonLineLoggerOptions& options,
                                                       std::string* error) {
  const auto fail = [error](const char* why) {
    if (error) *error = why;
    return nullptr;
  };
  if (options.queuedLines == 0) return fail("queuedLines must not be 0");
  if (options.maxFileBytes == 0) return fail("maxFileBytes must not be 0");
  try {
    std::shared_ptr<spdlog::sinks::sink> target;
    if (options.file.empty()) {
      target = std::make_shared<StandardErrorOutput>();
    } else {
      target = std::make_shared<RotatingFile>(options.file, options.maxFileBytes, options.oldFiles);
    }
    return std::unique_ptr<JsonLineLogger>(
        new JsonLineLogger(std::make_shared<Lines>(std::move(target), options)));
  } catch (const std::system_error& problem) {
    return fail(problem.what());
  }
}

JsonLineLogger::JsonLineLogger(std::shared_ptr<spdlog::sinks::sink> target,
                               const JsonLineLoggerOptions& options)
    : JsonLineLogger(std::make_shared<Lines>(std::move(target), options)) {}

JsonLineLogger::JsonLineLogger(std::shared_ptr<Lines> lines)
    : lines_(std::move(lines)),
      own_(std::make_unique<Session>(lines_, std::string(), kUnlimited)) {}

JsonLineLogger::~JsonLineLogger() = default;

void JsonLineLogger::log(const DUNLogParam& record) { own_->log(record); }

void JsonLineLogger::updateLogConfig(const std::function<void(DUNLoggerConfig&)>& update) {
  own_->updateLogConfig(update);
}

std::unique_ptr<VEMOLogger> JsonLineLogger::forSession(std::string name, ByteRate rate) const {
  return std::make_unique<Session>(lines_, std::move(name), rate);
}

}  // namespace vemo
