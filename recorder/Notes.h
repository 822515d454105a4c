#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "bridge/MainQueue.h"
#include "recorder/DeviceAnswers.h"
#include "recorder/Journal.h"
#include "recorder/NoteText.h"
#include "recorder/ObjectNames.h"

namespace vemo {

/// What the forwarders around one router share: they write their notes by it. Any thread.
class Notes {
 public:
  /// `journal` is not null. `mainQueue` tells which thread is the main one; it outlives all
  /// calls of the router.
  Notes(std::shared_ptr<Journal> journal, const MainQueue& mainQueue);

  bool isOn() const { return journal_->isOpen(); }
  ObjectNames& names() { return names_; }
  DeviceAnswers& device() { return device_; }

  /// Notes an effect of the step that goes on on this thread; `write(NoteText&)` adds its keys.
  template <class Write>
  void effect(std::string_view name, Write write) {
    if (!isOn()) return;
    NoteText text(names_);
    text.add("effect", name);
    write(text);
    send(Note::Kind::effect, text.whole());
  }
  void effect(std::string_view name) {
    effect(name, [](NoteText&) {});
  }

  /// Notes what the device answered, within the step that goes on on this thread; `write`
  /// adds what has changed.
  template <class Write>
  void answer(Write write) {
    if (!isOn()) return;
    NoteText text(names_);
    text.addWritten("device", write);
    send(Note::Kind::step, text.whole());
  }

  /// Whether the step that goes on on this thread comes again and again.
  bool isPeriodic() const;

  class Step;

 private:
  struct Frame;

  const Frame* frame() const;
  std::string_view threadName(std::string_view role);
  void send(Note::Kind kind, std::string_view text);

  const std::shared_ptr<Journal> journal_;
  const MainQueue& mainQueue_;
  ObjectNames names_;
  DeviceAnswers device_{*this};
  std::atomic<std::uint64_t> lastStep_ = 0;
  std::atomic<int> running_ = 0;  // threads on which a step goes on
  std::mutex threadsMutex_;
  std::map<std::thread::id, std::string> threads_;
  std::map<std::string, int, std::less<>> threadCounts_;
};

/// A step on a thread, while it goes on; the last that begins ends first.
struct Notes::Frame {
  Notes* notes = nullptr;
  const Frame* outer = nullptr;
  std::uint64_t step = 0;
  std::string_view thread;
  std::chrono::milliseconds at{};
  bool periodic = false;
  bool outermost = true;  // of this router, on its thread
};

/// A step that goes into the router on this thread, from the making of this to its end. While
/// nothing is noted it does nothing.
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

  /// `write(NoteText&)` adds the keys of the step, the verb first.
  template <class Write>
  Step(std::shared_ptr<Notes> notes, Place place, Write write, bool periodic = false)
      : Step(std::move(notes), place.role, periodic) {
    if (!notes_) return;
    NoteText text(notes_->names_);
    write(text);
    const bool main = frame_.thread == "main";
    if (main != place.usuallyMain) text.add("thread", main ? "main" : "other");
    begin(Note::Kind::step, text.whole());
  }
  ~Step();
  Step(const Step&) = delete;
  Step& operator=(const Step&) = delete;

  /// A task of the main queue.
  struct Task {
    bool periodic;
  };
  Step(std::shared_ptr<Notes> notes, Task task) : Step(std::move(notes), "main", task.periodic) {
    if (notes_) begin(Note::Kind::task, R"({"drain":1})");
  }

 private:
  Step(std::shared_ptr<Notes> notes, std::string_view role, bool periodic);
  void begin(Note::Kind kind, std::string_view text);

  std::shared_ptr<Notes> notes_;  // null when nothing is noted
  Frame frame_;
  bool overlaps_ = false;
};

}  // namespace vemo
