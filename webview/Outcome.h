#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "bridge/VEMOModule.h"
#include "webview/Place.h"

namespace vemo {

/// Why a command failed. The command's frame turns it into the error reply and the
/// failure record; `place` is where the record says it comes from.
struct Failure {
  std::int64_t code;
  std::string_view message;  // a literal
  Place place;
  VEMOModule module = VEMOModule::JS;
  std::string_view actionName = {};  // empty: the command's name with "Failed"

  /// The same failure, told in the name of another module.
  Failure from(VEMOModule other) const {
    Failure changed = *this;
    changed.module = other;
    return changed;
  }

  /// The same failure, logged under another action name.
  Failure loggedAs(std::string_view name) const {
    Failure changed = *this;
    changed.actionName = name;
    return changed;
  }
};

/// How a handler ended: with a failure, or with success, which sets nothing further.
using Outcome = std::optional<Failure>;
inline constexpr std::nullopt_t success = std::nullopt;

inline constexpr std::int64_t kBadParameter = -1;
inline constexpr std::int64_t kNotAvailable = -2;  // engine not initialised, feature missing
inline constexpr std::int64_t kNotInRoom = -3;
inline constexpr std::int64_t kCameraRefused = -1314;
inline constexpr std::int64_t kMicrophoneRefused = -1317;

inline Failure failure(std::int64_t code, std::string_view message, Place place = Place::here()) {
  return {code, message, place};
}

inline Failure paramError(std::string_view message, Place place = Place::here()) {
  return {kBadParameter, message, place};
}

inline Failure notInitialised(Place place = Place::here()) {
  return {kNotAvailable, "not initSDK", place};
}

}  // namespace vemo
