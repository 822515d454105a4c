#pragma once

#include <chrono>
#include <filesystem>
#include <iosfwd>
#include <string>

#include "replay/ExitStatus.h"

namespace vemo::replay {

struct MinimiseOptions {
  /// The difference that is kept is the first of which the sentence, as `--check` writes it, holds
  /// this: empty, the first of all.
  std::string difference;
  /// How long lines are looked for that can go.
  std::chrono::seconds within{60};
};

/// Writes `scenario` to `out` without the lines that one difference does not need: what is left
/// still has it, in the same step and the same words, and no single line of it can go. What else
/// differs for want of the others is no longer expected. Where the time was too short, what was
/// found until then is written, and a sentence on `err` says so. A scenario that can't be read, or
/// in which nothing such differs, is a sentence on `err` and kUnreadable. `file` as in `replay`.
/// Scenarios are played in processes of their own: call it while this one has one thread.
ExitStatus minimise(std::istream& scenario, const MinimiseOptions& options, std::ostream& out,
                    std::ostream& err, const std::filesystem::path& file);

}  // namespace vemo::replay
