#include "CommandCheck.h"

#include <algorithm>
#include <array>
#include <boost/json/array.hpp>
#include <boost/json/value.hpp>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Observed.h"
#include "ProtocolStage.h"
#include "Silences.h"
#include "json/JsonText.h"

namespace vemo::test {
namespace {

namespace json = boost::json;

constexpr std::int64_t kBadParameter = -1;

json::value sampleOf(const json::object& param) {
  for (const auto* key : {"example", "min"}) {
    if (const auto* value = param.if_contains(key)) return *value;
  }
  if (param.contains("values")) return listIn(param, "values").at(0);
  const auto type = textIn(param, "type");
  if (type == "boolean") return true;
  if (type == "integer") return 2;
  if (type == "number") return 2.5;
  if (type == "text") return "text";
  if (type == "object") return json::object();
  json::object element;
  for (const auto& member : listIn(param, "members")) {
    element[textIn(member.get_object(), "name")] = sampleOf(member.get_object());
  }
  return json::array{std::move(element)};
}

/// Whether a parameter that is told this way can be read from such a value.
bool isReadFrom(const json::object& param, const json::value& value) {
  const auto type = textIn(param, "type");
  if (type == "boolean" || type == "integer" || type == "number") {
    return value.is_bool() || value.is_number();
  }
  const bool isMapped = param.contains("of");  // a mapped text is made from numbers, too
  return isOf(type, value) || (type == "text" && isMapped && value.is_number());
}

class CommandCheck {
 public:
  CommandCheck(const json::object& command, Complain complain)
      : command_(command),
        name_(textIn(command, "name")),
        complain_(std::move(complain)),
        result_(listIn(command, "result"),
                [this](const std::string& what) { complain_("the value " + what); }),
        usual_(textIn(command, "guard") == "none" ? Prepared::nothing : Prepared::room) {
    for (const auto& value : listIn(command, "params")) {
      const auto& param = value.get_object();
      if (!param.contains("sameAs")) full_[textIn(param, "name")] = sampleOf(param);
      if (isTrue(param, "required")) smallest_[textIn(param, "name")] = sampleOf(param);
    }
    for (const auto* key : {"anyOf", "anyTrue"}) {
      const auto& names = listIn(command, key);
      if (!names.empty()) smallest_[names.front().get_string()] = full_[names.front().get_string()];
    }
    bases_ = {full_, smallest_};
    for (const auto& value : listIn(command, "params")) {
      for (const auto& other : listIn(value.get_object(), "values")) {
        bases_.push_back(full_);
        bases_.back()[textIn(value.get_object(), "name")] = other;
      }
    }
  }

  void run() {
    checkGuard();
    checkWhole();
    checkAnswered();
    for (const auto& value : listIn(command_, "params")) {
      const std::string key(textIn(value.get_object(), "name"));
      checkParam(value.get_object(), key, [key](json::object base, const json::value* given) {
        base.erase(key);
        if (given) base[key] = *given;
        return base;
      });
    }
    goThroughWorlds();
    checkUnanswered();
    checkEnded();
    for (std::size_t i = 0; i < errors().size(); ++i) {
      if (!seenErrors_.contains(i)) complain_("never fails with " + jsonText(errors()[i]));
    }
    if (!textIn(command_, "answeredAgainWhen").empty() && !answeredAgain_) {
      complain_("is never answered again");
    }
    result_.finish();
  }

 private:
  /// Puts a value, or none, in the place of a parameter among others.
  using Put = std::function<json::object(json::object base, const json::value* given)>;

  const json::array& errors() const { return listIn(command_, "errors"); }

  // ---- Sending

  const Observed& send(const std::optional<json::object>& params) {
    return send(params, goodWorld(), usual_);
  }

