#include "replay/Effects.h"

#include <algorithm>
#include <array>
#include <boost/json/object.hpp>
#include <ranges>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "bridge/VEMOLogger.h"
#include "replay/Nearest.h"
#include "replay/ScenarioError.h"

namespace vemo::replay {
namespace {

using KeySpan = std::span<const std::string_view>;

template <std::size_t count>
using Names = std::array<std::string_view, count>;

constexpr Names<3> commonEffectKeys{"step", "effect", "thread"};

constexpr auto recordFields = std::apply(
    [](const auto&... field) { return std::array{field.name...}; }, Fields<DUNLogParam>::table);
constexpr Names<3> errorFields{"module", "errcode", "errmsg"};
constexpr Names<2> buttonFields{"title", "style"};

struct EffectRule {
  std::string_view name;
  Names<5> keys;  // its own; the rest is empty
};

constexpr auto effectRules = std::to_array<EffectRule>({
    {"engine", {"call", "args"}},
    {"log", {"record"}},
    {"loggerConfig", {"sdkAppId"}},
    {"reply", {"item", "action", "error", "retval", "printLog"}},
    {"script", {"function", "argument", "text", "needLog"}},
    {"post", {"name"}},
    {"syslog", {"line"}},
    {"alert", {"title", "message", "buttons"}},
    {"openSettings", {}},
    {"requestAccess", {"media"}},
    {"download", {"url"}},
    {"launchExtension", {}},
    {"subscribe", {"name"}},
    {"unsubscribe", {"name"}},
    {"unsubscribeAll", {}},
    {"listener", {"name", "op", "args"}},
    {"completion", {"of", "args"}},
    {"value", {"of", "value"}},
});

bool holds(KeySpan names, std::string_view key) {
  return !key.empty() && std::ranges::find(names, key) != names.end();
}

bool hasKey(const EffectRule& rule, std::string_view key) {
  return holds(commonEffectKeys, key) || holds(rule.keys, key);
}

/// Every key that one of these effects has.
std::vector<std::string_view> keysOf(std::span<const EffectRule> some) {
  std::vector<std::string_view> keys(commonEffectKeys.begin(), commonEffectKeys.end());
  for (const auto& rule : some) keys.insert(keys.end(), rule.keys.begin(), rule.keys.end());
  return keys;
}

std::string quoted(std::string_view text) { return "\"" + std::string(text) + "\""; }

/// `value`, where it is an object, may have these fields only.
void checkFields(const json::value* value, KeySpan fields, std::string_view of) {
  const auto* object = value ? value->if_object() : nullptr;
  if (!object) return;
  for (const auto& field : *object) {
    if (!holds(fields, field.key())) {
      throw ScenarioError("unknown key " + quoted(field.key()) + " of " + std::string(of) +
                          didYouMean(field.key(), fields));
    }
  }
}

void checkNested(const json::object& effect) {
  checkFields(effect.if_contains("record"), recordFields, "a log record");
  checkFields(effect.if_contains("error"), errorFields, "an error");
  const auto* buttons = effect.if_contains("buttons");
  if (!buttons || !buttons->is_array()) return;
  for (const auto& button : buttons->get_array()) checkFields(&button, buttonFields, "a button");
}

void checkOne(const json::object& effect) {
  const auto* const name = effect.if_contains("effect");
  if (name && name->is_string() && name->get_string() != "*") {
    const auto rule =
        std::ranges::find(effectRules, std::string_view(name->get_string()), &EffectRule::name);
    if (rule == effectRules.end()) {
      throw ScenarioError(
          "unknown effect " + quoted(name->get_string()) +
          didYouMean(name->get_string(), effectRules | std::views::transform(&EffectRule::name)));
    }
    for (const auto& key : effect) {
      if (!hasKey(*rule, key.key())) {
        throw ScenarioError("unknown key " + quoted(key.key()) + " of the effect " +
                            std::string(rule->name) + didYouMean(key.key(), keysOf({rule, 1})));
      }
    }
  } else {
    for (const auto& key : effect) {
      const auto has = [&](const EffectRule& rule) { return hasKey(rule, key.key()); };
      if (std::ranges::none_of(effectRules, has)) {
        throw ScenarioError("no effect has a key " + quoted(key.key()) +
                            didYouMean(key.key(), keysOf(effectRules)));
      }
    }
    const auto hasAll = [&](const EffectRule& rule) {
      return std::ranges::all_of(effect, [&](const auto& key) { return hasKey(rule, key.key()); });
    };
    if (std::ranges::none_of(effectRules, hasAll)) {
      throw ScenarioError("no effect has all the keys that are expected of one");
    }
  }
  checkNested(effect);
}

}  // namespace

void checkExpected(const json::array& expect) {
  for (const auto& effect : expect) {
    if (const auto* object = effect.if_object()) checkOne(*object);
  }
}

}  // namespace vemo::replay
