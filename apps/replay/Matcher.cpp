#include "Matcher.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <tuple>

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

/// How many of the values in `expected` `actual` has.
std::size_t likeness(const json::value& expected, const json::value* actual) {
  std::size_t alike = 0;
  if (expected.is_object() && actual && actual->is_object()) {
    for (const auto& [key, value] : expected.get_object()) {
      alike += likeness(value, actual->get_object().if_contains(key));
    }
  } else if (expected.is_array() && actual && actual->is_array()) {
    const auto& wanted = expected.get_array();
    for (std::size_t i = 0; i < wanted.size(); ++i) {
      alike += likeness(wanted[i], actual->get_array().if_contains(i));
    }
  } else if (!difference(expected, actual)) {
    alike = 1;
  }
  return alike;
}

/// Which of `effects` is most like the expected one; of several, the one at `place` or
/// else the first. There is at least one.
std::size_t nearest(const json::value& expected, const std::vector<json::object>& effects,
                    std::size_t place) {
  const auto* const object = expected.if_object();
  const auto* const name = object ? object->if_contains("effect") : nullptr;
  const auto rank = [&](std::size_t index) {
    const json::value actual(effects[index]);
    const bool sameName = name && !difference(*name, actual.get_object().if_contains("effect"));
    return std::tuple(sameName, likeness(expected, &actual), index == place);
  };
  std::size_t best = 0;
  for (std::size_t i = 1; i < effects.size(); ++i) {
    if (rank(i) > rank(best)) best = i;
  }
  return best;
}

/// "effect 2 differs at /title: ...", or that it matches.
std::string compared(const json::value& expected, const std::vector<json::object>& effects,
                     std::size_t index) {
  const json::value actual(effects[index]);
  const auto found = difference(expected, &actual);
  return "effect " + std::to_string(index + 1) +
         (found ? " differs at " + found->text() : " matches, but is not in its place");
}

std::optional<std::string> wholeMismatch(const json::array& expected,
                                         const std::vector<json::object>& effects) {
  for (std::size_t i = 0; i < std::min(expected.size(), effects.size()); ++i) {
    const json::value actual(effects[i]);
    if (!difference(expected[i], &actual)) continue;
    const auto best = nearest(expected[i], effects, i);
    const auto place =
        best == i ? "" : "effect " + std::to_string(i + 1) + " is another; nearest: ";
    return place + compared(expected[i], effects, best) + "\n  expected\n    " +
           jsonText(expected[i]) + "\n  got" + (best == i ? listed({effects[i]}) : listed(effects));
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
    const auto from = effect;
    effect = std::find_if(effect, effects.end(), [&](const json::object& candidate) {
      const json::value actual(candidate);
      return !difference(one, &actual);
    });
    if (effect == effects.end()) {
      std::string text = "expected in this place, but did not come\n    " + jsonText(one);
      if (!effects.empty()) {
        const auto place = static_cast<std::size_t>(from - effects.begin());
        text += "\n  nearest: " + compared(one, effects, nearest(one, effects, place));
      }
      return text + "\n  got" + listed(effects);
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
