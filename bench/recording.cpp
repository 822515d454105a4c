// What a recorder costs a command: the same router with and without one that keeps the last
// minutes, in turn in one run, so that what else the machine does meets both. With the logger that
// a host has, once more.

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <iomanip>
#include <iostream>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "BenchPlatform.h"

namespace vemo::bench {
namespace {

constexpr int kBatches = 2000;
constexpr int kCommands = 100;  // of a batch

std::string messageOf(const std::string& action, const std::string& params) {
  return R"({"head":{"module":"kobu","action":")" + action + R"("},"params":)" + params +
         R"(,"cbid":"cb_1024"})";
}

const std::vector<std::pair<std::string, std::string>>& commands() {
  static const std::vector<std::pair<std::string, std::string>> all = {
      {"setAudioRoute", messageOf("setAudioRoute", R"({"route":1})")},
      {"getAudioVolume", messageOf("getAudioVolume", R"({"capture":true,"playout":true})")},
      {"setVideoEncoderParam",
       messageOf("setVideoEncoderParam",
                 R"({"width":640,"height":360,"fps":15,"bitrate":600,"minBitrate":300,)"
                 R"("adjustResolution":true})")},
      {"enterRoom",
       messageOf("enterRoom", R"({"sdkAppId":1400000000,"userId":"teacher_20210917","userSig":")" +
                                  std::string(320, 's') +
                                  R"(","roomId":20210917,"role":20,"appScene":0})")},
      {"an unknown one", messageOf("makeCoffee", R"({"sugar":2,"milk":"none"})")},
      {"one that fails", messageOf("setAudioRoute", R"({"route":"speaker"})")},
  };
  return all;
}

/// Nanoseconds that a command takes, as one batch has it.
double batch(BenchPlatform& platform, const std::string& message) {
  const auto start = std::chrono::steady_clock::now();
  for (int left = kCommands; left > 0; --left) platform.router->receive(message);
  return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start)
             .count() /
         kCommands;
}

/// The one that callgrind counts.
[[gnu::noinline]] void profiledBatch(BenchPlatform& platform, const std::string& message) {
  batch(platform, message);
}

struct Measured {
  double without = std::numeric_limits<double>::infinity();  // the best
  double with = std::numeric_limits<double>::infinity();
  double ratio = 0;  // the median of neighbouring batches
};

Measured measure(const std::string& message, bool logged) {
  BenchPlatform bare({.logged = logged});
  BenchPlatform recorded({.recorded = true, .logged = logged});
  Measured best;
  std::vector<double> ratios;
  for (int round = 0; round < kBatches; ++round) {
    const auto without = batch(bare, message);
    const auto with = batch(recorded, message);
    best.without = std::min(best.without, without);
    best.with = std::min(best.with, with);
    ratios.push_back(with / without);
  }
  const auto middle = ratios.begin() + static_cast<std::ptrdiff_t>(ratios.size() / 2);
  std::ranges::nth_element(ratios, middle);
  best.ratio = *middle;
  return best;
}

}  // namespace
}  // namespace vemo::bench

int main(int argc, char** argv) {
  using namespace vemo::bench;
  // For a profiler: one batch of the command that is named, and no table.
  if (const std::vector<std::string_view> arguments(argv + 1, argv + argc); !arguments.empty()) {
    const auto has = [&](std::string_view what) {
      return std::ranges::find(arguments, what) != arguments.end();
    };
    for (const auto& argument : arguments) {
      const auto isNamed = [&](const auto& command) { return command.first == argument; };
      if (argument == "recorded" || argument == "logged" ||
          std::ranges::any_of(commands(), isNamed))
        continue;
      std::cerr << "vemo-bench-recording: \"" << argument
                << "\" is no command that is measured, nor \"recorded\" or \"logged\"\n";
      return 2;
    }
    BenchPlatform platform({.recorded = has("recorded"), .logged = has("logged")});
    for (const auto& [name, message] : commands()) {
      if (!has(name)) continue;
      batch(platform, message);  // nothing of it is done for the first time afterwards
      profiledBatch(platform, message);
    }
    return 0;
  }
  for (const bool logged : {false, true}) {
    std::cout << std::left << std::setw(24) << (logged ? "with a host's logger" : "bare")
              << std::right << std::setw(12) << "without ns" << std::setw(10) << "with ns"
              << std::setw(8) << "ratio" << std::setw(14) << "median ratio" << '\n';
    for (const auto& [name, message] : commands()) {
      const auto [without, with, ratio] = measure(message, logged);
      std::cout << std::left << std::setw(24) << name << std::right << std::fixed
                << std::setprecision(0) << std::setw(12) << without << std::setw(10) << with
                << std::setprecision(2) << std::setw(8) << with / without << std::setw(14) << ratio
                << '\n';
    }
  }
}
