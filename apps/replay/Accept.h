#pragma once

#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>

#include "replay/ExitStatus.h"

namespace vemo::replay {

/// What accepting a scenario came to.
struct Accepted {
  ExitStatus status = kDone;
  std::string text;      ///< the scenario with what happened expected; only with kDone
  std::string sentence;  ///< what was done, or why nothing was
};

/// Plays `scenario`, which stands in `file` or, if that is empty, in none, and writes what each of
/// its steps did as the step's "expect". What a step expects stays as it is written where it holds;
/// where it does not, what of it still fits stays ("partial", "*", keys left out). So do comments,
/// blank lines and all else of the lines. Steps of verbs that do nothing of their own, and did
/// nothing, and set-ups that expect nothing stay without. The outcome of a table's row is not
/// rewritten: one that does not fit is kExpectationFailed.
Accepted acceptScenario(const std::string& scenario, const std::filesystem::path& file);

/// The same for the file at `path`, which is replaced at once and only if all went well and what
/// is expected came a second time, in a process of its own. What was done is a line on `out`, why
/// not a line on `err`.
ExitStatus acceptFile(const std::filesystem::path& path, std::ostream& out, std::ostream& err);

}  // namespace vemo::replay
