#pragma once

#include <cstdint>

namespace vemo::bench {

/// How often this thread has allocated memory, since it began.
std::uint64_t allocations();

}  // namespace vemo::bench
