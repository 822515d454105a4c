#pragma once

#include <boost/json/object.hpp>
#include <optional>

#include "bridge/DownloadService.h"
#include "recorder/DeviceState.h"

namespace vemo::replay {

/// How a download ends.
struct DownloadOutcome {
  std::optional<DownloadError> error;
  bool data = true;    ///< whether the file can be read
  bool image = true;   ///< whether its bytes are an image
  bool later = false;  ///< whether that is known later, when a step says so
};

/// The device as a scenario sets it: everything that the router can ask of it.
struct Device : DeviceState {
  DownloadOutcome download;

  /// Changes the settings that `changes` names and leaves the others. An unknown key or
  /// a value that does not fit is a ScenarioError.
  void merge(const boost::json::object& changes);
};

}  // namespace vemo::replay
