#include "platform/ProcessExtensionLauncher.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <utility>

namespace vemo {

ProcessExtensionLauncher::ProcessExtensionLauncher(SystemLog& log, std::vector<std::string> command)
    : log_(log), command_(std::move(command)) {}

ProcessExtensionLauncher::~ProcessExtensionLauncher() { reap(); }

void ProcessExtensionLauncher::launch() {
  reap();
  auto words = command_;
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (auto& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  // Sockets and files of this process are none of its business.
  ::posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
  pid_t started = 0;
  const int problem =
      ::posix_spawnp(&started, arguments.front(), &actions, nullptr, arguments.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  if (problem != 0) {
    log_.writeLine("can't start the broadcast extension " + command_.front() + ": " +
                   std::strerror(problem));
    return;
  }
  const std::lock_guard lock(mutex_);
  started_.push_back(started);
}

void ProcessExtensionLauncher::reap() {
  const std::lock_guard lock(mutex_);
  std::erase_if(started_, [](pid_t pid) { return ::waitpid(pid, nullptr, WNOHANG) != 0; });
}

}  // namespace vemo