  /// Each message meets a device and a router of its own; what comes of it is examined.
  const Observed& send(const std::optional<json::object>& params, const World& world,
                       Prepared prepared, bool nativecb = false) {
    const auto text = messageOf(params, nativecb);
    const auto key = std::string(world.name) + std::to_string(static_cast<int>(prepared)) + text;
    const auto [found, isNew] = sent_.try_emplace(key);
    if (isNew) {
      found->second = observe(text, world, prepared);
      for (const auto& reply : found->second.replies) examine(reply);
      if (found->second.replies.size() > 1) examineMany(found->second, world);
    }
    return found->second;
  }

  std::string messageOf(const std::optional<json::object>& params, bool nativecb) const {
    json::object message{{"head", {{"module", "kobu"}, {"action", name_}}}, {"cbid", "1"}};
    if (params) message["params"] = *params;
    if (nativecb) message["nativecb"] = "page.done";
    return jsonText(message);
  }

  /// Plays a message, then `meanwhile`, then what the world answers.
  static Observed observe(const std::string& message, const World& world, Prepared prepared,
                          const Steps& meanwhile = {}) {
    Observed observed;
    const auto take = [&](const Effects& effects) {
      for (const auto& effect : effects) {
        const auto& kind = effect.at("effect").get_string();
        if (kind == "log") continue;
        if (kind == "reply" && effect.at("item") == "sent") observed.replies.push_back(effect);
        auto seen = effect;
        seen.erase("step");
        seen.erase("item");
        observed.everything += jsonText(seen) + '\n';
      }
    };
    Stage stage(world, prepared);
    const auto effects = stage.play(jsonText(json::object{{"message", message}, {"as", "sent"}}));
    take(effects);
    observed.atOnce = observed.replies.size();
    observed.reachedEngine = std::any_of(effects.begin(), effects.end(), [](const auto& effect) {
      return effect.at("effect") == "engine";
    });
    for (const auto& step : meanwhile) take(stage.play(step));
    take(stage.answer(effects));
    // Whom the page has named now shows when they are called.
    take(stage.play(R"({"host":"reportEvent","args":["any"]})"));
    take(stage.play(R"({"host":"callBackToH5","args":["onEnterRoom",{},true]})"));
    return observed;
  }

  void examine(const json::object& reply) {
    const auto* failure = failureOf(reply);
    if (failure && !isTold(*failure)) complain_("fails with " + jsonText(*failure) + ", untold");
    if (const auto* value = reply.at("retval").if_object()) {
      result_.compare(*value);
    } else if (!failure && !listIn(command_, "result").empty()) {
      complain_("succeeds without a value");
    }
  }

  void examineMany(const Observed& observed, const World& world) {
    if (textIn(command_, "answered") == "many") return;
    answeredAgain_ = true;
    if (textIn(command_, "answeredAgainWhen").empty()) {
      complain_("is answered " + std::to_string(observed.replies.size()) + " times where " +
                std::string(world.name));
    }
  }

  /// Whether an error is told; null in the document stands for any code or text. The first
  /// that fits has been seen.
  bool isTold(const json::object& failure) {
    for (std::size_t i = 0; i < errors().size(); ++i) {
      const auto& told = errors()[i].get_object();
      const auto fits = [&](const char* as, const char* is) {
        return told.at(as).is_null() || told.at(as) == failure.at(is);
      };
      if (told.at("module") != failure.at("module")) continue;
      if (!fits("code", "errcode") || !fits("text", "errmsg")) continue;
      seenErrors_.insert(i);
      return true;
    }
    return false;
  }

  /// Whether it shows, in any message, that one value is given and not the other.
  bool differ(const Put& put, const json::value* one, const json::value* other) {
    return std::any_of(bases_.begin(), bases_.end(), [&](const json::object& base) {
      return send(put(base, one)).everything != send(put(base, other)).everything;
    });
  }

  // ---- What is told of a command as a whole

