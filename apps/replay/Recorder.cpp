#include "Recorder.h"

#include <utility>

namespace vemo::replay {

void Recorder::beginStep(std::int64_t step) {
  const std::lock_guard lock(mutex_);
  step_ = step;
}

void Recorder::write(std::string_view effect, Effect keys) {
  Effect record;
  record.reserve(keys.size() + 3);
  record["step"] = nullptr;
  record["effect"] = effect;
  record["thread"] = mainQueue_.isMainThread() ? "main" : "other";
  for (auto& key : keys) record.emplace(key.key(), std::move(key.value()));
  const std::lock_guard lock(mutex_);
  if (closed_) return;
  record["step"] = step_;
  effects_.push_back(std::move(record));
}

std::vector<Recorder::Effect> Recorder::take() {
  const std::lock_guard lock(mutex_);
  return std::exchange(effects_, {});
}

void Recorder::close() {
  const std::lock_guard lock(mutex_);
  closed_ = true;
}

}  // namespace vemo::replay
