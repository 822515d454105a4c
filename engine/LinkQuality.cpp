#include "engine/LinkQuality.h"

#include <array>

namespace vemo::janus {
namespace {

struct Worst {
  std::uint32_t loss;
  std::uint32_t roundTrip;
};
constexpr std::array<Worst, 5> kWorst{{{1, 100}, {3, 200}, {8, 350}, {15, 500}, {30, 1000}}};

}  // namespace

std::int32_t linkQuality(std::uint32_t loss, std::uint32_t roundTrip) {
  std::int32_t quality = 1;
  for (const auto& worst : kWorst) {
    if (loss <= worst.loss && roundTrip <= worst.roundTrip) break;
    ++quality;
  }
  return quality;
}

}  // namespace vemo::janus
