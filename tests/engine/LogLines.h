#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "testing/Arrivals.h"

namespace vemo {

/// The lines of a log as they are written, by a pipe in its place.
class LogLines {
 public:
  explicit LogLines(const std::string& path) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
    both_.open(path);  // so that neither end waits for the other
    reader_ = std::jthread([this, path] {
      std::ifstream lines(path);
      for (std::string line; std::getline(lines, line) && line != kEnd;) lines_.add(line);
    });
  }
  ~LogLines() { both_ << kEnd << '\n' << std::flush; }
  LogLines(const LogLines&) = delete;
  LogLines& operator=(const LogLines&) = delete;

  /// The line with `text` in it, once it comes; "" and a failure when none does.
  std::string waitFor(const std::string& text) {
    // Others may come again and again.
    const auto until = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (std::chrono::steady_clock::now() < until) {
      const auto line = lines_.next();
      if (!line) break;
      passed_ += *line + '\n';
      if (line->find(text) != std::string::npos) return *line;
    }
    ADD_FAILURE() << "no \"" << text << "\" in\n" << passed_;
    return "";
  }
  /// All that was waited for or passed over.
  const std::string& passed() const { return passed_; }

 private:
  static constexpr const char* kEnd = "end";

  Arrivals<std::string> lines_;
  std::string passed_;
  std::fstream both_;
  std::jthread reader_;
};

}  // namespace vemo
