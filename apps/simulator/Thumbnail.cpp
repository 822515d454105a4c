#include "simulator/Thumbnail.h"

#include <algorithm>
#include <boost/algorithm/hex.hpp>
#include <cstddef>
#include <iterator>
#include <string>

namespace vemo {

boost::json::object thumbnail(const DecodedImage& image) {
  constexpr std::size_t kLongest = 240;
  constexpr std::ptrdiff_t kPixelBytes = 4;
  const auto step =
      std::max<std::size_t>(1, (std::max(image.width(), image.height()) + kLongest - 1) / kLongest);
  std::string rgba;
  std::size_t height = 0;
  for (std::size_t y = 0; y < image.height(); y += step, ++height) {
    for (std::size_t x = 0; x < image.width(); x += step) {
      const auto pixel =
          image.rgba().begin() + static_cast<std::ptrdiff_t>(y * image.width() + x) * kPixelBytes;
      boost::algorithm::hex_lower(pixel, pixel + kPixelBytes, std::back_inserter(rgba));
    }
  }
  return {{"width", (image.width() + step - 1) / step}, {"height", height}, {"rgba", rgba}};
}

}  // namespace vemo
