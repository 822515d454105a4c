#include "recorder/Notes.h"

#include <utility>

namespace vemo {
namespace {

std::chrono::milliseconds now() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::system_clock::now().time_since_epoch());
}

// As void, for the type of frames is the class's own.
const void*& innermostFrame() {
  thread_local const void* innermost = nullptr;
  return innermost;
}

}  // namespace

Notes::Notes(std::shared_ptr<Journal> journal, const MainQueue& mainQueue)
    : journal_(std::move(journal)), mainQueue_(mainQueue) {}

/// The step of this router that goes on on this thread; that of another router may have
/// begun inside it.
const Notes::Frame* Notes::frame() const {
  const auto* frame = static_cast<const Frame*>(innermostFrame());
  while (frame && frame->notes != this) frame = frame->outer;
  return frame;
}

Notes::Origin Notes::origin() const {
  const auto* const step = frame();
  return step ? Origin{step->step, step->periodic} : Origin{};
}

std::string_view Notes::threadName(std::string_view role) {
  if (mainQueue_.isMainThread()) return "main";
  const std::lock_guard lock(threadsMutex_);
  auto& name = threads_[std::this_thread::get_id()];
  if (name.empty()) {
    const auto count = ++threadCounts_[std::string(role)];
    name = std::string(role) + (count > 1 ? " " + std::to_string(count) : "");
  }
  return name;
}

void Notes::send(Note::Kind kind, std::string_view text) {
  Note note;
  note.kind = kind;
  note.text = text;
  if (const auto* const step = frame()) {
    note.at = step->at;
    note.thread = step->thread;
    note.step = step->step;
    note.periodic = step->periodic;
  } else {
    note.at = now();
    note.thread = threadName("other");
  }
  journal_->note(note);
}

Notes::Step::Step(std::shared_ptr<Notes> notes, std::string_view role, bool periodic) {
  if (!notes->isOn()) return;
  notes_ = std::move(notes);
  const auto* const around = notes_->frame();
  frame_.notes = notes_.get();
  frame_.outer = static_cast<const Frame*>(innermostFrame());
  frame_.step = ++notes_->lastStep_;
  frame_.thread = around ? around->thread : notes_->threadName(role);
  frame_.at = now();
  frame_.periodic = periodic;
  frame_.outermost = !around;
  overlaps_ = frame_.outermost && notes_->running_.fetch_add(1) > 0;
}

void Notes::Step::begin(Note::Kind kind, std::string_view text, std::uint64_t queuedBy) {
  innermostFrame() = &frame_;
  notes_->journal_->note({.kind = kind,
                          .at = frame_.at,
                          .thread = frame_.thread,
                          .step = frame_.step,
                          .queuedBy = queuedBy,
                          .overlaps = overlaps_,
                          .periodic = frame_.periodic,
                          .text = text});
}

Notes::Step::~Step() {
  if (!notes_) return;
  innermostFrame() = frame_.outer;
  if (frame_.outermost) --notes_->running_;
}

}  // namespace vemo
