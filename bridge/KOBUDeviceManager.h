#pragma once

#include <cstdint>

namespace vemo {

/// The engine's devices. Belongs to the engine and lives as long as it. Any thread.
class KOBUDeviceManager {
 public:
  virtual ~KOBUDeviceManager() = default;

  /// Switches to the front or the back camera; 0 on success.
  virtual std::int32_t switchCamera(bool frontCamera) = 0;
};

}  // namespace vemo
