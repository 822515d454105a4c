#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "bridge/KOBUCloud.h"
#include "engine/EngineThread.h"
#include "engine/JanusConnection.h"

namespace vemo::janus {

/// Measures the way to servers, one after the other, by requests over the connection that rooms are
/// entered through: the round trip is the median of several; a request that is not answered in
/// time counts as lost, both ways, as nobody can tell where. A server that can't be reached, or
/// refuses the signature, has quality 6 and has lost everything. Engine thread.
class SpeedTest {
 public:
  SpeedTest(EngineThread& thread, std::vector<JanusConnection::Settings> servers,
            std::shared_ptr<const KOBUCloud::SpeedTestCompletion> completion);
  ~SpeedTest();
  SpeedTest(const SpeedTest&) = delete;
  SpeedTest& operator=(const SpeedTest&) = delete;

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace vemo::janus
