// What routers cost beside what passes through them: time and memory to make one, and a command
// when there are many.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "BenchPlatform.h"

namespace vemo::bench {
namespace {

using Routers = std::vector<std::shared_ptr<VEMOKOBUMsgRouter>>;

/// A round makes `count` routers; "bytes" is what each of them holds.
void makeRouters(benchmark::State& state, std::size_t count) {
  BenchPlatform platform;
  double bytes = 0;
  for (auto round : state) {
    static_cast<void>(round);
    state.PauseTiming();
    Routers routers;
    routers.reserve(count);
    const auto before = mallinfo2().uordblks;
    state.ResumeTiming();
    while (routers.size() < count) routers.push_back(platform.makeRouter());
    state.PauseTiming();
    bytes = static_cast<double>(mallinfo2().uordblks - before) / static_cast<double>(count);
    routers.clear();
    state.ResumeTiming();
  }
  state.counters["bytes"] = bytes;
}

/// Each round is a command for another of `count` routers.
void commandForOneOf(benchmark::State& state, std::size_t count) {
  BenchPlatform platform;
  Routers routers;
  for (std::size_t i = 0; i < count; ++i) {
    routers.push_back(platform.makeRouter());
    routers.back()->receive(R"({"head":{"module":"kobu","action":"initSDK"}})");
  }
  const std::string message =
      R"({"head":{"module":"kobu","action":"setAudioRoute"},"params":{"route":1},"cbid":"cb_1024"})";
  std::size_t next = 0;
  for (auto round : state) {
    static_cast<void>(round);
    next = (next + 7919) % count;  // far from the one before, as pages do not take turns
    routers[next]->receive(message);
  }
  benchmark::DoNotOptimize(platform.webView->bytes + platform.logger.bytes);
}

[[maybe_unused]] const bool routersAreRegistered = [] {
  benchmark::RegisterBenchmark("routers/make1000", makeRouters, 1000);
  benchmark::RegisterBenchmark("routers/command1", commandForOneOf, 1);
  benchmark::RegisterBenchmark("routers/command10000", commandForOneOf, 10'000);
  return true;
}();

}  // namespace
}  // namespace vemo::bench
