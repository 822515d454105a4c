#include "recorder/Notes.h"

#include <ctime>
#include <string>
#include <utility>

namespace vemo {
namespace {

/// Milliseconds since the epoch, as the system counts its ticks: a few off, and for a fourth of
/// the price.
std::int64_t now() {
  std::timespec time{};
  ::clock_gettime(CLOCK_REALTIME_COARSE, &time);
  return std::int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1'000'000;
}

}  // namespace

constinit thread_local const Notes::Frame* Notes::innermost_ = nullptr;

Notes::Notes(std::shared_ptr<NoteRing> ring, std::shared_ptr<Journal> journal,
             const MainQueue& mainQueue)
    : ring_(std::move(ring)),
      journal_(std::move(journal)),
      threads_(ring_ ? std::shared_ptr<ThreadNames>(ring_, &ring_->threads())
                     : std::make_shared<ThreadNames>()),
      mainQueue_(mainQueue) {}

Notes::Origin Notes::origin() const {
  const auto* const step = frame();
  return step ? Origin{step->step, step->periodic} : Origin{};
}

NoteMemory& Notes::scratch() {
  // NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): one of each thread
  static thread_local ScratchMemory memory;
  memory.restart();
  return memory;
}

void Notes::keepOutside(NoteMemory& memory, NoteLane lane, NoteHead::Kind kind,
                        std::string_view note) {
  NoteHead head;
  head.kind = kind;
  head.thread = threadNumber("other");
  head.at = now();
  head.by = steps_.load(std::memory_order_relaxed) % kRunning;
  keep(memory, lane, head, note);
}

std::uint16_t Notes::numberElsewhere(std::string_view role) {
  if (!ring_) return threads_->numberHere(role);
  auto& number = ring_->threadNumber();
  if (number == ThreadNames::kMain) number = threads_->numberHere(role);
  return number;
}

void Notes::tell(NoteLane lane, const NoteHead& head, std::string_view note) {
  std::string text;
  appendNoteJson(text, note);
  journal_->note({.kind = static_cast<Note::Kind>(head.kind),
                  .at = std::chrono::milliseconds(head.at),
                  .thread = threads_->name(head.thread),
                  .step = head.step,
                  .by = head.by,
                  .overlaps = head.overlaps,
                  .periodic = lane == NoteLane::periodic,
                  .text = text});
}

bool Notes::Step::begin(Notes& notes, std::string_view role, bool periodic) {
  if (!notes.isOn()) return false;
  const auto* const around = notes.frame();
  frame_.notes = &notes;
  frame_.outer = innermost_;
  frame_.outermost = !around;
  frame_.periodic = periodic;
  const auto before = notes.steps_.fetch_add(around ? 1 : 1 + kRunning, std::memory_order_relaxed);
  frame_.step = before % kRunning + 1;
  overlaps_ = !around && before >= kRunning;
  frame_.thread = around ? around->thread : notes.threadNumber(role);
  frame_.at = around ? around->at : now();
  innermost_ = &frame_;
  return true;
}

}  // namespace vemo
