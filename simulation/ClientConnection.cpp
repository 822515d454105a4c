#include <algorithm>
#include <vector>

#include "bridge/EngineCodes.h"
#include "simulation/Client.h"

namespace vemo {
namespace {

constexpr Clock::Time kReconnectAfter{500};

}  // namespace

void Client::connectionDropped() {
  if (state_ != RoomState::inside) return;
  freeze();
  resuming_.reset();
  later(world_.options().lostAfter, loss_, [](Client& self) { self.noticeLoss(); });
  later(world_.options().goneAfter, absence_, [](Client& self) { self.quitRoom(kLeaveTimedOut); });
}

void Client::freeze() {
  if (isCutOff()) return;
  auto last = sent();
  last.camera.fps = 0;
  for (auto* stream : {&last.main, last.small ? &*last.small : nullptr, &last.screen}) {
    if (stream) stream->fps = stream->bitrate = 0;
  }
  frozen_ = std::move(last);
}

void Client::thaw() {
  if (frozen_) world_.discard(std::move(frozen_->camera.muteImage));
  frozen_.reset();
}

void Client::noticeLoss() {
  lossNoticed_ = true;
  emit([](auto& to) { to.onConnectionLost(); });
  later(kReconnectAfter, loss_,
        [](Client& self) { self.emit([](auto& to) { to.onTryToReconnect(); }); });
}

void Client::connectionRestored() {
  if (state_ == RoomState::entering) return knock();
  if (!isCutOff()) return;
  loss_.reset();
  absence_.reset();
  later(std::max(roundTrip() + world_.randomTime(network().jitter), kServerTime), resuming_,
        [](Client& self) { self.resume(); });
}

void Client::resume() {
  thaw();
  if (std::exchange(lossNoticed_, false)) {
    emit([](auto& to) { to.onConnectionRecovery(); });
  }

  const RoomKey key{params_.sdkAppId, params_.roomId};
  const auto* room = world_.findRoom(key);
  if (!putOutMeanwhile_ && !room_ && room &&
      (room->find(userId_) || room->members.size() >= world_.options().roomCapacity)) {
    putOutMeanwhile_ = kExitRemoved;  // its place was taken
  }
  if (const auto reason = putOutMeanwhile_) {
    state_ = RoomState::outside;
    endVisit();
    emit([reason = *reason](auto& to) { to.onExitRoom(reason); });
    return;
  }

  const auto number = ++world_.announcements;
  std::vector<std::string> gone;
  for (const auto& [user, known] : known_) {
    if (!room || !room->find(user)) gone.push_back(user);
  }
  for (const auto& user : gone) learn(user, {}, number, kLeaveLeft);
  if (!room_) {
    join(world_.room(key));
    return;
  }
  for (const auto& member : room_->members) {
    if (member.get() != this) learn(member->userId(), member->announced_, number, kLeaveLeft);
  }
  // Again, though nothing may have changed: from now on the others receive it.
  room_->announce(*this, announced_, kLeaveAudience);
  publish();
}

}  // namespace vemo
