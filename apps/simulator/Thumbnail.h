#pragma once

#include <boost/json/object.hpp>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>

#include "platform/PixbufImageDecoder.h"

namespace vemo {

/// A small copy of an image, for the page's frame to draw: made smaller where that is longer
/// than 240 pixels. Never changes; any thread.
class Thumbnail final : public VEMOImage {
 public:
  explicit Thumbnail(const DecodedImage& image);

  /// "width", "height" and "rgba", the pixels as hexadecimal text.
  boost::json::object frame() const;

 private:
  std::size_t width_;
  std::size_t height_ = 0;
  std::string rgba_;
};

/// Gives Thumbnails in place of the DecodedImages of another decoder: all that a phone shows of
/// a picture, and all that is kept of it while the phone has it, be it 16 megapixels large.
class ThumbnailDecoder final : public ImageDecoder {
 public:
  explicit ThumbnailDecoder(std::unique_ptr<ImageDecoder> decoder) : decoder_(std::move(decoder)) {}

  void decode(std::string bytes, Done done) override;

 private:
  const std::unique_ptr<ImageDecoder> decoder_;
};

}  // namespace vemo
