#pragma once

#include <filesystem>
#include <iosfwd>
#include <string>

#include "replay/ExitStatus.h"

namespace vemo::replay {

/// Writes `scenario` to `out` without the steps that one difference does not need: what is left
/// still has it, in the same step and the same words. It is the first of which the sentence holds
/// `name`, as `--check` writes it: with "" the first. What else differs for want of the others is
/// no longer expected. A scenario that can't be read, or in which nothing such differs, is a
/// sentence on `err` and kUnreadable. `folder` as in `replay`.
ExitStatus minimise(std::istream& scenario, const std::string& name, std::ostream& out,
                    std::ostream& err, const std::filesystem::path& folder);

}  // namespace vemo::replay
