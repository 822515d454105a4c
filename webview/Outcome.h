#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "bridge/VEMOModule.h"
#include "webview/Place.h"
#include "webview/errors.h"

namespace vemo {

/// Why a command failed. The command's frame turns it into the error reply and the
/// failure record; `place` is where the record says it comes from.
struct Failure {
  std::int64_t code;
  std::string_view message;  // a literal
  Place place;
  VEMOModule module = VEMOModule::JS;
  std::string_view actionName = {};  // empty: the command's name with "Failed"

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

/// Fails with `error`.
inline Failure fail(const ErrorWords& error, Place place = Place::here()) {
  return {error.code, error.text, place, error.module};
}

/// Fails for want of a parameter, or for one that can't be used.
inline Failure paramError(std::string_view message, Place place = Place::here()) {
  return {kBadParameter, message, place};
}

}  // namespace vemo
