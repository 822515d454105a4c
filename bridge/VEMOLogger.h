#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <tuple>

#include "bridge/Fields.h"

namespace vemo {

/// One structured log record. A field that a site does not set has no value.
///
/// The texts are views: they are valid only during VEMOLogger::log, so that a
/// record costs its site no copies; a logger copies what it keeps.
struct DUNLogParam {
  static constexpr int kInformation = 2;  ///< entries, successes, events
  static constexpr int kFailure = 4;      ///< failures

  std::optional<bool> needReport;               ///< whether the record goes upstream too
  std::optional<int> level;                     ///< kInformation or kFailure
  std::optional<std::string_view> module;       ///< who logs: a class name or "SDKCallback"
  std::optional<std::string_view> actionName;   ///< command, command + "Failed", or event
  std::optional<std::string_view> actionParam;  ///< the call's arguments as text, UTF-8
  std::optional<std::int64_t> errorCode;        ///< set on failures and results
  std::optional<std::string_view> errorDesc;    ///< message of a failure, text of a result
  std::optional<std::string_view> fileName;     ///< source file, without folders
  std::optional<std::string_view> funcName;     ///< routine, such as "-[Class name:with:]"
  std::optional<std::uint_least32_t> line;      ///< source line; distinct for each site
};

/// By this table loggers write records: forEachField(record, ...).
template <>
struct Fields<DUNLogParam> {
  static constexpr std::string_view name = "DUNLogParam";
  static constexpr std::tuple table{
      Field{"needReport", &DUNLogParam::needReport},
      Field{"level", &DUNLogParam::level},
      Field{"module", &DUNLogParam::module},
      Field{"actionName", &DUNLogParam::actionName},
      Field{"actionParam", &DUNLogParam::actionParam},
      Field{"errorCode", &DUNLogParam::errorCode},
      Field{"errorDesc", &DUNLogParam::errorDesc},
      Field{"fileName", &DUNLogParam::fileName},
      Field{"funcName", &DUNLogParam::funcName},
      Field{"line", &DUNLogParam::line},
  };
};

/// The logger's settings that the router changes.
struct DUNLoggerConfig {
  std::uint32_t sdkAppId = 0;  ///< the application whose room is entered; 0 until known
};

/// The application's logger. Every operation may be called from any thread, at any
/// time, and returns without waiting for a disk, a network or a reader.
class VEMOLogger {
 public:
  virtual ~VEMOLogger() = default;

  /// Takes one record. Never fails towards the caller.
  virtual void log(const DUNLogParam& record) = 0;

  /// Calls `update` once, before returning, with the configuration to change;
  /// records logged afterwards by this thread are written with the new one. The
  /// updater must not call the logger.
  virtual void updateLogConfig(const std::function<void(DUNLoggerConfig&)>& update) = 0;
};

/// The operating system's own log: plain lines without structure. Any thread; returns
/// without waiting for a reader.
class SystemLog {
 public:
  virtual ~SystemLog() = default;

  /// Writes one line, UTF-8 without its end; the text is valid during the call only.
  virtual void writeLine(std::string_view line) = 0;
};

}  // namespace vemo
