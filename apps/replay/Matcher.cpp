#include "Matcher.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "json/JsonText.h"

namespace vemo::replay {
namespace {

/// Whether the transcript has null here: JSON has no other word for what is not finite.
bool isWrittenNull(const json::value& value) {
  return value.is_null() || (value.is_double() && !std::isfinite(value.get_double()));
}

/// Integers by their exact value; with a floating number on either side, as floating
/// numbers: its shortest digits may read back as an integer beside it.
bool sameNumber(const json::value& a, const json::value& b) {
  if (a.is_double() == b.is_double()) return a == b;
  return a.to_number<double>() == b.to_number<double>();
}

std::optional<Difference> differs(const json::value& expected, const json::value* actual) {
  return Difference{{}, jsonText(expected), actual ? jsonText(*actual) : "nothing"};
}

std::optional<Difference> below(const std::string& step, std::optional<Difference> found) {
  if (found) found->path.insert(0, "/" + step);
  return found;
}

std::optional<Difference> objectDifference(const json::object& expected,
                                           const json::object& actual) {
  for (const auto& [key, value] : expected) {
    if (auto found = difference(value, actual.if_contains(key))) {
      return below(std::string(key), std::move(found));
    }
  }
  return std::nullopt;
}

std::optional<Difference> arrayDifference(const json::array& expected, const json::array& actual) {
  const auto count = std::max(expected.size(), actual.size());
  for (std::size_t i = 0; i < count; ++i) {
    if (i >= expected.size()) {
      return below(std::to_string(i), Difference{{}, "nothing", jsonText(actual[i])});
    }
    if (i >= actual.size()) return below(std::to_string(i), differs(expected[i], nullptr));
    if (auto found = difference(expected[i], &actual[i])) {
      return below(std::to_string(i), std::move(found));
    }
  }
  return std::nullopt;
}

/// The effects, one a line.
std::string listed(const std::vector<json::object>& effects) {
  std::string text;
  for (const auto& effect : effects) text += "\n    " + jsonText(effect);
  return text.empty() ? "\n    nothing" : text;
}

std::optional<std::string> wholeMismatch(const json::array& expected,
                                         const std::vector<json::object>& effects) {
  for (std::size_t i = 0; i < std::min(expected.size(), effects.size()); ++i) {
    const json::value actual(effects[i]);
    if (const auto found = difference(expected[i], &actual)) {
      return "effect " + std::to_string(i + 1) + " differs at " + found->text() +
             "\n  expected\n    " + jsonText(expected[i]) + "\n  got" + listed({effects[i]});
    }
  }
  if (expected.size() == effects.size()) return std::nullopt;
  const auto counts = "expected " + std::to_string(expected.size()) + " effects, got " +
                      std::to_string(effects.size());
  if (expected.size() > effects.size()) {
    return counts + "; the first missing\n    " + jsonText(expected[effects.size()]);
  }
  const auto first = effects.begin() + static_cast<std::ptrdiff_t>(expected.size());
  return counts + "; too many are" + listed({first, effects.end()});
}

std::optional<std::string> partialMismatch(const json::array& expected,
                                           const std::vector<json::object>& effects) {
  // Taking the earliest match of each leaves the most for those that follow.
  auto effect = effects.begin();
  for (const auto& one : expected) {
    effect = std::find_if(effect, effects.end(), [&](const json::object& candidate) {
      const json::value actual(candidate);
      return !difference(one, &actual);
    });
    if (effect == effects.end()) {
      return "expected in this place, but did not come\n    " + jsonText(one) + "\n  got" +
             listed(effects);
    }
    ++effect;
  }
  return std::nullopt;
}

}  // namespace

std::string Difference::text() const {
  return (path.empty() ? "/" : path) + ": expected " + expected + ", got " + got;
}

std::optional<Difference> difference(const json::value& expected, const json::value* actual) {
  if (expected.is_null()) {
    return !actual || isWrittenNull(*actual) ? std::nullopt : differs(expected, actual);
  }
  if (!actual) return differs(expected, actual);
  if (expected.is_string() && expected.get_string() == "*") return std::nullopt;
  if (expected.is_object() && actual->is_object()) {
    return objectDifference(expected.get_object(), actual->get_object());
  }
  if (expected.is_array() && actual->is_array()) {
    return arrayDifference(expected.get_array(), actual->get_array());
  }
  const bool same = expected.is_number() && actual->is_number() ? sameNumber(expected, *actual)
                                                                : expected == *actual;
  return same ? std::nullopt : differs(expected, actual);
}

std::optional<std::string> mismatch(const json::array& expected, bool partial,
                                    const std::vector<json::object>& effects) {
  return partial ? partialMismatch(expected, effects) : wholeMismatch(expected, effects);
}

}  // namespace vemo::replay
