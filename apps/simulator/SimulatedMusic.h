#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace vemo {

/// How long the music at `path` is in the simulated world; nothing for unknown paths.
inline std::optional<std::chrono::milliseconds> simulatedMusic(const std::string& path) {
  if (path == "music/morning-bell.mp3") return std::chrono::seconds(12);
  if (path == "music/quiet-reading.mp3") return std::chrono::seconds(95);
  if (path == "music/clean-up-song.mp3") return std::chrono::seconds(48);
  return std::nullopt;
}

}  // namespace vemo
