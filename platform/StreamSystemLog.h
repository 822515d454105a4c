#pragma once

#include <iostream>
#include <mutex>
#include <ostream>
#include <string_view>

#include "bridge/VEMOLogger.h"

namespace vemo {

/// A system log that writes its lines to a stream, standard error unless told
/// otherwise. The stream must outlive it and is used by it alone or is thread-safe.
class StreamSystemLog final : public SystemLog {
 public:
  explicit StreamSystemLog(std::ostream& out = std::cerr) : out_(out) {}

  void writeLine(std::string_view line) override {
    const std::lock_guard lock(mutex_);  // lines of several threads stay whole
    out_ << line << '\n' << std::flush;
  }

 private:
  std::mutex mutex_;
  std::ostream& out_;
};

}  // namespace vemo
