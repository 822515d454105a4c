#pragma once

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "json/Number.h"

namespace vemo {

// Typed lookups in a dictionary that may be absent: the value under the key when it
// is of that type, else nothing. What they return points into the dictionary.

/// A JSON number or boolean.
inline std::optional<Number> vemo_safeNSNumberForKey(const boost::json::object* dictionary,
                                                     std::string_view key) {
  const auto* value = dictionary ? dictionary->if_contains(key) : nullptr;
  return value ? Number::from(*value) : std::nullopt;
}

/// A JSON text.
inline std::optional<std::string_view> vemo_safeNSStringForKey(
    const boost::json::object* dictionary, std::string_view key) {
  const auto* value = dictionary ? dictionary->if_contains(key) : nullptr;
  const auto* text = value ? value->if_string() : nullptr;
  if (!text) return std::nullopt;
  return std::string_view(text->data(), text->size());
}

/// A JSON array; null when there is none.
inline const boost::json::array* vemo_safeNSArrayForKey(const boost::json::object* dictionary,
                                                        std::string_view key) {
  const auto* value = dictionary ? dictionary->if_contains(key) : nullptr;
  return value ? value->if_array() : nullptr;
}

/// Sets `key` to `value`; an absent value sets nothing.
template <class Value>
void vemo_setSafeObject(boost::json::object& dictionary, const std::optional<Value>& value,
                        std::string_view key) {
  if (value) dictionary[key] = *value;
}

}  // namespace vemo
