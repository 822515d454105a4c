#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "bridge/VEMOModule.h"
#include "webview/Place.h"

namespace vemo {

/// Why a command failed. The command's frame turns it into the error reply and the
/// failure record; `site` is where the record says it comes from.
struct Failure {
  std::int64_t code;
  std::string_view message;  // a literal
  Place site;
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

inline Failure failure(std::int64_t code, std::string_view message, Place site = Place::here()) {
  return {code, message, site};
}

inline Failure paramError(std::string_view message, Place site = Place::here()) {
  return {kBadParameter, message, site};
}

inline Failure notInitialised(Place site = Place::here()) {
  return {kNotAvailable, "not initSDK", site};
}

}  // namespace vemo
