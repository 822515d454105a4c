#pragma once

#include <sys/types.h>

#include <mutex>
#include <string>
#include <vector>

#include "bridge/VEMOExtensionLauncher.h"
#include "bridge/VEMOLogger.h"

namespace vemo {

/// Starts a program as the screen-broadcast extension, each time anew, with the
/// environment of this process and nothing on its standard input. What can't be
/// started is told to the system log. Started programs live on when the launcher goes.
class ProcessExtensionLauncher final : public VEMOExtensionLauncher {
 public:
  /// `command`: the program, looked for in PATH unless it has a "/", then its
  /// arguments; not empty. `log` must outlive the launcher.
  ProcessExtensionLauncher(SystemLog& log, std::vector<std::string> command);
  ~ProcessExtensionLauncher() override;
  ProcessExtensionLauncher(const ProcessExtensionLauncher&) = delete;
  ProcessExtensionLauncher& operator=(const ProcessExtensionLauncher&) = delete;

  void launch() override;

 private:
  /// Lets go of those that have ended, so that they don't stay as zombies.
  void reap();

  SystemLog& log_;
  const std::vector<std::string> command_;
  std::mutex mutex_;
  std::vector<pid_t> started_;
};

}  // namespace vemo
