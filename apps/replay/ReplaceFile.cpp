#include "replay/ReplaceFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace vemo::replay {
namespace {

/// The permissions that the system gives a new file.
mode_t permissionsOfNewFiles() {
  const auto masked = ::umask(0);
  ::umask(masked);
  return 0666U & ~masked;
}

}  // namespace

std::string replaceFile(const std::filesystem::path& path, std::string_view text) {
  const auto why = [] { return std::string(std::strerror(errno)); };
  struct stat before {};
  auto permissions = permissionsOfNewFiles();
  if (::stat(path.c_str(), &before) == 0) {
    if (::access(path.c_str(), W_OK) != 0) return why();
    permissions = before.st_mode & 07777U;
  } else if (errno != ENOENT) {
    return why();
  }
  auto name = (path.parent_path() / ("." + path.filename().string() + ".XXXXXX")).string();
  const int file = ::mkstemp(name.data());
  if (file < 0) return why();
  bool good = ::fchmod(file, permissions) == 0;
  for (auto rest = text; good && !rest.empty();) {
    const auto written = ::write(file, rest.data(), rest.size());
    if (written < 0 && errno == EINTR) continue;
    good = written >= 0;
    if (good) rest.remove_prefix(static_cast<std::size_t>(written));
  }
  good = good && ::fsync(file) == 0;
  auto problem = good ? std::string() : why();
  ::close(file);
  if (good && ::rename(name.c_str(), path.c_str()) == 0) return {};
  if (good) problem = why();
  ::unlink(name.c_str());
  return problem;
}

}  // namespace vemo::replay
