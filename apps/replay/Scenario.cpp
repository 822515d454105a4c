#include "replay/Scenario.h"

#include <algorithm>
#include <array>
#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/string.hpp>
#include <ranges>
#include <set>
#include <utility>

#include "json/JsonReader.h"
#include "recorder/ReadLine.h"
#include "recorder/Recording.h"
#include "replay/Effects.h"
#include "replay/Nearest.h"

namespace vemo::replay {
namespace {

// Deeper than any message that the router takes, so that one can be written down.
constexpr std::size_t kMaxDepth = 512;

struct VerbRule {
  std::string_view name;
  Verb verb;
  std::array<std::string_view, 6> keys;
};

constexpr auto rules = std::to_array<VerbRule>({
    {"device", Verb::device, {}},
    {"command", Verb::command, {"params", "nativecb", "webView", "as", "thread"}},
    {"message", Verb::message, {"as", "thread"}},
    {"event", Verb::event, {"args", "thread"}},
    {"music", Verb::music, {"on", "code", "progressMs", "durationMs", "thread"}},
    {"speedTest", Verb::speedTest, {"completed", "total", "thread"}},
    {"access", Verb::access, {"thread", "nth"}},
    {"press", Verb::press, {"nth"}},
    {"downloaded", Verb::downloaded, {"thread", "nth"}},
    {"decoded", Verb::decoded, {"thread", "nth"}},
    {"notify", Verb::notify, {"thread"}},
    {"host", Verb::host, {"args", "completion", "thread"}},
    {"listener", Verb::listener, {"ops"}},
    {"release", Verb::release, {}},
    {"get", Verb::get, {}},
    {"drain", Verb::drain, {"nth"}},
    {"free", Verb::free, {}},
    {"new", Verb::create, {}},
    {"use", Verb::use, {}},
});

constexpr std::array<std::string_view, 4> commonKeys{"hold", "expect", "partial", "overlaps"};

constexpr std::string_view kIsRecording =
    "this is a recording; vemo-replay --from makes a scenario of it";

const VerbRule* ruleOf(std::string_view key) {
  const auto rule = std::ranges::find(rules, key, &VerbRule::name);
  return rule == rules.end() ? nullptr : &*rule;
}

const VerbRule& verbOf(const json::object& keys) {
  const VerbRule* verb = nullptr;
  for (const auto& member : keys) {
    const auto* rule = ruleOf(member.key());
    if (!rule) continue;
    if (verb) {
      throw ScenarioError("two verbs, \"" + std::string(verb->name) + "\" and \"" +
                          std::string(rule->name) + "\"");
    }
    verb = rule;
  }
  if (verb) return *verb;
  if (keys.empty()) throw ScenarioError("a step without a verb");
  const std::string_view first = keys.begin()->key();
  if (first == "vemorec") throw ScenarioError(std::string(kIsRecording));
  throw ScenarioError("unknown verb \"" + std::string(first) + '"' +
                      didYouMean(first, rules | std::views::transform(&VerbRule::name)));
}

void checkKeys(const json::object& keys, const VerbRule& rule) {
  for (const auto& member : keys) {
    const std::string_view key = member.key();
    const bool known = key == rule.name || std::ranges::find(rule.keys, key) != rule.keys.end() ||
                       std::ranges::find(commonKeys, key) != commonKeys.end();
    if (!known || key.empty()) {
      std::vector<std::string_view> names(rule.keys.begin(), rule.keys.end());
      names.insert(names.end(), commonKeys.begin(), commonKeys.end());
      throw ScenarioError("unknown key \"" + std::string(key) + "\" of " + std::string(rule.name) +
                          didYouMean(key, names));
    }
  }
}

/// Finds a key that an object has twice: the value would have the later alone.
struct DoubleKey {
  static constexpr std::size_t max_object_size = json::object::max_size();
  static constexpr std::size_t max_array_size = json::array::max_size();
  static constexpr std::size_t max_key_size = json::string::max_size();
  static constexpr std::size_t max_string_size = json::string::max_size();

  using Text = json::string_view;
  using Error = json::error_code;

  bool on_document_begin(Error&) { return true; }
  bool on_document_end(Error&) { return true; }
  bool on_object_begin(Error&) { return objects.emplace_back(), true; }
  bool on_object_end(std::size_t, Error&) { return objects.pop_back(), true; }
  bool on_array_begin(Error&) { return true; }
  bool on_array_end(std::size_t, Error&) { return true; }
  bool on_key_part(Text part, std::size_t, Error&) { return key.append(part), true; }
  bool on_key(Text rest, std::size_t, Error&) {
    key.append(rest);
    if (!objects.back().insert(key).second && !found) found = key;
    key.clear();
    return true;
  }
  bool on_string_part(Text, std::size_t, Error&) { return true; }
  bool on_string(Text, std::size_t, Error&) { return true; }
  bool on_number_part(Text, Error&) { return true; }
  bool on_int64(std::int64_t, Text, Error&) { return true; }
  bool on_uint64(std::uint64_t, Text, Error&) { return true; }
  bool on_double(double, Text, Error&) { return true; }
  bool on_bool(bool, Error&) { return true; }
  bool on_null(Error&) { return true; }
  bool on_comment_part(Text, Error&) { return true; }
  bool on_comment(Text, Error&) { return true; }

  std::vector<std::set<std::string>> objects;  // that have not ended
  std::string key;
  std::optional<std::string> found;
};

/// `text` can be read.
void checkForDoubleKeys(std::string_view text) {
  json::parse_options options;
  options.max_depth = kMaxDepth;
  json::basic_parser<DoubleKey> parser(options);
  json::error_code ignored;
  parser.write_some(false, text.data(), text.size(), ignored);
  if (const auto& found = parser.handler().found)
    throw ScenarioError("the key \"" + *found + "\" stands twice in one object");
}

}  // namespace

std::optional<json::value> valueFrom(std::string_view line) {
  if (line.starts_with(kByteOrderMark)) {
    throw ScenarioError("there is a byte order mark in front; save the file as UTF-8 without one");
  }
  if (line.starts_with('#') || line.find_first_not_of(" \t\r\v\f") == std::string_view::npos) {
    return std::nullopt;
  }
  if (line == kDumpMark.substr(0, kDumpMark.size() - 1))
    throw ScenarioError(std::string(kIsRecording));
  JsonProblem problem;
  auto value = readJson(line, kMaxDepth, problem);
  if (problem.code) {
    throw ScenarioError("no JSON: column " + std::to_string(problem.at + 1) + ": " +
                        problem.code.message());
  }
  checkForDoubleKeys(line);
  if (value.is_structured()) return value;
  throw ScenarioError("a step must be an object");
}

Step stepOf(json::object keys) {
  Step step;
  step.keys = std::move(keys);
  const auto& rule = verbOf(step.keys);
  checkKeys(step.keys, rule);
  step.verb = rule.verb;
  step.verbName = rule.name;
  step.hold = step.optional<bool>("hold").value_or(false);
  step.partial = step.optional<bool>("partial").value_or(false);
  step.expect = step.optional<json::array>("expect");
  step.overlaps = step.optional<bool>("overlaps").value_or(false);
  if (step.overlaps) step.note = ", which overlapped another when it was recorded and may differ";
  if (step.expect) checkExpected(*step.expect);
  return step;
}

std::optional<Step> stepFrom(std::string_view line) {
  auto value = valueFrom(line);
  if (!value) return std::nullopt;
  if (auto* keys = value->if_object()) return stepOf(std::move(*keys));
  throw ScenarioError("a step must be an object");
}

}  // namespace vemo::replay
