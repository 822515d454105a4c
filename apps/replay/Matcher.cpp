#include "replay/Matcher.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string_view>
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

/// Whether `expected` from `i` on matches `effects` from `j` on.
bool restMatches(const json::array& expected, std::size_t i,
                 const std::vector<json::object>& effects, std::size_t j) {
  if (expected.size() - i != effects.size() - j) return false;
  for (; i < expected.size(); ++i, ++j) {
    const json::value actual(effects[j]);
    if (difference(expected[i], &actual)) return false;
  }
  return true;
}

std::string textOf(const json::object& object, std::string_view key) {
  const auto* const value = object.if_contains(key);
  return value && value->is_string() ? std::string(value->get_string()) : "";
}

/// What a reader calls an effect.
std::string named(const json::value& value) {
  const auto* const effect = value.if_object();
  auto name = effect ? textOf(*effect, "effect") : "";
  if (name.empty()) return "an effect";
  const auto with = [&](std::string_view words, std::string_view key) {
    const auto text = textOf(*effect, key);
    return text.empty() ? std::string(words.substr(0, words.find(' '))) : std::string(words) + text;
  };
  if (name == "reply") return with("reply to ", "action");
  if (name == "engine") return with("call of ", "call");
  if (name == "completion") return with("completion of ", "of");
  if (name == "value") return with("value of ", "of");
  if (name == "download") return with("download of ", "url");
  if (name == "post") return with("notification ", "name");
  if (name == "listener") return with("call of ", "op") + " at " + textOf(*effect, "name");
  if (name == "log") {
    const auto* const record = effect->if_contains("record");
    const auto action =
        record && record->is_object() ? textOf(record->get_object(), "actionName") : std::string();
    return action.empty() ? "record" : "record of " + action;
  }
  if (name == "script") {
    const auto* const argument = effect->if_contains("argument");
    const auto* const head =
        argument && argument->is_object() ? argument->get_object().if_contains("head") : nullptr;
    const auto event =
        head && head->is_object() ? textOf(head->get_object(), "action") : std::string();
    return event.empty() ? with("script ", "function") : "script of " + event;
  }
  return name;
}

/// Whether `path` is that of a key by which an effect is called.
bool namesAnEffect(std::string_view path) {
  static constexpr auto names = std::to_array<std::string_view>(
      {"/effect", "/action", "/call", "/op", "/of", "/record/actionName", "/argument/head/action"});
  return std::ranges::find(names, path) != names.end();
}

/// What a reader calls the value at `path`.
std::string part(std::string_view path) {
  if (path == "/error/errcode") return "code";
  if (path == "/error/errmsg") return "message";
  std::string words;
  for (const std::string_view prefix : {"/argument/retval", "/record"}) {
    if (path.starts_with(prefix) && path.size() > prefix.size()) path.remove_prefix(prefix.size());
  }
  if (path.starts_with("/args/")) {
    const auto end = std::min(path.find('/', 6), path.size());
    words = "argument " + std::to_string(std::stoul(std::string(path.substr(6, end - 6))) + 1);
    path.remove_prefix(end);
  }
  for (; !path.empty(); path.remove_prefix(std::min(path.find('/', 1), path.size()))) {
    if (!words.empty()) words += '.';
    words += path.substr(1, path.find('/', 1) - 1);
  }
  return words;
}

/// "reply to enterRoom has code -1, was 0".
std::string sentence(const json::value& expected, const json::value& actual,
                     const Difference& found) {
  if (namesAnEffect(found.path)) return named(actual) + " came, was " + named(expected);
  if (found.path.empty()) return named(actual) + " is " + found.got + ", was " + found.expected;
  const auto what = part(found.path);
  if (found.got == "nothing") return named(actual) + " has no " + what + ", was " + found.expected;
  return named(actual) + " has " + what + " " + found.got +
         (found.expected == "nothing" ? ", had none" : ", was " + found.expected);
}

/// The sentence and "(effect 2, /title)", or that it matches.
std::string compared(const json::value& expected, const std::vector<json::object>& effects,
                     std::size_t index) {
  const json::value actual(effects[index]);
  const auto found = difference(expected, &actual);
  const auto place = "effect " + std::to_string(index + 1);
  return found ? sentence(expected, actual, *found) + " (" + place + ", " +
                     (found->path.empty() ? "/" : found->path) + ")"
               : place + " matches, but is not in its place";
}

std::optional<std::string> wholeMismatch(const json::array& expected,
                                         const std::vector<json::object>& effects) {
  std::size_t i = 0;
  for (; i < std::min(expected.size(), effects.size()); ++i) {
    const json::value actual(effects[i]);
    if (difference(expected[i], &actual)) break;
  }
  if (i == expected.size() && i == effects.size()) return std::nullopt;
  const auto counts = "; expected " + std::to_string(expected.size()) + " effects, got " +
                      std::to_string(effects.size()) + "\n    ";
  if (i < expected.size() && restMatches(expected, i + 1, effects, i)) {
    return named(expected[i]) + " did not come" + counts + jsonText(expected[i]);
  }
  if (i < effects.size() && restMatches(expected, i, effects, i + 1)) {
    return named(effects[i]) + " came, and was not expected" + counts + jsonText(effects[i]);
  }
  if (i == expected.size()) {
    const auto first = effects.begin() + static_cast<std::ptrdiff_t>(i);
    return named(*first) + " came, and was not expected, nor was what follows" +
           counts.substr(0, counts.find('\n')) + listed({first, effects.end()});
  }
  if (i == effects.size()) {
    return named(expected[i]) + " did not come, nor did what follows" + counts +
           jsonText(expected[i]);
  }
  const auto best = nearest(expected[i], effects, i);
  const auto place =
      best == i ? ""
                : named(expected[i]) + " is not effect " + std::to_string(i + 1) + "; nearest: ";
  return place + compared(expected[i], effects, best) + "\n  expected\n    " +
         jsonText(expected[i]) + "\n  got" + (best == i ? listed({effects[i]}) : listed(effects));
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
      std::string text = named(one) + " did not come in its place\n    " + jsonText(one);
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
