#include "ProtocolStage.h"

#include <algorithm>
#include <boost/json/value.hpp>
#include <iterator>
#include <tuple>
#include <type_traits>
#include <utility>

#include "bridge/KOBUCloudDelegate.h"
#include "replay/Scenario.h"

namespace vemo::test {
namespace {

// Whom the document's examples name has views, and nobody has asked for a permission yet.
constexpr std::string_view kUsualDevice = R"({"device":{"camera":0,"microphone":0,
    "views":{"teacher/0":"own","student/0":"camera","student/2":"screen"}}})";

constexpr std::string_view kInit = R"({"command":"initSDK"})";
constexpr std::string_view kEnter =
    R"({"command":"enterRoom","params":{"appScene":1,"userId":"teacher","roomId":7}})";

const std::map<std::string_view, Steps>& usualAnswers() {
  static const std::map<std::string_view, Steps> answers{
      {"enterRoom", {kEntered}},
      {"exitRoom", {R"({"event":"onExitRoom","args":[0],"thread":"main"})"}},
      {"switchRole", {R"({"event":"onSwitchRole","args":[0,null],"thread":"main"})"}},
      {"startScreenCaptureInApp", {kCaptured}},
      {"startScreenCaptureByReplaykit", {kCaptured}},
      {"audioEffect.startPlayMusic",
       {R"({"music":0,"on":"start","code":0,"thread":"main"})",
        R"({"music":0,"on":"progress","progressMs":10,"durationMs":20,"thread":"main"})",
        R"({"music":0,"on":"complete","code":0,"thread":"main"})"}},
      {"startSpeedTest",
       {R"({"speedTest":{"ip":"10.0.0.1","quality":1,"upLostRate":0.25,"downLostRate":0.5,"rtt":9},
            "completed":1,"total":3,"thread":"main"})",
        R"({"speedTest":null,"completed":2,"total":3,"thread":"main"})",
        R"({"speedTest":{},"completed":3,"total":3,"thread":"main"})"}},
      {"requestAccess", {R"({"access":true,"thread":"main"})"}},
      {"alert", {R"({"press":"不允许"})"}},
      {"download", {R"({"downloaded":true,"thread":"main"})"}},
      {"launchExtension", {R"({"notify":"VEMOScreenKit_Started_Notify","thread":"main"})"}},
  };
  return answers;
}

/// The step that tells an event with `arguments`, as JSON.
std::string stepOf(std::string_view event, std::string_view arguments) {
  return R"({"event":")" + std::string(event) + R"(","args":[)" + std::string(arguments) +
         R"(],"thread":"main"})";
}

/// An argument of an event: one where everything is given, or one without what can be absent.
template <class Value>
std::string_view argumentOf(bool full) {
  if constexpr (std::is_same_v<Value, bool>) {
    return full ? "true" : "false";
  } else if constexpr (std::is_arithmetic_v<Value>) {
    return "1";
  } else if (!full) {
    return "null";
  } else if constexpr (std::is_same_v<Value, Text>) {
    return R"("student")";
  } else {
    return requires(Value list) { list->front(); }
    ? "[{}]" : "{}";
  }
}

template <class... Args>
std::string argumentsOf(void (KOBUCloudDelegate::*)(Args...), [[maybe_unused]] bool full) {
  std::string text;
  ((text.append(text.empty() ? "" : ",").append(argumentOf<std::remove_cvref_t<Args>>(full))), ...);
  return text;
}

/// What an effect asks for: a call of the engine by its own name, else by the effect's.
std::string_view askedFor(const replay::Transcript::Effect& effect) {
  const auto& name = effect.at("effect").get_string();
  return name == "engine" ? effect.at("call").get_string() : name;
}

}  // namespace

const World& goodWorld() {
  static const World world{"all goes well", "{}", {}, {}};
  return world;
}

