#pragma once

#include <boost/json/object.hpp>
#include <cstdint>
#include <mutex>
#include <string_view>
#include <vector>

#include "bridge/MainQueue.h"

namespace vemo::replay {

/// Takes down what the router does, in order.
///
/// Any thread; its lock is held for the writing alone.
class Recorder {
 public:
  using Effect = boost::json::object;

  /// `mainQueue` tells which thread an effect is on, and outlives the recorder.
  explicit Recorder(const MainQueue& mainQueue) : mainQueue_(mainQueue) {}

  /// What is written from now on belongs to `step`.
  void beginStep(std::int64_t step);

  /// Writes one effect of the present step, on the calling thread, with its own `keys`.
  void write(std::string_view effect, Effect keys = {});

  /// What was written since the last call.
  std::vector<Effect> take();

  /// Nothing is written from now on.
  void close();

 private:
  const MainQueue& mainQueue_;
  std::mutex mutex_;
  std::int64_t step_ = 0;
  bool closed_ = false;
  std::vector<Effect> effects_;
};

}  // namespace vemo::replay
