#pragma once

#include <atomic>
#include <boost/json/object.hpp>
#include <cstdint>
#include <mutex>
#include <vector>

#include "recorder/Journal.h"

namespace vemo::replay {

/// Keeps the effects of what is noted, by the steps of the scenario. Any thread.
class Transcript final : public Journal {
 public:
  using Effect = boost::json::object;

  bool isOpen() const override { return open_; }
  void note(const Note& note) override;

  /// What is noted from now on belongs to `step`.
  void beginStep(std::int64_t step);

  /// What was noted since the last call.
  std::vector<Effect> take();

  /// Nothing is noted from now on.
  void close() { open_ = false; }

 private:
  std::atomic<bool> open_ = true;
  std::mutex mutex_;
  std::int64_t step_ = 0;
  std::vector<Effect> effects_;
};

}  // namespace vemo::replay
