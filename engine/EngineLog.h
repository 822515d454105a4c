#pragma once

#include <cstdint>
#include <fstream>
#include <mutex>
#include <string>

namespace vemo::janus {

/// The engine's own log: lines with a time, in the file engine.log of a folder, and on stderr. Any
/// thread.
class EngineLog {
 public:
  /// In the engine's numbers.
  enum Level { verbose = 0, debug = 1, info = 2, warning = 3, error = 4, fatal = 5, none = 6 };

  void setLevel(std::int32_t level);
  void setConsole(bool enabled);
  /// An empty folder: no file. One that can't be written in is told on stderr.
  void setFolder(const std::string& folder);

  void write(Level level, const std::string& text);

 private:
  std::mutex mutex_;
  std::int32_t level_ = info;
  bool console_ = false;
  std::ofstream file_;
};

}  // namespace vemo::janus
