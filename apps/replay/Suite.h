#pragma once

#include <filesystem>
#include <iosfwd>
#include <string>
#include <vector>

#include "replay/ExitStatus.h"

namespace vemo::replay {

/// Checks scenarios, each in a process of its own: the `paths` that are files, and below those
/// that are folders every file that ends in ".jsonl" and is not below a folder "setup", by name.
///
/// Each failure is a line on `out`, as is what differs and is none (mayDiffer()), the last line the
/// sum. With a file name in `junit` the results are written there, too, as JUnit's XML, whole or
/// not at all: a suite for each folder, a case for each scenario. That file must be none of the
/// scenarios. What can't be read or written is a line on `err`. Gives the worst status of all.
ExitStatus checkSuite(const std::vector<std::string>& paths, const std::filesystem::path& junit,
                      std::ostream& out, std::ostream& err);

}  // namespace vemo::replay
