#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <filesystem>
#include <string>

#include "platform/LineOutput.h"

namespace vemo {

/// A file of lines that starts anew when it would grow too long: file.ext becomes
/// file.1.ext, that file.2.ext, and so on. It follows its name: when the file was
/// deleted or renamed, or another put in its place, the next line goes to the file that
/// has the name then, made if need be.
///
/// No line is lost by a rotation: where files can't be renamed the file grows on, and
/// where no new one can be made the lines go on into the renamed one. A file that may
/// grow no more, by a limit of the system, is rotated too.
class RotatingFile final : public LineOutput {
 public:
  /// Opens `file` to append to it, and makes its folders. Keeps `oldFiles` rotated ones;
  /// with 0 a full file begins anew. Throws std::system_error when it can't.
  RotatingFile(std::filesystem::path file, std::size_t maxBytes, std::size_t oldFiles);
  ~RotatingFile() override;
  RotatingFile(const RotatingFile&) = delete;
  RotatingFile& operator=(const RotatingFile&) = delete;

  void log(const spdlog::details::log_msg& line) override;

 private:
  void open();
  void followName();
  bool rotate();
  std::filesystem::path oldName(std::size_t age) const;

  const std::filesystem::path file_;
  const std::size_t maxBytes_;
  const std::size_t oldFiles_;
  int descriptor_ = -1;
};

}  // namespace vemo
