#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "bridge/MainQueue.h"
#include "recorder/DeviceAnswers.h"
#include "recorder/Journal.h"
#include "recorder/NoteRing.h"
#include "recorder/NoteWriter.h"
#include "recorder/ObjectNames.h"

namespace vemo {

/// What the forwarders around one router share: they write their notes by it. Any thread.
class Notes {
 public:
  /// Notes are kept in `ring` and told to `journal`, of which one may be null. `mainQueue` tells
  /// which thread is the main one; it outlives all calls of the router.
  Notes(std::shared_ptr<NoteRing> ring, std::shared_ptr<Journal> journal,
        const MainQueue& mainQueue);

  bool isOn() const { return ring_ || isTold(); }
  ObjectNames& names() { return names_; }
  DeviceAnswers& device() { return device_; }

  /// Notes an effect of the step that goes on on this thread; `write(NoteWriter&)` adds its keys.
  template <class Write>
  void effect(notes::Key name, Write write) {
    if (!isOn()) return;
    const auto* const step = frame();
    const auto lane = step && step->periodic ? NoteLane::periodic : NoteLane::effects;
    auto& memory = memoryOf(lane);
    NoteWriter note(memory, names_, sizeof(NoteHead));
    note.add("effect", name);
    write(note);
    keep(memory, lane, NoteHead::Kind::effect, step, note.whole());
  }
  /// Likewise, with plain members that are known together: the faster way.
  template <class... T>
  [[gnu::always_inline]] void effectOf(notes::Key name, const notes::Member<T>&... members) {
    if (!isOn()) return;
    const auto* const step = frame();
    const auto lane = step && step->periodic ? NoteLane::periodic : NoteLane::effects;
    auto& memory = memoryOf(lane);
    const auto note = NoteWriter::write(memory, sizeof(NoteHead),
                                        notes::Map(notes::Member{"effect", name}, members...));
    keep(memory, lane, NoteHead::Kind::effect, step, note);
  }

  /// Notes what the device answered, within the step that goes on on this thread: `changes` of
  /// a scenario's device.
  void answer(const boost::json::object& changes) {
    auto& memory = memoryOf(NoteLane::steps);
    NoteWriter note(memory, names_, sizeof(NoteHead));
    note.add("device", changes);
    keep(memory, NoteLane::steps, NoteHead::Kind::step, frame(), note.whole());
  }

  /// The step that goes on on this thread, for a task that it queues.
  struct Origin {
    std::uint64_t step = 0;
    bool periodic = false;
  };
  Origin origin() const;

  class Step;

 private:
  /// A step on a thread, while it goes on; the last that begins ends first.
  struct Frame {
    Notes* notes = nullptr;
    const Frame* outer = nullptr;
    std::uint64_t step = 0;
    std::int64_t at = 0;
    std::uint16_t thread = 0;
    bool periodic = false;
    bool outermost = true;  // of this router, on its thread
  };
  static constinit thread_local const Frame* innermost_;

  /// The step of this router that goes on on this thread; that of another router may have
  /// begun inside it.
  const Frame* frame() const {
    const auto* frame = innermost_;
    while (frame && frame->notes != this) frame = frame->outer;
    return frame;
  }

  bool isTold() const { return journal_ && journal_->isOpen(); }
  [[gnu::always_inline]] NoteMemory& memoryOf(NoteLane lane) {
    return ring_ ? ring_->memory(lane) : scratch();
  }
  static NoteMemory& scratch();
  static NoteHead headOf(NoteHead::Kind kind, const Frame& step) {
    NoteHead head;
    head.kind = kind;
    head.thread = step.thread;
    head.step = step.step;
    head.at = step.at;
    return head;
  }
  /// Keeps a note that came in `step`, or in none.
  [[gnu::always_inline]] void keep(NoteMemory& memory, NoteLane lane, NoteHead::Kind kind,
                                   const Frame* step, std::string_view note) {
    if (!step) [[unlikely]]
      return keepOutside(memory, lane, kind, note);
    keep(memory, lane, headOf(kind, *step), note);
  }
  void keepOutside(NoteMemory& memory, NoteLane lane, NoteHead::Kind kind, std::string_view note);
  // Inlined, so that the head goes from registers to where it stays.
  [[gnu::always_inline]] void keep(NoteMemory& memory, NoteLane lane, const NoteHead& head,
                                   std::string_view note) {
    if (ring_) [[likely]]
      NoteRing::keep(memory, head, note);
    if (isTold()) [[unlikely]]
      tell(lane, NoteHead(head), note);
  }
  void tell(NoteLane lane, const NoteHead& head, std::string_view note);
  std::uint16_t threadNumber(std::string_view role) {
    return mainQueue_.isMainThread() ? ThreadNames::kMain : numberElsewhere(role);
  }
  std::uint16_t numberElsewhere(std::string_view role);

