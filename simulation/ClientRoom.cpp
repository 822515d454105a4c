#include <algorithm>

#include "bridge/EngineCodes.h"
#include "simulation/Client.h"

namespace vemo {
namespace {

constexpr Clock::Time kStatisticsPeriod{2'000};

}  // namespace

void Client::enter(const KOBUParams& params, std::int64_t scene, bool signatureGood) {
  if (state_ != RoomState::outside) {
    emit([](auto& to) { to.onError(kAlreadyInRoom, "already in a room", std::nullopt); });
    emit([](auto& to) { to.onEnterRoom(kAlreadyInRoom); });
    return;
  }
  state_ = RoomState::entering;
  params_ = params;
  userId_ = params.userId.value_or("");
  scene_ = scene;
  enteringSince_ = world_.now();
  receiveMode_ = nextReceiveMode;
  ++visit;
  signatureGood_ = signatureGood;
  knock();
}

void Client::knock() {
  if (!handset_->isConnected()) {
    const auto deadline = enteringSince_ + world_.options().enterTimeout;
    later(std::max(deadline - world_.now(), Time(0)), entering_,
          [](Client& self) { self.failEntering(kEnterTimedOut, "the server does not answer"); });
    return;
  }
  // A greeting, the user's papers and the room's description: three round trips.
  const auto travel = 3 * roundTrip() + world_.randomTime(network().jitter);
  later(std::max(travel, kServerTime), entering_, [](Client& self) { self.arrive(); });
}

void Client::arrive() {
  if (!handset_->isConnected()) return knock();
  if (const auto refusal = world_.refusal(params_, signatureGood_)) {
    failEntering(refusal->code, refusal->text);
    return;
  }
  const RoomKey key{params_.sdkAppId, params_.roomId};
  const auto* present = world_.findRoom(key);
  if (const auto other = present ? present->find(userId_) : nullptr) {
    other->putOut(kExitRemoved, kLeaveRemoved);
  }
  state_ = RoomState::inside;
  sentBytes_ = receivedBytes_ = 0;
  emit([elapsed = (world_.now() - enteringSince_).count()](auto& to) { to.onEnterRoom(elapsed); });
  join(world_.room(key));
  startMeasuring();
  startListening();
}

void Client::failEntering(std::int32_t code, std::string_view text) {
  state_ = RoomState::outside;
  ++visit;
  entering_.reset();
  emit([code, text](auto& to) { to.onError(code, std::string(text), std::nullopt); });
  emit([code](auto& to) { to.onEnterRoom(code); });
}

void Client::join(Room& room) {
  room.members.push_back(shared_from_this());
  room_ = &room;
  const auto number = world_.announcements;
  for (const auto& member : room.members) {
    if (member.get() != this) learn(member->userId(), member->announced_, number, kLeaveLeft);
  }
  announced_ = {};
  announcing_.reset();
  publish();
}

void Client::exit() {
  if (state_ == RoomState::outside) return;
  if (state_ == RoomState::entering) failEntering(kEnterCancelled, "left on the way in");
  const auto answer = handset_->isConnected() ? roundTrip() : Time(0);
  quitRoom(handset_->isConnected() ? kLeaveLeft : kLeaveTimedOut);
  state_ = RoomState::outside;
  endVisit();
  later(answer, [](Client& self) { self.emit([](auto& to) { to.onExitRoom(kExitLeft); }); });
}

void Client::putOut(std::int64_t exitReason, std::int64_t othersReason) {
  quitRoom(othersReason);
  if (!handset_->isConnected()) {
    putOutMeanwhile_ = exitReason;
    return;
  }
  state_ = RoomState::outside;
  endVisit();
  later(network().delay, [exitReason](Client& self) {
    self.emit([exitReason](auto& to) { to.onExitRoom(exitReason); });
  });
}

void Client::quitRoom(std::int64_t reason) {
  if (!room_) return;
  auto& room = *std::exchange(room_, nullptr);
  std::erase_if(room.members, [this](const auto& member) { return member.get() == this; });
  // A user who goes while cut off is missed only when its connection times out.
  const auto since = handset_->cutOffSince;
  const auto missed = since && reason == kLeaveTimedOut
                          ? std::max(*since + world_.options().goneAfter - world_.now(), Time(0))
                          : Time(0);
  room.announce(*this, {}, reason, missed);
  announced_ = {};
  world_.tidy(room);
}

void Client::endVisit() {
  ++visit;
  for (auto* timer :
       {&entering_, &announcing_, &measuring_, &listening_, &loss_, &absence_, &resuming_}) {
    timer->reset();
  }
  thaw();
  lossNoticed_ = false;
  putOutMeanwhile_.reset();
  known_.clear();
  firstSent_.clear();
  stopRemoteViews();
  drawings.clear();
  wishes.clear();
  allAudioMuted.reset();
  allVideoMuted.reset();
}

void Client::switchRole(std::int32_t role) {
  if (role != kKOBURoleAnchor && role != kKOBURoleAudience) {
    emit([](auto& to) { to.onSwitchRole(kSwitchUnknownRole, "unknown role"); });
    return;
  }
  if (state_ != RoomState::inside) {
    emit([](auto& to) { to.onSwitchRole(kSwitchOutsideRoom, "not in a room"); });
    return;
  }
  const bool connected = handset_->isConnected();
  const auto answer = connected ? roundTrip() : world_.options().enterTimeout;
  later(answer, [role, connected, during = visit](Client& self) {
    if (self.visit != during) {
      self.emit([](auto& to) { to.onSwitchRole(kSwitchOutsideRoom, "not in a room"); });
    } else if (!connected || !self.handset_->isConnected()) {
      self.emit([](auto& to) { to.onSwitchRole(kEnterTimedOut, "the server does not answer"); });
    } else {
      self.params_.role = role;
      self.emit([](auto& to) { to.onSwitchRole(0, ""); });
      self.publish();
    }
  });
}

void Client::learn(const std::string& user, const Presence& shown, std::uint64_t announcement,
                   std::int64_t reason) {
  if (isCutOff()) return;  // what is missed now is learnt when it resumes
  auto& known = known_[user];
  if (announcement < known.lastAnnouncement) return;
  known.lastAnnouncement = announcement;

  if (shown.visible && !known.visible) {
    emit([user](auto& to) { to.onRemoteUserEnterRoom(user); });
  }
  const auto learnStream = [&](KnownUser::Stream& stream, bool available, auto event) {
    if (stream.available == available) return;
    stream = {available, nullptr};
    emit([user, available, event](auto& to) { (to.*event)(user, available); });
  };
  learnStream(known.audio, shown.audio, &KOBUCloudDelegate::onUserAudioAvailable);
  learnStream(known.video, shown.video, &KOBUCloudDelegate::onUserVideoAvailable);
  learnStream(known.subStream, shown.subStream, &KOBUCloudDelegate::onUserSubStreamAvailable);
  if (!shown.visible && known.visible) {
    emit([user, reason](auto& to) { to.onRemoteUserLeaveRoom(user, reason); });
  }
  known.visible = shown.visible;
  receive(user);
}

void Client::startMeasuring() {
  later(kStatisticsPeriod, measuring_, [](Client& self) {
    self.measure(kStatisticsPeriod);
    self.startMeasuring();
  });
}

void Client::setVolumeInterval(std::int32_t intervalMs) {
  const auto interval =
      intervalMs <= 0 ? 0
                      : std::clamp(intervalMs, kShortestVolumeIntervalMs, kLongestVolumeIntervalMs);
  if (std::exchange(audio.volumeIntervalMs, interval) == interval) return;
  if (state_ == RoomState::inside) startListening();
}

void Client::startListening() {
  listening_.reset();
  if (audio.volumeIntervalMs == 0) return;
  later(Time(audio.volumeIntervalMs), listening_, [](Client& self) {
    self.listen();
    self.startListening();
  });
}

}  // namespace vemo
