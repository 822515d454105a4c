#include "platform/RotatingFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace vemo {
namespace {

constexpr mode_t kReadableAndWritable = 0666;  // less what the process's mask takes away

/// Whether the last line of a file has its line break; a crash may have left it without.
bool endsInALine(const std::filesystem::path& file, off_t size) {
  if (size == 0) return true;
  const int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) return true;  // not ours to read
  char last = '\n';
  const auto count = ::pread(descriptor, &last, 1, size - 1);
  ::close(descriptor);
  return count != 1 || last == '\n';
}

}  // namespace

RotatingFile::RotatingFile(std::filesystem::path file, std::size_t maxBytes, std::size_t oldFiles)
    : file_(std::move(file)), maxBytes_(maxBytes), oldFiles_(oldFiles) {
  open();
}

RotatingFile::~RotatingFile() { ::close(descriptor_); }

/// Opens the file that has the name now; the former one stays when there is none.
void RotatingFile::open() {
  std::error_code ignored;  // opening the file will tell
  if (file_.has_parent_path()) std::filesystem::create_directories(file_.parent_path(), ignored);
  // Without waiting for the reader of a pipe, here or where nobody could end it.
  const int opened = ::open(file_.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK,
                            kReadableAndWritable);
  if (opened < 0) throw std::system_error(errno, std::generic_category(), file_.string());
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = opened;
  struct stat status {};
  ::fstat(descriptor_, &status);
  unended_ = S_ISREG(status.st_mode) && !endsInALine(file_, status.st_size);
}

void RotatingFile::followName() {
  struct stat mine {};
  struct stat named {};
  ::fstat(descriptor_, &mine);
  if (::stat(file_.c_str(), &named) == 0 && named.st_dev == mine.st_dev &&
      named.st_ino == mine.st_ino)
    return;
  try {
    open();
  } catch (const std::system_error&) {
    if (mine.st_nlink == 0) throw;  // nobody would find there what is written
  }
}

std::filesystem::path RotatingFile::oldName(std::size_t age) const {
  auto name = file_;
  name.replace_filename(file_.stem().string() + "." + std::to_string(age) +
                        file_.extension().string());
  return name;
}

/// Makes room in the file; says whether it could.
bool RotatingFile::rotate() {
  if (oldFiles_ == 0) return ::ftruncate(descriptor_, 0) == 0;
  // The step that may fail comes first, before an older file has made way in vain.
  if (std::rename(file_.c_str(), oldName(0).c_str()) != 0) return false;
  for (auto age = oldFiles_; age-- > 0;)
    std::rename(oldName(age).c_str(), oldName(age + 1).c_str());  // there may be none so old yet
  followName();
  return true;
}

void RotatingFile::log(const spdlog::details::log_msg& line) {
  const std::string_view text(line.payload.data(), line.payload.size());
  followName();
  struct stat status {};
  ::fstat(descriptor_, &status);
  const auto size = S_ISREG(status.st_mode) ? static_cast<std::size_t>(status.st_size) : 0;
  if (size > 0 && size + text.size() + 1 > maxBytes_) rotate();
  try {
    write(descriptor_, text);
  } catch (const std::system_error& problem) {
    if (problem.code() != std::errc::file_too_large || size == 0 || !rotate()) throw;
    write(descriptor_, text);
  }
}

}  // namespace vemo
