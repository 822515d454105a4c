#pragma once

#include <memory>
#include <string>
#include <vector>

#include "recorder/NoteRing.h"

namespace vemo {

/// Writes what is in a ring to a file when the process dies of SIGSEGV, SIGBUS, SIGILL, SIGFPE or
/// SIGABRT, as after an exception that nobody caught; then the process goes on dying as it would
/// have. The file is a dump (Recording.h), which is read as a recording is.
///
/// Secrets are not in it, each byte of them is overwritten, of numbers by a 1: the values of `keys`
/// in the records of the engine and in JSON text, also where that is in a string of JSON text (see
/// eraseSecrets).
/// What memory is left in such a moment is not known: it may be that nothing can be written.
///
/// Threads: made and destroyed on any. At most 64 at once.
class CrashDump {
 public:
  /// Throws std::length_error when there are too many, or `file` has a name of more than 1000
  /// bytes. `ring` is not null.
  CrashDump(std::shared_ptr<NoteRing> ring, const std::string& file,
            std::vector<std::string> keys = {"userSig"});
  ~CrashDump();
  CrashDump(const CrashDump&) = delete;
  CrashDump& operator=(const CrashDump&) = delete;

  struct Slot;  ///< what a handler of signals finds

 private:
  friend void writeCrashDumps() noexcept;

  const std::shared_ptr<NoteRing> ring_;
  const std::vector<std::string> keys_;
  Slot* slot_ = nullptr;
};

}  // namespace vemo
