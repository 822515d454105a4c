#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string_view>

#include "recorder/NoteRing.h"

namespace vemo {

/// Writes what is noted in a ring, until what it gives ends.
using StreamSession = std::function<std::shared_ptr<void>(std::shared_ptr<NoteRing>)>;

/// Files for the sessions of phones: each is written to a .vemorec file of its own, which is
/// named for the time at which it began and the page's number, and rotated at 64 MiB; when the
/// program dies of a signal, its last minutes are in another, NAME.crash.vemorec.
class SessionFiles {
 public:
  /// Makes `folder`; an empty one stands for no files. Throws std::system_error when it can't.
  explicit SessionFiles(std::filesystem::path folder);

  /// What writes the session of one more phone, out of its ring; null when there are no files. It
  /// gives null when the file can't be made, which `note` is told. One thread.
  StreamSession streamSession(std::function<void(std::string_view line)> note) const;

 private:
  const std::filesystem::path folder_;
};

}  // namespace vemo
