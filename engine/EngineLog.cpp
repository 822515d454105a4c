#include "engine/EngineLog.h"

#include <array>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <system_error>

namespace vemo::janus {
namespace {

std::string now() {
  const auto time = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
  std::tm parts{};
  gmtime_r(&time, &parts);
  std::array<char, 32> text{};
  std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
  return text.data();
}

}  // namespace

void EngineLog::setLevel(std::int32_t level) {
  const std::lock_guard lock(mutex_);
  level_ = level;
}

void EngineLog::setConsole(bool enabled) {
  const std::lock_guard lock(mutex_);
  console_ = enabled;
}

void EngineLog::setFolder(const std::string& folder) {
  const std::lock_guard lock(mutex_);
  file_.close();
  if (folder.empty()) return;
  std::error_code ignored;
  std::filesystem::create_directories(folder, ignored);
  const auto path = std::filesystem::path(folder) / "engine.log";
  file_.open(path, std::ios::app);
  if (!file_) std::cerr << "engine: the log can't be written to " << path.string() << '\n';
}

void EngineLog::write(Level level, const std::string& text) {
  const std::lock_guard lock(mutex_);
  if (level < level_) return;
  constexpr std::array<const char*, 6> kNames{"verbose", "debug", "info",
                                              "warning", "error", "fatal"};
  const auto line = now() + ' ' + kNames.at(level) + ' ' + text + '\n';
  if (file_.is_open()) file_ << line << std::flush;
  if (console_) std::cerr << "engine: " << line << std::flush;
}

}  // namespace vemo::janus
