#include "simulation/Quality.h"

#include <algorithm>
#include <array>

namespace vemo {
namespace {

struct Step {
  std::uint32_t loss;  // percent
  std::int64_t rtt;    // ms
};

// The worst of each quality, from excellent on; beyond the last is unusable.
constexpr std::array<Step, 5> kWorst{{{1, 100}, {3, 200}, {8, 350}, {15, 500}, {30, 1000}}};

}  // namespace

std::int32_t qualityOf(std::uint32_t upLoss, std::uint32_t downLoss,
                       std::chrono::milliseconds rtt) {
  const auto loss = std::max(upLoss, downLoss);
  std::int32_t quality = 1;
  for (const auto& worst : kWorst) {
    if (loss <= worst.loss && rtt.count() <= worst.rtt) break;
    ++quality;
  }
  return quality;
}

std::uint32_t combinedLoss(std::uint32_t first, std::uint32_t second) {
  const auto passes = (100 - std::min(first, 100U)) * (100 - std::min(second, 100U));
  return 100 - passes / 100;
}

}  // namespace vemo
