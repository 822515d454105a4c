#pragma once

#include <spdlog/details/log_msg.h>
#include <spdlog/sinks/sink.h>

#include <atomic>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "WatchedSink.h"
#include "bridge/VEMOLogger.h"

// What tests of the logger give it, where it writes, and how they read what it wrote.

namespace vemo {

inline std::vector<boost::json::object> objectsOf(const std::vector<std::string>& lines) {
  std::vector<boost::json::object> objects;
  for (const auto& line : lines) objects.push_back(boost::json::parse(line).as_object());
  return objects;
}

inline DUNLogParam named(std::string_view name) {
  DUNLogParam record;
  record.actionName = name;
  return record;
}

/// Keeps lines, and fails while it is told to.
class FailingSink final : public spdlog::sinks::sink {
 public:
  void log(const spdlog::details::log_msg& line) override {
    if (fails) throw std::runtime_error("no \x1b way");
    lines.emplace_back(line.payload.data(), line.payload.size());
  }
  void flush() override {}
  void set_pattern(const std::string&) override {}
  void set_formatter(std::unique_ptr<spdlog::formatter>) override {}

  std::atomic<bool> fails = false;
  std::vector<std::string> lines;  // once the logger is gone
};

}  // namespace vemo
