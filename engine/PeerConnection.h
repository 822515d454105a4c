#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/EngineThread.h"
#include "engine/Gst.h"
#include "engine/Relays.h"

namespace vemo::janus {

/// What a peer connection counted for one stream of packets.
struct RtpCounts {
  std::uint32_t ssrc = 0;
  bool isSent = false;
  std::uint64_t bytes = 0;
  std::uint64_t packets = 0;
  std::int64_t lost = 0;    ///< of what is sent, as the other end tells
  double roundTrip = 0;     ///< seconds; of what is sent, 0 where nobody has told
  double fractionLost = 0;  ///< of what is sent, 0 to 1, as the other end tells
};

/// A pipeline with one webrtcbin in it. Engine thread, where not said otherwise.
class PeerConnection : public std::enable_shared_from_this<PeerConnection> {
 public:
  struct Listener {
    std::function<void(unsigned line, const std::string& candidate)> onCandidate;
    /// The pipeline is broken.
    std::function<void(const std::string& why)> onError;
    /// A stream comes in on m-line `line`; whoever wants it links `pad`, to something in
    /// `pipeline`, within the call. On a streaming thread.
    std::function<void(GstElement* pipeline, GstPad* pad, unsigned line)> onPad;
  };
  struct Settings {
    std::vector<Relay> relays;
    /// Told, on the engine thread, what is wrong with relays. The connection goes on without them.
    std::function<void(const std::string& text)> note = [](const auto&) {};
    unsigned latencyMs = 100;
    /// One that the server does not say to be up by then is given up for another.
    std::chrono::milliseconds longestWayUp{10'000};
  };
  using Done = std::function<void(std::optional<std::string> error)>;
  using Described = std::function<void(std::optional<std::string> error, std::string sdp)>;

  PeerConnection(EngineThread& thread, const Settings& settings, Listener listener);
  ~PeerConnection();
  PeerConnection(const PeerConnection&) = delete;
  PeerConnection& operator=(const PeerConnection&) = delete;

  /// To be called once, right after it was made.
  void start();
  /// Ends the pipeline; nothing is called any more.
  void close();

  GstElement* pipeline() const { return pipeline_.get(); }
  GstElement* webrtc() const { return webrtc_; }

  /// A line to send on, before the offer.
  void addSendLine(const std::string& caps);
  /// The pad of line number `line`, once there was an answer.
  GstRef<GstPad> sendPad(unsigned line) const;

  /// Makes an offer and takes it for its own.
  void offer(Described done);
  void takeAnswer(const std::string& sdp, Done done);
  /// Takes an offer and answers it.
  void answer(const std::string& offer, Described done);
  void addCandidate(unsigned line, const std::string& candidate);
  void counts(std::function<void(std::vector<RtpCounts>)> done);

 private:
  using Reply = std::function<void(std::optional<std::string> error, const GstStructure* reply)>;
  struct PromiseUnref {
    void operator()(GstPromise* promise) const { gst_promise_unref(promise); }
  };
  using PromiseRef = std::unique_ptr<GstPromise, PromiseUnref>;
  /// A promise whose reply comes on the engine thread, unless this is closed by then. It lets go of
  /// itself.
  GstPromise* promise(Reply reply);
  void setDescription(const char* signal, void* description, Done done);
  void describe(const char* signal, const char* field, Described done);

  /// Looks for the addresses of relays, which webrtcbin can't; it has to know them before the first
  /// description.
  void findRelays();
  void takeAddresses(std::size_t relay, const std::vector<std::string>& addresses,
                     const std::string& why);
  void stopFinding();
  /// Runs `then` once relays are known, or have kept everybody waiting for too long.
  void withRelays(std::function<void()> then);
  void gathered();

  EngineThread& thread_;
  const std::vector<Relay> relays_;
  const std::function<void(const std::string& text)> note_;
  Listener listener_;
  std::map<std::size_t, std::shared_ptr<void>> lookups_;  // by the places of relays
  EngineThread::Timer longestLookup_;
  std::function<void()> waiting_;  // for relays
  bool isPassedOn_ = false;        // a TURN server has given a way
  bool hasGathered_ = false;
  GstRef<GstElement> pipeline_;
  GstElement* webrtc_ = nullptr;
  std::vector<GstRef<GstObject>> sendLines_;
  std::vector<PromiseRef> promises_;  // that have no reply yet
};

}  // namespace vemo::janus
