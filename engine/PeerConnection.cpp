#include "engine/PeerConnection.h"

#include <gst/sdp/sdp.h>
// Declared unstable, though what is used here has long been the same.
#define GST_USE_UNSTABLE_API
#include <gst/webrtc/webrtc.h>
#include <nice/agent.h>

#include <algorithm>
#include <utility>

#include "engine/HostLookup.h"

namespace vemo::janus {
namespace {

/// Of a relay's address. That of the server was found a moment ago, so the system knows whom to
/// ask.
constexpr std::chrono::milliseconds kLongestLookup{3'000};

/// A description of `type`; null when the text is none.
GstWebRTCSessionDescription* parse(GstWebRTCSDPType type, const std::string& text) {
  GstSDPMessage* message = nullptr;
  if (gst_sdp_message_new_from_text(text.c_str(), &message) != GST_SDP_OK) return nullptr;
  return gst_webrtc_session_description_new(type, message);
}

/// A property that is an object; null when there is none.
GstRef<GObject> objectIn(GObject* of, const char* property) {
  GObject* held = nullptr;
  g_object_get(of, property, &held, nullptr);
  return GstRef<GObject>(held);
}

/// What finds the ways of a webrtcbin.
GstRef<GObject> agentOf(GstElement* webrtc) {
  const auto ice = objectIn(G_OBJECT(webrtc), "ice-agent");
  return ice ? objectIn(ice.get(), "agent") : nullptr;
}

/// Tells TURN servers that `webrtc`, whose pipeline has ended, needs them no longer; they would
/// keep its ways for ten minutes. Until they have heard it, it lives on, and something is under
/// way.
void leaveRelays(GstElement* webrtc, EngineThread::Busy busy) {
  struct Leaving {
    GstRef<GstElement> webrtc;
    EngineThread::Busy busy;
  };
  const auto agent = agentOf(webrtc);
  if (!agent) return;
  nice_agent_close_async(
      NICE_AGENT(agent.get()),
      [](GObject*, GAsyncResult*, gpointer data) { delete static_cast<Leaving*>(data); },
      new Leaving{GstRef<GstElement>(GST_ELEMENT(gst_object_ref(webrtc))), std::move(busy)});
}

template <class Number>
Number fieldOf(const GstStructure* from, const char* name, Number otherwise = {}) {
  const GValue* value = gst_structure_get_value(from, name);
  if (!value) return otherwise;
  GValue converted = G_VALUE_INIT;
  g_value_init(&converted, G_TYPE_DOUBLE);
  const bool fits = g_value_transform(value, &converted);
  const auto number = fits ? static_cast<Number>(g_value_get_double(&converted)) : otherwise;
  g_value_unset(&converted);
  return number;
}

gboolean addCounts(GQuark, const GValue* value, gpointer data) {
  if (!GST_VALUE_HOLDS_STRUCTURE(value)) return TRUE;
  auto& all = *static_cast<std::vector<RtpCounts>*>(data);
  const auto* stats = gst_value_get_structure(value);
  GstWebRTCStatsType type{};
  if (!gst_structure_get(stats, "type", GST_TYPE_WEBRTC_STATS_TYPE, &type, nullptr)) return TRUE;
  const auto ssrc = fieldOf<std::uint32_t>(stats, "ssrc");
  const auto entry = [&](bool isSent) -> RtpCounts& {
    for (auto& known : all) {
      if (known.ssrc == ssrc && known.isSent == isSent) return known;
    }
    all.push_back({ssrc, isSent});
    return all.back();
  };
  if (type == GST_WEBRTC_STATS_OUTBOUND_RTP) {
    auto& counts = entry(true);
    counts.bytes = fieldOf<std::uint64_t>(stats, "bytes-sent");
    counts.packets = fieldOf<std::uint64_t>(stats, "packets-sent");
  } else if (type == GST_WEBRTC_STATS_REMOTE_INBOUND_RTP) {
    auto& counts = entry(true);
    counts.lost = fieldOf<std::int64_t>(stats, "packets-lost");
    counts.roundTrip = fieldOf<double>(stats, "round-trip-time");
    counts.fractionLost = fieldOf<double>(stats, "fraction-lost");
  } else if (type == GST_WEBRTC_STATS_INBOUND_RTP) {
    auto& counts = entry(false);
    counts.bytes = fieldOf<std::uint64_t>(stats, "bytes-received");
    counts.packets = fieldOf<std::uint64_t>(stats, "packets-received");
    counts.lost = fieldOf<std::int64_t>(stats, "packets-lost");
  }
  return TRUE;
}

}  // namespace

PeerConnection::PeerConnection(EngineThread& thread, const Settings& settings, Listener listener)
    : thread_(thread),
      relays_(settings.relays),
      note_(settings.note),
      listener_(std::move(listener)) {
  initialiseGStreamer();
  pipeline_.reset(GST_ELEMENT(gst_object_ref_sink(gst_pipeline_new(nullptr))));
  webrtc_ = gst_element_factory_make("webrtcbin", nullptr);
  if (!webrtc_) return;
  g_object_set(webrtc_, "bundle-policy", GST_WEBRTC_BUNDLE_POLICY_MAX_BUNDLE, "latency",
               settings.latencyMs, nullptr);
  gst_bin_add(GST_BIN(pipeline_.get()), webrtc_);
  // Nothing is asked of routers, and media goes over UDP alone, but to a TURN server over TCP, too.
  const auto ice = objectIn(G_OBJECT(webrtc_), "ice-agent");
  if (ice) g_object_set(ice.get(), "ice-tcp", FALSE, nullptr);
  if (const auto agent = agentOf(webrtc_)) g_object_set(agent.get(), "upnp", FALSE, nullptr);
}

PeerConnection::~PeerConnection() { close(); }

void PeerConnection::start() {
  using Weak = std::weak_ptr<PeerConnection>;
  const auto connect = [this](const char* signal, GCallback callback) {
    g_signal_connect_data(
        webrtc_, signal, callback, new HandedOver<Weak>(weak_from_this()),
        [](gpointer data, GClosure*) { HandedOver<Weak>::drop(data); }, GConnectFlags(0));
  };
  if (!webrtc_) {
    thread_.post([weak = weak_from_this()] {
      const auto self = weak.lock();
      if (self && self->pipeline_) {
        self->listener_.onError("webrtcbin is missing (gstreamer1.0-plugins-bad)");
      }
    });
    return;
  }
  using Candidate = void (*)(GstElement*, guint, gchar*, gpointer);
  connect("on-ice-candidate",
          G_CALLBACK(Candidate([](GstElement*, guint line, gchar* text, gpointer data) {
            const auto self = HandedOver<Weak>::in(data).lock();
            if (!self) return;
            self->thread_.post([weak = Weak(self), line, candidate = std::string(text)] {
              const auto held = weak.lock();
              if (!held || !held->pipeline_) return;
              if (candidate.find(" typ relay") != std::string::npos) held->isPassedOn_ = true;
              held->listener_.onCandidate(line, candidate);
            });
          })));
  using Changed = void (*)(GstElement*, GParamSpec*, gpointer);
  connect("notify::ice-gathering-state",
          G_CALLBACK(Changed([](GstElement* webrtc, GParamSpec*, gpointer data) {
            GstWebRTCICEGatheringState state{};
            g_object_get(webrtc, "ice-gathering-state", &state, nullptr);
            const auto self = HandedOver<Weak>::in(data).lock();
            if (!self || state != GST_WEBRTC_ICE_GATHERING_STATE_COMPLETE) return;
            self->thread_.post([weak = Weak(self)] {
              const auto held = weak.lock();
              if (held && held->pipeline_) held->gathered();
            });
          })));
  using PadAdded = void (*)(GstElement*, GstPad*, gpointer);
  connect("pad-added", G_CALLBACK(PadAdded([](GstElement*, GstPad* pad, gpointer data) {
            if (GST_PAD_DIRECTION(pad) != GST_PAD_SRC) return;
            const auto self = HandedOver<Weak>::in(data).lock();
            if (!self || !self->listener_.onPad) return;
            GObject* transceiver = nullptr;
            g_object_get(pad, "transceiver", &transceiver, nullptr);
            guint line = 0;
            if (transceiver) {
              g_object_get(transceiver, "mlineindex", &line, nullptr);
              g_object_unref(transceiver);
            }
            const GstRef<GstObject> pipeline(gst_element_get_parent(self->webrtc_));
            if (pipeline) self->listener_.onPad(GST_ELEMENT(pipeline.get()), pad, line);
          })));
  const GstRef<GstBus> bus(gst_element_get_bus(pipeline_.get()));
  gst_bus_add_watch_full(
      bus.get(), G_PRIORITY_DEFAULT,
      [](GstBus*, GstMessage* message, gpointer data) -> gboolean {
        const auto self = static_cast<Weak*>(data)->lock();
        if (self && GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
          self->listener_.onError(errorText(message));
        }
        return G_SOURCE_CONTINUE;
      },
      new Weak(weak_from_this()), [](gpointer data) { delete static_cast<Weak*>(data); });
  gst_element_set_state(pipeline_.get(), GST_STATE_PLAYING);
  findRelays();
}

void PeerConnection::findRelays() {
  for (std::size_t i = 0; i < relays_.size(); ++i) {
    lookups_[i] = lookUpHost(relays_[i].host, [this, i](const auto& addresses, const auto& why) {
      takeAddresses(i, addresses, why);
    });
  }
  if (lookups_.empty()) return;
  longestLookup_ = thread_.after(kLongestLookup, [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (!self) return;
    for (const auto& [relay, lookup] : self->lookups_) {
      self->note_("the relay " + self->relays_[relay].name() +
                  " is not used: its address was not found in time");
    }
    self->stopFinding();
  });
}

void PeerConnection::takeAddresses(std::size_t relay, const std::vector<std::string>& addresses,
                                   const std::string& why) {
  const auto& found = relays_[relay];
  if (addresses.empty()) note_("the relay " + found.name() + " is not used: " + why);
  for (const auto& address : addresses) {
    gboolean isTaken = TRUE;
    if (found.passesOn) {
      g_signal_emit_by_name(webrtc_, "add-turn-server", found.at(address).c_str(), &isTaken);
    } else {
      g_object_set(webrtc_, "stun-server", found.at(address).c_str(), nullptr);
    }
    if (!isTaken) note_("the relay " + found.name() + " is not used: webrtcbin refuses it");
    if (!found.passesOn) break;  // there is one alone, and over IPv6 nobody needs it
  }
  lookups_.erase(relay);
  if (lookups_.empty()) stopFinding();
}

void PeerConnection::stopFinding() {
  lookups_.clear();
  longestLookup_.reset();
  if (const auto then = std::exchange(waiting_, nullptr)) then();
}

void PeerConnection::withRelays(std::function<void()> then) {
  if (lookups_.empty()) return then();
  waiting_ = [then = std::move(then), busy = thread_.busy()] { then(); };
}

void PeerConnection::gathered() {
  if (std::exchange(hasGathered_, true) || isPassedOn_) return;
  std::string names;
  for (const auto& relay : relays_) {
    if (relay.passesOn) names += (names.empty() ? "" : ", ") + relay.name();
  }
  if (names.empty()) return;
  note_("no TURN server passes media on (" + names +
        "): each can't be reached, or refuses the user or the password");
}

void PeerConnection::close() {
  if (!pipeline_) return;
  lookups_.clear();
  longestLookup_.reset();
  waiting_ = nullptr;
  // A copy, as its end may wait for streaming threads that look at this.
  const auto ending = std::move(pipeline_);
  endPipeline(ending.get());
  // webrtcbin forgets what it was asked right before its end.
  for (const auto& promise : std::exchange(promises_, {})) gst_promise_expire(promise.get());
  if (std::ranges::any_of(relays_, &Relay::passesOn)) leaveRelays(webrtc_, thread_.busy());
  sendLines_.clear();
}

void PeerConnection::addSendLine(const std::string& caps) {
  GObject* line = nullptr;
  g_signal_emit_by_name(webrtc_, "add-transceiver", GST_WEBRTC_RTP_TRANSCEIVER_DIRECTION_SENDONLY,
                        capsOf(caps).get(), &line);
  sendLines_.emplace_back(GST_OBJECT(line));
}

GstRef<GstPad> PeerConnection::sendPad(unsigned line) const {
  GstIterator* pads = gst_element_iterate_sink_pads(webrtc_);
  GValue item = G_VALUE_INIT;
  GstRef<GstPad> found;
  while (!found && gst_iterator_next(pads, &item) == GST_ITERATOR_OK) {
    auto* pad = GST_PAD(g_value_get_object(&item));
    GObject* transceiver = nullptr;
    g_object_get(pad, "transceiver", &transceiver, nullptr);
    if (transceiver && line < sendLines_.size() &&
        static_cast<gpointer>(transceiver) == sendLines_[line].get()) {
      found.reset(GST_PAD(gst_object_ref(pad)));
    }
    if (transceiver) g_object_unref(transceiver);
    g_value_reset(&item);
  }
  g_value_unset(&item);
  gst_iterator_free(pads);
  return found;
}

GstPromise* PeerConnection::promise(Reply reply) {
  struct Waiting {
    std::weak_ptr<PeerConnection> self;
    EngineThread& thread;
    Reply reply;
    EngineThread::Busy busy;
  };
  auto* made = gst_promise_new_with_change_func(
      [](GstPromise* promise, gpointer data) {
        const PromiseRef ours(promise);  // the reference that it was made with
        // Each promise changes once: close() sees to those that nobody answers.
        auto waiting = HandedOver<Waiting>::take(data);
        if (waiting.self.expired()) return;
        const bool replied = gst_promise_wait(promise) == GST_PROMISE_RESULT_REPLIED;
        const auto* given = replied ? gst_promise_get_reply(promise) : nullptr;
        std::shared_ptr<GstStructure> kept(given ? gst_structure_copy(given) : nullptr,
                                           [](GstStructure* held) {
                                             if (held) gst_structure_free(held);
                                           });
        waiting.thread.post([weak = waiting.self, reply = std::move(waiting.reply), replied, kept,
                             promise] {
          const auto held = weak.lock();
          if (!held || !held->pipeline_) return;
          std::erase_if(held->promises_, [&](const auto& known) { return known.get() == promise; });
          if (!replied) return reply("the connection was given up", nullptr);
          GError* error = nullptr;
          if (kept && gst_structure_has_field(kept.get(), "error")) {
            gst_structure_get(kept.get(), "error", G_TYPE_ERROR, &error, nullptr);
          }
          if (!error) return reply(std::nullopt, kept.get());
          const std::string why = error->message;
          g_error_free(error);
          reply(why, nullptr);
        });
      },
      new HandedOver<Waiting>({weak_from_this(), thread_, std::move(reply), thread_.busy()}),
      nullptr);
  promises_.emplace_back(gst_promise_ref(made));
  return made;
}

void PeerConnection::setDescription(const char* signal, void* description, Done done) {
  g_signal_emit_by_name(
      webrtc_, signal, description,
      promise([done = std::move(done)](std::optional<std::string> error, const GstStructure*) {
        done(std::move(error));
      }));
  gst_webrtc_session_description_free(static_cast<GstWebRTCSessionDescription*>(description));
}

void PeerConnection::describe(const char* signal, const char* field, Described done) {
  g_signal_emit_by_name(
      webrtc_, signal, nullptr,
      promise([this, field, done = std::move(done)](std::optional<std::string> error,
                                                    const GstStructure* reply) {
        GstWebRTCSessionDescription* made = nullptr;
        if (reply) {
          gst_structure_get(reply, field, GST_TYPE_WEBRTC_SESSION_DESCRIPTION, &made, nullptr);
        }
        if (!made) return done(error.value_or("there is no description"), "");
        std::string sdp = GText(gst_sdp_message_as_text(made->sdp)).get();
        setDescription("set-local-description", made,
                       [done, sdp = std::move(sdp)](std::optional<std::string> failed) {
                         done(std::move(failed), sdp);
                       });
      }));
}

void PeerConnection::offer(Described done) {
  if (!webrtc_) return;
  withRelays([this, done = std::move(done)] { describe("create-offer", "offer", done); });
}

void PeerConnection::takeAnswer(const std::string& sdp, Done done) {
  auto* answer = parse(GST_WEBRTC_SDP_TYPE_ANSWER, sdp);
  if (!answer) return done("the server's answer is no session description");
  setDescription("set-remote-description", answer, std::move(done));
}

void PeerConnection::answer(const std::string& offer, Described done) {
  withRelays([this, offer, done = std::move(done)] {
    auto* remote = webrtc_ ? parse(GST_WEBRTC_SDP_TYPE_OFFER, offer) : nullptr;
    if (!remote) return done("the server's offer is no session description", "");
    setDescription("set-remote-description", remote,
                   [this, done](const std::optional<std::string>& error) {
                     if (error) return done(error, "");
                     describe("create-answer", "answer", done);
                   });
  });
}

void PeerConnection::addCandidate(unsigned line, const std::string& candidate) {
  if (webrtc_) g_signal_emit_by_name(webrtc_, "add-ice-candidate", line, candidate.c_str());
}

void PeerConnection::counts(std::function<void(std::vector<RtpCounts>)> done) {
  if (!webrtc_) return;
  g_signal_emit_by_name(webrtc_, "get-stats", nullptr,
                        promise([done = std::move(done)](const std::optional<std::string>&,
                                                         const GstStructure* reply) {
                          std::vector<RtpCounts> all;
                          if (reply) gst_structure_foreach(reply, addCounts, &all);
                          done(std::move(all));
                        }));
}

}  // namespace vemo::janus
