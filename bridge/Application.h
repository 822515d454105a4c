#pragma once

#include <string_view>

#include "bridge/Text.h"

namespace vemo {

/// The running application: its information dictionary and its page in the system
/// settings. Any thread.
class Application {
 public:
  virtual ~Application() = default;

  /// The text under `key` ("CFBundleName", "NSCameraUsageDescription", ...); absent
  /// when the dictionary has none.
  virtual Text information(std::string_view key) const = 0;

  /// Whether the application's page in the system settings can be opened.
  virtual bool canOpenSettings() const = 0;

  /// Opens that page. Called only when canOpenSettings said so.
  virtual void openSettings() = 0;
};

}  // namespace vemo
