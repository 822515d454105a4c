#include "replay/Transcript.h"

#include <utility>

#include "recorder/NotedJson.h"

namespace vemo::replay {

void Transcript::note(const Note& note) {
  if (note.kind != Note::Kind::effect) return;
  auto keys = notedEffect(note.text);
  Effect effect;
  effect.reserve(keys.size() + 2);
  effect["step"] = nullptr;
  effect["effect"] = nullptr;
  effect["thread"] = note.thread == "main" ? "main" : "other";
  for (auto& key : keys) effect[key.key()] = std::move(key.value());
  const std::lock_guard lock(mutex_);
  if (!open_) return;
  effect["step"] = step_;
  effects_.push_back(std::move(effect));
}

void Transcript::beginStep(std::int64_t step) {
  const std::lock_guard lock(mutex_);
  step_ = step;
}

std::vector<Transcript::Effect> Transcript::take() {
  const std::lock_guard lock(mutex_);
  return std::exchange(effects_, {});
}

}  // namespace vemo::replay
