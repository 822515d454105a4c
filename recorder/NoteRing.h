#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "recorder/NoteWriter.h"
#include "recorder/ThreadNames.h"

namespace vemo {

/// `text` without its secrets: itself, or a view of `buffer`, which then holds the result; see
/// SecretMask::masked (platform/).
using TextMask = std::function<std::string_view(std::string_view text, std::string& buffer)>;

struct NoteRingOptions {
  std::chrono::minutes age{10};               ///< what is older is left out
  std::size_t bytes = std::size_t{8} << 20U;  ///< what there is room for
  std::string program;                        ///< the host's version, for the recording
};

/// Which notes are kept together, and go together when there is no room: steps stay longest, and
/// what comes again and again takes no room from the rest.
enum class NoteLane : std::uint8_t { steps, effects, periodic };

/// What stands before a note in memory.
struct NoteHead {
  enum class Kind : std::uint8_t { step, task, effect };

  std::uint32_t size = 0;  ///< of the note without this
  std::uint16_t thread = 0;
  Kind kind = Kind::step;
  bool overlaps = false;
  std::uint64_t step = 0;
  std::int64_t at = 0;  ///< milliseconds since the epoch
  /// Of a task the step that queued it; of what came in no step the last that had begun.
  std::uint64_t by = 0;
};

/// Notes as they were in the memory of a ring.
struct NoteBatch {
  struct Slice {
    NoteLane lane{};
    std::uint64_t order = 0;  ///< of several of one thread and lane
    std::string bytes;
  };
  std::vector<Slice> slices;
  std::array<std::uint64_t, 3> gone{};  ///< by lane, the latest step of which notes are gone
  std::uint64_t lost = 0;               ///< notes that went before they could be taken

  /// Appends the lines of a recording that say what is in here, by steps. What is older than
  /// `age` before the last note is left out, save the steps that changed the router's state.
  /// Whether all could be read, as in a ring it can.
  bool appendLines(std::string& out, const std::function<std::string_view(std::uint16_t)>& thread,
                   std::chrono::milliseconds age) const;
};

/// The last minutes of a session, in memory.
///
/// Each thread writes into chunks of its own, so that a note takes no lock; when there is no room
/// the oldest chunk goes. Of what is older than the effects that are left, the steps stay that
/// change the router's state, so that the last minutes can be played; what comes again and again
/// goes whole, save the latest statistics. When those steps have no room either, the recording
/// says that it is not whole.
///
/// Secrets are in memory as they came; who takes them out masks them. Any thread.
class NoteRing {
 public:
  explicit NoteRing(NoteRingOptions options);
  ~NoteRing();
  NoteRing(const NoteRing&) = delete;
  NoteRing& operator=(const NoteRing&) = delete;

  /// The recording of what is there now: the text of a .vemorec file, its secrets masked by
  /// `mask`, which may be null when there are none. `failure` is what went wrong, in the host's
  /// words, for who reads it. Takes the time of some milliseconds.
  std::string recording(const TextMask& mask, std::string_view failure = {}) const;

  /// Writes it to `file`: whole, or not at all, with a sentence in `error`; of several at once the
  /// last one's stays. What a host calls when it is asked to, or when something fails, which it
  /// names.
  bool write(const std::string& file, const TextMask& mask, std::string& error,
             std::string_view failure = {}) const;

  /// What was noted since the last call; the first time all that is there. One caller; from the
  /// first call on, what goes untaken is counted as lost.
  NoteBatch take();

  /// Has the next `take` give all that is there, as the first did. Returns whether that has all
  /// steps from the beginning.
  bool takeAnew();

  /// Has `dump` write notes from now on: it needs memory as large as the largest chunk.
  void prepareDump();

  /// Writes what is there to the file `descriptor`, in the form of a dump (Recording.h). The values
  /// of `keys`, in JSON texts and in records, are overwritten in a copy; the ring is only read.
  /// Calls nothing that a handler of signals must not call, and waits for a tenth of a second at
  /// the most; others may write notes meanwhile. False when it can't be written.
  bool dump(int descriptor, const std::vector<std::string>& keys) const noexcept;

