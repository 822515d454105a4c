#pragma once

#include <string>
#include <vector>

#include "bridge/VEMOExtensionLauncher.h"
#include "bridge/VEMOLogger.h"

namespace vemo {

/// Starts a program as the screen-broadcast extension, each time anew, with the
/// environment of this process and nothing on its standard input. What can't be
/// started is told to the system log. Started programs live on when the launcher goes;
/// each has a thread that waits for its end, so that none stays as a zombie.
class ProcessExtensionLauncher final : public VEMOExtensionLauncher {
 public:
  /// `command`: the program, looked for in PATH unless it has a "/", then its
  /// arguments; not empty. `log` must outlive the launcher.
  ProcessExtensionLauncher(SystemLog& log, std::vector<std::string> command);

  void launch() override;

 private:
  SystemLog& log_;
  const std::vector<std::string> command_;
};

}  // namespace vemo
