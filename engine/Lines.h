#pragma once

#include <cstdint>

namespace vemo::janus {

/// What a user sends, each kind on a line of its own of the one connection that it sends over, and
/// always in this order: so everybody knows what is what without being told.
enum class Line : std::uint8_t { audio = 0, camera = 1, cameraSmall = 2, screen = 3 };
inline constexpr unsigned kLineCount = 4;

/// The line's name in session descriptions.
constexpr const char* midOf(Line line) {
  switch (line) {
    case Line::audio: return "audio0";
    case Line::camera: return "video1";
    case Line::cameraSmall: return "video2";
    case Line::screen: return "video3";
  }
  return "";
}

}  // namespace vemo::janus
