#include "engine/Subscriber.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "engine/AudioMix.h"
#include "engine/JanusEvent.h"
#include "engine/VideoRoom.h"
#include "json/Lookup.h"

namespace vemo::janus {
namespace {

using boost::json::array;
using boost::json::object;

constexpr std::chrono::milliseconds kRetryAfter{500};

bool flagAt(const object& from, std::string_view key, bool otherwise) {
  const auto* value = from.if_contains(key);
  return value && value->is_bool() ? value->get_bool() : otherwise;
}

/// Which line a name in a session description means; the small camera picture is the camera.
std::optional<std::pair<Line, bool>> lineNamed(std::string_view mid) {
  for (const auto line : {Line::audio, Line::camera, Line::cameraSmall, Line::screen}) {
    if (mid != midOf(line)) continue;
    if (line == Line::cameraSmall) return std::pair(Line::camera, true);
    return std::pair(line, false);
  }
  return std::nullopt;
}

}  // namespace

/// Where what comes in on each m-line goes; asked by streaming threads.
class Subscriber::Outlets {
 public:
  void set(unsigned line, std::shared_ptr<StreamReceiver> receiver) {
    const std::lock_guard lock(mutex_);
    receivers_[line] = std::move(receiver);
  }
  void clear() {
    std::map<unsigned, std::shared_ptr<StreamReceiver>> dropped;
    const std::lock_guard lock(mutex_);
    dropped.swap(receivers_);
  }
  std::shared_ptr<StreamReceiver> at(unsigned line) const {
    const std::lock_guard lock(mutex_);
    const auto found = receivers_.find(line);
    return found == receivers_.end() ? nullptr : found->second;
  }
  /// The ssrc that came last on a line.
  void setSsrc(unsigned line, std::uint32_t ssrc) {
    const std::lock_guard lock(mutex_);
    ssrcs_[line] = ssrc;
  }
  std::map<unsigned, std::uint32_t> ssrcs() const {
    const std::lock_guard lock(mutex_);
    return ssrcs_;
  }

  /// Decodes what `pad` brings for `line`, in `pipeline`. On a streaming thread.
  static void link(const std::shared_ptr<Outlets>& self, GstElement* pipeline, GstPad* pad,
                   unsigned line);

