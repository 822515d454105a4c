#include "replay/Rows.h"

#include <array>
#include <utility>

#include "json/JsonText.h"
#include "replay/Effects.h"
#include "replay/Nearest.h"

namespace vemo::replay {
namespace {

/// What one command of a row does, effect by effect.
class Outcome {
 public:
  /// `params` is their text, null when there are none, and `item` the label of the item.
  Outcome(std::string_view command, const std::optional<std::string>& params, std::string item)
      : command_(command), params_(params), item_(std::move(item)) {}

  /// All effects that `outcome` stands for.
  json::array effects(const json::value& outcome) const {
    if (const auto* text = outcome.if_string()) return failure(*text);
    if (const auto* between = outcome.if_array()) {
      json::array all{entry()};
      for (const auto& effect : *between) all.push_back(effectOf(effect));
      all.push_back(reply({}));
      return all;
    }
    const auto* object = outcome.if_object();
    const auto* effects = object && object->size() == 1 ? object->if_contains("effects") : nullptr;
    if (!effects || !effects->is_array()) {
      throw ScenarioError(
          "the outcome of a row must be a text, an array or {\"effects\": an array}");
    }
    json::array all;
    for (const auto& effect : effects->get_array()) all.push_back(effectOf(effect));
    return all;
  }

 private:
  json::array failure(const json::string& text) const {
    const json::object logged{
        {"level", 4}, {"actionName", command_ + "Failed"}, {"errorCode", -1}, {"errorDesc", text}};
    const json::object error{{"module", "JS"}, {"errcode", -1}, {"errmsg", text}};
    return {entry(), log(logged), reply({{"error", error}})};
  }

  json::object effectOf(const json::value& short_) const {
    if (const auto* call = short_.if_array()) return engineCall(*call);
    if (short_ == "entry") return entry();
    const auto* object = short_.if_object();
    if (!object) {
      throw ScenarioError("an effect of a row must be \"entry\", an array or an object");
    }
    if (object->contains("effect")) {
      json::object effect{{"thread", "main"}};
      for (const auto& [key, value] : *object) effect.insert_or_assign(key, value);
      return effect;
    }
    if (object->size() == 1) {
      const auto& only = *object->begin();
      if (only.key() == "log") return log(read<json::object>(only.value(), "log"));
      if (only.key() == "reply") return reply(read<json::object>(only.value(), "reply"));
    }
    throw ScenarioError("an effect of a row must have the key effect, or log or reply alone");
  }

  static json::object engineCall(const json::array& call) {
    if (call.empty()) throw ScenarioError("a call of a row must begin with its name");
    const auto name = read<std::string>(call[0], "the name of a call");
    json::array args(call.begin() + 1, call.end());
    return {{"effect", "engine"}, {"thread", "main"}, {"call", name}, {"args", std::move(args)}};
  }

  json::object entry() const {
    return log({{"funcName", "-[VEMOKOBUMsgRouter registRouter]_wrapper"},
                {"actionParam", "webview(0x*) : " + params_.value_or("{}")}});
  }

  /// A record of the handler, but for the fields in `other`.
  json::object log(const json::object& other) const {
    json::object record{{"needReport", true},
                        {"level", 2},
                        {"module", "VEMOKOBUMsgRouter"},
                        {"actionName", command_},
                        {"actionParam", params_.value_or("(null)")},
                        {"errorCode", nullptr},
                        {"errorDesc", nullptr},
                        {"fileName", "*"},
                        {"funcName", "-[VEMOKOBUMsgRouter " + command_ + ":webView:]"},
                        {"line", "*"}};
    for (const auto& [key, value] : other) record.insert_or_assign(key, value);
    return {{"effect", "log"}, {"thread", "main"}, {"record", std::move(record)}};
  }

  /// The reply of a success, but for the keys in `other`.
  json::object reply(const json::object& other) const {
    json::object effect{{"effect", "reply"},  {"thread", "main"}, {"item", item_},
                        {"action", command_}, {"error", nullptr}, {"retval", nullptr},
                        {"printLog", true}};
    for (const auto& [key, value] : other) effect.insert_or_assign(key, value);
    return effect;
  }

  const std::string command_;
  const std::optional<std::string> params_;
  const std::string item_;
};

/// What the router writes of params is expected as it stands in the scenario, so it must
/// stand there in the same form.
void requireFormOfParams(const json::array& row, std::string_view line) {
  std::string params;
  for (std::size_t i = 1; i < row.size(); ++i) params += "," + jsonText(row[i]);
  const auto end = line.find_last_not_of(" \t\r");
  if (line.substr(0, end).ends_with(params)) return;
  throw ScenarioError("the params of a row must be written as the router writes them: " +
                      params.substr(1));
}

}  // namespace

Table tableFrom(const json::object& keys) {
  Table table{read<std::string>(keys.at("rows"), "rows"), {}};
  for (const auto& [key, value] : keys) {
    if (key == "then") {
      table.then = stepOf(read<json::object>(value, "then"));
    } else if (key != "rows") {
      throw ScenarioError("unknown key \"" + std::string(key) + "\" of rows" +
                          didYouMean(key, std::array<std::string_view, 2>{"rows", "then"}));
    }
  }
  return table;
}

std::vector<Step> stepsOfRow(const Table& table, const json::array& row, std::string_view line,
                             std::int64_t first) {
  if (row.size() < 2) throw ScenarioError("a row must have an outcome and params");
  requireFormOfParams(row, line);
  std::vector<Step> steps;
  for (std::size_t i = 1; i < row.size(); ++i) {
    std::optional<std::string> text;
    Step step;
    step.verb = Verb::command;
    step.verbName = "command";
    step.keys = {{"command", table.command}};
    if (const auto params = read<std::optional<json::object>>(row[i], "params of a row")) {
      step.keys.emplace("params", *params);
      text = jsonText(row[i]);
    }
    const auto number = first + static_cast<std::int64_t>(steps.size());
    step.expect = Outcome(table.command, text, "#" + std::to_string(number)).effects(row[0]);
    checkExpected(*step.expect);
    step.note = ", params " + text.value_or("null");
    steps.push_back(std::move(step));
    if (table.then) steps.push_back(*table.then);
  }
  return steps;
}

}  // namespace vemo::replay
