#include "simulation/Client.h"

#include "simulation/EngineCodes.h"

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

bool Client::accepts(const KOBUVideoEncParam& param) {
  if (isUsable(param)) return true;
  warn(kWarnBadValue, "video encoder parameters that can't be used");
  return false;
}

}  // namespace vemo
