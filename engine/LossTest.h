#pragma once

#include <atomic>
#include <boost/json/object.hpp>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/Capture.h"
#include "engine/EngineThread.h"
#include "engine/JanusConnection.h"
#include "engine/PeerConnection.h"
#include "engine/Publisher.h"
#include "engine/Subscriber.h"

namespace vemo::janus {

/// Measures what part of the media is lost on the way to a server and on the way back: makes a room
/// that nobody else knows, sends noise into it, receives that, and compares what was sent with what
/// the server says to have got and with what came back. Then the room is closed. Engine thread.
class LossTest : public std::enable_shared_from_this<LossTest> {
 public:
  struct Settings {
    std::string adminKey;  ///< see EngineOptions
    PeerConnection::Settings media;
  };
  /// Parts of all packets, 0 to 1.
  struct Loss {
    double up = 1;
    double down = 1;
    std::vector<std::chrono::duration<double>> roundTrips;  ///< that the server's reports gave
  };
  /// `loss`: nothing where it can't be known. `why`: that, or why everything is lost; else empty.
  using Done = std::function<void(std::optional<Loss> loss, const std::string& why)>;

  /// `server` is open. `done` comes once, when the room is closed, unless `close` is called before.
  LossTest(EngineThread& thread, std::shared_ptr<JanusConnection> server, Settings settings,
           Done done);
  ~LossTest() = default;
  LossTest(const LossTest&) = delete;
  LossTest& operator=(const LossTest&) = delete;

  void start();
  /// Closes the room and the connections for media. `then` comes once the server has heard of it or
  /// can't be reached, perhaps at once; the server's connection has to last until then.
  void close(std::function<void()> then);
  /// What the server says to `handle`.
  void event(std::uint64_t handle, const boost::json::object& event);

 private:
  class Ear;
  enum class Phase { tuningIn, pausing, sending, draining };
  /// Packets so far.
  struct Counts {
    std::uint64_t sent = 0;
    std::int64_t lostUp = 0;
    std::uint64_t received = 0;
  };

  /// A callback that is for this as long as it is not closed.
  template <class Call>
  auto bind(Call call) {
    return [weak = weak_from_this(), call](auto&&... arguments) {
      const auto self = weak.lock();
      if (self && !self->closed_) call(*self, arguments...);
    };
  }

  void makeRoom();
  void publish();
  void receive();
  void lookLater();
  void look();
  void learn(const Counts& now);
  void enterPhase(Phase phase);
  void finish(std::optional<Loss> loss, const std::string& why);
  void failed(const JanusError& error);
  void heard();

  EngineThread& thread_;
  const std::shared_ptr<JanusConnection> server_;
  const Settings settings_;
  Done done_;
  bool closed_ = false;
  bool isHeard_ = false;  // by the server, that it is closed
  std::function<void()> then_;
  std::uint64_t handle_ = 0;
  const std::string room_;
  std::string secret_;  // of the room, once that was asked for
  std::unique_ptr<Publisher> publisher_;
  std::shared_ptr<Subscriber> subscriber_;
  const std::shared_ptr<Ear> ear_;
  const std::shared_ptr<std::atomic<bool>> sends_ = std::make_shared<std::atomic<bool>>(false);
  std::unique_ptr<Capture> noise_;  // goes before the publisher that it is pushed into
  Phase phase_ = Phase::tuningIn;
  std::chrono::steady_clock::time_point since_;  // of the phase
  Counts before_;                                // what is measured
  Loss loss_;
  EngineThread::Timer wayUp_, look_;
};

}  // namespace vemo::janus
