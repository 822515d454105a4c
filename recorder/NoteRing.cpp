#include "recorder/NoteRing.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <utility>

#include "json/JsonText.h"
#include "recorder/Recording.h"

namespace vemo {
namespace {

constexpr std::size_t kChunkBytes = std::size_t{64} << 10U;

bool isStatistics(std::string_view text) { return text.starts_with(R"({"event":"onStatistics")"); }

}  // namespace

/// Calls `take(head, text, whole)` for each note in `bytes`.
template <class Take>
void NoteRing::forEach(std::string_view bytes, Take take) {
  while (!bytes.empty()) {
    Head head;
    std::memcpy(&head, bytes.data(), sizeof head);
    const auto whole = bytes.substr(0, sizeof head + head.size);
    take(head, whole.substr(sizeof head), whole);
    bytes.remove_prefix(whole.size());
  }
}

std::uint16_t NoteRing::threadNumber(std::string_view name) {
  const auto found = std::ranges::find(threads_, name);
  const auto number = found - threads_.begin();
  if (found == threads_.end()) threads_.emplace_back(name);
  return static_cast<std::uint16_t>(number);
}

void NoteRing::note(const Note& note) {
  const std::lock_guard lock(mutex_);
  const Head head{static_cast<std::uint32_t>(note.text.size()),
                  threadNumber(note.thread),
                  note.kind,
                  note.overlaps,
                  note.periodic,
                  note.step,
                  note.queuedBy,
                  note.at.count()};
  const auto size = sizeof head + note.text.size();
  if (chunks_.empty() || chunks_.back().bytes.size() + size > chunks_.back().bytes.capacity()) {
    makeRoom(head.at);
    chunks_.emplace_back();
    chunks_.back().bytes.reserve(std::max(kChunkBytes, size));
    bytes_ += chunks_.back().bytes.capacity();
  }
  auto& chunk = chunks_.back();
  chunk.bytes.append(reinterpret_cast<const char*>(&head), sizeof head).append(note.text);
  chunk.lastAt = head.at;
}

/// Lets the oldest chunks go.
void NoteRing::makeRoom(std::int64_t now) {
  const auto tooOld = now - std::chrono::milliseconds(options_.age).count();
  while (!chunks_.empty() &&
         (bytes_ + kChunkBytes > options_.bytes || chunks_.front().lastAt < tooOld)) {
    keepSteps(chunks_.front());
    bytes_ -= chunks_.front().bytes.capacity();
    chunks_.pop_front();
  }
}

void NoteRing::keepSteps(const Chunk& chunk) {
  forEach(chunk.bytes, [&](const Head& head, std::string_view text, std::string_view whole) {
    const bool statistics = head.kind == Note::Kind::step && isStatistics(text);
    if (head.kind == Note::Kind::effect || (head.periodic && !statistics)) return;
    if (statistics && statistics_ != before_.end()) {
      beforeSize_ -= statistics_->size();
      before_.erase(statistics_);
    }
    before_.emplace_back(whole);
    beforeSize_ += whole.size();
    if (statistics) statistics_ = std::prev(before_.end());
  });
  while (beforeSize_ > options_.beforeBytes) {
    if (statistics_ == before_.begin()) statistics_ = before_.end();
    beforeSize_ -= before_.front().size();
    before_.pop_front();
    whole_ = false;
  }
}

std::string NoteRing::recording(const TextMask& mask) const {
  std::deque<Chunk> chunks;
  std::list<std::string> before;
  std::vector<std::string> threads;
  bool whole = true;
  {
    const std::lock_guard lock(mutex_);
    chunks = chunks_;
    before = before_;
    threads = threads_;
    whole = whole_;
  }
  auto out = recordingHeader(options_.program, whole);
  std::string line;
  std::string buffer;
  const auto append = [&](std::string_view bytes, bool isBefore) {
    forEach(bytes, [&](const Head& head, std::string_view text, std::string_view) {
      line.clear();
      appendNoteLine(line,
                     {.kind = head.kind,
                      .at = std::chrono::milliseconds(head.at),
                      .thread = threads[head.thread],
                      .step = head.step,
                      .queuedBy = head.queuedBy,
                      .overlaps = head.overlaps,
                      .periodic = head.periodic,
                      .text = text},
                     isBefore);
      out += mask ? mask(line, buffer) : line;
    });
  };
  for (const auto& note : before) append(note, true);
  for (const auto& chunk : chunks) append(chunk.bytes, false);
  return out;
}

bool NoteRing::write(const std::string& file, const TextMask& mask, std::string& error) const {
  const auto text = recording(mask);
  const auto part = file + ".part";
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