 private:
  mutable std::mutex mutex_;
  std::map<unsigned, std::shared_ptr<StreamReceiver>> receivers_;
  std::map<unsigned, std::uint32_t> ssrcs_;
};

void Subscriber::Outlets::link(const std::shared_ptr<Outlets>& self, GstElement* pipeline,
                               GstPad* pad, unsigned line) {
  const CapsRef caps(gst_pad_get_current_caps(pad));
  const auto* format = caps ? gst_caps_get_structure(caps.get(), 0) : nullptr;
  const auto* media = format ? gst_structure_get_string(format, "media") : nullptr;
  const bool isAudio = media && std::string_view(media) == "audio";
  guint ssrc = 0;
  if (format && gst_structure_get_uint(format, "ssrc", &ssrc)) self->setSsrc(line, ssrc);

  const std::string sink = " ! appsink name=out sync=false max-buffers=4 drop=true";
  const std::string text =
      isAudio ? "queue ! rtpopusdepay ! opusdec plc=true ! audioconvert ! audioresample ! " +
                    std::string(kSound) + sink
              : "queue ! rtpvp8depay ! vp8dec ! "
                "capssetter caps=video/x-raw,colorimetry=bt601" +
                    sink;
  GError* error = nullptr;
  auto* bin = gst_parse_bin_from_description(text.c_str(), TRUE, &error);
  if (!bin) {
    g_error_free(error);
    return;
  }
  gst_bin_add(GST_BIN(pipeline), bin);
  onSamples(elementOf(bin, "out").get(), [weak = std::weak_ptr(self), line](GstSample* sample) {
    const auto outlets = weak.lock();
    if (const auto receiver = outlets ? outlets->at(line) : nullptr) receiver->take(sample);
  });
  const GstRef<GstPad> in(gst_element_get_static_pad(bin, "sink"));
  gst_element_sync_state_with_parent(bin);
  gst_pad_link(pad, in.get());
}

Subscriber::Subscriber(EngineThread& thread, std::shared_ptr<JanusConnection> connection,
                       Settings settings, std::function<void(const std::string& text)> log)
    : thread_(thread),
      server_(std::move(connection)),
      settings_(std::move(settings)),
      log_(std::move(log)),
      outlets_(std::make_shared<Outlets>()) {}

Subscriber::~Subscriber() { close(); }

void Subscriber::close() {
  if (std::exchange(closed_, true)) return;
  retry_.reset();
  wayUp_.reset();
  outlets_->clear();
  if (connection_) std::exchange(connection_, nullptr)->close();
  if (handle_ != 0 && server_->isOpen()) server_->tell(handle_, "detach");
  handle_ = 0;
}

void Subscriber::setFeed(const std::string& user, bool isUp) {
  if (isUp) {
    feeds_.insert(user);
  } else {
    feeds_.erase(user);
  }
  step();
}

void Subscriber::want(const Key& key, Wish wish) {
  wishes_[key] = std::move(wish);
  for (const auto& [line, place] : places_) {
    if (place.active && place.key == key) outlets_->set(line, wishes_[key].receiver);
  }
  step();
}

void Subscriber::unwant(const std::string& user) {
  std::erase_if(wishes_, [&](const auto& entry) { return entry.first.first == user; });
  for (const auto& [line, place] : places_) {
    if (place.key.first == user) outlets_->set(line, nullptr);
  }
  step();
}

object Subscriber::streamOf(const Key& key) const {
  const auto wish = wishes_.find(key);
  const bool small = wish != wishes_.end() && wish->second.small && key.second == Line::camera;
  return {{"feed", key.first}, {"mid", midOf(small ? Line::cameraSmall : key.second)}};
}

void Subscriber::step() {
  if (closed_ || busy_ || retry_ || !server_->isOpen()) return;
  if (!offers_.empty()) {
    const auto offer = std::move(offers_.front());
    offers_.pop_front();
    takeOffer(offer);
    return;
  }
  if (update()) return;
  adjust();
}

void Subscriber::stepLater() {
  retry_ = thread_.after(kRetryAfter, [weak = weak_from_this()] {
    if (const auto self = weak.lock()) {
      self->retry_.reset();
      self->step();
    }
  });
}

bool Subscriber::update() {
  array missing;
  for (const auto& [key, wish] : wishes_) {
    const bool isThere = std::ranges::any_of(places_, [&wanted = key](const auto& entry) {
      return entry.second.active && entry.second.key == wanted;
    });
    if (!isThere && wish.flows && feeds_.contains(key.first)) missing.push_back(streamOf(key));
  }
  array surplus;
  for (const auto& [line, place] : places_) {
    if (place.active && !wishes_.contains(place.key))
      surplus.push_back(object{{"sub_mid", place.mid}});
  }
  if (missing.empty() && surplus.empty()) return false;
  if (handle_ == 0) {
    if (!missing.empty()) join(missing);
    return !missing.empty();
  }
  object body{{"request", "update"}};
  if (!missing.empty()) body["subscribe"] = std::move(missing);
  if (!surplus.empty()) body["unsubscribe"] = std::move(surplus);
  request(std::move(body), std::nullopt);
  return true;
}

bool Subscriber::adjust() {
  array flows;
  for (auto& [line, place] : places_) {
    const auto wish = wishes_.find(place.key);
    if (!place.active || wish == wishes_.end()) continue;
    if (place.key.second == Line::camera && place.small != wish->second.small) {
      place.small = wish->second.small;
      auto stream = streamOf(place.key);
      stream["sub_mid"] = place.mid;
      request({{"request", "switch"}, {"streams", array{std::move(stream)}}}, std::nullopt);
      return true;
    }
    if (place.sends != wish->second.flows) {
      place.sends = wish->second.flows;
      flows.push_back(object{{"mid", place.mid}, {"send", place.sends}});
    }
  }
  if (flows.empty()) return false;
  request({{"request", "configure"}, {"streams", std::move(flows)}}, std::nullopt);
  return true;
}

void Subscriber::join(const array& streams) {
  busy_ = true;
  server_->attach(kVideoRoom, [weak = weak_from_this(), streams](
                                  const JanusConnection::Result& result, std::uint64_t handle) {
    const auto self = weak.lock();
    if (!self || self->closed_) return;
    self->busy_ = false;
    if (result.error) {
      self->log_("subscribing: " + result.error->text);
      return self->stepLater();
    }
    self->handle_ = handle;
    object body{{"request", "join"},
                {"ptype", "subscriber"},
                {"room", self->settings_.room},
                {"streams", streams}};
    if (!self->settings_.token.empty()) body["token"] = self->settings_.token;
    self->request(std::move(body), std::nullopt);
  });
}

void Subscriber::request(object body, std::optional<object> jsep) {
  busy_ = true;
  const auto what = std::string(body.at("request").as_string());
  server_->message(handle_, std::move(body), std::move(jsep),
                   [weak = weak_from_this(), what](JanusConnection::Result result) {
                     const auto self = weak.lock();
                     if (!self || self->closed_) return;
                     self->busy_ = false;
                     if (result.error) {
                       self->log_(what + ": " + result.error->text);
                       if (what == "join") {
                         self->server_->tell(std::exchange(self->handle_, 0), "detach");
                       }
                       return self->stepLater();
                     }
                     self->learnPlaces(result.answer);
                     if (const auto* offer = result.answer.if_contains("jsep");
                         offer && offer->is_object()) {
                       self->offers_.push_back(offer->get_object());
                     }
                     self->step();
                   });
}

void Subscriber::learnPlaces(const object& data) {
  const auto kind = textAt(data, "videoroom");
  if (kind != "attached" && kind != "updated") return;
  const auto* streams = vemo_safeNSArrayForKey(&data, "streams");
  if (!streams) return;
  for (const auto& value : *streams) {
    const auto* stream = value.if_object();
    const auto index = vemo_safeNSNumberForKey(stream, "mindex");
    if (!stream || !index) continue;
    const auto line = index->as<std::uint32_t>();
    auto& place = places_[line];
    const auto named = lineNamed(textAt(*stream, "feed_mid"));
    const bool active = flagAt(*stream, "active", false) && named.has_value();
    const Key key = named ? Key{textAt(*stream, "feed_id"), named->first} : Key{};
    if (active && (!place.active || place.key != key)) {
      // What begins anew begins with all that it can send.
      place.sends = true;
      place.small = named->second;
    }
    place.active = active;
    place.mid = textAt(*stream, "mid");
    if (!active) {
      outlets_->set(line, nullptr);
      place.key = {};
      continue;
    }
    place.key = key;
    const auto wish = wishes_.find(key);
    outlets_->set(line, wish == wishes_.end() ? nullptr : wish->second.receiver);
  }
}

void Subscriber::takeOffer(const object& jsep) {
  busy_ = true;
  if (!connection_) {
    connection_ = std::make_shared<PeerConnection>(
        thread_, settings_.media,
        PeerConnection::Listener{
            [weak = weak_from_this()](unsigned line, const std::string& candidate) {
              const auto self = weak.lock();
              if (!self || self->closed_ || self->handle_ == 0) return;
              self->server_->tell(
                  self->handle_, "trickle",
                  {{"candidate", {{"candidate", candidate}, {"sdpMLineIndex", line}}}});
            },
            [weak = weak_from_this()](const std::string& why) {
              if (const auto self = weak.lock()) self->restart(why);
            },
            [outlets = outlets_](GstElement* pipeline, GstPad* pad, unsigned line) {
              Outlets::link(outlets, pipeline, pad, line);
            }});
    connection_->start();
    for (const auto& [line, text] : std::exchange(early_, {}))
      connection_->addCandidate(line, text);
    wayUp_ = thread_.after(settings_.media.longestWayUp, [weak = weak_from_this()] {
      if (const auto self = weak.lock()) self->restart("the connection does not come up");
    });
  }
  connection_->answer(
      textAt(jsep, "sdp"),
      [weak = weak_from_this()](const std::optional<std::string>& error, const std::string& sdp) {
        const auto self = weak.lock();
        if (!self || self->closed_) return;
        self->busy_ = false;
        if (error) return self->restart(*error);
        self->request({{"request", "start"}}, object{{"type", "answer"}, {"sdp", sdp}});
        // A stream on a connection that was there already begins with no key picture of itself.
        array pictures;
        for (const auto& [line, place] : self->places_) {
          if (place.active && place.sends && place.key.second != Line::audio) {
            pictures.push_back(object{{"mid", place.mid}, {"send", true}});
          }
        }
        if (!pictures.empty()) {
          self->server_->message(self->handle_,
                                 {{"request", "configure"}, {"streams", std::move(pictures)}},
                                 std::nullopt, [](const auto&) {});
        }
      });
}

void Subscriber::event(const object& event) {
  if (closed_) return;
  const auto kind = textAt(event, "janus");
  if (kind == "trickle") {
    const auto candidate = candidateOf(event);
    if (candidate && connection_) connection_->addCandidate(candidate->line, candidate->text);
    if (candidate && !connection_) early_.push_back(*candidate);
    return;
  }
  if (kind == "webrtcup") wayUp_.reset();
  if (kind == "hangup") return restart("the server hung up: " + textAt(event, "reason"));
  if (kind != "event") return;
  if (const auto* data = pluginDataOf(event)) learnPlaces(*data);
  if (const auto* offer = event.if_contains("jsep"); offer && offer->is_object()) {
    offers_.push_back(offer->get_object());
  }
  step();
}

void Subscriber::restart(const std::string& why) {
  if (closed_) return;
  log_("receiving begins anew: " + why);
  wayUp_.reset();
  outlets_->clear();
  places_.clear();
  offers_.clear();
  early_.clear();
  if (connection_) std::exchange(connection_, nullptr)->close();
  if (handle_ != 0 && server_->isOpen()) server_->tell(handle_, "detach");
  handle_ = 0;
  busy_ = false;
  stepLater();
}

void Subscriber::counts(std::function<void(std::map<Key, RtpCounts>)> done) {
  if (!connection_) return done({});
  connection_->counts(
      [weak = weak_from_this(), done = std::move(done)](const std::vector<RtpCounts>& all) {
        const auto self = weak.lock();
        if (!self || self->closed_) return;
        std::map<Key, RtpCounts> found;
        for (const auto& [line, ssrc] : self->outlets_->ssrcs()) {
          const auto place = self->places_.find(line);
          if (place == self->places_.end() || !place->second.active) continue;
          for (const auto& counts : all) {
            if (!counts.isSent && counts.ssrc == ssrc) found[place->second.key] = counts;
          }
        }
        done(std::move(found));
      });
}

}  // namespace vemo::janus
