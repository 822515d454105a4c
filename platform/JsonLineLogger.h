#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bridge/VEMOLogger.h"
#include "platform/ByteBudget.h"

namespace spdlog::sinks {
class sink;
}

namespace vemo {

/// Where a JsonLineLogger writes, how much it holds back, and what it hides.
struct JsonLineLoggerOptions {
  std::string file = {};  ///< path, its folders are made; empty: standard error
  std::size_t maxFileBytes = std::size_t{10} << 20U;  ///< a longer file is rotated; not 0
  std::size_t oldFiles = 3;        ///< rotated files kept: file.1.ext, file.2.ext, ...
  std::size_t queuedLines = 8192;  ///< lines that may wait to be written; not 0
  /// The values of these keys are masked where a text is JSON or holds some: see SecretMask.
  std::vector<std::string> maskedKeys = {"userSig"};
};

/// The logger, on spdlog: each record becomes a line with one JSON object: "time"
/// (ISO 8601, UTC, milliseconds), the fields that the record sets, by name and in their
/// order, "sdkAppId" once the configuration has one, and "session" where a session's own
/// handle wrote it. No secret and no control character stands in it, and of a longer text its
/// first kMaxTextBytes only.
///
/// Callers wait for no writing: lines go through a queue to a thread of the logger's own,
/// and the file is followed by its name (see LineQueue and RotatingFile). Where lines are
/// missing, a line of the logger's own says how many, {"time":..,"level":4,
/// "module":"JsonLineLogger","actionName":A,A:N}, A being
///   "dropped": a full queue dropped its oldest lines;
///   "notWritten": they could not be written; "errorDesc" says why the last could not;
///   "heldBack": the session had used up what it may write.
///
/// Threads: any. Of two updates of the configuration at the same time, the later one
/// holds. What is queued is written once the logger and all handles are gone.
class JsonLineLogger final : public VEMOLogger {
 public:
  /// What a session may write: some six hundred lines at once, and forty a second.
  static constexpr ByteRate kSessionRate{std::size_t{256} << 10U, std::size_t{16} << 10U};
  /// What all sessions write counts against this; a new one begins with as large a part of its
  /// burst as is left of this one. So one session after another can't fill the files either.
  static constexpr ByteRate kSessionsRate{32 * kSessionRate.burstBytes,
                                          4 * kSessionRate.bytesPerSecond};
  /// Of a record's text, masked, as much is written.
  static constexpr std::size_t kMaxTextBytes = std::size_t{128} << 10U;

  /// A logger as `options` say; null when the file can't be written or an option is
  /// out of range, and `error`, if given, then says why.
  static std::unique_ptr<JsonLineLogger> create(const JsonLineLoggerOptions& options,
                                                std::string* error = nullptr);

  /// Writes to `target`, which is used by the logger's thread alone and throws when it can't
  /// write. Of the options the file's are not used; `queuedLines` is not 0.
  JsonLineLogger(std::shared_ptr<spdlog::sinks::sink> target, const JsonLineLoggerOptions& options);
  ~JsonLineLogger() override;
  JsonLineLogger(const JsonLineLogger&) = delete;
  JsonLineLogger& operator=(const JsonLineLogger&) = delete;

  void log(const DUNLogParam& record) override;
  void updateLogConfig(const std::function<void(DUNLoggerConfig&)>& update) override;

  /// A logger that writes to the same place for one session, such as one page's router:
  /// its lines bear the session's name, its configuration is its own, and it may write
  /// only as much as `rate` says, so that it can't drive the lines of others out of the
  /// files. May outlive this logger.
  std::unique_ptr<VEMOLogger> forSession(std::string name, ByteRate rate = kSessionRate) const;

 private:
  struct Lines;
  class Session;

  explicit JsonLineLogger(std::shared_ptr<Lines> lines);

  const std::shared_ptr<Lines> lines_;
  const std::unique_ptr<Session> own_;
};

}  // namespace vemo
