#include "simulator/Thumbnail.h"

#include <algorithm>
#include <boost/algorithm/hex.hpp>
#include <iterator>
#include <utility>

namespace vemo {
namespace {

constexpr std::size_t kLongest = 240;
constexpr std::size_t kPixelBytes = 4;

std::size_t stepFor(const DecodedImage& image) {
  return std::max<std::size_t>(1,
                               (std::max(image.width(), image.height()) + kLongest - 1) / kLongest);
}

}  // namespace

Thumbnail::Thumbnail(const DecodedImage& image)
    : width_((image.width() + stepFor(image) - 1) / stepFor(image)) {
  const auto step = stepFor(image);
  const auto* pixels = reinterpret_cast<const char*>(image.rgba().data());
  for (std::size_t y = 0; y < image.height(); y += step, ++height_) {
    for (std::size_t x = 0; x < image.width(); x += step)
      rgba_.append(pixels + (y * image.width() + x) * kPixelBytes, kPixelBytes);
  }
}

boost::json::object Thumbnail::frame() const {
  std::string hex;
  boost::algorithm::hex_lower(rgba_, std::back_inserter(hex));
  return {{"width", width_}, {"height", height_}, {"rgba", std::move(hex)}};
}

void ThumbnailDecoder::decode(std::string bytes, Done done) {
  decoder_->decode(std::move(bytes), [done = std::move(done)](std::shared_ptr<VEMOImage> image) {
    const auto* decoded = dynamic_cast<const DecodedImage*>(image.get());
    if (decoded) image = std::make_shared<Thumbnail>(*decoded);
    done(std::move(image));
  });
}

}  // namespace vemo
