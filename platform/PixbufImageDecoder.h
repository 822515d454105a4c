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

/// Decodes PNG, JPEG, GIF and WebP (of these, the first picture) and BMP by gdk-pixbuf; they are
/// known by their first bytes, and no other loader of the system is ever asked. WebP has a loader
/// of its own (Debian's webp-pixbuf-loader); without it such a file is no image. Gives a
/// DecodedImage; of a file that is cut short, the part that is there on black, or null.
///
/// What it costs is known from the file's headers before memory is taken, and bounded by
/// kMaxPixels and kMaxPasses.
///
/// Threads: any. Images are decoded on one thread of the decoder's own, which also calls
/// `done`, for each requester in turn: each handle that forRequester gives out is one, and so
/// is the decoder itself. Destruction waits for a `done` that is being called, unless it is
/// called from it, but not for an image that is being decoded.
class PixbufImageDecoder final : public ImageDecoder {
 public:
  /// Images of more pixels are refused.
  static constexpr std::size_t kMaxPixels = std::size_t{16} << 20U;
  /// JPEGs whose scans go over more pixels in all are refused, and so are GIFs that are as
  /// much work: those with more than 64 blocks of data for each time that all their pixels
  /// go into this; and a WebP without loss, or whose transparency is packed without loss, of
  /// more than 512 x 512 pixels, as the code tables of a few hundred KB could fill the memory.
  static constexpr std::size_t kMaxPasses = 16 * kMaxPixels;
  /// Of files that wait for one requester; a file beyond that becomes null in its turn.
  static constexpr std::size_t kMaxWaitingBytes = std::size_t{32} << 20U;

  PixbufImageDecoder();
  ~PixbufImageDecoder() override;
  PixbufImageDecoder(const PixbufImageDecoder&) = delete;
  PixbufImageDecoder& operator=(const PixbufImageDecoder&) = delete;

  /// The decoder for one requester, such as one phone of many. May outlive the decoder; then
  /// it calls no `done` any more. Destroying it is like destroying the decoder, for its own
  /// images.
  std::unique_ptr<ImageDecoder> forRequester();

  void decode(std::string bytes, Done done) override;

 private:
  class Worker;
  class Requester;
  const std::shared_ptr<Worker> worker_;  // shared with its thread and the requesters
  const std::unique_ptr<ImageDecoder> self_;
};

}  // namespace vemo
