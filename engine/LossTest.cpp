#include "engine/LossTest.h"

#include <algorithm>
#include <utility>

#include "engine/AudioMix.h"
#include "engine/JanusEvent.h"
#include "engine/VideoRoom.h"

namespace vemo::janus {
namespace {

using boost::json::object;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr const char* kSelf = "self";
constexpr const char* kNoise =
    "audiotestsrc is-live=true wave=pink-noise volume=0.1 samplesperbuffer=480";
constexpr std::uint64_t kPackets = 250;  // five seconds of sound
constexpr milliseconds kLongestSending{20'000};
constexpr milliseconds kBetweenLooks{250};
// What is under way arrives meanwhile, and the server reports, which it does each second.
constexpr milliseconds kPause{1'500};
constexpr milliseconds kLongestDraining{4'000};

}  // namespace

/// Knows whether anything was heard.
class LossTest::Ear final : public StreamReceiver {
 public:
  void take(GstSample*) override { hasHeard_ = true; }
  bool hasHeard() const { return hasHeard_; }

 private:
  std::atomic<bool> hasHeard_ = false;
};

LossTest::LossTest(EngineThread& thread, std::shared_ptr<JanusConnection> server, Settings settings,
                   Done done)
    : thread_(thread),
      server_(std::move(server)),
      settings_(std::move(settings)),
      done_(std::move(done)),
      room_("speed-" + randomText()),
      ear_(std::make_shared<Ear>()) {}

void LossTest::start() {
  server_->attach(kVideoRoom, bind([](LossTest& self, const JanusConnection::Result& result,
                                      std::uint64_t handle) {
                    if (result.error) return self.failed(*result.error);
                    self.handle_ = handle;
                    self.makeRoom();
                  }));
}

void LossTest::close(std::function<void()> then) {
  then_ = std::move(then);
  if (std::exchange(closed_, true)) {
    if (isHeard_) heard();
    return;
  }
  wayUp_.reset();
  look_.reset();
  noise_.reset();
  if (subscriber_) std::exchange(subscriber_, nullptr)->close();
  publisher_.reset();
  if (secret_.empty() || !server_->isOpen()) return heard();
  // The end of a session overtakes what was asked in it before, and the room would stay.
  server_->message(handle_, {{"request", "destroy"}, {"room", room_}, {"secret", secret_}},
                   std::nullopt, [self = shared_from_this()](const auto&) { self->heard(); });
}

void LossTest::heard() {
  isHeard_ = true;
  if (handle_ != 0 && server_->isOpen()) server_->tell(std::exchange(handle_, 0), "detach");
  if (const auto then = std::exchange(then_, nullptr)) then();
}

void LossTest::makeRoom() {
  // The signature is for the user's own room. This one is closed to others by its name, which
  // nobody knows.
  auto request = roomRequest(room_, 1, false, settings_.adminKey);
  secret_ = textAt(request, "secret");
  server_->message(handle_, std::move(request), std::nullopt,
                   bind([](LossTest& self, const JanusConnection::Result& result) {
                     if (result.error) return self.failed(*result.error);
                     self.publish();
                   }));
}

void LossTest::publish() {
  wayUp_ =
      thread_.after(settings_.media.longestWayUp,
                    bind([](LossTest& self) { self.finish(Loss{}, "no media came through"); }));
  publisher_ = std::make_unique<Publisher>(
      thread_, settings_.media,
      Publisher::Listener{
          bind([](LossTest& self, unsigned line, const std::string& candidate) {
            self.server_->tell(
                self.handle_, "trickle",
                {{"candidate", {{"candidate", candidate}, {"sdpMLineIndex", line}}}});
          }),
          bind([](LossTest& self, const std::string& why) { self.finish(std::nullopt, why); }),
          [](Line) {}});
  publisher_->offer(
      bind([](LossTest& self, const std::optional<std::string>& error, const std::string& sdp) {
        if (error) return self.finish(std::nullopt, *error);
        self.server_->message(
            self.handle_,
            {{"request", "joinandconfigure"},
             {"ptype", "publisher"},
             {"room", self.room_},
             {"id", kSelf}},
            object{{"type", "offer"}, {"sdp", sdp}},
            self.bind([](LossTest& held, const JanusConnection::Result& result) {
              if (result.error) return held.failed(*result.error);
              const auto* jsep = objectAt(&result.answer, "jsep");
              held.publisher_->accept(
                  jsep ? textAt(*jsep, "sdp") : "",
                  held.bind([](LossTest& same, const std::optional<std::string>& bad) {
                    if (bad) same.finish(std::nullopt, *bad);
                  }));
            }));
      }));
}

void LossTest::receive() {
  subscriber_ = std::make_shared<Subscriber>(
      thread_, server_, Subscriber::Settings{room_, "", settings_.media}, [](const auto&) {});
  subscriber_->want({kSelf, Line::audio}, {ear_, true, false});
  subscriber_->setFeed(kSelf, true);
  *sends_ = true;
  noise_ = std::make_unique<Capture>(
      thread_, Capture::Sources{{}, kNoise},
      std::string("audioconvert ! audioresample ! ") + kSound,
      Capture::Listener{[sends = sends_, publisher = publisher_.get()](GstSample* sample) {
                          if (*sends) publisher->push(Line::audio, sample);
                        },
                        [] {}, bind([](LossTest& self, const auto&, const std::string& why, bool) {
                          self.finish(std::nullopt, why);
                        }),
                        [] {}});
  lookLater();
}

void LossTest::event(std::uint64_t handle, const object& event) {
  if (closed_) return;
  const bool isReceiving = subscriber_ && subscriber_->owns(handle);
  if (!isReceiving && handle != handle_) return;
  const auto kind = textAt(event, "janus");
  if (kind == "hangup") {
    return finish(Loss{}, "the server ended the connection for media: " + textAt(event, "reason"));
  }
  if (isReceiving) return subscriber_->event(event);
  if (kind == "webrtcup" && !subscriber_) return receive();
  if (kind != "trickle" || !publisher_) return;
  if (const auto candidate = candidateOf(event)) {
    publisher_->addCandidate(candidate->line, candidate->text);
  }
}

void LossTest::lookLater() {
  look_ = thread_.after(kBetweenLooks, bind([](LossTest& self) { self.look(); }));
}

void LossTest::look() {
  publisher_->counts(bind([](LossTest& self, const std::vector<RtpCounts>& sent) {
    Counts now;
    for (const auto& counts : sent) {
      if (!counts.isSent || counts.ssrc != self.publisher_->ssrcOf(Line::audio)) continue;
      now.sent = counts.packets;
      now.lostUp = counts.lost;
      auto& told = self.loss_.roundTrips;
      const std::chrono::duration<double> roundTrip(counts.roundTrip);
      if (roundTrip.count() > 0 && (told.empty() || told.back() != roundTrip)) {
        told.push_back(roundTrip);
      }
    }
    self.subscriber_->counts(
        self.bind([now](LossTest& held, const std::map<Subscriber::Key, RtpCounts>& received) {
          auto all = now;
          for (const auto& [key, counts] : received) all.received += counts.packets;
          held.learn(all);
        }));
  }));
}

void LossTest::enterPhase(Phase phase) {
  phase_ = phase;
  since_ = Clock::now();
  *sends_ = phase == Phase::tuningIn || phase == Phase::sending;
}

void LossTest::learn(const Counts& now) {
  const auto sent = now.sent - before_.sent;
  const auto received = now.received - std::min(before_.received, now.received);
  const auto lostUp = std::min(
      sent, static_cast<std::uint64_t>(std::max<std::int64_t>(now.lostUp - before_.lostUp, 0)));
  const auto elapsed = Clock::now() - since_;
  switch (phase_) {
    case Phase::tuningIn:
      if (ear_->hasHeard()) {
        wayUp_.reset();
        enterPhase(Phase::pausing);
      }
      break;
    case Phase::pausing:
      if (elapsed >= kPause) {
        before_ = now;
        enterPhase(Phase::sending);
      }
      break;
    case Phase::sending:
      if (sent >= kPackets || elapsed >= kLongestSending) enterPhase(Phase::draining);
      break;
    case Phase::draining:
      if (received + lostUp < sent && elapsed < kLongestDraining) break;
      if (sent == 0) return finish(std::nullopt, "nothing could be sent");
      loss_.up = static_cast<double>(lostUp) / static_cast<double>(sent);
      const auto arrived = sent - lostUp;
      loss_.down = arrived == 0 ? 1
                                : 1 - static_cast<double>(std::min(received, arrived)) /
                                          static_cast<double>(arrived);
      return finish(std::move(loss_), "");
  }
  lookLater();
}

void LossTest::finish(std::optional<Loss> loss, const std::string& why) {
  close([done = std::move(done_), loss = std::move(loss), why] { done(loss, why); });
}

void LossTest::failed(const JanusError& error) {
  // A server that does not answer has lost everything; one that refuses lets nobody know.
  if (error.kind == JanusError::Kind::refused) return finish(std::nullopt, error.text);
  finish(Loss{}, error.text);
}

}  // namespace vemo::janus
