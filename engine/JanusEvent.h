#pragma once

#include <boost/json/object.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "json/Lookup.h"

// How events and answers of the server are read.

namespace vemo::janus {

/// Empty where there is no text.
inline std::string textAt(const boost::json::object& from, std::string_view key) {
  return std::string(vemo_safeNSStringForKey(&from, key).value_or(""));
}

/// Null where there is no object.
inline const boost::json::object* objectAt(const boost::json::object* from, std::string_view key) {
  const auto* value = from ? from->if_contains(key) : nullptr;
  return value ? value->if_object() : nullptr;
}

/// What the plugin says; null when it says nothing.
inline const boost::json::object* pluginDataOf(const boost::json::object& event) {
  return objectAt(objectAt(&event, "plugindata"), "data");
}

/// One way to reach the server's end of a connection for media.
struct JanusCandidate {
  std::uint32_t line = 0;  ///< of the session description
  std::string text;
};

/// That of a "trickle"; nothing when there are no more.
inline std::optional<JanusCandidate> candidateOf(const boost::json::object& event) {
  const auto* candidate = objectAt(&event, "candidate");
  auto text = candidate ? textAt(*candidate, "candidate") : "";
  if (text.empty()) return std::nullopt;
  const auto line = vemo_safeNSNumberForKey(candidate, "sdpMLineIndex");
  return JanusCandidate{line ? line->as<std::uint32_t>() : 0, std::move(text)};
}

}  // namespace vemo::janus
