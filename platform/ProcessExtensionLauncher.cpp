#include "platform/ProcessExtensionLauncher.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <future>
#include <system_error>
#include <thread>
#include <utility>

namespace vemo {
namespace {

/// Starts `words` as a program: 0, and its id in `started`, or an errno.
int start(std::vector<std::string> words, pid_t& started) {
  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (auto& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  // Sockets and files of this process are none of its business.
  ::posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
  const int problem =
      ::posix_spawnp(&started, arguments.front(), &actions, nullptr, arguments.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  return problem;
}

void awaitEnd(pid_t process) {
  while (::waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace

ProcessExtensionLauncher::ProcessExtensionLauncher(SystemLog& log, std::vector<std::string> command)
    : log_(log), command_(std::move(command)) {}

void ProcessExtensionLauncher::launch() {
  std::promise<pid_t> process;  // 0: nothing was started
  int problem = 0;
  try {
    // First, so that nothing is started that nobody would wait for.
    std::thread([awaited = process.get_future()]() mutable {
      if (const pid_t started = awaited.get(); started > 0) awaitEnd(started);
    }).detach();
    pid_t started = 0;
    problem = start(command_, started);
    process.set_value(problem == 0 ? started : 0);
  } catch (const std::system_error& noThread) {
    problem = noThread.code().value();
  }
  if (problem != 0) {
    log_.writeLine("can't start the broadcast extension " + command_.front() + ": " +
                   std::strerror(problem));
  }
}

}  // namespace vemo
