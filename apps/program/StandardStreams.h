#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iostream>
#include <string_view>

namespace vemo {

/// Of standard input, output and error, opens those that are closed such that nothing can be read
/// from them or written to them: else the next file that is opened takes the place, and gets what
/// is said to it. To be called first in main().
inline void fillStandardStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(stream, F_GETFD) != -1) continue;
    const int opened = ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    if (opened < 0) return;  // then there will hardly be other files either
  }
}

/// Writes what is left of standard output, and returns with what a program ends: `status`, but 2 at
/// least once standard error has said, after `before`, why not all of it could be written.
inline int told(std::string_view before, int status = 0) {
  if (std::cout.flush()) return status;
  std::cerr << before << "what was made can't be written: " << std::strerror(errno) << '\n';
  return std::max(status, 2);
}

}  // namespace vemo
