#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <utility>

namespace vemo::janus {

/// When a speaker or microphone that can't be used is tried again. One thread.
class DeviceRetry {
 public:
  /// Blocks of sound by which it counts as back: one that breaks again before is not told of.
  static constexpr std::uint64_t steady = 200;

  /// How long to wait before the next try: longer each time, up to eight seconds.
  std::chrono::milliseconds nextPause() {
    return std::exchange(pause_, std::min(2 * pause_, std::chrono::milliseconds(8'000)));
  }
  /// It is back: the next pauses begin with the shortest again.
  void restart() { pause_ = kFirst; }

 private:
  static constexpr std::chrono::milliseconds kFirst{1'000};

  std::chrono::milliseconds pause_ = kFirst;
};

}  // namespace vemo::janus
