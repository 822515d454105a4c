#pragma once

#include <spdlog/details/log_msg.h>
#include <spdlog/sinks/sink.h>

#include <memory>
#include <string>
#include <utility>

#include "testing/Arrivals.h"

namespace vemo {

/// Hands lines on to another sink, throws where that does, and tells of each.
class WatchedSink final : public spdlog::sinks::sink {
 public:
  explicit WatchedSink(std::shared_ptr<spdlog::sinks::sink> target) : target_(std::move(target)) {}

  void log(const spdlog::details::log_msg& line) override {
    try {
      target_->log(line);
      written.add(true);
    } catch (...) {
      written.add(false);
      throw;
    }
  }
  void flush() override {}
  void set_pattern(const std::string&) override {}
  void set_formatter(std::unique_ptr<spdlog::formatter>) override {}

  Arrivals<bool> written;

 private:
  const std::shared_ptr<spdlog::sinks::sink> target_;
};

}  // namespace vemo
