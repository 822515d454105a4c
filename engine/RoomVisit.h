#pragma once

#include <boost/json/object.hpp>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "engine/EngineThread.h"
#include "engine/JanusConnection.h"
#include "engine/Presence.h"
#include "engine/Publisher.h"
#include "engine/Subscriber.h"

namespace vemo::janus {

/// One stay in one room: who is there, what they tell of themselves, and the connections over which
/// this user sends and receives. Engine thread.
class RoomVisit : public std::enable_shared_from_this<RoomVisit> {
 public:
  struct Settings {
    JanusConnection::Settings connection;
    std::string room;
    std::string roomToken;
    std::string userId;
    std::string adminKey;
    std::int64_t mostAnchors = 16;
    PeerConnection::Settings media;
  };

  /// Why something failed: one of the engine's codes, and a sentence.
  struct Failure {
    std::int32_t code = 0;
    std::string text;
  };
  using Done = std::function<void(std::optional<Failure> failure)>;

  struct Listener {
    /// What `user` tells of itself; also of who is there already.
    std::function<void(const std::string& user, const Presence& presence)> onPresence;
    /// `reason` is that of onRemoteUserLeaveRoom.
    std::function<void(const std::string& user, std::int64_t reason)> onGone;
    std::function<void()> onLost;
    std::function<void()> onRetry;
    std::function<void()> onRecovered;
    /// The visit is over; `reason` is that of onExitRoom, `why` what went wrong, if anything did.
    std::function<void(std::int64_t reason, const std::optional<Failure>& why)> onPutOut;
    /// There is a connection to send over now, or there is none (null).
    std::function<void(Publisher* publisher)> onPublisher;
    std::function<void(Line line)> onFirstSent;
    std::function<void(const std::string& text)> log;
  };

  RoomVisit(EngineThread& thread, Settings settings, Listener listener);
  ~RoomVisit();
  RoomVisit(const RoomVisit&) = delete;
  RoomVisit& operator=(const RoomVisit&) = delete;

  /// Goes in with `presence`, and as an anchor gets ready to send.
  void enter(const Presence& presence, Done done);
  /// Goes out, `done` once the server knows. Nothing else is called from now on.
  void leave(std::function<void()> done);
  /// Tells the others; nothing when there is nothing new.
  void announce(const Presence& presence);
  /// Becomes an anchor or audience.
  void switchRole(bool anchor, Done done);

  /// As if the network had: it is lost, and then tried again.
  void dropConnection();

  Subscriber& subscriber() { return *subscriber_; }
  Publisher* publisher() { return publisher_.get(); }
  std::optional<std::chrono::milliseconds> roundTrip() const { return server_->roundTrip(); }

 private:
  void join(bool mayCreate, Done done);
  void create(Done done);
  void publish(Done done);
  /// Publishes soon, again and again until it can.
  void publishAgain(const std::string& why);
  void unpublish();
  /// Has the server end what is sent; what is published meanwhile waits until it has.
  void endSending(Done done);
  void hungUp();
  void sendDisplay();
  void makeSubscriber();
  void event(std::uint64_t handle, const boost::json::object& event);
  void roomEvent(const boost::json::object& data);
  /// What the server tells of who is there; `all`: there are no others.
  void learnMembers(const boost::json::object& data, bool all);
  void learnMember(const std::string& user, const std::string& display);
  void learnGone(const std::string& user, std::int64_t reason);
  void recovered(bool sameSession);
  void putOut(std::int64_t reason, const std::optional<Failure>& why = std::nullopt);

  EngineThread& thread_;
  const Settings settings_;
  Listener listener_;
  bool over_ = false;
  std::shared_ptr<JanusConnection> server_;
  std::uint64_t handle_ = 0;
  Presence presence_;
  std::map<std::string, Presence> members_;
  std::unique_ptr<Publisher> publisher_;
  std::uint64_t publishing_ = 0;  // counts; an answer to a former try is void
  std::shared_ptr<Subscriber> subscriber_;
  EngineThread::Timer republish_;
  EngineThread::Timer wayUp_;   // until what is sent over is up
  EngineThread::Timer hangUp_;  // while the server ends a former connection
  Done afterHangUp_;            // of what is to be published then
};

}  // namespace vemo::janus
