#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vemo {

/// The first picture of an image file and nothing else of it.
struct ImageFile {
  const char* type;  ///< "png", "jpeg", "gif" or "bmp"
  std::string bytes;
  /// What has to be held: of a GIF, the larger of its screen and its picture.
  std::uint64_t pixels;
  /// How many times the pixels are gone through: once for each scan of a JPEG; for each 64
  /// blocks of a GIF about as much work is done.
  std::uint64_t passes;
};

/// Looks through `file` without decoding anything. What is not needed for its first picture
/// is left out: other frames, texts, colour profiles, whatever follows the end. Of a file
/// that is cut short there is less. Nothing when it is none of the four types, doesn't tell
/// its size or is otherwise not to be trusted.
std::optional<ImageFile> firstPicture(std::string_view file);

}  // namespace vemo
