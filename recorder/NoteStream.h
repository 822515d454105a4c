#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "recorder/NoteRing.h"

namespace vemo {

/// A whole session, written line by line as it goes on: a thread takes out of a ring what was
/// noted, now and then, so that who notes pays nothing for it. It begins with what is in the ring.
/// What goes out of the ring before it is taken is told as lost. A ring has one stream at a time.
/// What a process leaves behind that ends by a signal lacks what was noted since the last time. Any
/// thread.
class NoteStream {
 public:
  /// Gets each line of the recording, without its line break, on the stream's thread or that of
  /// `flush`, one at a time.
  using WriteLine = std::function<void(std::string_view line)>;

  /// Writes the first line at once. `mask`, which may be null when there are no secrets, takes
  /// them out of each line before it is written. `ring` is not null.
  NoteStream(std::shared_ptr<NoteRing> ring, TextMask mask, WriteLine write,
             std::chrono::milliseconds interval = std::chrono::milliseconds(100));
  /// Writes what is there, and that this is the end.
  ~NoteStream();
  NoteStream(const NoteStream&) = delete;
  NoteStream& operator=(const NoteStream&) = delete;

  /// Writes what was noted up to now.
  void flush();

 private:
  void write(std::string_view line);
  void run(std::chrono::milliseconds interval);

  const std::shared_ptr<NoteRing> ring_;
  const TextMask mask_;
  const WriteLine write_;
  std::mutex writing_;  // held while lines are written, so that they are in order
  std::string lines_;
  std::string buffer_;
  std::mutex mutex_;
  std::condition_variable ended_;
  bool ends_ = false;
  std::thread thread_;
};

}  // namespace vemo
