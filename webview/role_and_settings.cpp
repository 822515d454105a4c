#include "json/RecordMapper.h"
#include "webview/KOBUParams_VEMOExt.h"
#include "webview/VEMOKOBUMsgRouter.h"

// Switching between anchor and audience, and tuning network and encoder.

namespace vemo {

Outcome VEMOKOBUMsgRouter::switchRole(KOBUCloud& engine, const Command& command) {
  if (!hasEnterRoom_) return failure(kNotInRoom, "not enter room");
  const auto number = command.number("role");
  if (!number) return paramError("no role param");
  const auto role = number->int32();
  if (command.item->nativecb().empty()) {
    engine.switchRole(role);
    return success;
  }
  // From here on only the switch answers; a role that is neither never does, which is
  // what pages are built on.
  command.item->setIsAsyncTask(true);
  auto answer = plainAnswer(command);
  if (role == kKOBURoleAnchor) {
    switchToAnchorRole(std::move(answer));
  } else if (role == kKOBURoleAudience) {
    switchToAudienceRole(std::move(answer));
  }
  return success;
}

void VEMOKOBUMsgRouter::switchToAnchorRole(VEMOCallback completion) {
  startSwitch(kKOBURoleAnchor, switchAnchorCallback_, std::move(completion));
}

void VEMOKOBUMsgRouter::switchToAudienceRole(VEMOCallback completion) {
  startSwitch(kKOBURoleAudience, switchAudienceCallback_, std::move(completion));
}

void VEMOKOBUMsgRouter::startSwitch(std::int32_t role, Published<const VEMOCallback>& slot,
                                    VEMOCallback completion) {
  const auto engine = sharedKOBU_.load();
  if (!engine) return;
  enterRoomParams_.modify([role](KOBUParams& params) { setSwitchToRole(params, role); });
  slot.publish(stored(std::move(completion)));
  engine->switchRole(role);
}

Outcome VEMOKOBUMsgRouter::setNetworkQosParam(KOBUCloud& engine, const Command& command) {
  const auto param = recordFrom<KOBUNetworkQosParam>(command.params());
  if (!param) return paramError("params error");
  engine.setNetworkQosParam(*param);
  return success;
}

Outcome VEMOKOBUMsgRouter::setVideoEncoderParam(KOBUCloud& engine, const Command& command) {
  const auto param = recordFrom<KOBUVideoEncParam>(command.params());
  if (!param) return paramError("parse KOBUVideoEncParam err");
  engine.setVideoEncoderParam(*param);
  return success;
}

Outcome VEMOKOBUMsgRouter::enableEncSmallVideoStream(KOBUCloud& engine, const Command& command) {
  const auto enable = command.number("enable");
  if (!enable) return success;
  if (!enable->boolean()) {
    engine.enableEncSmallVideoStream(false, nullptr);
  } else if (const auto quality = recordFrom<KOBUVideoEncParam>(command.params())) {
    engine.enableEncSmallVideoStream(true, &*quality);
  }
  return success;
}

}  // namespace vemo
