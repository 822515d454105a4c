#pragma once

#include <memory>
#include <string>

namespace vemo {

/// A decoded image: opaque to the router, known to the platform that made it and
/// to the engine that shows it.
class VEMOImage {
 public:
  virtual ~VEMOImage() = default;
};

/// Makes images of file contents. Any thread.
class ImageDecoder {
 public:
  virtual ~ImageDecoder() = default;

  /// The image in `bytes`; null when they are no image.
  virtual std::shared_ptr<VEMOImage> decode(const std::string& bytes) const = 0;
};

}  // namespace vemo
