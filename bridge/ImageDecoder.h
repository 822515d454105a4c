#pragma once

#include <functional>
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

  using Done = std::function<void(std::shared_ptr<VEMOImage>)>;

  /// Makes the image in `bytes` and gives it to `done`; null when they are no image, or none
  /// that the decoder has the means for. `done` is called once, within the call or later on a
  /// thread of the decoder's own; images given one after the other are done in that order.
  /// The decoder holds `done` until then. When it is destroyed first, it drops `done` without
  /// calling it.
  virtual void decode(std::string bytes, Done done) = 0;
};

}  // namespace vemo
