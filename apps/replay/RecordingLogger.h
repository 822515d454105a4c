#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "NamedObjects.h"
#include "Recorder.h"
#include "bridge/VEMOLogger.h"

namespace vemo::replay {

/// Writes log records with the fields that they have. Addresses of views and of the
/// web view, which differ from run to run, are written 0x*.
class RecordingLogger final : public VEMOLogger {
 public:
  /// The references outlive this.
  RecordingLogger(Recorder& recorder, const NamedObjects& objects)
      : recorder_(recorder), objects_(objects) {}

  /// Before the first record.
  void setWebViewAddress(std::uintptr_t address) { webView_ = address; }

  void log(const DUNLogParam& record) override;
  void updateLogConfig(const std::function<void(DUNLoggerConfig&)>& update) override;

 private:
  std::string masked(const DUNLogParam& record) const;

  Recorder& recorder_;
  const NamedObjects& objects_;
  std::uintptr_t webView_ = 0;
  DUNLoggerConfig config_;
};

class RecordingSystemLog final : public SystemLog {
 public:
  explicit RecordingSystemLog(Recorder& recorder) : recorder_(recorder) {}
  void writeLine(std::string_view line) override { recorder_.write("syslog", {{"line", line}}); }

 private:
  Recorder& recorder_;
};

}  // namespace vemo::replay
