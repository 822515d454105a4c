#pragma once

#include <chrono>
#include <cstdint>

namespace vemo {

inline constexpr std::int32_t kQualityUnusable = 6;

/// The quality, 1 excellent to 6 unusable, of a connection with these losses (percent)
/// and this round trip: that of its worst property.
std::int32_t qualityOf(std::uint32_t upLoss, std::uint32_t downLoss, std::chrono::milliseconds rtt);

/// What is lost, in percent, on two ways in a row.
std::uint32_t combinedLoss(std::uint32_t first, std::uint32_t second);

}  // namespace vemo
