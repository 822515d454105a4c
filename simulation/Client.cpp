#include "simulation/Client.h"

#include <algorithm>

#include "bridge/EngineCodes.h"

namespace vemo {

Client::Client(World& world, std::shared_ptr<Handset> handset)
    : world_(world), handset_(std::move(handset)) {}

void Client::close() {
  quitRoom(handset_->isConnected() ? kLeaveLeft : kLeaveTimedOut);
  endVisit();
  closed_ = true;
  state_ = RoomState::outside;
  music.close();
  speedTest.stop();
  world_.discard(std::move(video.view));
  world_.discard(std::move(video.muteImage));
}

const NetworkProfile& Client::network() const {
  return handset_->network ? *handset_->network : world_.options().network;
}

void Client::warn(std::int32_t code, const std::string& text) {
  emit([code, text](auto& to) { to.onWarning(code, text, std::nullopt); });
}

bool Client::canKeep(std::string_view user, std::size_t keptAlready) {
  if (user.size() > kLongestUserId) {
    warn(kWarnBadValue, "a user id that is too long");
    return false;
  }
  if (keptAlready >= std::max(kMostUsersKept, world_.options().roomCapacity)) {
    warn(kWarnTooManyUsers, "more users than are kept account of");
    return false;
  }
  return true;
}

bool Client::accepts(const KOBUVideoEncParam& param) {
  if (isUsable(param)) return true;
  warn(kWarnBadValue, "video encoder parameters that can't be used");
  return false;
}

}  // namespace vemo
