#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "recorder/Journal.h"

namespace vemo {

/// `text` without its secrets: itself, or a view of `buffer`, which then holds the result; see
/// SecretMask::masked (platform/).
using TextMask = std::function<std::string_view(std::string_view text, std::string& buffer)>;

struct NoteRingOptions {
  std::chrono::minutes age{10};                     ///< what is older may go
  std::size_t bytes = std::size_t{8} << 20U;        ///< and what is more
  std::size_t beforeBytes = std::size_t{1} << 20U;  ///< of the steps that went, without effects
  std::string program;                              ///< the host's version, for the recording
};

/// The last minutes of a session, in memory.
///
/// Notes go by and by, the oldest first. Of what has gone, the steps stay that change the
/// router's state, without what they did, so that the last minutes can be played; what comes
/// again and again goes whole, save the latest statistics. When those steps are too many as
/// well, the recording says that it is not whole.
///
/// Secrets are in memory as they came; `recording` masks them. What a process leaves behind
/// that ends by a signal is nothing: a host that must have the last minutes of a crash streams
/// its session to a file (LineJournal). Any thread.
class NoteRing final : public Journal {
 public:
  explicit NoteRing(NoteRingOptions options) : options_(std::move(options)) {}

  bool isOpen() const override { return true; }
  void note(const Note& note) override;

  /// The recording of what is there now: the text of a .vemorec file, its secrets masked by
  /// `mask`, which may be null when there are none. Takes the time of some milliseconds.
  std::string recording(const TextMask& mask) const;

  /// Writes it to `file`: whole, or not at all, with a sentence in `error`.
  bool write(const std::string& file, const TextMask& mask, std::string& error) const;

 private:
  struct Head {
    std::uint32_t size;
    std::uint16_t thread;
    Note::Kind kind;
    bool overlaps;
    bool periodic;
    std::uint64_t step;
    std::uint64_t queuedBy;
    std::int64_t at;
  };
  struct Chunk {
    std::string bytes;
    std::int64_t lastAt = 0;
  };

  template <class Take>
  static void forEach(std::string_view bytes, Take take);
  std::uint16_t threadNumber(std::string_view name);
  void makeRoom(std::int64_t now);
  void keepSteps(const Chunk& chunk);

  const NoteRingOptions options_;
  mutable std::mutex mutex_;
  std::vector<std::string> threads_;
  std::deque<Chunk> chunks_;
  std::size_t bytes_ = 0;
  std::list<std::string> before_;  // notes as in chunks
  std::list<std::string>::iterator statistics_ = before_.end();
  std::size_t beforeSize_ = 0;
  bool whole_ = true;
};

}  // namespace vemo