  void checkGuard() {
    const auto guard = textIn(command_, "guard");
    constexpr std::int64_t kNotAvailable = -2;
    constexpr std::int64_t kNotInRoom = -3;
    const auto fails = [&](Prepared prepared, std::int64_t code, std::string_view text) {
      return isRefusedWith(send(smallest_, goodWorld(), prepared), code, text);
    };
    if (fails(Prepared::nothing, kNotAvailable, "not initSDK") != (guard != "none")) {
      complain_("guard is " + inQuotes(guard) + ", without an engine it is " +
                described(send(smallest_, goodWorld(), Prepared::nothing)));
    }
    if (guard == "none") return;
    if (fails(Prepared::engine, kNotInRoom, "not enter room") != (guard == "room")) {
      complain_("guard is " + inQuotes(guard) + ", outside a room it is " +
                described(send(smallest_, goodWorld(), Prepared::engine)));
    }
  }

  void checkWhole() {
    for (const auto& base : bases_) {
      if (const auto& observed = send(base); isRefused(observed)) {
        complain_("with " + jsonText(base) + " it is " + described(observed));
      }
    }
    const auto withoutParams = textIn(command_, "onNoParams");
    const auto& observed = send(std::nullopt);
    if (withoutParams.empty() ? isRefused(observed)
                              : !isRefusedWith(observed, kBadParameter, withoutParams)) {
      complain_("onNoParams is " + inQuotes(withoutParams) + ", without params it is " +
                described(observed));
    }
    checkAnyOf("anyOf", false);
    checkAnyOf("anyTrue", true);
    if (const auto needed = textIn(command_, "nothingWithout"); !needed.empty()) {
      auto params = full_;
      params.erase(needed);
      if (send(params).reachedEngine || isRefused(send(params))) {
        complain_("without " + inQuotes(needed) + " it does something");
      }
    }
  }

  /// Of the parameters named, one is needed; given as "anyOf", and true as "anyTrue".
  void checkAnyOf(std::string_view kind, bool mustBeTrue) {
    const auto& names = listIn(command_, kind);
    if (names.empty()) return;
    const auto expectRefused = [&](const json::object& params) {
      if (isRefusedWith(send(params), kBadParameter, textIn(command_, "onNoParams"))) return;
      complain_("with none of " + std::string(kind) + " it is " + described(send(params)));
    };
    auto none = full_;
    for (const auto& name : names) none.erase(name.get_string());
    expectRefused(none);
    for (const auto& name : names) {
      const auto& key = name.get_string();
      if (mustBeTrue) none[key] = false;
      if (isRefused(send(json::object{{key, full_[key]}}))) {
        complain_(std::string(kind) + " has " + inQuotes(key) + ", alone it is not enough");
      }
      if (full_[key].is_bool() && isRefused(send(json::object{{key, false}})) != mustBeTrue) {
        complain_(std::string(kind) + " has " + inQuotes(key) + ", false it is " +
                  described(send(json::object{{key, false}})));
      }
    }
    if (mustBeTrue) expectRefused(none);
  }

  void checkAnswered() {
    const auto usually = textIn(command_, "answered");
    checkAnswered("answered", usually, false);
    const auto otherwise = textIn(command_, "answeredWithNativecb");
    checkAnswered("answeredWithNativecb", otherwise.empty() ? usually : otherwise, true);
    checkAskedFor();
  }

  /// Each of the flags told to ask for answers gets one alone; without all of them there is none.
  void checkAskedFor() {
    const auto& flags = listIn(command_, "answersFor");
    if (flags.empty()) return;
    auto none = full_;
    for (const auto& flag : flags) none[flag.get_string()] = false;
    if (!send(none).replies.empty()) {
      complain_("with none of answersFor it is " + described(send(none)));
    }
    for (auto& [key, value] : none) {
      if (value.is_bool()) value = false;
    }
    for (const auto& flag : flags) {
      auto one = none;
      one[flag.get_string()] = true;
      if (send(one).replies.empty()) {
        complain_("answersFor has " + inQuotes(flag.get_string()) + ", alone it is not answered");
      }
    }
  }

