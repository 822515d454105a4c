// A command, from the page's text to the reply's text, with its log record: the whole
// road through base router and router ("router"), beside parsing that message and writing
// the same texts with Boost.JSON alone ("json"), the reply's value being ready made; and the
// same road with a recorder that keeps the last minutes ("recorded"). With the logger that a host
// has, both roads once more ("logged", "both").

#include <benchmark/benchmark.h>

#include <boost/json/parse.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "Allocations.h"
#include "BenchPlatform.h"
#include "JsonAlone.h"

namespace vemo::bench {
namespace {

struct Command {
  const char* name;
  std::string message;
  bool logged = true;      // whether it leaves a record with its params
  std::string reply = {};  // what the page gets; empty when the answer comes later
};

std::string messageOf(const std::string& action, const std::string& params) {
  return R"({"head":{"module":"kobu","action":")" + action + R"("},"params":)" + params +
         R"(,"cbid":"cb_1024"})";
}

std::string replyOf(const std::string& action, const std::string& rest = {}) {
  return R"({"head":{"module":"kobu","action":")" + action + R"(","cbid":"cb_1024"})" + rest + "}";
}

std::string enterParams() {
  return R"({"sdkAppId":1400000000,"userId":"teacher_20210917","userSig":")" +
         std::string(320, 's') +
         R"(","roomId":20210917,"role":20,"appScene":0,"autoRecvAudio":true,"autoRecvVideo":false})";
}

const std::vector<Command>& commands() {
  static const std::vector<Command> all = {
      {"setAudioRoute", messageOf("setAudioRoute", R"({"route":1})"), true,
       replyOf("setAudioRoute")},
      {"getAudioVolume", messageOf("getAudioVolume", R"({"capture":true,"playout":true})"), true,
       replyOf("getAudioVolume", R"(,"retval":{"captureVolume":0,"playoutVolume":0})")},
      {"setVideoEncoderParam",
       messageOf("setVideoEncoderParam",
                 R"({"width":640,"height":360,"fps":15,"bitrate":600,"minBitrate":300,)"
                 R"("adjustResolution":true})"),
       true, replyOf("setVideoEncoderParam")},
      {"enterRoom", messageOf("enterRoom", enterParams())},
      {"unknownAction", messageOf("makeCoffee", R"({"sugar":2,"milk":"none"})"), false,
       replyOf("makeCoffee", R"(,"error":{"module":"JS","errcode":-1,"errmsg":"unknown action"})")},
      {"failing", messageOf("setAudioRoute", R"({"route":"speaker","reason":"headset"})"), true,
       replyOf("setAudioRoute",
               R"(,"error":{"module":"JS","errcode":-1,"errmsg":"no route param"})")},
  };
  return all;
}

void throughRouter(benchmark::State& state, const Command& command, BenchOptions options) {
  BenchPlatform platform(options);
  const auto before = allocations();
  for (auto round : state) {
    static_cast<void>(round);
    platform.router->receive(command.message);
  }
  state.counters["allocations"] = benchmark::Counter(static_cast<double>(allocations() - before),
                                                     benchmark::Counter::kAvgIterations);
  benchmark::DoNotOptimize(platform.webView->bytes + platform.logger.bytes);
}

/// One round with Boost.JSON alone. `reply` is null when there is none.
void jsonRound(JsonAlone& json, const Command& command, const boost::json::value* reply,
               WrittenTexts& out) {
  out.logged.clear();
  out.script.clear();
  json.newRound();
  const auto message = json.parse(command.message);
  if (command.logged) json.append(out.logged, message.as_object().at("params"));
  if (!reply) return;
  out.script += "reply(";
  json.append(out.script, *reply);
  out.script += ')';
}

void commandAlone(benchmark::State& state, const Command& command) {
  JsonAlone json;
  std::optional<boost::json::value> reply;
  if (!command.reply.empty()) reply = boost::json::parse(command.reply);
  const auto* replyValue = reply ? &*reply : nullptr;
  WrittenTexts texts;
  jsonRound(json, command, replyValue, texts);  // grows the texts to their size

  BenchPlatform platform;
  const auto routers = platform.textsOf([&] { platform.router->receive(command.message); });
  const auto params = routers.logged.find('{');  // after the web view's address
  mustBeSame("the logged text of " + std::string(command.name),
             params == std::string::npos ? "" : routers.logged.substr(params), texts.logged);
  mustBeSame("the reply of " + std::string(command.name), routers.script, texts.script);

  const auto before = allocations();
  for (auto round : state) {
    static_cast<void>(round);
    jsonRound(json, command, replyValue, texts);
    benchmark::DoNotOptimize(texts.logged.data());
    benchmark::DoNotOptimize(texts.script.data());
  }
  state.counters["allocations"] = benchmark::Counter(static_cast<double>(allocations() - before),
                                                     benchmark::Counter::kAvgIterations);
}

[[maybe_unused]] const bool commandsAreRegistered = [] {
  for (const auto& command : commands()) {
    const std::string name = std::string("command/") + command.name;
    benchmark::RegisterBenchmark((name + "/json").c_str(), commandAlone, command);
    const auto add = [&](const char* road, BenchOptions options) {
      benchmark::RegisterBenchmark((name + road).c_str(), throughRouter, command, options);
    };
    add("/router", {});
    add("/recorded", {.recorded = true});
    add("/logged", {.logged = true});
    add("/both", {.recorded = true, .logged = true});
  }
  return true;
}();

}  // namespace
}  // namespace vemo::bench