  const NoteRingOptions& options() const { return options_; }
  ThreadNames& threads();

  /// This thread's memory for a note of `lane`, empty.
  NoteMemory& memory(NoteLane lane) {
    auto& memory = here().lanes[static_cast<std::size_t>(lane)];
    memory.restart();
    return memory;
  }
  /// Keeps `note`, which was written into `memory`, which `memory()` gave, behind room for a
  /// NoteHead, of which the size is set here.
  [[gnu::always_inline]] static void keep(NoteMemory& memory, const NoteHead& head,
                                          std::string_view note) {
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-static-cast-downcast): memory() gives no other
    static_cast<LaneMemory&>(memory).keep(head, note);
  }
  /// The number of this thread's name, 0 while it has none. For Notes.
  std::uint16_t& threadNumber() { return here().number; }

 private:
  struct Core;
  struct Chunk;
  struct ThreadExit;

  /// What one thread writes into.
  class LaneMemory final : public NoteMemory {
   public:
    LaneMemory(Core& core, NoteLane lane) : core_(core), lane_(lane) {}
    void restart() { at_ = begin_; }
    void keep(const NoteHead& head, std::string_view note);

   private:
    void grow(std::size_t bytes) override;

    Core& core_;
    const NoteLane lane_;
    Chunk* chunk_ = nullptr;
  };
  struct Thread {
    explicit Thread(Core& core)
        : lanes{LaneMemory(core, NoteLane::steps), LaneMemory(core, NoteLane::effects),
                LaneMemory(core, NoteLane::periodic)} {}

    std::array<LaneMemory, 3> lanes;
    std::uint16_t number = 0;
    bool inUse = true;
  };
  /// The thread's memory in the ring that it wrote to last.
  struct Here {
    std::uint64_t ring = 0;
    Thread* thread = nullptr;
  };
  static constinit thread_local Here here_;

  Thread& here() {
    if (here_.ring != id_) [[unlikely]]
      enter();
    return *here_.thread;
  }
  void enter();

  const NoteRingOptions options_;
  const std::uint64_t id_;  // of no other ring of this process
  const std::shared_ptr<Core> core_;
};

struct NoteRing::Chunk {
  char* bytes = nullptr;
  std::size_t capacity = 0;
  std::atomic<std::size_t> used = 0;
  std::size_t taken = 0;       // by take()
  std::uint64_t lastStep = 0;  // of those in it
  std::uint64_t order = 0;
  NoteLane lane{};
  Chunk* nextSealed = nullptr;  // those that nobody writes into, the oldest first
  Chunk* next = nullptr;        // all
};

[[gnu::always_inline]] inline void NoteRing::LaneMemory::keep(const NoteHead& head,
                                                              std::string_view note) {
  // Field by field: read as a whole, what was just written in parts would be waited for.
  char* const begin = begin_;
  const auto set = [&](std::size_t at, const auto& value) {
    std::memcpy(begin + at, &value, sizeof value);
  };
  set(offsetof(NoteHead, size), static_cast<std::uint32_t>(note.size()));
  set(offsetof(NoteHead, thread), head.thread);
  set(offsetof(NoteHead, kind), head.kind);
  set(offsetof(NoteHead, overlaps), head.overlaps);
  set(offsetof(NoteHead, step), head.step);
  set(offsetof(NoteHead, at), head.at);
  set(offsetof(NoteHead, by), head.by);
  char* const end = begin + sizeof head + note.size();
  begin_ = at_ = end;
  auto& chunk = *chunk_;
  chunk.lastStep = std::max(chunk.lastStep, head.step);
  chunk.used.store(static_cast<std::size_t>(end - chunk.bytes), std::memory_order_release);
}

}  // namespace vemo
