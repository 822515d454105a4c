#include "engine/PeerConnection.h"

#include <gtest/gtest.h>

#include <memory>

namespace vemo::janus {
namespace {

using namespace std::chrono_literals;

// webrtcbin does not answer what it is asked right before its end.
TEST(PeerConnection, LeavesNothingUnderWayWhenItIsClosedWithAQuestionOpen) {
  EngineThread thread;
  for (int i = 0; i < 100; ++i) {
    thread.post([&thread] {
      const auto connection = std::make_shared<PeerConnection>(
          thread, PeerConnection::Settings{},
          PeerConnection::Listener{[](auto, const auto&) {}, [](const auto&) {}, nullptr});
      connection->start();
      connection->counts([](const auto&) { ADD_FAILURE() << "told after the end"; });
      connection->close();
    });
  }
  EXPECT_TRUE(thread.waitUntilIdle(60s));
}

}  // namespace
}  // namespace vemo::janus
