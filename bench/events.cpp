// An engine's event, from its arguments to the page's script, by way of the main queue,
// with its log record where it leaves one ("router"), beside building the same values in
// an arena and writing the same texts with Boost.JSON alone ("json").

#include <benchmark/benchmark.h>

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Allocations.h"
#include "BenchPlatform.h"
#include "JsonAlone.h"

namespace vemo::bench {
namespace {

constexpr std::string_view kOwnId = "teacher_20210917";
const std::string kRemoteId = "student_20210917_04";

/// A router in a room, with page functions for the events measured.
void enter(BenchPlatform& platform) {
  platform.router->receive(
      R"({"head":{"module":"kobu","action":"registCallBacks"},"params":{"callbacks":[)"
      R"({"sdkcbName":"onRemoteUserEnterRoom","jsRecvcbName":"onNativeEvent"},)"
      R"({"sdkcbName":"onStatistics","jsRecvcbName":"onNativeEvent"},)"
      R"({"sdkcbName":"onUserVoiceVolume","jsRecvcbName":"onNativeEvent"}]}})");
  KOBUParams params;
  params.userId = std::string(kOwnId);
  platform.router->vemoEnterRoom(std::make_shared<const KOBUParams>(params), 0, {});
  platform.router->onEnterRoom(120);
}

Shared<KOBUStatistics> statisticsOfTen() {
  KOBUStatistics statistics{.appCpu = 23,
                            .systemCpu = 51,
                            .rtt = 48,
                            .upLoss = 1,
                            .downLoss = 2,
                            .sentBytes = 123456789,
                            .receivedBytes = 987654321,
                            .localStatistics = {},
                            .remoteStatistics = {}};
  statistics.localStatistics.push_back({.width = 640,
                                        .height = 360,
                                        .frameRate = 15,
                                        .videoBitrate = 602,
                                        .audioSampleRate = 48000,
                                        .audioBitrate = 50,
                                        .streamType = 0});
  for (int i = 0; i < 10; ++i) {
    statistics.remoteStatistics.push_back({.userId = "student_20210917_0" + std::to_string(i),
                                           .packetLoss = 1,
                                           .width = 320,
                                           .height = 180,
                                           .frameRate = 15,
                                           .videoBitrate = 198,
                                           .audioSampleRate = 48000,
                                           .audioBitrate = 48,
                                           .jitterBufferDelay = 120,
                                           .streamType = 0});
  }
  return std::make_shared<const KOBUStatistics>(std::move(statistics));
}

void appendScript(JsonAlone& json, WrittenTexts& out, std::string_view event,
                  boost::json::object payload) {
  boost::json::object envelope(json.arena());
  envelope.reserve(2);
  boost::json::object head(json.arena());
  head.reserve(2);
  head.emplace("module", "kobucb");
  head.emplace("action", event);
  envelope.emplace("head", std::move(head));
  envelope.emplace("retval", std::move(payload));
  out.script += "onNativeEvent(";
  json.append(out.script, envelope);
  out.script += ')';
}

void remoteUserEnters(VEMOKOBUMsgRouter& router) { router.onRemoteUserEnterRoom(kRemoteId); }

void remoteUserEntersAlone(JsonAlone& json, WrittenTexts& out) {
  boost::json::object payload(json.arena());
  payload.reserve(2);
  payload.emplace("userId", kOwnId);
  payload.emplace("remoteUserId", kRemoteId);
  json.append(out.logged, payload);
  appendScript(json, out, "onRemoteUserEnterRoom", std::move(payload));
}

const Shared<KOBUStatistics>& statistics() {
  static const auto ten = statisticsOfTen();
  return ten;
}

void statisticsArrive(VEMOKOBUMsgRouter& router) { router.onStatistics(statistics()); }

void statisticsAlone(JsonAlone& json, WrittenTexts& out) {
  const auto& from = *statistics();
  boost::json::array local(json.arena());
  local.reserve(from.localStatistics.size());
  for (const auto& stream : from.localStatistics) {
    boost::json::object object(json.arena());
    object.reserve(7);
    object.emplace("width", stream.width);
    object.emplace("height", stream.height);
    object.emplace("frameRate", stream.frameRate);
    object.emplace("videoBitrate", stream.videoBitrate);
    object.emplace("audioSampleRate", stream.audioSampleRate);
    object.emplace("audioBitrate", stream.audioBitrate);
    object.emplace("streamType", stream.streamType);
    local.push_back(std::move(object));
  }
  boost::json::array remote(json.arena());
  remote.reserve(from.remoteStatistics.size());
  for (const auto& stream : from.remoteStatistics) {
    boost::json::object object(json.arena());
    object.reserve(10);
    object.emplace("userId", *stream.userId);
    object.emplace("packetLoss", stream.packetLoss);
    object.emplace("width", stream.width);
    object.emplace("height", stream.height);
    object.emplace("frameRate", stream.frameRate);
    object.emplace("videoBitrate", stream.videoBitrate);
    object.emplace("audioSampleRate", stream.audioSampleRate);
    object.emplace("audioBitrate", stream.audioBitrate);
    object.emplace("jitterBufferDelay", stream.jitterBufferDelay);
    object.emplace("streamType", stream.streamType);
    remote.push_back(std::move(object));
  }
  boost::json::object object(json.arena());
  object.reserve(9);
  object.emplace("appCpu", from.appCpu);
  object.emplace("systemCpu", from.systemCpu);
  object.emplace("rtt", from.rtt);
  object.emplace("upLoss", from.upLoss);
  object.emplace("downLoss", from.downLoss);
  object.emplace("sentBytes", from.sentBytes);
  object.emplace("receivedBytes", from.receivedBytes);
  object.emplace("localStatistics", std::move(local));
  object.emplace("remoteStatistics", std::move(remote));
  boost::json::object payload(json.arena());
  payload.reserve(2);
  payload.emplace("statistics", std::move(object));
  payload.emplace("userId", kOwnId);
  appendScript(json, out, "onStatistics", std::move(payload));
}

template <int count>
SharedList<KOBUVolumeInfo> volumesOf() {
  static const auto list = [] {
    std::vector<KOBUVolumeInfo> volumes;
    for (int i = 0; i < count; ++i) {
      volumes.push_back({.userId = "student_20210917_" + std::to_string(i),
                         .volume = static_cast<std::uint32_t>(i % 100)});
    }
    return std::make_shared<const std::vector<KOBUVolumeInfo>>(std::move(volumes));
  }();
  return list;
}

template <int count>
void volumesArrive(VEMOKOBUMsgRouter& router) {
  router.onUserVoiceVolume(volumesOf<count>(), 60);
}

template <int count>
void volumesAlone(JsonAlone& json, WrittenTexts& out) {
  boost::json::array users(json.arena());
  users.reserve(count);
  for (const auto& volume : *volumesOf<count>()) {
    boost::json::object object(json.arena());
    object.reserve(2);
    object.emplace("userId", *volume.userId);
    object.emplace("volume", volume.volume);
    users.push_back(std::move(object));
  }
  boost::json::object payload(json.arena());
  payload.reserve(2);
  payload.emplace("totalVolume", 60);
  payload.emplace("userVolumes", std::move(users));
  appendScript(json, out, "onUserVoiceVolume", std::move(payload));
}

void eventThroughRouter(benchmark::State& state, void (*event)(VEMOKOBUMsgRouter&)) {
  BenchPlatform platform;
  enter(platform);
  const auto before = allocations();
  for (auto round : state) {
    static_cast<void>(round);
    platform.mainQueue.fromAnotherThread([&] { event(*platform.router); });
  }
  state.counters["allocations"] = benchmark::Counter(static_cast<double>(allocations() - before),
                                                     benchmark::Counter::kAvgIterations);
  benchmark::DoNotOptimize(platform.webView->bytes + platform.logger.bytes);
}

void eventAlone(benchmark::State& state, const char* name, void (*event)(VEMOKOBUMsgRouter&),
                void (*alone)(JsonAlone&, WrittenTexts&)) {
  JsonAlone json;
  WrittenTexts texts;
  alone(json, texts);  // grows the texts to their size

  BenchPlatform platform;
  enter(platform);
  const auto routers = platform.textsOf(
      [&] { platform.mainQueue.fromAnotherThread([&] { event(*platform.router); }); });
  // One that leaves a record now and then is compared without.
  if (!texts.logged.empty()) {
    mustBeSame("the logged text of " + std::string(name), routers.logged, texts.logged);
  }
  mustBeSame("the script of " + std::string(name), routers.script, texts.script);

  const auto before = allocations();
  for (auto round : state) {
    static_cast<void>(round);
    json.newRound();
    texts.logged.clear();
    texts.script.clear();
    alone(json, texts);
    benchmark::DoNotOptimize(texts.logged.data());
    benchmark::DoNotOptimize(texts.script.data());
  }
  state.counters["allocations"] = benchmark::Counter(static_cast<double>(allocations() - before),
                                                     benchmark::Counter::kAvgIterations);
}

[[maybe_unused]] const bool eventsAreRegistered = [] {
  const auto add = [](const char* name, auto event, auto alone) {
    const std::string prefix = std::string("event/") + name;
    benchmark::RegisterBenchmark((prefix + "/json").c_str(), eventAlone, name, event, alone);
    benchmark::RegisterBenchmark((prefix + "/router").c_str(), eventThroughRouter, event);
  };
  add("onRemoteUserEnterRoom", remoteUserEnters, remoteUserEntersAlone);
  add("onStatistics10", statisticsArrive, statisticsAlone);
  add("onUserVoiceVolume10", volumesArrive<10>, volumesAlone<10>);
  add("onUserVoiceVolume110", volumesArrive<110>, volumesAlone<110>);
  return true;
}();

}  // namespace
}  // namespace vemo::bench
