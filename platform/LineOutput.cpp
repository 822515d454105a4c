#include "platform/LineOutput.h"

#include <sys/stat.h>
#include <unistd.h>

#include <system_error>

namespace vemo {
namespace {

/// Cuts `size` bytes off the end of a file; says whether that was done.
bool takeBack(int descriptor, std::size_t size, off_t sizeBefore) {
  struct stat now {};
  // Not when another program has added to the file since.
  return ::fstat(descriptor, &now) == 0 && S_ISREG(now.st_mode) &&
         now.st_size == sizeBefore + static_cast<off_t>(size) &&
         ::ftruncate(descriptor, sizeBefore) == 0;
}

}  // namespace

void LineOutput::write(int descriptor, std::string_view text) {
  struct stat before {};
  ::fstat(descriptor, &before);
  std::string line;
  line.reserve(text.size() + 2);
  if (unended_) line += '\n';
  line.append(text) += '\n';
  std::error_code problem;
  const auto written = writer_.write(descriptor, line, problem);
  if (!problem) {
    unended_ = false;
    return;
  }
  if (written > 0 && !takeBack(descriptor, written, before.st_size))
    unended_ = line[written - 1] != '\n';
  throw std::system_error(problem);
}

void StandardErrorOutput::log(const spdlog::details::log_msg& line) {
  write(STDERR_FILENO, {line.payload.data(), line.payload.size()});
}

}  // namespace vemo
