#pragma once

#include <malloc.h>

namespace vemo {

/// What this process has on its heap, in KiB.
inline long usedKiB() {
  const auto info = mallinfo2();
  return static_cast<long>((info.uordblks + info.hblkhd) / 1024);
}

/// Above it something of each visit to a room stays.
inline constexpr long kMostKiBOfAVisit = 32;

}  // namespace vemo
