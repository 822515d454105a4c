#pragma once

#include <boost/json/object.hpp>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "bridge/DownloadService.h"
#include "platform/Version.h"

namespace vemo::replay {

/// How a download ends.
struct DownloadOutcome {
  std::optional<DownloadError> error;
  bool data = true;    ///< whether the file can be read
  bool image = true;   ///< whether its bytes are an image
  bool later = false;  ///< whether that is known later, when a step says so
};

/// The device as a scenario sets it: everything that the router can ask of it.
struct Device {
  Version os{17, 0, 0};
  std::int32_t camera = 3;
  std::int32_t microphone = 3;
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
  DownloadOutcome download;

  /// Changes the settings that `changes` names and leaves the others. An unknown key or
  /// a value that does not fit is a ScenarioError.
  void merge(const boost::json::object& changes);
};

}  // namespace vemo::replay
