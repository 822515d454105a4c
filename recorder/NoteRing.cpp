#include "recorder/NoteRing.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <istream>
#include <mutex>
#include <optional>
#include <tuple>
#include <type_traits>
#include <utility>

#include "json/JsonText.h"
#include "recorder/Recording.h"
#include "recorder/SecretEraser.h"

namespace vemo {
namespace {

constexpr std::size_t kLanes = 3;

std::uint64_t newRingId() {
  static std::atomic<std::uint64_t> last = 0;
  return ++last;
}

/// With an age that is one, in milliseconds too.
NoteRingOptions inRange(NoteRingOptions options) {
  using std::chrono::minutes;
  constexpr auto most = std::chrono::duration_cast<minutes>(std::chrono::milliseconds::max());
  options.age = std::clamp(options.age, minutes(0), most);
  return options;
}

/// A name beside `file` that no other writer has.
std::string partOf(const std::string& file) {
  static std::atomic<std::uint64_t> last = 0;
  return file + "." + std::to_string(::getpid()) + "-" + std::to_string(++last) + ".part";
}

/// A note in a slice.
struct Placed {
  NoteHead head;
  std::string_view note;
  NoteLane lane{};
  std::size_t place = 0;  ///< among all, as the slices have them

  /// Steps in the order in which they began, each with what came in it, and what came in none.
  std::uint64_t key() const { return head.step > 0 ? head.step : head.by; }
  int rank() const {
    if (head.step == 0) return 2;
    return head.kind == NoteHead::Kind::effect ? 1 : 0;
  }
};

/// Whether `bytes` begin with a head that can be one, and the note is there.
bool beginsWithNote(std::string_view bytes, NoteHead& head) {
  if (bytes.size() < sizeof head) return false;
  const auto flag = static_cast<unsigned char>(bytes[offsetof(NoteHead, overlaps)]);
  if (flag > 1) return false;
  std::memcpy(&head, bytes.data(), sizeof head);
  return head.kind <= NoteHead::Kind::effect && head.size <= bytes.size() - sizeof head;
}

std::vector<Placed> notesIn(const std::vector<NoteBatch::Slice>& slices, bool& areAll) {
  std::vector<const NoteBatch::Slice*> inOrder;
  inOrder.reserve(slices.size());
  for (const auto& slice : slices) inOrder.push_back(&slice);
  std::ranges::sort(inOrder, {}, [](const auto* slice) { return std::pair(slice->order, slice); });
  std::vector<Placed> notes;
  for (const auto* slice : inOrder) {
    for (std::string_view left = slice->bytes; !left.empty();) {
      Placed note;
      if (!beginsWithNote(left, note.head)) {  // of a dump
        areAll = false;
        break;
      }
      left.remove_prefix(sizeof note.head);
      note.note = left.substr(0, note.head.size);
      note.lane = slice->lane;
      note.place = notes.size();
      left.remove_prefix(note.note.size());
      notes.push_back(note);
    }
  }
  std::ranges::sort(notes, {}, [](const Placed& note) {
    return std::tuple(note.key(), note.rank(), note.place);
  });
  return notes;
}

// A dump: the mark, this, the threads' names, and slices, each behind its own head, as this machine
// has them in memory.
struct DumpHead {
  std::array<char, 32> program{};
  std::array<std::uint64_t, kLanes> gone{};
  std::int64_t age = 0;
  std::uint16_t threads = 0;
  std::array<char, 6> unused{};
};
struct DumpSlice {  // the last has no bytes
  std::uint64_t order = 0;
  std::uint64_t size = 0;
  NoteLane lane{};
  std::array<char, 7> unused{};
};
static_assert(std::has_unique_object_representations_v<DumpHead> &&
                  std::has_unique_object_representations_v<DumpSlice>,
              "what happened to be in memory would be in a dump");

/// No ring is as large: what has more is no dump.
constexpr std::uint64_t kMaxDumpBytes = std::uint64_t{1} << 30U;

bool isStatistics(std::string_view json) { return json.starts_with(R"({"event":"onStatistics")"); }

}  // namespace

bool NoteBatch::appendLines(std::string& out,
                            const std::function<std::string_view(std::uint16_t)>& thread,
                            std::chrono::milliseconds age) const {
  bool areAll = true;
  const auto notes = notesIn(slices, areAll);
  // Up to this step, not all that it did is left.
  auto before = std::max(gone[static_cast<std::size_t>(NoteLane::effects)],
                         gone[static_cast<std::size_t>(NoteLane::periodic)]);
  for (const auto& note : notes) {
    // Than the last one, whose time is not the latest where the clock was set back. Unsigned, as
    // the times of a damaged dump may be any.
    const auto latest = notes.back().head.at;
    const auto older =
        static_cast<std::uint64_t>(latest) - static_cast<std::uint64_t>(note.head.at);
    if (latest > note.head.at && older > static_cast<std::uint64_t>(age.count()))
      before = std::max(before, note.key());
  }
  std::string json;
  std::optional<std::size_t> statistics;  // the latest of those before
  for (std::size_t i = 0; i < notes.size() && notes[i].key() <= before; ++i) {
    if (notes[i].lane != NoteLane::periodic || notes[i].head.kind != NoteHead::Kind::step) continue;
    json.clear();
    if (appendNoteJson(json, notes[i].note) && isStatistics(json)) statistics = i;
  }
  for (std::size_t i = 0; i < notes.size(); ++i) {
    const auto& [head, note, lane, place] = notes[i];
    const bool isBefore = notes[i].key() <= before && before > 0;
    if (isBefore && head.kind == NoteHead::Kind::effect) continue;
    if (isBefore && lane == NoteLane::periodic && i != statistics) continue;
    json.clear();
    if (!appendNoteJson(json, note)) {
      areAll = false;
      continue;
    }
    appendNoteLine(out,
                   {.kind = static_cast<Note::Kind>(head.kind),
                    .at = std::chrono::milliseconds(head.at),
                    .thread = thread(head.thread),
                    .step = head.step,
                    .by = head.by,
                    .overlaps = head.overlaps,
                    .periodic = lane == NoteLane::periodic,
                    .text = json},
                   isBefore);
  }
  return areAll;
}

/// What threads that end may still touch when the ring is gone.
struct NoteRing::Core {
  explicit Core(const NoteRingOptions& options) {
    const auto eighth = options.bytes / 8;
    const std::array<std::size_t, kLanes> bytes{eighth, 3 * eighth, 4 * eighth};
    for (std::size_t i = 0; i < kLanes; ++i) {
      lanes.at(i).limit = bytes.at(i);
      lanes.at(i).chunkBytes =
          std::clamp<std::size_t>(bytes.at(i) / 16, std::size_t{4} << 10U, std::size_t{64} << 10U);
    }
  }
  ~Core() {
    for (auto* chunk = all.load(); chunk;) {
      delete[] chunk->bytes;
      delete std::exchange(chunk, chunk->next);
    }
  }
  Core(const Core&) = delete;
  Core& operator=(const Core&) = delete;

