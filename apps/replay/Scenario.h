#pragma once

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/value.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "Values.h"

namespace vemo::replay {

enum class Verb {
  device,
  command,
  message,
  event,
  music,
  speedTest,
  access,
  press,
  downloaded,
  notify,
  host,
  listener,
  release,
  get,
  drain,
  free,
  create,  // "new"
};

/// One step of a scenario.
struct Step {
  Verb verb = Verb::drain;
  std::string_view verbName;
  json::object keys;  ///< the whole step; no key but the verb's own and the common ones
  bool hold = false;
  bool partial = false;
  std::optional<json::array> expect;

  /// The verb's value as a T.
  template <class T>
  T value() const {
    return read<T>(keys.at(verbName), verbName);
  }

  /// The value under `key`, where there is one.
  template <class T>
  std::optional<T> optional(std::string_view key) const {
    const auto* found = keys.if_contains(key);
    return found ? std::optional<T>(read<T>(*found, key)) : std::nullopt;
  }

  template <class T>
  T required(std::string_view key) const {
    if (auto found = optional<T>(key)) return *std::move(found);
    throw ScenarioError(std::string(verbName) + " needs " + std::string(key));
  }

  bool has(std::string_view key) const { return keys.contains(key); }
};

/// The step that `line` describes; nothing for a blank line or a comment. A line that
/// is no step, or a step with keys that it can't have, is a ScenarioError.
std::optional<Step> stepFrom(std::string_view line);

}  // namespace vemo::replay
