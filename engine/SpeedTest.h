#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bridge/KOBUCloud.h"
#include "engine/EngineThread.h"
#include "engine/JanusConnection.h"
#include "engine/LossTest.h"

namespace vemo::janus {

/// Measures the way to servers, one after the other. The round trip is the median of what several
/// requests and the server's reports on media say; packets are counted by a LossTest.
///
/// A server that can't be reached, refuses the signature, goes away meanwhile or lets no media
/// through has lost everything, and quality 6. Where loss can't be known, such as where the server
/// lets others make rooms alone, the part of the requests that were not answered in time stands for
/// it, both ways. `log` is told why, each time. Engine thread.
class SpeedTest {
 public:
  SpeedTest(EngineThread& thread, std::vector<JanusConnection::Settings> servers,
            LossTest::Settings media,
            std::shared_ptr<const KOBUCloud::SpeedTestCompletion> completion,
            std::function<void(const std::string& text)> log);
  ~SpeedTest();
  SpeedTest(const SpeedTest&) = delete;
  SpeedTest& operator=(const SpeedTest&) = delete;

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace vemo::janus
