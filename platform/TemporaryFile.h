#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "bridge/DownloadService.h"

namespace vemo {

/// A file without a name: it is gone when its last holder lets go, or the process ends.
/// Written by one thread, then read by any.
class TemporaryFile final : public DownloadedFile {
 public:
  /// A new, empty one on the file system of `folder` (empty: the system's temporary
  /// folder); null when there can be none.
  static std::shared_ptr<TemporaryFile> create(const std::filesystem::path& folder);
  ~TemporaryFile() override;
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  /// Appends `bytes`; false when they can't be written.
  bool append(std::string_view bytes);
  std::uint64_t size() const { return size_; }

  std::optional<std::string> readAll() const override;

 private:
  explicit TemporaryFile(int descriptor) : descriptor_(descriptor) {}

  const int descriptor_;
  std::uint64_t size_ = 0;
};

}  // namespace vemo
