#pragma once

namespace vemo {

/// The version of the running operating system. Any thread.
class SystemVersion {
 public:
  virtual ~SystemVersion() = default;

  /// Whether the system is at least major.minor.patch.
  virtual bool isAtLeast(int major, int minor, int patch) const = 0;
};

}  // namespace vemo