const std::vector<World>& otherWorlds() {
  static const std::vector<World> worlds{
      {"the engine is there already",
       "{}",
       {std::string(kInit), eventSamples().at("onStatistics").full},
       {}},
      {"the host gives no views", R"({"views":false})", {}, {}},
      {"the host has no view", R"({"views":{}})", {}, {}},
      {"an old system", R"({"os":"10.0.0"})", {}, {}},
      {"a system that can't start the extension", R"({"os":"11.0.0"})", {}, {}},
      {"the user refuses", "{}", {}, {{"requestAccess", {R"({"access":false,"thread":"main"})"}}}},
      {"access is denied", R"({"camera":2,"microphone":2})", {}, {}},
      {"access is restricted, and the user goes to the settings",
       R"({"camera":1,"microphone":1})",
       {},
       {{"alert", {R"({"press":"前往设置"})"}}}},
      {"access is denied, and there are no settings",
       R"({"camera":2,"microphone":2,"canOpenSettings":false})",
       {},
       {{"alert", {R"({"press":"前往设置"})"}}}},
      {"the download fails", R"({"download":{"error":{"code":-1009,"desc":"offline"}}})", {}, {}},
      {"the download can't be read", R"({"download":{"data":false}})", {}, {}},
      {"the download is no picture", R"({"download":{"image":false}})", {}, {}},
      {"the engine fails to enter, by an error that ends no enter",
       "{}",
       {},
       {{"enterRoom",
         {R"({"event":"onError","args":[-3302,"refused",null],"thread":"main"})",
          R"({"event":"onEnterRoom","args":[-3302],"thread":"main"})"}}}},
      {"the engine fails",
       R"({"results":{"pauseScreenCapture":-7,"resumeScreenCapture":-8,"stopScreenCapture":-9}})",
       {},
       {{"enterRoom",
         {R"({"event":"onError","args":[-3301,"refused",null],"thread":"main"})",
          R"({"event":"onEnterRoom","args":[-3301],"thread":"main"})"}},
        {"switchRole", {R"({"event":"onSwitchRole","args":[-4,"refused"],"thread":"main"})"}},
        {"audioEffect.startPlayMusic",
         {R"({"music":0,"on":"start","code":-5,"thread":"main"})",
          R"({"music":0,"on":"complete","code":-6,"thread":"main"})"}}}},
  };
  return worlds;
}

Stage::Stage(const World& world, Prepared prepared) : world_(world) {
  play(kUsualDevice);
  play(R"({"device":)" + std::string(world.device) + '}');
  for (const auto& step : world.before) play(step);
  if (prepared != Prepared::nothing) play(kInit);
  if (prepared == Prepared::room) {
    play(kEnter);
    play(kEntered);
  }
}

Effects Stage::play(std::string_view step) {
  player_.play(replay::stepFrom(step).value());
  return player_.takeEffects();
}

Effects Stage::answer(const Effects& effects) {
  Effects all;
  for (const auto& effect : effects) {
    const auto name = askedFor(effect);
    const auto& answers = world_.answers.contains(name) ? world_.answers : usualAnswers();
    const auto steps = answers.find(name);
    if (steps == answers.end()) continue;
    for (const auto& line : steps->second) {
      auto step = replay::stepFrom(line).value();
      if (auto* music = step.keys.if_contains("music")) {
        *music = effect.at("args").at(0).at("ID");  // that which is to be played
      }
      player_.play(step);
      auto more = player_.takeEffects();
      std::ranges::move(more, std::back_inserter(all));
    }
  }
  return all;
}

const std::map<std::string_view, EventSample>& eventSamples() {
  static const auto samples = [] {
    // What is no event of the engine, and records that have more than one shape.
    std::map<std::string_view, EventSample> all{
        {"onScreenKitEvent",
         {R"({"notify":"VEMOScreenKit_Paused_Notify","thread":"main"})",
          R"({"notify":"VEMOScreenKit_Paused_Notify","thread":"main"})"}},
        {"onNetworkQuality",
         {stepOf("onNetworkQuality",
                 R"({"quality":1},[{"userId":"student","quality":2},{"quality":3}])"),
          stepOf("onNetworkQuality", "null,null")}},
        {"onStatistics",
         {stepOf("onStatistics",
                 R"({"rtt":5,"localStatistics":[{"width":640,"height":360,"videoBitrate":500}],
                     "remoteStatistics":[{"userId":"student","audioBitrate":40},
                                         {"audioBitrate":40}]})"),
          stepOf("onStatistics", "null")}},
        {"onUserVoiceVolume",
         {stepOf("onUserVoiceVolume", R"([{"userId":"student","volume":5},{"volume":6}],9)"),
          stepOf("onUserVoiceVolume", "null,0")}},
    };
    std::apply(
        [&]<auto... operation>(const EngineEvent<operation>&... event) {
          (all.try_emplace(event.name, stepOf(event.name, argumentsOf(operation, true)),
                           stepOf(event.name, argumentsOf(operation, false))),
           ...);
        },
        engineEvents);
    return all;
  }();
  return samples;
}

}  // namespace vemo::test
