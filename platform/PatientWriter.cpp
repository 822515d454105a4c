#include "platform/PatientWriter.h"

#include <limits.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace vemo {
namespace {

using std::chrono::steady_clock;

constexpr auto kFarewell = std::chrono::seconds(2);

bool isFile(int descriptor) {
  struct stat status {};
  return ::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

PatientWriter::PatientWriter()
    : alarm_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), deadline_(steady_clock::time_point::max()) {
  if (alarm_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
}

PatientWriter::~PatientWriter() { ::close(alarm_); }

void PatientWriter::hurry() {
  deadline_ = steady_clock::now() + kFarewell;
  ::eventfd_write(alarm_, 1);
}

std::size_t PatientWriter::write(int descriptor, std::string_view text, std::error_code& problem) {
  const bool waits = !isFile(descriptor);
  std::size_t written = 0;
  while (written < text.size()) {
    if (waits && !waitUntilWritable(descriptor)) {
      problem = std::make_error_code(std::errc::timed_out);
      return written;
    }
    // A pipe or a terminal that is writable takes this much without waiting.
    const auto piece = text.substr(written, waits ? PIPE_BUF : std::string_view::npos);
    const auto count = ::write(descriptor, piece.data(), piece.size());
    if (count > 0) {
      written += static_cast<std::size_t>(count);
    } else if (count == 0) {
      problem = std::make_error_code(std::errc::io_error);
      return written;
    } else if (errno != EINTR && errno != EAGAIN) {
      problem = std::error_code(errno, std::generic_category());
      return written;
    }
  }
  return written;
}

int PatientWriter::remainingMilliseconds() const {
  const auto deadline = deadline_.load();
  if (deadline == steady_clock::time_point::max()) return -1;
  const auto remaining =
      std::chrono::ceil<std::chrono::milliseconds>(deadline - steady_clock::now());
  return static_cast<int>(std::max(remaining.count(), std::chrono::milliseconds::rep{0}));
}

bool PatientWriter::waitUntilWritable(int descriptor) {
  for (;;) {
    const int timeout = remainingMilliseconds();
    std::array<pollfd, 2> watched{{{descriptor, POLLOUT, 0}, {alarm_, POLLIN, 0}}};
    // Once the alarm has rung only the deadline counts.
    const int ready = ::poll(watched.data(), timeout < 0 ? 2 : 1, timeout);
    if (ready > 0 && watched[0].revents != 0) return true;  // an error shows itself in write
    if (ready == 0 || (ready < 0 && errno != EINTR)) return false;
  }
}

}  // namespace vemo