  struct Lane {
    std::size_t limit = 0;
    std::size_t chunkBytes = 0;
    std::size_t bytes = 0;  // of its chunks
    Chunk* oldest = nullptr;
    Chunk* latest = nullptr;
    std::uint64_t gone = 0;
  };

  /// Another chunk of `lane` with room for `bytes`, in place of `former`, which may be null.
  Chunk* exchange(NoteLane lane, Chunk* former, std::size_t bytes) {
    const std::lock_guard lock(mutex);
    auto& of = lanes.at(static_cast<std::size_t>(lane));
    if (former && former->used > 0) {
      seal(of, *former);
    } else if (former) {
      drop(of, *former);
    }
    const auto capacity = bytes <= of.chunkBytes ? of.chunkBytes : of.chunkBytes + bytes;
    Chunk* chunk = nullptr;
    while (!chunk && of.bytes + capacity > of.limit && of.oldest) {
      auto& oldest = *std::exchange(of.oldest, of.oldest->nextSealed);
      if (!of.oldest) of.latest = nullptr;
      of.gone = std::max(of.gone, oldest.lastStep);
      if (taking) lost += notesFrom(oldest, oldest.taken);
      if (oldest.capacity == capacity) {
        chunk = &oldest;
      } else {
        drop(of, oldest);
      }
    }
    if (!chunk) chunk = make(of, capacity);
    chunk->lane = lane;
    chunk->used = 0;
    chunk->taken = 0;
    chunk->lastStep = 0;
    chunk->order = ++order;
    chunk->nextSealed = nullptr;
    return chunk;
  }

