#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string_view>

#include "recorder/Journal.h"

namespace vemo {

/// Files for the sessions of phones: each is written to a .vemorec file of its own, which is
/// named for the time at which it began and the page's number, and rotated at 64 MiB.
class SessionFiles {
 public:
  /// Makes `folder`; an empty one stands for no files. Throws std::system_error when it can't.
  explicit SessionFiles(std::filesystem::path folder);

  /// What makes the journal of one more phone; null when there are no files. The journal is
  /// null when its file can't be made, which `note` is told. One thread.
  std::function<std::shared_ptr<Journal>()> makeJournal(
      std::function<void(std::string_view line)> note) const;

 private:
  const std::filesystem::path folder_;
};

}  // namespace vemo
