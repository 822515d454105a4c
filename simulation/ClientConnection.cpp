#include <vector>

#include "simulation/Client.h"

namespace vemo {
namespace {

constexpr Clock::Time kReconnectAfter{500};

}  // namespace

void Client::connectionDropped() {
  if (state_ != RoomState::inside) return;
  ++connection_;
  cutOff_ = true;
  later(world_.options().lostAfter, connection_, [](Client& self) { self.noticeLoss(); });
  later(world_.options().goneAfter, connection_,
        [](Client& self) { self.quitRoom(kLeaveTimedOut); });
}

void Client::noticeLoss() {
  lossNoticed_ = true;
  emit([](auto& to) { to.onConnectionLost(); });
  later(kReconnectAfter, connection_,
        [](Client& self) { self.emit([](auto& to) { to.onTryToReconnect(); }); });
}

void Client::connectionRestored() {
  if (!cutOff_) return;
  ++connection_;
  later(roundTrip() + world_.randomTime(network().jitter), connection_,
        [](Client& self) { self.resume(); });
}

void Client::resume() {
  cutOff_ = false;
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
    if (member.get() != this) learn(member->userId(), member->presence(), number, kLeaveLeft);
  }
  publish();
}

}  // namespace vemo