  /// How many notes are in `chunk` behind `from`.
  static std::uint64_t notesFrom(const Chunk& chunk, std::size_t from) {
    std::uint64_t count = 0;
    for (; from < chunk.used; ++count) {
      NoteHead head;
      std::memcpy(&head, chunk.bytes + from, sizeof head);
      from += sizeof head + head.size;
    }
    return count;
  }

  static void seal(Lane& lane, Chunk& chunk) {
    (lane.latest ? lane.latest->nextSealed : lane.oldest) = &chunk;
    lane.latest = &chunk;
  }

  void drop(Lane& lane, Chunk& chunk) {
    lane.bytes -= chunk.capacity;
    delete[] std::exchange(chunk.bytes, nullptr);
    chunk.capacity = 0;
    chunk.used = 0;
    chunk.taken = 0;
    chunk.nextSealed = std::exchange(spare, &chunk);
  }

  Chunk* make(Lane& lane, std::size_t capacity) {
    largest = std::max(largest, capacity);
    if (mayBeDumped) prepareCopy();
    auto* chunk = spare;
    if (chunk) {
      spare = chunk->nextSealed;
    } else {
      chunk = new Chunk;
      chunk->next = all.load();
      all = chunk;
    }
    chunk->bytes = new char[capacity];
    chunk->capacity = capacity;
    lane.bytes += capacity;
    return chunk;
  }

  /// A copy of all notes, or of those that were not taken yet.
  NoteBatch batch(bool untaken) {
    NoteBatch batch;
    const std::lock_guard lock(mutex);
    for (auto* chunk = all.load(); chunk; chunk = chunk->next) {
      const auto used = chunk->used.load(std::memory_order_acquire);
      const auto from = untaken ? std::exchange(chunk->taken, used) : 0;
      if (from == used) continue;
      batch.slices.push_back(
          {chunk->lane, chunk->order, std::string(chunk->bytes + from, used - from)});
    }
    if (untaken) batch.lost = std::exchange(lost, 0);
    if (untaken && std::exchange(taking, true))
      return batch;  // what has gone was taken, or is lost
    for (std::size_t i = 0; i < kLanes; ++i) batch.gone.at(i) = lanes.at(i).gone;
    return batch;
  }

  /// Nothing of what is there counts as taken.
  bool untake() {
    const std::lock_guard lock(mutex);
    for (auto* chunk = all.load(); chunk; chunk = chunk->next) chunk->taken = 0;
    taking = false;
    lost = 0;
    return lanes.at(static_cast<std::size_t>(NoteLane::steps)).gone == 0;
  }

  void prepareCopy() {
    if (copy.size() < largest) copy = std::vector<char>(largest);
  }

  ThreadNames names;
  std::mutex mutex;
  std::array<Lane, kLanes> lanes;
  std::atomic<Chunk*> all = nullptr;  // none goes before this
  Chunk* spare = nullptr;             // without memory
  std::size_t largest = 0;            // chunk that was made
  bool mayBeDumped = false;
  std::vector<char> copy;  // of a chunk, for a dump: a handler of signals can't make it
  std::uint64_t order = 0;
  bool taking = false;
  std::uint64_t lost = 0;
  std::vector<std::unique_ptr<Thread>> threads;
};

/// Of a thread: where it has written, for another to go on when it ends.
struct NoteRing::ThreadExit {
  struct Entry {
    std::uint64_t ring;
    std::weak_ptr<Core> core;
    Thread* thread;
  };

  ThreadExit() = default;
  ThreadExit(const ThreadExit&) = delete;
  ThreadExit& operator=(const ThreadExit&) = delete;
  ~ThreadExit() {
    here_ = {};
    for (const auto& entry : entries) {
      const auto core = entry.core.lock();
      if (!core) continue;
      const std::lock_guard lock(core->mutex);
      entry.thread->inUse = false;
    }
  }

