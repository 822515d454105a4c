#include "recorder/NotedJson.h"

#include <algorithm>
#include <boost/json/array.hpp>
#include <boost/json/value.hpp>
#include <cmath>
#include <optional>
#include <utility>

#include "json/JsonReader.h"
#include "platform/PageMessage.h"

namespace vemo {
namespace {

namespace json = boost::json;

// Deeper than anything that a scenario can give.
constexpr std::size_t kMaxDepth = 1024;

struct Script {
  std::string_view function;
  json::value argument;
};

/// `function(argument)`: the function's name may hold parentheses itself, so the
/// argument is the longest that is JSON.
std::optional<Script> takenApart(std::string_view script) {
  if (!script.ends_with(')')) return std::nullopt;
  for (auto open = script.find('('); open != std::string_view::npos;
       open = script.find('(', open + 1)) {
    const auto text = script.substr(open + 1, script.size() - open - 2);
    JsonProblem problem;
    auto argument = readJson(text, kMaxDepth, problem);
    if (!problem.code) return Script{script.substr(0, open), std::move(argument)};
  }
  return std::nullopt;
}

json::object objectIn(std::string_view text) {
  JsonProblem problem;
  auto value = readJson(text, kMaxDepth, problem);
  auto* const object = problem.code ? nullptr : value.if_object();
  return object ? std::move(*object) : json::object();
}

/// Whether it can be written: JSON has no word for what is too large.
bool isFinite(const json::value& value) {
  if (const auto* number = value.if_double()) return std::isfinite(*number);
  if (const auto* array = value.if_array()) return std::ranges::all_of(*array, isFinite);
  if (const auto* object = value.if_object()) {
    return std::ranges::all_of(*object,
                               [](const auto& member) { return isFinite(member.value()); });
  }
  return true;
}

/// The step that hands over what `message` holds; empty when none does the same.
json::object commandOf(std::string_view message) {
  auto read = readPageMessage(message);
  if (!read.isUsable || read.hasMore || read.address.action->empty()) return {};
  if (read.params && !isFinite(*read.params)) return {};
  json::object step{{"command", *read.address.action}};
  if (read.params) step["params"] = *std::move(read.params);
  if (read.nativecb) step["nativecb"] = *read.nativecb;
  return step;
}

/// The arguments of a call as they were given.
void unwrapSignature(json::object& effect) {
  auto* const args = effect.if_contains("args");
  if (!args || !args->is_array()) return;
  for (auto& arg : args->get_array()) {
    auto* const object = arg.if_object();
    if (object && object->size() == 1 && object->begin()->key() == "userSig") {
      arg = json::value(object->begin()->value());
    }
  }
}

}  // namespace

json::object notedEffect(std::string_view text) {
  auto noted = objectIn(text);
  if (const auto* call = noted.if_contains("call"); call && *call == "startSpeedTest") {
    unwrapSignature(noted);
  }
  const auto* const name = noted.if_contains("effect");
  const auto* const script = noted.if_contains("text");
  if (!name || *name != "script" || !script || !script->is_string()) return noted;
  const std::string_view whole = script->get_string();
  auto parts = takenApart(whole);
  if (!parts) parts = {whole, nullptr};
  json::object effect;
  effect.reserve(noted.size() + 2);
  effect["effect"] = "script";
  effect["function"] = parts->function;
  effect["argument"] = std::move(parts->argument);
  for (auto& member : noted) effect[member.key()] = std::move(member.value());
  return effect;
}

json::object notedStep(std::string_view text) {
  auto noted = objectIn(text);
  const auto* const message = noted.if_contains("message");
  if (!message || !message->is_string()) return noted;
  auto step = commandOf(message->get_string());
  if (step.empty()) return noted;
  for (auto& member : noted) {
    if (member.key() != "message") step[member.key()] = std::move(member.value());
  }
  return step;
}

}  // namespace vemo
