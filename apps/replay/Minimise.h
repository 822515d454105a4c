#pragma once

#include <filesystem>
#include <iosfwd>

#include "Replay.h"

namespace vemo::replay {

/// Writes `scenario` to `out` without the steps that its first difference does not need: what
/// is left still has that difference, in the same step and the same words. What else differs
/// for want of the others is no longer expected. A scenario that can't be read, or in which
/// nothing differs, is one line on `err` and kUnreadable. `folder` as in `replay`.
ExitStatus minimise(std::istream& scenario, std::ostream& out, std::ostream& err,
                    const std::filesystem::path& folder);

}  // namespace vemo::replay
