#pragma once

#include <functional>
#include <string>

namespace vemo::replay {

/// How a process of its own ended.
struct OwnProcessResult {
  bool good = false;
  std::string text;  ///< what the work gave; else why there is nothing: "ended by signal 11"
};

/// Does `work` in a copy of this process, so that neither what it leaves behind in memory nor
/// a crash is felt here. Waits for it. Call it while this process has one thread.
OwnProcessResult inOwnProcess(const std::function<std::string()>& work);

}  // namespace vemo::replay