  void checkAnswered(std::string_view key, std::string_view answered, bool nativecb) {
    const auto& observed = send(full_, goodWorld(), usual_, nativecb);
    const auto count = observed.replies.size();
    const bool once = observed.atOnce == 1 && count == 1;
    const bool later = observed.atOnce == 0 && count == 1;
    const bool many = observed.atOnce == 0 && count > 1;
    if (!(answered == "once" ? once : answered == "later" ? later : answered == "many" && many)) {
      complain_(std::string(key) + " is " + inQuotes(answered) + ", there are " +
                std::to_string(observed.atOnce) + " replies at once and " + std::to_string(count) +
                " in all");
    }
  }

  void goThroughWorlds() {
    for (const auto& world : otherWorlds()) {
      for (const auto& base : bases_) send(base, world, usual_);
      send(full_, world, usual_, true);
    }
  }

  /// What is told of when it stays unanswered is made of the reasons that show it.
  void checkUnanswered() {
    const auto known = silences().find(name_);
    static const std::vector<Silence> never;
    const auto& reasons = known == silences().end() ? never : known->second;
    std::string shown;
    std::vector<std::string_view> whens;
    for (std::size_t i = 0; i < reasons.size(); ++i) {
      const auto& [world, params, nativecb] = reasons[i];
      if (i > 0) shown += i + 1 == reasons.size() ? ", or " : ", ";
      shown += world.name;
      whens.push_back(world.name);
      auto given = full_;
      for (const auto& [key, value] : params) given[key] = value;
      if (const auto& observed = send(given, world, usual_, nativecb); !observed.replies.empty()) {
        complain_("where " + std::string(world.name) + " it is " + described(observed));
      }
    }
    if (const auto told = textIn(command_, "unansweredWhen"); told != shown) {
      complain_("unansweredWhen is " + inQuotes(told) + ", shown is " + inQuotes(shown));
    }
    checkSilencers(whens);
  }

  /// What is told to keep it from being answered does so whatever the world is like, and
  /// nothing else does.
  void checkSilencers(const std::vector<std::string_view>& whens) {
    const auto& told = listIn(command_, "unanswered");
    std::set<std::string_view> silencers;
    for (std::size_t i = 0; i < told.size(); ++i) {
      const auto& silence = told[i].get_object();
      if (i >= whens.size() || textIn(silence, "when") != whens[i]) {
        complain_("unanswered/" + std::to_string(i) + " is " + jsonText(silence));
      }
      silencers.insert(textIn(silence, "by"));
    }
    if (told.size() != whens.size()) complain_("unanswered is too short");
    if (textIn(command_, "answered") == "once") return;
    const auto expect = [&](std::string_view by, bool silences) {
      if (silencers.contains(by) == silences) return;
      complain_("unanswered tells " + inQuotes(by) + " wrongly: in some world it is " +
                (silences ? "never answered" : "answered") + " behind it");
    };
    expect("uninitSDK", isSilencedBy({R"({"command":"uninitSDK"})"}));
    expect("itself", isSilencedBy(others()));
  }

  /// Other messages of the same name: like this one, and as different as can be.
  std::vector<std::string> others() const {
    auto different = full_;
    for (auto& [key, value] : different) {
      if (value.is_int64()) value = value.get_int64() + 1;
    }
    std::vector<std::string> steps;
    for (const auto& params : {full_, different}) {
      for (const bool nativecb : {false, true}) {
        json::object step{{"command", name_}, {"params", params}};
        if (nativecb) step["nativecb"] = "page.done";
        steps.push_back(jsonText(step));
      }
    }
    return steps;
  }