  // In one, so that a step that begins counts both at once: the steps that began, and above
  // kRunning how many of them go on.
  static constexpr std::uint64_t kRunning = std::uint64_t{1} << 48U;

  const std::shared_ptr<NoteRing> ring_;
  const std::shared_ptr<Journal> journal_;
  const std::shared_ptr<ThreadNames> threads_;
  const MainQueue& mainQueue_;
  ObjectNames names_;
  DeviceAnswers device_{*this};
  std::atomic<std::uint64_t> steps_ = 0;
};

/// A step that goes into the router on this thread, from the making of this to its end. While
/// nothing is noted it does nothing. The notes outlive it.
class Notes::Step {
 public:
  /// On which thread a scenario plays such a step where it says nothing of it, and what a
  /// thread is called that is met here first.
  struct Place {
    bool usuallyMain;
    std::string_view role;
  };
  static constexpr Place onEngine{false, "engine"};
  static constexpr Place onOther{false, "other"};
  static constexpr Place onMain{true, "other"};
  static constexpr Place anywhere{true, {}};  ///< steps that are played on no thread of their own

  /// `write(NoteWriter&)` adds the keys of the step, the verb first.
  template <class Write>
  Step(Notes& notes, Place place, Write write, bool periodic = false) {
    if (!begin(notes, place.role.empty() ? onMain.role : place.role, periodic)) return;
    const auto lane = periodic ? NoteLane::periodic : NoteLane::steps;
    auto& memory = notes.memoryOf(lane);
    NoteWriter note(memory, notes.names_, sizeof(NoteHead));
    write(note);
    if (const auto thread = unusualThread(place)) note.add("thread", *thread);
    keep(memory, lane, NoteHead::Kind::step, note.whole());
  }

  /// A message of the page, whose item is labelled by the step's number.
  Step(Notes& notes, std::string_view message) {
    if (!begin(notes, onMain.role, false)) return;
    auto& memory = notes.memoryOf(NoteLane::steps);
    const auto note = NoteWriter::write(memory, sizeof(NoteHead),
                                        notes::Map(notes::Member{"message", message},
                                                   notes::Member{"as", notes::Label{frame_.step}},
                                                   notes::Member{"thread", unusualThread(onMain)}));
    keep(memory, NoteLane::steps, NoteHead::Kind::step, note);
  }
  ~Step() {
    if (!frame_.notes) return;
    innermost_ = frame_.outer;
    if (frame_.outermost) frame_.notes->steps_.fetch_sub(kRunning, std::memory_order_relaxed);
  }
  Step(const Step&) = delete;
  Step& operator=(const Step&) = delete;

  /// A task of the main queue.
  Step(Notes& notes, Origin origin) {
    if (!begin(notes, "main", origin.periodic)) return;
    const auto lane = origin.periodic ? NoteLane::periodic : NoteLane::steps;
    auto& memory = notes.memoryOf(lane);
    NoteWriter note(memory, notes.names_, sizeof(NoteHead));
    note.add("drain", 1);
    keep(memory, lane, NoteHead::Kind::task, note.whole(), origin.step);
  }

  /// Its number; 0 while nothing is noted.
  std::uint64_t number() const { return frame_.step; }

 private:
  bool begin(Notes& notes, std::string_view role, bool periodic);
  /// What a scenario has to say of the step's thread.
  std::optional<std::string_view> unusualThread(Place place) const {
    const bool main = frame_.thread == ThreadNames::kMain;
    if (main == place.usuallyMain || place.role.empty()) return std::nullopt;
    return main ? "main" : "other";
  }
  [[gnu::always_inline]] void keep(NoteMemory& memory, NoteLane lane, NoteHead::Kind kind,
                                   std::string_view note, std::uint64_t by = 0) {
    auto head = headOf(kind, frame_);
    head.by = by;
    head.overlaps = overlaps_;
    frame_.notes->keep(memory, lane, head, note);
  }

  Frame frame_;  // of no notes while nothing is noted
  bool overlaps_ = false;
};

}  // namespace vemo
