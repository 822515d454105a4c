#pragma once

#include <iosfwd>

#include "recorder/Recording.h"

namespace vemo::replay {

/// Writes `recording` to `out` as a scenario: what went into the router as its steps, what came
/// out as what they expect. Where tasks of the main queue ran late, steps hold them and others
/// run them; steps that overlapped on two threads are both marked. Not expected is what is another
/// in each process: where in the source a record was written, and the record of every 120th volume
/// event of a process. A note that can't be of a scenario is a ScenarioError; then nothing was
/// written.
void writeSession(const Recording& recording, std::ostream& out);

}  // namespace vemo::replay
