#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vemo {

/// The first picture of an image file and nothing else of it.
struct ImageFile {
  const char* type;  ///< "png", "jpeg", "gif", "bmp" or "webp"
  std::string bytes;
  /// What has to be held: of a GIF, the larger of its screen and its picture. Of an animated
  /// WebP, its first frame without the canvas.
  std::uint64_t pixels;
  /// How many times the pixels are gone through: once for each scan of a JPEG; for each 64
  /// blocks of a GIF about as much work is done. A WebP without loss, or with transparency
  /// that is packed so, counts for 1024: each 16 of its pixels may have code tables of 16 KB.
  std::uint64_t passes;
};

/// Looks through `file` without decoding anything. What is not needed for its first picture
/// is left out: other frames, texts, colour profiles, whatever follows the end. Of a file
/// that is cut short there is less. Nothing when it is none of the five types, doesn't tell
/// its size or is otherwise not to be trusted.
std::optional<ImageFile> firstPicture(std::string_view file);

}  // namespace vemo
