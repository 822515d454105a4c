#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "recorder/Journal.h"
#include "recorder/NoteRing.h"

namespace vemo {

/// A whole session, written line by line as it goes on: what a process leaves behind that ends
/// by a signal goes as far as its lines were written. Any thread.
class LineJournal final : public Journal {
 public:
  /// Gets each line of the recording, without its line break, one at a time; returns without
  /// waiting for a disk (LineQueue in platform/ is made for that).
  using WriteLine = std::function<void(std::string_view line)>;

  /// Writes the first line at once. `program` is the host's version; `mask`, which may be null
  /// when there are no secrets, takes them out of each line before it is written.
  LineJournal(std::string_view program, TextMask mask, WriteLine write);

  bool isOpen() const override { return true; }
  void note(const Note& note) override;

 private:
  const TextMask mask_;
  const WriteLine write_;
  std::mutex mutex_;  // held while a line is written, so that they are in order
  std::string line_;
  std::string buffer_;
};

}  // namespace vemo
