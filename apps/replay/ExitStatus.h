#pragma once

namespace vemo::replay {

/// What the program, and each of its works, ends with.
enum ExitStatus : int {
  kDone = 0,
  kExpectationFailed = 1,
  kUnreadable = 2,
  kSomethingLeft = 3,  ///< an object outlived the run: a mistake in the program
};

}  // namespace vemo::replay
