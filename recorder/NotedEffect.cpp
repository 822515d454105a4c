#include "recorder/NotedEffect.h"

#include <boost/json/value.hpp>
#include <optional>
#include <utility>

#include "json/JsonReader.h"

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

}  // namespace

json::object notedEffect(std::string_view text) {
  JsonProblem problem;
  auto value = readJson(text, kMaxDepth, problem);
  auto* const noted = problem.code ? nullptr : value.if_object();
  if (!noted) return {};
  const auto* const name = noted->if_contains("effect");
  const auto* const script = noted->if_contains("text");
  if (!name || *name != "script" || !script || !script->is_string()) return std::move(*noted);
  const std::string_view whole = script->get_string();
  auto parts = takenApart(whole);
  if (!parts) parts = {whole, nullptr};
  json::object effect;
  effect.reserve(noted->size() + 2);
  effect["effect"] = "script";
  effect["function"] = parts->function;
  effect["argument"] = std::move(parts->argument);
  for (auto& [key, member] : *noted) effect[key] = std::move(member);
  return effect;
}

}  // namespace vemo
