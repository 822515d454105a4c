#include <algorithm>
#include <memory>

#include "webview/KOBUParams_VEMOExt.h"
#include "webview/TextForms.h"
#include "webview/event_routing.h"

// The own user in a room: entering, leaving, changing the role, and the connection; and the
// errors of the engine, of which some end an enter.

namespace vemo {
namespace {

bool endsEnter(std::int32_t code) {
  return std::find(kEndOfEnter.begin(), kEndOfEnter.end(), code) != kEndOfEnter.end();
}

}  // namespace

Text VEMOKOBUMsgRouter::curEnteredRoomUserId() const {
  const auto params = room_.params.load();
  return params ? params->userId : Text{};
}

bool VEMOKOBUMsgRouter::isOwnUser(const Text& userId) const {
  return !userId || userId == curEnteredRoomUserId();
}

// ---- Entering and leaving

/// The completion that answers a room command: {"userId", `numberKey`: number} beside an
/// error record that is set whatever the code.
VEMORoomCallback VEMOKOBUMsgRouter::roomAnswer(const Call& call, std::string_view numberKey) {
  return weakly([answer = call.answer(), numberKey](VEMOKOBUMsgRouter&, VEMOModule module,
                                                    std::int64_t code, const Text& desc,
                                                    const Text& uid, std::int64_t number) {
    answer.send(module, code, desc, {{"userId", idOrNull(uid)}, {numberKey, number}});
  });
}

Outcome VEMOKOBUMsgRouter::enterRoom(
    KOBUCloud& engine,
    const Command<param::AppScene, Or<param::AutoRecvAudio, true>, Or<param::AutoRecvVideo, true>,
                  Checked<param::EnterParams>>& command) {
  auto record = command.get<param::EnterParams>();
  if (!record) return paramError(param::EnterParams::missing);

  engine.setDefaultStreamRecvMode(command.get<param::AutoRecvAudio>(),
                                  command.get<param::AutoRecvVideo>());
  platform_.logger.updateLogConfig(
      [&](DUNLoggerConfig& config) { config.sdkAppId = record->sdkAppId; });
  room_.entered = false;
  command.answerLater();
  setAppScene(*record, command.get<param::AppScene>());
  const auto params = std::make_shared<const KOBUParams>(std::move(*record));
  vemoEnterRoom(params, appScene(*params), roomAnswer(command, "elapsed"));
  return success;
}

Outcome VEMOKOBUMsgRouter::exitRoom(const Command<>& command) {
  room_.entered = false;  // also without an engine
  if (!sharedKOBU_.load()) return fail(error::noEngine);
  platform_.notifications.post(VEMOStartExitClassRoomNotify);
  command.answerLater();
  zebExitRoom(roomAnswer(command, "reason"));
  return success;
}

void VEMOKOBUMsgRouter::vemoEnterRoom(std::shared_ptr<const KOBUParams> params,
                                      std::int64_t appScene, VEMORoomCallback completion) {
  if (!params) return;
  room_.params.publish(params);
  room_.enterCallback.publish(stored(std::move(completion)));
  if (const auto engine = sharedKOBU_.load()) engine->enterRoom(*params, appScene);
}

void VEMOKOBUMsgRouter::zebExitRoom(VEMORoomCallback completion) {
  room_.exitCallback.publish(stored(std::move(completion)));
  if (const auto engine = sharedKOBU_.load()) engine->exitRoom();
}

void VEMOKOBUMsgRouter::onEnterRoom(std::int64_t result) {
  auto payload = event::OnEnterRoom::payload(curEnteredRoomUserId(), result);
  logEvent<event::OnEnterRoom>(payload.text(), std::nullopt, "-[VEMOKOBUMsgRouter onEnterRoom:]");
  onMain([result, payload = std::move(payload)](VEMOKOBUMsgRouter& router) {
    constexpr std::int32_t volumeIntervalMs = 500;
    if (const auto engine = router.sharedKOBU_.load()) {
      engine->enableAudioVolumeEvaluation(volumeIntervalMs);
    }
    router.room_.entered = true;  // whatever the result
    if (const auto completion = router.room_.enterCallback.load()) {
      (*completion)(VEMOModule::KOBU, 0, std::nullopt, router.curEnteredRoomUserId(), result);
    }
    // After the call, whatever it did: a completion that enters again by itself loses the
    // new completion here.
    router.room_.enterCallback.clear();
    router.tellListeners<event::OnEnterRoom>(result, router.curEnteredRoomUserId());
    router.tellPage<event::OnEnterRoom>(payload);
  });
  platform_.notifications.post(VEMOEnterClassRoomCompleteNotify);
}

void VEMOKOBUMsgRouter::onExitRoom(std::int64_t reason) {
  auto payload = event::OnExitRoom::payload(curEnteredRoomUserId(), reason);
  logEvent<event::OnExitRoom>(payload.text(), std::nullopt, "-[VEMOKOBUMsgRouter onExitRoom:]");
  onMain([reason, payload = std::move(payload)](VEMOKOBUMsgRouter& router) {
    if (const auto completion = router.room_.exitCallback.load()) {
      (*completion)(VEMOModule::KOBU, 0, std::nullopt, router.curEnteredRoomUserId(), reason);
    }
    router.room_.exitCallback.clear();
    router.tellListeners<event::OnExitRoom>(reason, router.curEnteredRoomUserId());
    router.tellPage<event::OnExitRoom>(payload);
    router.room_.params.clear();
  });
}

/// The engine's errors, some of which end an enter.
void VEMOKOBUMsgRouter::onError(std::int32_t errCode, const Text& errMsg,
                                const std::optional<boost::json::object>& extInfo) {
  if (endsEnter(errCode)) failEnter(errCode, errMsg);
  tellResult<event::OnError>(Result{errCode, errMsg},
                             "-[VEMOKOBUMsgRouter onError:errMsg:extInfo:]", errCode, errMsg,
                             extInfo.value_or(boost::json::object{}));
}

/// Leaves, and answers the enter under way. Its completion stays: the end of the enter, if
/// the engine still reports it, calls it once more.
void VEMOKOBUMsgRouter::failEnter(std::int32_t errCode, const Text& errMsg) {
  if (const auto engine = sharedKOBU_.load()) engine->exitRoom();
  if (!room_.enterCallback.load()) return;
  safeRunInMain([errCode, errMsg](VEMOKOBUMsgRouter& router) {
    if (const auto completion = router.room_.enterCallback.load()) {
      (*completion)(VEMOModule::KOBU, errCode, errMsg, router.curEnteredRoomUserId(), errCode);
    }
  });
}

// ---- The role

Outcome VEMOKOBUMsgRouter::switchRole(KOBUCloud& engine, const Command<param::Role>& command) {
  const auto role = command.get<param::Role>();
  if (command.nativecb().empty()) {
    engine.switchRole(role);
    return success;
  }
  // From here on only the switch answers; a role that is neither never does.
  command.answerLater();
  auto answer = plainAnswer(command);
  if (role == kKOBURoleAnchor) {
    switchToAnchorRole(std::move(answer));
  } else if (role == kKOBURoleAudience) {
    switchToAudienceRole(std::move(answer));
  }
  return success;
}

void VEMOKOBUMsgRouter::switchToAnchorRole(VEMOCallback completion) {
  startSwitch(kKOBURoleAnchor, room_.switchAnchorCallback, std::move(completion));
}

void VEMOKOBUMsgRouter::switchToAudienceRole(VEMOCallback completion) {
  startSwitch(kKOBURoleAudience, room_.switchAudienceCallback, std::move(completion));
}

void VEMOKOBUMsgRouter::startSwitch(std::int32_t role, Published<const VEMOCallback>& slot,
                                    VEMOCallback completion) {
  const auto engine = sharedKOBU_.load();
  if (!engine) return;
  room_.params.modify([role](KOBUParams& params) { setSwitchToRole(params, role); });
  slot.publish(stored(std::move(completion)));
  engine->switchRole(role);
}

void VEMOKOBUMsgRouter::onSwitchRole(std::int32_t errCode, const Text& errMsg) {
  const auto room = room_.params.load();
  auto payload = event::OnSwitchRole::payload(
      curEnteredRoomUserId(), room ? appScene(*room) : 0, room ? room->role : 0,
      room ? switchToRole(*room) : std::int64_t{0}, errCode, errMsg);
  logEvent<event::OnSwitchRole>(payload.text(), Result{errCode, errMsg},
                                "-[VEMOKOBUMsgRouter onSwitchRole:errMsg:]");
  onMain([errCode, errMsg, payload = std::move(payload)](VEMOKOBUMsgRouter& router) {
    auto& state = router.room_;
    router.finishSwitch(kKOBURoleAudience, state.switchAudienceCallback, errCode, errMsg);
    router.finishSwitch(kKOBURoleAnchor, state.switchAnchorCallback, errCode, errMsg);
    router.tellPage<event::OnSwitchRole>(payload);
    state.params.modify([](KOBUParams& params) { setSwitchToRole(params, params.role); });
  });
}

/// Answers a switch to `role`, if that is where the user was heading and somebody waits.
void VEMOKOBUMsgRouter::finishSwitch(std::int32_t role, Published<const VEMOCallback>& slot,
                                     std::int32_t errCode, const Text& errMsg) {
  const auto room = room_.params.load();
  const auto completion = slot.load();
  if (!room || switchToRole(*room) != role || !completion) return;
  (*completion)(VEMOModule::KOBU, errCode, errMsg);
  slot.clear();
  if (errCode == 0) {
    room_.params.modify([role](KOBUParams& params) { params.role = role; });
  }
}

// ---- The connection

void VEMOKOBUMsgRouter::onConnectionLost() {
  tell<event::OnConnectionLost>("-[VEMOKOBUMsgRouter onConnectionLost]");
}

void VEMOKOBUMsgRouter::onTryToReconnect() {
  tell<event::OnTryToReconnect>("-[VEMOKOBUMsgRouter onTryToReconnect]");
}

void VEMOKOBUMsgRouter::onConnectionRecovery() {
  tell<event::OnConnectionRecovery>("-[VEMOKOBUMsgRouter onConnectionRecovery]");
}

}  // namespace vemo
