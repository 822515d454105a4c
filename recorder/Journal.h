#pragma once

#include <chrono>
#include <cstdint>
#include <string_view>

namespace vemo {

/// Something that happened at a router. The texts are views, valid during Journal::note.
struct Note {
  enum class Kind : std::uint8_t {
    step,    ///< it went into the router; `text` is a step of a scenario
    task,    ///< a task that the router had queued for the main thread begins; a step, too
    effect,  ///< it came out of the router; `text` is an effect of a transcript
  };

  Kind kind = Kind::step;
  std::chrono::milliseconds at{};  ///< since the epoch; an effect has the time of its step
  std::string_view thread;         ///< "main", "engine", "other", and with numbers: "engine 2"
  /// Of a step, its own number, from 1; of an effect, and of an answer of the device, that of
  /// the step in which it came. 0: it came in none.
  std::uint64_t step = 0;
  /// Of a task the step that queued it; of what came in no step the last that had begun.
  std::uint64_t by = 0;
  bool overlaps = false;  ///< of a step: another was going on when it began
  bool periodic = false;  ///< it is, or comes of, an event that comes again and again
  std::string_view text;  ///< a JSON object
};

/// Who is told of notes at once. Any thread, by several at once; notes of one thread come in order.
class Journal {
 public:
  virtual ~Journal() = default;

  /// Whether notes are wanted now; while they are not, no text of them is made.
  virtual bool isOpen() const = 0;

  /// Takes a note and returns without waiting for a disk or a reader. Calls no piece of a
  /// platform.
  virtual void note(const Note& note) = 0;
};

}  // namespace vemo
