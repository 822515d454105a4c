#pragma once

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "engine/JanusConnection.h"
#include "engine/JanusEvent.h"
#include "engine/Lines.h"
#include "engine/PeerConnection.h"

namespace vemo::janus {

/// Receives what one stream brings. On streaming threads, one sample at a time.
class StreamReceiver {
 public:
  virtual ~StreamReceiver() = default;
  virtual void take(GstSample* sample) = 0;
};

/// The connection over which all that is wanted of the others is received: says to the server what
/// that is, step by step, until it is so. Engine thread.
class Subscriber : public std::enable_shared_from_this<Subscriber> {
 public:
  /// One of a user's streams. The small camera picture comes in the place of the camera's.
  using Key = std::pair<std::string, Line>;

  struct Wish {
    std::shared_ptr<StreamReceiver> receiver;
    bool flows = true;   ///< false: it is kept, but not sent by the server
    bool small = false;  ///< of a camera
  };

  struct Settings {
    std::string room;
    std::string token;
    PeerConnection::Settings media;
  };

  Subscriber(EngineThread& thread, std::shared_ptr<JanusConnection> connection, Settings settings,
             std::function<void(const std::string& text)> log);
  ~Subscriber();
  Subscriber(const Subscriber&) = delete;
  Subscriber& operator=(const Subscriber&) = delete;

  /// Nothing comes any more, and nothing is called.
  void close();

  /// Whether `user` has a connection that one can subscribe to.
  void setFeed(const std::string& user, bool isUp);
  void want(const Key& key, Wish wish);
  void unwant(const std::string& user);

  /// What the server says to this handle.
  void event(const boost::json::object& event);
  bool owns(std::uint64_t handle) const { return handle != 0 && handle == handle_; }

  /// Each stream that is received, with what was counted of it.
  void counts(std::function<void(std::map<Key, RtpCounts>)> done);

 private:
  /// What is on an m-line.
  struct Place {
    Key key;
    bool small = false;
    bool active = false;
    bool sends = true;
    std::string mid;
  };
  class Outlets;

  void step();
  void stepLater();
  void join(const boost::json::array& streams);
  bool update();
  bool adjust();
  void request(boost::json::object body, std::optional<boost::json::object> jsep);
  void learnPlaces(const boost::json::object& data);
  void takeOffer(const boost::json::object& jsep);
  void restart(const std::string& why);
  boost::json::object streamOf(const Key& key) const;

  EngineThread& thread_;
  const std::shared_ptr<JanusConnection> server_;
  const Settings settings_;
  const std::function<void(const std::string& text)> log_;
  bool closed_ = false;
  bool busy_ = false;  // something waits for the server, or for the connection
  std::uint64_t handle_ = 0;
  std::shared_ptr<PeerConnection> connection_;
  const std::shared_ptr<Outlets> outlets_;
  std::set<std::string> feeds_;
  std::map<Key, Wish> wishes_;
  std::map<unsigned, Place> places_;  // by m-line
  std::deque<boost::json::object> offers_;
  EngineThread::Timer retry_;
  EngineThread::Timer wayUp_;          // until the connection is up
  std::vector<JanusCandidate> early_;  // which came before the offer that they belong to
};

}  // namespace vemo::janus
