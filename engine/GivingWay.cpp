#include "engine/GivingWay.h"

#include <algorithm>
#include <cmath>

namespace vemo::janus {
namespace {

constexpr double kMuch = 0.1;
constexpr double kHardlyAny = 0.02;
constexpr double kComingBack = 1.15;
constexpr double kLeast = 0.1;
constexpr unsigned kLeastFps = 5;

unsigned part(double share, unsigned of) { return static_cast<unsigned>(std::lround(share * of)); }

}  // namespace

bool GivingWay::look(double lost) {
  const auto before = share_;
  if (lost > kMuch) share_ = std::max(kLeast, share_ * (1 - lost / 2));
  if (lost < kHardlyAny) share_ = std::min(1.0, share_ * kComingBack);
  return share_ != before;
}

VideoEncoding givenWay(VideoEncoding asked, double share, bool keepsSharp) {
  const auto least = asked.minBitrate > 0 ? asked.minBitrate : part(kLeast, asked.bitrate);
  const auto whole = asked.bitrate;
  asked.bitrate = std::min(whole, std::max(least, part(share, whole)));
  if (asked.bitrate == whole) return asked;
  const double left = static_cast<double>(asked.bitrate) / whole;
  if (keepsSharp) asked.fps = std::min(asked.fps, std::max(kLeastFps, part(left, asked.fps)));
  if (asked.mayShrink && left < 0.5) {
    // Codecs want even sides.
    asked.width = (asked.width / 2 + 1) / 2 * 2;
    asked.height = (asked.height / 2 + 1) / 2 * 2;
  }
  return asked;
}

}  // namespace vemo::janus
