#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "bridge/VEMOLogger.h"

namespace spdlog {
class async_logger;
namespace details {
class thread_pool;
}
namespace sinks {
class sink;
}
}  // namespace spdlog

namespace vemo {

/// Where a JsonLineLogger writes, and how much it holds back.
struct JsonLineLoggerOptions {
  std::string file = {};  ///< path, its folders are made; empty: standard error
  std::size_t maxFileBytes = std::size_t{10} << 20U;  ///< a longer file is rotated; not 0
  std::size_t oldFiles = 3;        ///< rotated files kept: file.1.ext, file.2.ext, ...
  std::size_t queuedLines = 8192;  ///< lines that may wait to be written; not 0
};

/// The logger, on spdlog: each record becomes a line with one JSON object: "time"
/// (ISO 8601, UTC, milliseconds), the fields that the record sets, by name and in
/// their order, and "sdkAppId" once the configuration has one.
///
/// Callers wait for no writing: lines go through a queue to a thread of the logger's
/// own. A full queue drops its oldest line, and where lines are missing a line of the
/// logger's own says how many: {"time":..,"level":4,"module":"JsonLineLogger",
/// "actionName":"dropped","dropped":N}.
///
/// Threads: any. Of two updates of the configuration at the same time, the later
/// one holds. Destruction writes what is queued.
class JsonLineLogger final : public VEMOLogger {
 public:
  /// A logger as `options` say; null when the file can't be written or an option is
  /// out of range, and `error`, if given, then says why.
  static std::unique_ptr<JsonLineLogger> create(const JsonLineLoggerOptions& options,
                                                std::string* error = nullptr);

  /// Writes to `target`, which is used by the logger's thread alone; `queuedLines` is
  /// not 0.
  JsonLineLogger(std::shared_ptr<spdlog::sinks::sink> target, std::size_t queuedLines);
  ~JsonLineLogger() override;
  JsonLineLogger(const JsonLineLogger&) = delete;
  JsonLineLogger& operator=(const JsonLineLogger&) = delete;

  void log(const DUNLogParam& record) override;
  void updateLogConfig(const std::function<void(DUNLoggerConfig&)>& update) override;

 private:
  std::atomic<std::uint32_t> sdkAppId_ = 0;
  std::shared_ptr<spdlog::details::thread_pool> thread_;
  std::shared_ptr<spdlog::async_logger> lines_;
};

}  // namespace vemo
