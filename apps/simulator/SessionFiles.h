#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string_view>
#include <utility>

#include "recorder/NoteRing.h"

namespace vemo {

/// Writes what is noted in a ring, until what it gives ends.
using StreamSession = std::function<std::shared_ptr<void>(std::shared_ptr<NoteRing>)>;

/// Files for the sessions of phones, also of hosts other than the simulator: each is written to a
/// .vemorec file of its own, which is named for the time at which it began and the page's number,
/// and for one more where another program took the name, and rotated at 64 MiB; when the program
/// dies of a signal, its last minutes are in another, NAME.crash.vemorec.
///
/// A page that is loaded again begins another session: of those that have ended, the oldest go
/// when one begins and they are too many or too large together, whichever program wrote them.
/// Files of other names stay.
class SessionFiles {
 public:
  /// How much of sessions that have ended is kept.
  struct Limits {
    std::size_t sessions = 100;
    std::uintmax_t bytes = std::uintmax_t{2} << 30U;
  };

  /// Makes `folder`; an empty one stands for no files. Throws std::system_error when it can't.
  explicit SessionFiles(std::filesystem::path folder) : SessionFiles(std::move(folder), Limits()) {}
  SessionFiles(std::filesystem::path folder, Limits limits);

  /// What writes the session of one more phone, out of its ring; null when there are no files. It
  /// gives null when the file can't be made, which `note` is told, as it is told what was removed.
  /// One thread.
  StreamSession streamSession(std::function<void(std::string_view line)> note) const;

 private:
  const std::filesystem::path folder_;
  const Limits limits_;
};

}  // namespace vemo