  /// Whether there is no answer any more behind each of `steps`, in any world.
  bool isSilencedBy(const std::vector<std::string>& steps) {
    std::vector<World> worlds = otherWorlds();
    worlds.push_back(goodWorld());
    return std::ranges::all_of(worlds, [&](const World& world) {
      return std::ranges::all_of(steps, [&](const std::string& step) {
        const auto observed = observe(messageOf(full_, false), world, usual_, {step});
        return observed.replies.size() == observed.atOnce;
      });
    });
  }

  /// The engine's errors told to end the command do, and no other.
  void checkEnded() {
    const auto& told = listIn(command_, "endedByErrors");
    std::set<std::int64_t> codes{-1, 0, 1};
    for (std::int64_t code = -3330; code <= -3290; ++code) codes.insert(code);
    for (const auto& code : told) codes.insert(code.get_int64());
    if (textIn(command_, "answered") == "once") codes.clear();
    for (const auto code : codes) {
      const auto error = R"({"event":"onError","thread":"main","args":[)" + std::to_string(code);
      const auto observed =
          observe(messageOf(full_, false), goodWorld(), usual_, {error + R"(,"text",null]})"});
      const bool ends =
          std::any_of(observed.replies.begin(), observed.replies.end(), [code](const auto& reply) {
            const auto* failure = failureOf(reply);
            return failure && failure->at("errcode") == code;
          });
      const bool isToldTo = std::find(told.begin(), told.end(), json::value(code)) != told.end();
      if (ends != isToldTo) {
        complain_("endedByErrors " + std::string(isToldTo ? "has " : "lacks ") +
                  std::to_string(code));
      }
    }
  }

  // ---- What is told of a parameter

  void checkParam(const json::object& param, const std::string& path, const Put& put) {
    const auto type = textIn(param, "type");
    if (const auto sample = sampleOf(param); !isOf(type, sample)) {
      return complain_(inQuotes(path) + ": type is " + inQuotes(type) + ", " + jsonText(sample) +
                       " is told for it");
    }
    const auto& without = send(put(full_, nullptr));
    const auto onMissing = textIn(param, "onMissing");
    if (isTrue(param, "required") != !onMissing.empty()) {
      complain_(inQuotes(path) + " is required, or onMissing is told, but not both");
    }
    if (isTrue(param, "required") ? !isRefusedWith(without, kBadParameter, onMissing)
                                  : isRefused(without)) {
      complain_(inQuotes(path) + ": onMissing is " + inQuotes(onMissing) + ", without it it is " +
                described(without));
    }
    checkWrongTypes(param, path, put);
    checkEffect(param, path, put);
    if (type != "list") return;
    for (const auto& member : listIn(param, "members")) {
      const std::string key(textIn(member.get_object(), "name"));
      const auto putMember = [&](json::object base, const json::value* given) {
        json::value list = sampleOf(param);
        auto& element = list.get_array().at(0).get_object();
        element.erase(key);
        if (given) element[key] = *given;
        return put(std::move(base), &list);
      };
      checkParam(member.get_object(), std::string(path).append(1, '/').append(key), putMember);
    }
  }

  void checkWrongTypes(const json::object& param, const std::string& path, const Put& put) {
    static const std::array<json::value, 6> ofEachType{nullptr, true,          1,
                                                       "text",  json::array(), json::object()};
    for (const auto& value : ofEachType) {
      if (!isReadFrom(param, value)) expectUnread(param, path, put, value);
    }
    const json::value empty("");
    if (isTrue(param, "nonEmpty")) {
      expectUnread(param, path, put, empty);
    } else if (textIn(param, "format") == "uri") {
      expectUnread(param, path, put, empty);
      expectUnread(param, path, put, "no URL");
    } else if (textIn(param, "type") == "text" && isRefused(send(put(full_, &empty)))) {
      complain_(inQuotes(path) + " is not told to be nonEmpty, and empty it is " +
                described(send(put(full_, &empty))));
    }
    if (const auto& values = listIn(param, "values"); !values.empty()) {
      std::int64_t beyond = 0;
      for (const auto& value : values) beyond = std::max(beyond, value.get_int64() + 1);
      expectUnread(param, path, put, beyond);
    }
  }

