#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "bridge/ImageDecoder.h"

namespace vemo {

/// An image as pixels. Never changes; any thread.
class DecodedImage final : public VEMOImage {
 public:
  /// `rgba` has 4 bytes a pixel, rows from the top without gaps.
  DecodedImage(std::size_t width, std::size_t height, std::vector<std::uint8_t> rgba)
      : width_(width), height_(height), rgba_(std::move(rgba)) {}

  std::size_t width() const { return width_; }
  std::size_t height() const { return height_; }
  /// Red, green, blue, alpha (not premultiplied) of each pixel, rows from the top.
  const std::vector<std::uint8_t>& rgba() const { return rgba_; }

 private:
  std::size_t width_;
  std::size_t height_;
  std::vector<std::uint8_t> rgba_;
};

/// Decodes by gdk-pixbuf: PNG, JPEG, GIF (its first picture), BMP and whatever else the
/// system has loaders for. Gives a DecodedImage; of a file that is cut short, the part
/// that is there on black, or null. Any thread.
class PixbufImageDecoder final : public ImageDecoder {
 public:
  /// Images of more pixels are refused, before memory is taken for them.
  static constexpr std::size_t kMaxPixels = std::size_t{16} << 20U;

  std::shared_ptr<VEMOImage> decode(const std::string& bytes) const override;
};

}  // namespace vemo
