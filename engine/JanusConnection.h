#pragma once

#include <boost/json/object.hpp>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "engine/EngineThread.h"

namespace vemo::janus {

/// Why a request, or the way to a server, failed.
struct JanusError {
  enum class Kind {
    unreachable,  ///< nobody listens there, or the certificate was refused
    timedOut,     ///< no answer
    lost,         ///< the connection went away, or is away
    refused       ///< by the server: `code` is its own
  };

  Kind kind = Kind::refused;
  int code = 0;
  std::string text;
};

// Codes of the server that mean something here; all others are refusals.
inline constexpr int kJanusUnauthorized = 403;
inline constexpr int kJanusNoPermission = 405;
inline constexpr int kJanusNoSession = 458;
inline constexpr int kVideoRoomNoRoom = 426;
inline constexpr int kVideoRoomExists = 427;
inline constexpr int kVideoRoomFull = 432;
inline constexpr int kVideoRoomUnauthorized = 433;
inline constexpr int kVideoRoomNotPublished = 435;
inline constexpr int kVideoRoomIdTaken = 436;

/// A session on a Janus server, over a WebSocket. It outlives the socket: when that is lost,
/// another is opened, after ever longer pauses, and the session claimed again or, if it is gone,
/// replaced.
///
/// Everything happens on the engine thread; nothing is called after close().
class JanusConnection : public std::enable_shared_from_this<JanusConnection> {
 public:
  using Milliseconds = std::chrono::milliseconds;

  struct Settings {
    std::string server;                  ///< ws://... or wss://...
    std::string authorities;             ///< see EngineOptions
    std::string token;                   ///< goes with each request; empty for none
    Milliseconds answerTimeout{10'000};  ///< of a request, and of opening the socket
    Milliseconds keepalive{5'000};       ///< unanswered until the next one, the socket is lost
    Milliseconds firstPause{500};        ///< before the second try; doubled for each further one
    Milliseconds longestPause{8'000};
  };

  /// `handle` is null for a session's own events.
  struct Listener {
    std::function<void(std::uint64_t handle, const boost::json::object& event)> onEvent;
    std::function<void()> onLost;
    std::function<void()> onRetry;
    /// `sameSession`: the handles are there as before; otherwise they are gone.
    std::function<void(bool sameSession)> onRecovered;
    /// The server will not have us any longer.
    std::function<void(const JanusError& why)> onEnded;
  };

  /// What came of a request: the answer, empty of a request that failed.
  struct Result {
    std::optional<JanusError> error;
    boost::json::object answer;
  };
  using Answer = std::function<void(Result result)>;

  JanusConnection(EngineThread& thread, Settings settings, Listener listener);
  ~JanusConnection();
  JanusConnection(const JanusConnection&) = delete;
  JanusConnection& operator=(const JanusConnection&) = delete;

  /// Opens the socket and a session; `answer` comes once.
  void open(Answer answer);
  /// Ends the session, and the socket once that is answered or too late.
  void close();

  /// A plugin's handle; `answer` has it under "id".
  void attach(const std::string& plugin, std::function<void(Result, std::uint64_t handle)> answer);
  /// A message to the plugin. `answer` has the plugin's data, and "jsep" if one came along;
  /// an error that the plugin names is an error of the request.
  void message(std::uint64_t handle, boost::json::object body,
               std::optional<boost::json::object> jsep, Answer answer);
  /// What needs no answer: "trickle", "hangup", "detach".
  void tell(std::uint64_t handle, const std::string& what, boost::json::object more = {});

  /// Asks for nothing but an answer.
  void ping(Answer answer);

  /// As if the network had dropped it.
  void dropSocket() { socketLost("dropped on request"); }

  bool isOpen() const;
  const std::string& server() const;
  /// How long the last keepalive took to be answered; none was yet: nothing.
  std::optional<Milliseconds> roundTrip() const;

 private:
  class Socket;
  struct Pending {
    Answer answer;
    bool untilEvent = false;  // an "ack" only promises an event
    EngineThread::Timer timeout;
    EngineThread::Busy busy;
  };
  enum class Phase { closed, opening, open, lost, ending };

  void request(boost::json::object request, bool untilEvent, Answer answer);
  void connect(std::function<void(std::optional<JanusError>)> done);
  void createSession(Answer answer);
  void received(const std::string& text);
  void finish(const std::string& transaction, Result result);
  void failPending(const JanusError& why);
  void keepAlive();
  void socketLost(const std::string& why);
  void retry();
  void recovered(bool sameSession);
  void retryLater();
  void ended(const JanusError& why);

  EngineThread& thread_;
  const Settings settings_;
  const Listener listener_;
  Phase phase_ = Phase::closed;
  std::shared_ptr<Socket> socket_;
  std::uint64_t session_ = 0;
  std::uint64_t sent_ = 0;
  std::map<std::string, Pending> pending_;
  EngineThread::Timer keepalive_;
  bool keepaliveUnanswered_ = false;
  std::optional<Milliseconds> roundTrip_;
  EngineThread::Timer retry_;
  Milliseconds pause_{0};
};

}  // namespace vemo::janus
