#pragma once

#include <filesystem>
#include <iosfwd>

#include "replay/ExitStatus.h"

namespace vemo::replay {

enum class Mode {
  transcript,  ///< write what the router does
  check,       ///< compare it with what the steps expect, write the differences, and in
               ///< the end how many steps and expectations there were
};

/// Plays `scenario` step by step and writes to `out` as `mode` says. What is wrong with
/// the scenario is one line on `err`, with its line number, behind the name of `file` where that
/// is not empty. The set-ups that it uses are looked for from the folder of `file` upwards, else
/// from the working folder. Call it on one thread only: that is the main thread.
ExitStatus replay(std::istream& scenario, Mode mode, std::ostream& out, std::ostream& err,
                  const std::filesystem::path& file = {});

}  // namespace vemo::replay
