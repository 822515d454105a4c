#include "platform/TemporaryFile.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <system_error>

namespace vemo {

std::shared_ptr<TemporaryFile> TemporaryFile::create(const std::filesystem::path& folder) {
  std::error_code problem;
  const auto place = folder.empty() ? std::filesystem::temp_directory_path(problem) : folder;
  auto name = (place / "vemo-XXXXXX").string();
  const int descriptor = ::mkostemp(name.data(), O_CLOEXEC);
  if (descriptor < 0) return nullptr;
  ::unlink(name.c_str());  // what is open stays, and a crash leaves nothing behind
  return std::shared_ptr<TemporaryFile>(new TemporaryFile(descriptor));
}

TemporaryFile::~TemporaryFile() { ::close(descriptor_); }

bool TemporaryFile::append(std::string_view bytes) {
  while (!bytes.empty()) {
    const auto written =
        ::pwrite(descriptor_, bytes.data(), bytes.size(), static_cast<off_t>(size_));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(written));
    size_ += static_cast<std::uint64_t>(written);
  }
  return true;
}

std::optional<std::string> TemporaryFile::readAll() const {
  std::string bytes(size_, '\0');
  std::size_t have = 0;
  while (have < bytes.size()) {
    const auto got =
        ::pread(descriptor_, bytes.data() + have, bytes.size() - have, static_cast<off_t>(have));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return std::nullopt;
    have += static_cast<std::size_t>(got);
  }
  return bytes;
}

}  // namespace vemo