  /// A value that is none for the parameter: refused if that is told, else as good as none.
  void expectUnread(const json::object& param, const std::string& path, const Put& put,
                    const json::value& value) {
    const auto text = textIn(param, "onWrongType");
    const bool isMapped = param.contains("of");
    const auto& observed = send(put(full_, &value));
    const auto& without = send(put(full_, nullptr));
    const auto fits = [&] {
      if (isMapped && value.is_null()) return observed.everything == without.everything;
      if (!text.empty()) return isRefusedWith(observed, kBadParameter, text);
      // One property that can't be read takes its whole record with it, in silence.
      if (isMapped) return observed.replies == without.replies;
      return observed.everything == without.everything;
    };
    if (!fits()) {
      complain_(inQuotes(path) + ": onWrongType is " + inQuotes(text) + ", given " +
                jsonText(value) + " it is " + described(observed));
    }
  }

  void checkEffect(const json::object& param, const std::string& path, const Put& put) {
    const auto expectSame = [&](const json::value& one, const json::value* other,
                                const std::string& what) {
      if (differ(put, &one, other)) complain_(inQuotes(path) + ": " + what);
    };
    const auto expectDifference = [&](const json::value& one, const json::value& other) {
      if (differ(put, &one, &other) == isTrue(param, "ignored")) {
        complain_(inQuotes(path) + ": " + jsonText(one) + " and " + jsonText(other) +
                  (isTrue(param, "ignored") ? " are not ignored" : " are the same"));
      }
    };
    const auto* fallback = param.if_contains("default");
    if (fallback) expectSame(*fallback, nullptr, "without it, it is not " + jsonText(*fallback));

    const auto type = textIn(param, "type");
    const auto sample = sampleOf(param);
    if (const auto other = textIn(param, "sameAs"); !other.empty()) {
      auto named = full_;
      named[other] = sample;
      auto unnamed = full_;
      unnamed.erase(other);
      if (send(put(unnamed, &sample)).everything != send(named).everything) {
        complain_(inQuotes(path) + " is not the same as " + inQuotes(other));
      }
    }
    if (param.contains("min")) {
      const auto min = param.at("min").get_int64();
      const auto max = param.at("max").get_int64();
      for (const std::int64_t value : {min - 1, max + 1}) {
        expectSame(value, fallback, std::to_string(value) + " is not as good as the default");
      }
      for (const json::value value : {min, max}) {
        if (value != *fallback) expectDifference(value, *fallback);
      }
    } else if (param.contains("values")) {
      for (const auto& value : listIn(param, "values")) {
        if (value != sample) expectDifference(value, sample);
      }
    } else if (type == "integer") {
      expectDifference(2, 3);
      const json::value two(2);
      expectSame(2.5, &two, "2.5 is not 2");
    } else if (type == "number") {
      expectDifference(2, 2.5);
    } else if (type == "boolean") {
      expectDifference(true, false);
      const json::value yes(true);
      expectSame(2, &yes, "2 is not true");
    } else if (type == "text") {
      auto other = sample;
      other.get_string() += 'x';
      expectDifference(sample, other);
    } else if (type == "list") {
      expectDifference(sample, json::array());
    }
  }

  const json::object& command_;
  const std::string name_;
  const Complain complain_;
  Shape result_;
  const Prepared usual_;
  json::object full_;      // all parameters, each by one name
  json::object smallest_;  // those that are required
  std::vector<json::object> bases_;
  std::map<std::string, Observed> sent_;
  std::set<std::size_t> seenErrors_;
  bool answeredAgain_ = false;
};

}  // namespace

void checkCommand(const json::object& command, const Complain& complain) {
  CommandCheck(command, complain).run();
}

}  // namespace vemo::test
