#pragma once

#include <cstdint>

namespace vemo::janus {

/// How good a way to the server is, by what is lost on it (percent) and how long it takes there and
/// back (ms): the worse of the two counts.
///
///   quality            loss up to   round trip up to
///   1 excellent             1             100
///   2 good                  3             200
///   3 poor                  8             350
///   4 bad                  15             500
///   5 very bad             30            1000
///   6 unusable            more            more
std::int32_t linkQuality(std::uint32_t loss, std::uint32_t roundTrip);

}  // namespace vemo::janus
