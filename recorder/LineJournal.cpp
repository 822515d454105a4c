#include "recorder/LineJournal.h"

#include "recorder/Recording.h"

namespace vemo {
namespace {

std::string_view withoutBreak(std::string_view line) { return line.substr(0, line.size() - 1); }

}  // namespace

LineJournal::LineJournal(std::string_view program, TextMask mask, WriteLine write)
    : mask_(std::move(mask)), write_(std::move(write)) {
  write_(withoutBreak(recordingHeader(program, true)));
}

void LineJournal::note(const Note& note) {
  const std::lock_guard lock(mutex_);
  line_.clear();
  appendNoteLine(line_, note);
  const auto line = withoutBreak(line_);
  write_(mask_ ? mask_(line, buffer_) : line);
}

}  // namespace vemo
