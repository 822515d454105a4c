#include "replay/OwnProcess.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

namespace vemo::replay {
namespace {

bool writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    const auto written = ::write(descriptor, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    text.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

std::string readAll(int descriptor) {
  std::string text;
  std::array<char, 4096> buffer{};
  for (;;) {
    const auto count = ::read(descriptor, buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return text;
    text.append(buffer.data(), static_cast<std::size_t>(count));
  }
}

}  // namespace

OwnProcessResult inOwnProcess(const std::function<std::string()>& work) {
  const auto trouble = [](const char* what) {
    return OwnProcessResult{false, std::string(what) + ": " + std::strerror(errno)};
  };
  std::array<int, 2> pipe{};
  if (::pipe2(pipe.data(), O_CLOEXEC) != 0) return trouble("no pipe");
  const auto child = ::fork();
  if (child < 0) {
    ::close(pipe[0]);
    ::close(pipe[1]);
    return trouble("no process");
  }
  if (child == 0) {
    bool written = false;
    try {
      written = writeAll(pipe[1], work());
    } catch (...) {
      written = false;  // the status tells
    }
    ::_exit(written ? 0 : 1);  // nothing else of this process is to run twice
  }
  ::close(pipe[1]);
  auto text = readAll(pipe[0]);
  ::close(pipe[0]);
  int status = 0;
  while (::waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return trouble("no status");
  }
  if (WIFSIGNALED(status)) return {false, "ended by signal " + std::to_string(WTERMSIG(status))};
  if (WEXITSTATUS(status) != 0)
    return {false, "ended with status " + std::to_string(WEXITSTATUS(status))};
  return {true, std::move(text)};
}

}  // namespace vemo::replay
