#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "bridge/KOBUCloud.h"
#include "simulation/World.h"

namespace vemo {

class Client;

/// The speed test of one client: one server after the other. Part of the world, as
/// the client is.
class SpeedTest {
 public:
  using Completion = KOBUCloud::SpeedTestCompletion;

  explicit SpeedTest(Client& client) : client_(client) {}

  /// Starts anew, in place of a test that still runs.
  void start(std::shared_ptr<const Completion> completion);
  void stop();
  bool isRunning() const { return completion_ != nullptr; }

 private:
  void measureNext(std::size_t index);
  void measured(std::size_t index);

  Client& client_;
  std::shared_ptr<const Completion> completion_;
  Timer timer_;
};

}  // namespace vemo
