#pragma once

namespace vemo {

/// Starts the screen-broadcast extension, which runs in its own process.
class VEMOExtensionLauncher {
 public:
  virtual ~VEMOExtensionLauncher() = default;

  /// Asks for the extension and returns at once. Whether it really started is
  /// learnt only from its Started notification. Any thread.
  virtual void launch() = 0;
};

}  // namespace vemo
