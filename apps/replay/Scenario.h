#pragma once

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/value.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "json/Arguments.h"
#include "replay/ScenarioError.h"

namespace vemo::replay {

namespace json = boost::json;

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
  decoded,
  notify,
  host,
  listener,
  release,
  get,
  drain,
  free,
  create,  // "new"
  use,
};

/// One step of a scenario.
struct Step {
  Verb verb = Verb::drain;
  std::string_view verbName;
  json::object keys;  ///< the whole step; no key but the verb's own and the common ones
  bool hold = false;
  bool partial = false;
  bool overlaps = false;  ///< another step was going on when it was recorded
  std::optional<json::array> expect;
  std::string note;         ///< behind the step's number where it is told; may be empty
  std::vector<Step> setUp;  ///< of "use": the steps of the set-up
  std::int64_t line = 0;    ///< of a step of a set-up: where in its file it is

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

/// What `line` says, an object or an array; nothing for a blank line or a comment. Any other
/// line is a ScenarioError.
std::optional<json::value> valueFrom(std::string_view line);

/// The step with these keys. Keys that no step can have are a ScenarioError.
Step stepOf(json::object keys);

/// The step that `line` describes; nothing for a blank line or a comment. A line that
/// is no step, or a step with keys that it can't have, is a ScenarioError.
std::optional<Step> stepFrom(std::string_view line);

}  // namespace vemo::replay
