#include "recorder/NoteStream.h"

#include <utility>

#include "recorder/Recording.h"

namespace vemo {

NoteStream::NoteStream(std::shared_ptr<NoteRing> ring, TextMask mask, WriteLine write,
                       std::chrono::milliseconds interval)
    : ring_(std::move(ring)), mask_(std::move(mask)), write_(std::move(write)) {
  std::string_view header = lines_ = recordingHeader(ring_->options().program, ring_->takeAnew());
  header.remove_suffix(1);
  this->write(header);
  flush();  // from now on nothing goes untold
  thread_ = std::thread([this, interval] { run(interval); });
}

NoteStream::~NoteStream() {
  {
    const std::lock_guard lock(mutex_);
    ends_ = true;
  }
  ended_.notify_all();
  thread_.join();
  flush();
  write(kRecordingEnd);
}

void NoteStream::run(std::chrono::milliseconds interval) {
  std::unique_lock lock(mutex_);
  while (!ended_.wait_for(lock, interval, [this] { return ends_; })) {
    lock.unlock();
    flush();
    lock.lock();
  }
}

void NoteStream::write(std::string_view line) { write_(mask_ ? mask_(line, buffer_) : line); }

void NoteStream::flush() {
  const std::lock_guard lock(writing_);
  const auto batch = ring_->take();
  if (batch.lost > 0) write("{\"lost\":" + std::to_string(batch.lost) + "}");
  lines_.clear();
  batch.appendLines(
      lines_, [this](std::uint16_t number) { return ring_->threads().name(number); },
      std::chrono::milliseconds::max());
  for (std::string_view left = lines_; !left.empty();) {
    const auto end = left.find('\n');
    write(left.substr(0, end));
    left.remove_prefix(end + 1);
  }
}

}  // namespace vemo
