#include "engine/RoomVisit.h"

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

#include "bridge/EngineCodes.h"
#include "engine/JanusEvent.h"
#include "engine/VideoRoom.h"
#include "json/Lookup.h"

namespace vemo::janus {
namespace {

using boost::json::object;

constexpr std::chrono::milliseconds kRepublishAfter{500};
constexpr std::chrono::milliseconds kLongestHangUp{2'000};

RoomVisit::Failure failureOf(const JanusError& error) {
  switch (error.kind) {
    case JanusError::Kind::unreachable:
      return {kEnterTimedOut, "the server can't be reached: " + error.text};
    case JanusError::Kind::timedOut:
    case JanusError::Kind::lost: return {kEnterTimedOut, error.text};
    case JanusError::Kind::refused: break;
  }
  switch (error.code) {
    case kJanusUnauthorized:
    case kJanusNoPermission:
    case kVideoRoomUnauthorized:
      return {kEnterBadSignature, "the signature is not good for this room, or has expired"};
    case kVideoRoomFull: return {kEnterRoomFull, "the room is full"};
    case kVideoRoomIdTaken: return {kEnterRefused, "this user is in the room already"};
    default: return {kEnterRefused, error.text};
  }
}

}  // namespace

RoomVisit::RoomVisit(EngineThread& thread, Settings settings, Listener listener)
    : thread_(thread), settings_(std::move(settings)), listener_(std::move(listener)) {}

RoomVisit::~RoomVisit() {
  if (subscriber_) subscriber_->close();
  if (server_) server_->close();
}

void RoomVisit::enter(const Presence& presence, Done done) {
  presence_ = presence;
  const auto weak = weak_from_this();
  const auto alive = [weak](auto call) {
    return [weak, call](auto&&... arguments) {
      const auto self = weak.lock();
      if (self && !self->over_) call(*self, arguments...);
    };
  };
  server_ = std::make_shared<JanusConnection>(
      thread_, settings_.connection,
      JanusConnection::Listener{
          alive([](RoomVisit& self, std::uint64_t handle, const object& what) {
            self.event(handle, what);
          }),
          alive([](RoomVisit& self) { self.listener_.onLost(); }),
          alive([](RoomVisit& self) { self.listener_.onRetry(); }),
          alive([](RoomVisit& self, bool sameSession) { self.recovered(sameSession); }),
          alive([](RoomVisit& self, const JanusError& why) {
            self.putOut(kExitRemoved, failureOf(why));
          })});
  makeSubscriber();
  server_->open(
      alive([done = std::move(done)](RoomVisit& self, const JanusConnection::Result& result) {
        if (result.error) return done(failureOf(*result.error));
        self.join(true, [weak = self.weak_from_this(), done](std::optional<Failure> failure) {
          const auto held = weak.lock();
          if (!held || held->over_) return;
          if (failure || !held->presence_.anchor) return done(std::move(failure));
          held->publish(done);
        });
      }));
}

void RoomVisit::makeSubscriber() {
  if (subscriber_) subscriber_->close();
  subscriber_ = std::make_shared<Subscriber>(
      thread_, server_, Subscriber::Settings{settings_.room, settings_.roomToken, settings_.media},
      listener_.log);
}

void RoomVisit::join(bool mayCreate, Done done) {
  const auto enterIt = [weak = weak_from_this(), mayCreate, done] {
    const auto self = weak.lock();
    if (!self || self->over_) return;
    object body{{"request", "join"},
                {"ptype", "publisher"},
                {"room", self->settings_.room},
                {"id", self->settings_.userId},
                {"display", self->presence_.text()}};
    if (!self->settings_.roomToken.empty()) body["token"] = self->settings_.roomToken;
    self->server_->message(
        self->handle_, std::move(body), std::nullopt,
        [weak, mayCreate, done](const JanusConnection::Result& result) {
          const auto held = weak.lock();
          if (!held || held->over_) return;
          if (result.error && result.error->code == kVideoRoomNoRoom && mayCreate) {
            return held->create(done);
          }
          if (result.error) return done(failureOf(*result.error));
          held->learnMembers(result.answer, true);
          done(std::nullopt);
        });
  };
  if (handle_ != 0) return enterIt();
  server_->attach(kVideoRoom, [weak = weak_from_this(), enterIt, done](
                                  const JanusConnection::Result& result, std::uint64_t handle) {
    const auto self = weak.lock();
    if (!self || self->over_) return;
    if (result.error) return done(failureOf(*result.error));
    self->handle_ = handle;
    enterIt();
  });
}

void RoomVisit::create(Done done) {
  auto body = roomRequest(settings_.room, settings_.mostAnchors,
                          !settings_.connection.token.empty(), settings_.adminKey);
  server_->message(
      handle_, std::move(body), std::nullopt,
      [weak = weak_from_this(), done = std::move(done)](const JanusConnection::Result& result) {
        const auto self = weak.lock();
        if (!self || self->over_) return;
        // Somebody else may have been quicker.
        if (result.error && result.error->code != kVideoRoomExists) {
          return done(failureOf(*result.error));
        }
        self->join(false, done);
      });
}

void RoomVisit::publish(Done done) {
  unpublish();
  if (hangUp_) {
    afterHangUp_ = std::move(done);
    return;
  }
  const auto number = publishing_;
  const auto weak = weak_from_this();
  const auto current = [weak, number]() -> std::shared_ptr<RoomVisit> {
    auto self = weak.lock();
    return self && !self->over_ && self->publishing_ == number ? self : nullptr;
  };
  publisher_ = std::make_unique<Publisher>(
      thread_, settings_.media,
      Publisher::Listener{
          [current](unsigned line, const std::string& candidate) {
            const auto self = current();
            if (!self || !self->server_->isOpen()) return;
            self->server_->tell(
                self->handle_, "trickle",
                {{"candidate", {{"candidate", candidate}, {"sdpMLineIndex", line}}}});
          },
          [current](const std::string& why) {
            if (const auto self = current()) self->listener_.log("sending: " + why);
          },
          [current](Line line) {
            if (const auto self = current()) self->listener_.onFirstSent(line);
          }});
  publisher_->offer([current, done = std::move(done)](const std::optional<std::string>& error,
                                                      const std::string& sdp) {
    const auto self = current();
    if (!self) return;
    if (error) return done(Failure{kEnterRefused, *error});
    self->server_->message(
        self->handle_, {{"request", "publish"}}, object{{"type", "offer"}, {"sdp", sdp}},
        [current, done](const JanusConnection::Result& result) {
          const auto held = current();
          if (!held) return;
          if (result.error) {
            held->unpublish();
            return done(failureOf(*result.error));
          }
          const auto* jsep = result.answer.if_contains("jsep");
          const auto answer = jsep && jsep->is_object() ? textAt(jsep->get_object(), "sdp") : "";
          held->wayUp_ = held->thread_.after(held->settings_.media.longestWayUp, [current] {
            const auto waiting = current();
            if (!waiting) return;
            waiting->server_->tell(waiting->handle_, "hangup");
            waiting->publishAgain("the connection does not come up");
          });
          held->publisher_->accept(answer, [current, done](const std::optional<std::string>& bad) {
            const auto same = current();
            if (!same) return;
            if (bad) {
              same->unpublish();
              return done(Failure{kEnterRefused, *bad});
            }
            same->listener_.onPublisher(same->publisher_.get());
            done(std::nullopt);
          });
        });
  });
}

void RoomVisit::unpublish() {
  ++publishing_;
  republish_.reset();
  wayUp_.reset();
  afterHangUp_ = nullptr;
  if (!publisher_) return;
  listener_.onPublisher(nullptr);
  publisher_.reset();
}

void RoomVisit::publishAgain(const std::string& why) {
  listener_.log("sending begins anew: " + why);
  unpublish();
  republish_ = thread_.after(kRepublishAfter, [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (!self || self->over_ || !self->server_->isOpen()) return;
    self->publish([weak](const std::optional<Failure>& failed) {
      const auto held = weak.lock();
      if (failed && held && !held->over_) held->publishAgain(failed->text);
    });
  });
}

void RoomVisit::endSending(Done done) {
  // Until the server has told of the end of the old connection, it would take a new one for the
  // old, and this would take the end of the old one for that of the new.
  hangUp_ = thread_.after(kLongestHangUp, [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->hungUp();
  });
  server_->message(
      handle_, {{"request", "unpublish"}}, std::nullopt,
      [weak = weak_from_this(), done = std::move(done)](const JanusConnection::Result& result) {
        const auto self = weak.lock();
        if (!self || self->over_) return;
        if (result.error) {
          // The connection to send over was still on its way up, or there was none.
          const bool isUnknown = result.error->code == kVideoRoomNotPublished;
          if (isUnknown) self->server_->tell(self->handle_, "hangup");
          self->hungUp();
          if (!isUnknown) return done(failureOf(*result.error));
        }
        done(std::nullopt);
      });
}

void RoomVisit::hungUp() {
  hangUp_.reset();
  if (const auto waiting = std::exchange(afterHangUp_, nullptr); waiting && !over_) {
    publish(waiting);
  }
}

void RoomVisit::leave(std::function<void()> done) {
  if (std::exchange(over_, true)) return done();
  unpublish();
  if (subscriber_) std::exchange(subscriber_, nullptr)->close();
  if (!server_->isOpen() || handle_ == 0) {
    server_->close();
    return done();
  }
  const auto self = shared_from_this();
  presence_.leaving = true;
  server_->message(handle_, {{"request", "configure"}, {"display", presence_.text()}}, std::nullopt,
                   [self, done = std::move(done)](const auto&) {
                     self->server_->message(self->handle_, {{"request", "leave"}}, std::nullopt,
                                            [self, done](const auto&) {
                                              self->server_->close();
                                              done();
                                            });
                   });
}

void RoomVisit::dropConnection() { server_->dropSocket(); }

void RoomVisit::announce(const Presence& presence) {
  if (presence == presence_) return;
  presence_ = presence;
  sendDisplay();
}

void RoomVisit::sendDisplay() {
  if (!server_->isOpen() || handle_ == 0) return;  // told when it is back
  server_->message(handle_, {{"request", "configure"}, {"display", presence_.text()}}, std::nullopt,
                   [log = listener_.log](const JanusConnection::Result& result) {
                     if (result.error) log("telling the others: " + result.error->text);
                   });
}

void RoomVisit::switchRole(bool anchor, Done done) {
  if (!server_->isOpen()) {
    return done(Failure{kEnterTimedOut, "the server does not answer"});
  }
  if (anchor && publisher_) return done(std::nullopt);
  if (anchor) {
    return publish(
        [weak = weak_from_this(), done = std::move(done)](std::optional<Failure> failed) {
          const auto self = weak.lock();
          if (!self || self->over_) return;
          if (!failed) {
            auto shown = self->presence_;
            shown.anchor = true;
            self->announce(shown);
          }
          done(std::move(failed));
        });
  }
  announce(Presence{});
  if (!publisher_) return done(std::nullopt);
  unpublish();
  endSending(std::move(done));
}

void RoomVisit::event(std::uint64_t handle, const object& event) {
  if (subscriber_ && subscriber_->owns(handle)) return subscriber_->event(event);
  if (handle != handle_) return;
  const auto kind = textAt(event, "janus");
  if (kind == "trickle") {
    const auto candidate = candidateOf(event);
    if (publisher_ && candidate) publisher_->addCandidate(candidate->line, candidate->text);
  } else if (kind == "webrtcup") {
    wayUp_.reset();
  } else if (kind == "hangup" && hangUp_) {
    hungUp();
  } else if (kind == "hangup" && publisher_ && presence_.anchor) {
    publishAgain(textAt(event, "reason"));
  } else if (kind == "event") {
    if (const auto* data = pluginDataOf(event)) roomEvent(*data);
  }
}

void RoomVisit::roomEvent(const object& data) {
  if (textAt(data, "videoroom") == "destroyed") return putOut(kExitDismissed);
  if (textAt(data, "reason") == "kicked" && data.contains("leaving")) {
    return putOut(kExitRemoved);
  }
  if (const auto* joining = data.if_contains("joining"); joining && joining->is_object()) {
    const auto& who = joining->get_object();
    learnMember(textAt(who, "id"), textAt(who, "display"));
  }
  learnMembers(data, false);
  if (data.contains("id") && data.contains("display")) {
    learnMember(textAt(data, "id"), textAt(data, "display"));
  }
  if (const auto user = textAt(data, "unpublished"); !user.empty() && user != "ok") {
    if (subscriber_) subscriber_->setFeed(user, false);
  }
  if (const auto user = textAt(data, "kicked"); !user.empty()) learnGone(user, kLeaveRemoved);
  if (const auto user = textAt(data, "leaving"); !user.empty() && user != "ok") {
    const auto known = members_.find(user);
    learnGone(user, known != members_.end() && known->second.leaving ? kLeaveLeft : kLeaveTimedOut);
  }
}

void RoomVisit::learnMembers(const object& data, bool all) {
  std::set<std::string> there;
  const auto learn = [&](const char* list, bool publishes) {
    const auto* entries = vemo_safeNSArrayForKey(&data, list);
    if (!entries) return;
    for (const auto& value : *entries) {
      const auto* entry = value.if_object();
      const auto user = entry ? textAt(*entry, "id") : "";
      if (user.empty() || user == settings_.userId) continue;
      there.insert(user);
      learnMember(user, textAt(*entry, "display"));
      const auto* flag = entry->if_contains("publisher");
      const bool isUp = flag ? flag->is_bool() && flag->get_bool() : publishes;
      if (isUp && subscriber_) subscriber_->setFeed(user, true);
    }
  };
  learn("publishers", true);
  learn("attendees", false);
  learn("participants", false);
  if (!all) return;
  std::vector<std::string> gone;
  for (const auto& [user, presence] : members_) {
    if (!there.contains(user)) gone.push_back(user);
  }
  for (const auto& user : gone) learnGone(user, kLeaveLeft);
}

void RoomVisit::learnMember(const std::string& user, const std::string& display) {
  if (user.empty() || user == settings_.userId || over_) return;
  const auto presence = Presence::of(display);
  auto& known = members_[user];
  known = presence;
  listener_.onPresence(user, presence);
}

void RoomVisit::learnGone(const std::string& user, std::int64_t reason) {
  if (members_.erase(user) == 0) return;
  if (subscriber_) subscriber_->setFeed(user, false);
  listener_.onGone(user, reason);
}

void RoomVisit::recovered(bool sameSession) {
  // What was there before may be there still, or not: both ways of media begin anew.
  unpublish();
  const auto resume = [weak = weak_from_this()](const std::optional<Failure>& failure) {
    const auto self = weak.lock();
    if (!self || self->over_) return;
    if (failure) {
      return self->putOut(kExitRemoved, failure);
    }
    self->listener_.onRecovered();
    if (self->over_) return;
    if (self->presence_.anchor) {
      self->publish([weak](const std::optional<Failure>& failed) {
        const auto held = weak.lock();
        if (failed && held && !held->over_) held->publishAgain(failed->text);
      });
    }
  };
  makeSubscriber();
  hangUp_.reset();
  if (!sameSession) {
    handle_ = 0;
    return join(true, resume);
  }
  endSending([](const auto&) {});
  sendDisplay();
  server_->message(handle_, {{"request", "listparticipants"}, {"room", settings_.room}},
                   std::nullopt,
                   [weak = weak_from_this(), resume](const JanusConnection::Result& result) {
                     const auto self = weak.lock();
                     if (!self || self->over_) return;
                     if (result.error) return resume(failureOf(*result.error));
                     self->learnMembers(result.answer, true);
                     resume(std::nullopt);
                   });
}

void RoomVisit::putOut(std::int64_t reason, const std::optional<Failure>& why) {
  if (std::exchange(over_, true)) return;
  const auto self = shared_from_this();
  unpublish();
  if (subscriber_) std::exchange(subscriber_, nullptr)->close();
  server_->close();
  listener_.onPutOut(reason, why);
}

}  // namespace vemo::janus
