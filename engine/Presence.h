#pragma once

#include <string>
#include <string_view>

namespace vemo::janus {

/// What a user tells the others of itself, as the display name that the server keeps for it: so
/// who comes later, or has missed something, finds it there.
struct Presence {
  bool anchor = false;
  bool audio = false;
  bool video = false;
  bool small = false;  ///< a small camera picture beside the main one
  bool screen = false;
  bool leaving = false;  ///< told right before a leave; a leave without it is a loss

  bool operator==(const Presence&) const = default;

  /// Words: "anchor audio video".
  std::string text() const;
  /// Words that are not known count for nothing.
  static Presence of(std::string_view text);
};

}  // namespace vemo::janus
