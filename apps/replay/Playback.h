#pragma once

#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "replay/ExitStatus.h"
#include "replay/Scenario.h"
#include "replay/Transcript.h"

namespace vemo::replay {

/// A step that was played. Valid within the call that it is given to.
struct PlayedStep {
  const Step* step;     ///< null for the making of the router
  std::int64_t line;    ///< where it is in the file; a table has several in one
  std::int64_t number;  ///< of the step; 0 for the making of the router
  const std::vector<Transcript::Effect>& effects;
};

/// Plays `scenario` as replay() does, and calls `after` behind each step. What is wrong with
/// it is one line on `err`. Gives kDone, kUnreadable or kSomethingLeft.
ExitStatus playBack(std::istream& scenario, const std::filesystem::path& file,
                    const std::function<void(const PlayedStep&)>& after, std::ostream& err);

/// How a step differs from what it expects: `FILE: line 5, step 4: ...`, or `line 5, step 4: ...`
/// where `file` is empty, perhaps of several lines. Nothing when it does not, or expects nothing.
std::optional<std::string> failureOf(const PlayedStep& played,
                                     const std::filesystem::path& file = {});

/// Whether a difference of this step is told and is no failure: it overlapped another when it was
/// recorded, and is played before or after that.
bool mayDiffer(const PlayedStep& played);

/// What is wrong with a line: `FILE: line 5: ...`, or `line 5: ...` where `file` is empty.
std::string sentenceOf(const std::filesystem::path& file, std::int64_t line,
                       const std::exception& error);

/// "1 step", "2 steps".
std::string counted(std::int64_t count, std::string_view noun);

}  // namespace vemo::replay
