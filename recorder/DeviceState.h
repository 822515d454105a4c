#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace vemo {

/// What the router can ask of a device and an engine. As it is made, it is the device that
/// every scenario begins with, so that a recording notes only what is different.
struct DeviceState {
  std::array<int, 3> os{17, 0, 0};  ///< major, minor, patch
  std::int32_t camera = 3;          ///< the number of an AuthorizationStatus
  std::int32_t microphone = 3;      ///< likewise
  std::map<std::string, std::string, std::less<>> bundle{{"CFBundleName", "Classroom"}};
  bool canOpenSettings = true;
  std::string appGroup = "group.vemo.classroom";
  std::string sdkVersion = "1.0.0";
  /// View names under "USER/VIEWTYPE"; nothing when the host has no render source.
  std::optional<std::map<std::string, std::string>> views{std::in_place};
  std::int32_t captureVolume = 100;
  std::int32_t playoutVolume = 100;
  std::int64_t pauseScreenCapture = 0;
  std::int64_t resumeScreenCapture = 0;
  std::int64_t stopScreenCapture = 0;
};

}  // namespace vemo