  std::vector<Entry> entries;
};

constinit thread_local NoteRing::Here NoteRing::here_;

void NoteRing::enter() {
  // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): one of each thread
  static thread_local ThreadExit exit;
  const auto known = std::ranges::find(exit.entries, id_, &ThreadExit::Entry::ring);
  if (known != exit.entries.end()) {
    here_ = {id_, known->thread};
    return;
  }
  std::erase_if(exit.entries, [](const auto& entry) { return entry.core.expired(); });
  const std::lock_guard lock(core_->mutex);
  const auto free = std::ranges::find(core_->threads, false, &Thread::inUse);
  Thread* thread = nullptr;
  if (free != core_->threads.end()) {
    thread = free->get();
    thread->number = 0;
    thread->inUse = true;
  } else {
    thread = core_->threads.emplace_back(std::make_unique<Thread>(*core_)).get();
  }
  exit.entries.push_back({id_, core_, thread});
  here_ = {id_, thread};
}

void NoteRing::LaneMemory::grow(std::size_t bytes) {
  const auto written = size();
  // The former chunk may be another's as soon as it is given back.
  std::string begun(begin_, written);
  begin_ = at_ = end_ = nullptr;
  chunk_ = core_.exchange(lane_, std::exchange(chunk_, nullptr), written + bytes);
  begin_ = chunk_->bytes;
  begun.copy(begin_, written);
  at_ = begin_ + written;
  end_ = begin_ + chunk_->capacity;
}

NoteRing::NoteRing(NoteRingOptions options)
    : options_(inRange(std::move(options))),
      id_(newRingId()),
      core_(std::make_shared<Core>(options_)) {}

NoteRing::~NoteRing() = default;

ThreadNames& NoteRing::threads() { return core_->names; }

NoteBatch NoteRing::take() { return core_->batch(true); }

bool NoteRing::takeAnew() { return core_->untake(); }

std::string NoteRing::recording(const TextMask& mask, std::string_view failure) const {
  const auto batch = core_->batch(false);
  const bool whole = batch.gone[static_cast<std::size_t>(NoteLane::steps)] == 0;
  auto out = recordingHeader(options_.program, whole, failure);
  batch.appendLines(
      out, [this](std::uint16_t number) { return core_->names.name(number); }, options_.age);
  out.append(kRecordingEnd) += '\n';
  if (!mask) return out;
  std::string masked;
  std::string buffer;
  masked.reserve(out.size());
  for (std::string_view left = out; !left.empty();) {
    const auto line = left.substr(0, left.find('\n') + 1);
    masked += mask(line, buffer);
    left.remove_prefix(line.size());
  }
  return masked;
}

void NoteRing::prepareDump() {
  const std::lock_guard lock(core_->mutex);
  core_->mayBeDumped = true;
  core_->prepareCopy();
}

namespace {

/// Locks `mutex`, unless that takes long: whoever has it may be the thread that has died, and then
/// no other gets it.
std::unique_lock<std::mutex> lockForDump(std::mutex& mutex) {
  std::unique_lock lock(mutex, std::defer_lock);
  for (int tries = 0; !lock.try_lock() && tries < 100; ++tries) ::poll(nullptr, 0, 1);
  return lock;
}

bool writeBytes(int descriptor, const void* bytes, std::size_t size) {
  const auto* from = static_cast<const char*>(bytes);
  while (size > 0) {
    const auto written = ::write(descriptor, from, size);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    from += written;
    size -= static_cast<std::size_t>(written);
  }
  return true;
}

void eraseSecretsOfNotes(char* notes, std::size_t size, const std::vector<std::string>& keys) {
  for (std::size_t at = 0; at + sizeof(NoteHead) <= size;) {
    NoteHead head;
    std::memcpy(&head, notes + at, sizeof head);
    at += sizeof head;
    eraseSecrets(notes + at, std::min<std::size_t>(head.size, size - at), keys);
    at += head.size;
  }
}

}  // namespace

bool NoteRing::dump(int descriptor, const std::vector<std::string>& keys) const noexcept {
  const auto put = [descriptor](const auto& value) {
    return writeBytes(descriptor, &value, sizeof value);
  };
  // So that no chunk is another's, or gone, while it is read; notes that come are behind its end.
  const auto lock = lockForDump(core_->mutex);
  DumpHead head;
  options_.program.copy(head.program.data(), head.program.size() - 1);
  head.age = std::chrono::milliseconds(options_.age).count();
  for (std::size_t i = 0; i < kLanes; ++i) head.gone.at(i) = core_->lanes.at(i).gone;
  head.threads = core_->names.count();
  if (!writeBytes(descriptor, kDumpMark.data(), kDumpMark.size()) || !put(head)) return false;
  for (std::uint16_t i = 0; i < head.threads; ++i) {
    std::array<char, ThreadNames::kBytes> name{};
    core_->names.name(i).copy(name.data(), name.size());
    if (!put(name)) return false;
  }
  auto* const copy = core_->copy.data();
  for (auto* chunk = core_->all.load(); chunk; chunk = chunk->next) {
    const auto used = chunk->used.load(std::memory_order_acquire);
    if (!chunk->bytes || used == 0 || used > core_->copy.size()) continue;
    std::memcpy(copy, chunk->bytes, used);
    eraseSecretsOfNotes(copy, used, keys);
    const DumpSlice slice{.order = chunk->order, .size = used, .lane = chunk->lane};
    if (!put(slice) || !writeBytes(descriptor, copy, used)) return false;
  }
  return put(DumpSlice());
}

namespace {

/// Puts a stand-in where a secret was overwritten, one for all.
void showErased(std::string& text) {
  if (text.find(kErased) == std::string::npos) return;
  std::string shown;
  for (std::size_t at = 0; at < text.size();) {
    const auto end = std::min(text.find(kErased, at), text.size());
    shown.append(text, at, end - at);
    at = std::min(text.find_first_not_of(kErased, end), text.size());
    if (at > end) shown += "***";
  }
  text = std::move(shown);
}

}  // namespace

std::optional<DumpedRecording> recordingOfDump(std::istream& in, std::string& error) {
  const auto take = [&](void* to, std::size_t size) {
    in.read(static_cast<char*>(to), static_cast<std::streamsize>(size));
    return static_cast<std::size_t>(in.gcount()) == size;
  };
  const auto refuse = [&](const std::string& why) {
    error = "this dump is damaged: " + why;
    return std::nullopt;
  };
  DumpHead head;
  if (!take(&head, sizeof head)) return refuse("it breaks off in its head");
  if (head.threads == 0 || head.threads > ThreadNames::kMost)
    return refuse("it can't be of " + std::to_string(head.threads) + " threads");
  if (head.age < 0) return refuse("it can't be of " + std::to_string(head.age) + " milliseconds");
  ThreadNames names(head.threads);
  for (std::uint16_t i = 0; i < head.threads; ++i) {
    std::array<char, ThreadNames::kBytes> name{};
    if (!take(name.data(), name.size())) return refuse("it breaks off in the names of threads");
    name.back() = 0;
    names.add(name.data());
  }
  NoteBatch batch;
  batch.gone = head.gone;
  head.program.back() = 0;
  std::uint64_t left = kMaxDumpBytes;
  DumpedRecording recording;
  for (;;) {
    DumpSlice slice;
    recording.cutOff = !take(&slice, sizeof slice);
    if (recording.cutOff || slice.size == 0) break;
    const auto part = "part " + std::to_string(batch.slices.size() + 1);
    if (slice.lane > NoteLane::periodic) return refuse(part + " is of no known kind");
    if (slice.size > left)
      return refuse(part + " can't have " + std::to_string(slice.size) + " bytes");
    left -= slice.size;
    std::string bytes;
    for (std::array<char, 65'536> some; slice.size > bytes.size();) {
      in.read(some.data(), static_cast<std::streamsize>(
                               std::min<std::uint64_t>(some.size(), slice.size - bytes.size())));
      if (in.gcount() == 0) break;  // it breaks off here
      bytes.append(some.data(), static_cast<std::size_t>(in.gcount()));
    }
    batch.slices.push_back({slice.lane, slice.order, std::move(bytes)});
  }
  std::string lines;
  const bool areAll = batch.appendLines(
      lines, [&](std::uint16_t number) { return names.name(number); },
      std::chrono::milliseconds(head.age));
  showErased(lines);
  const bool isWhole = areAll && head.gone[static_cast<std::size_t>(NoteLane::steps)] == 0;
  recording.text = recordingHeader(head.program.data(), isWhole) + lines;
  if (!recording.cutOff) recording.text.append(kRecordingEnd) += '\n';
  return recording;
}

bool NoteRing::write(const std::string& file, const TextMask& mask, std::string& error,
                     std::string_view failure) const {
  const auto text = recording(mask, failure);
  const auto part = partOf(file);
  errno = 0;
  std::ofstream out(part, std::ios::binary | std::ios::trunc);
  out << text;
  out.close();
  if (out && std::rename(part.c_str(), file.c_str()) == 0) return true;
  error = file + " can't be written: " + std::strerror(errno);
  std::remove(part.c_str());
  return false;
}

}  // namespace vemo
