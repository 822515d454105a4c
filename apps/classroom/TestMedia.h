#pragma once

#include <cstddef>

#include "engine/EngineOptions.h"

namespace vemo {

/// Gives an engine a moving picture and a tone of its own, by the number of its window, instead of
/// devices.
void useTestMedia(EngineOptions& options, std::size_t window);

}  // namespace vemo
