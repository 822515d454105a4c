#include <algorithm>
#include <memory>

#include "webview/KOBUParams_VEMOExt.h"
#include "webview/TextForms.h"
#include "webview/event_routing.h"

// The own user in a room: entering, leaving, changing the role, and the connection; and the
// errors of the engine, of which some end an enter.

namespace vemo {
namespace {

/// The id in a record that may be absent, without a copy.
const Text& userIdOf(const std::shared_ptr<const KOBUParams>& room) {
  static const Text none;
  return room ? room->userId : none;
}

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
  return answering(
      call, [numberKey](VEMOKOBUMsgRouter&, const Answer& answer, VEMOModule module,
                        std::int64_t code, const Text& desc, const Text& uid, std::int64_t number) {
        answer.send(module, code, desc, {{"userId", idOrNull(uid)}, {numberKey, number}});
      });
}

Outcome VEMOKOBUMsgRouter::enterRoom(
    KOBUCloud& engine,
    const Command<param::AppScene, Or<param::AutoRecvAudio, true>, Or<param::AutoRecvVideo, true>,
                  Checked<param::EnterParams>>& command) {
  auto record = command.get<param::EnterParams>();
  if (!record) return paramError(param::EnterParams::missing);
  setAppScene(*record, command.get<param::AppScene>());
  const auto params = std::make_shared<const KOBUParams>(std::move(*record));
  auto completion = stored(roomAnswer(command, "elapsed"));

  engine.setDefaultStreamRecvMode(command.get<param::AutoRecvAudio>(),
                                  command.get<param::AutoRecvVideo>());
  platform_.logger.updateLogConfig(
      [&](DUNLoggerConfig& config) { config.sdkAppId = params->sdkAppId; });
  room_.entered = false;
  command.answerLater();
  startEnter(params, appScene(*params), std::move(completion));
  return success;
}

Outcome VEMOKOBUMsgRouter::exitRoom(const Command<>& command) {
  const std::string leaving = VEMOStartExitClassRoomNotify;
  auto completion = stored(roomAnswer(command, "reason"));
  room_.entered = false;  // also without an engine
  if (!sharedKOBU_.load()) return fail(error::noEngine);
  platform_.notifications.post(leaving);
  command.answerLater();
  startExit(std::move(completion));
  return success;
}

void VEMOKOBUMsgRouter::vemoEnterRoom(std::shared_ptr<const KOBUParams> params,
                                      std::int64_t appScene, VEMORoomCallback completion) {
  if (params) startEnter(std::move(params), appScene, stored(std::move(completion)));
}

void VEMOKOBUMsgRouter::startEnter(std::shared_ptr<const KOBUParams> params, std::int64_t appScene,
                                   std::shared_ptr<const VEMORoomCallback> completion) {
  room_.params.publish(params);
  room_.enterCallback.publish(std::move(completion));
  if (const auto engine = sharedKOBU_.load()) engine->enterRoom(*params, appScene);
}

void VEMOKOBUMsgRouter::zebExitRoom(VEMORoomCallback completion) {
  startExit(stored(std::move(completion)));
}

void VEMOKOBUMsgRouter::startExit(std::shared_ptr<const VEMORoomCallback> completion) {
  room_.exitCallback.publish(std::move(completion));
  if (const auto engine = sharedKOBU_.load()) engine->exitRoom();
}

void VEMOKOBUMsgRouter::onEnterRoom(std::int64_t result) {
  asMemoryAllows([this, result] {
    const std::string complete = VEMOEnterClassRoomCompleteNotify;
    auto payload = event::OnEnterRoom::payload(curEnteredRoomUserId(), result);
    logEvent<event::OnEnterRoom>(payload.text(), std::nullopt, "-[VEMOKOBUMsgRouter onEnterRoom:]");
    onMain([result, payload = std::move(payload)](VEMOKOBUMsgRouter& router) {
      constexpr std::int32_t volumeIntervalMs = 500;
      if (const auto engine = router.sharedKOBU_.load()) {
        engine->enableAudioVolumeEvaluation(volumeIntervalMs);
      }
      router.room_.entered = true;  // whatever the result
      router.completeInRoom(router.room_.enterCallback, 0, std::nullopt, result);
      // After the call, whatever it did: a completion that enters again by itself loses the
      // new completion here.
      router.room_.enterCallback.clear();
      router.tellListeners<event::OnEnterRoom>(result, userIdOf(router.room_.params.load()));
      router.tellPage<event::OnEnterRoom>(payload);
    });
    platform_.notifications.post(complete);
  });
}

void VEMOKOBUMsgRouter::onExitRoom(std::int64_t reason) {
  asMemoryAllows([this, reason] {
    auto payload = event::OnExitRoom::payload(curEnteredRoomUserId(), reason);
    logEvent<event::OnExitRoom>(payload.text(), std::nullopt, "-[VEMOKOBUMsgRouter onExitRoom:]");
    onMain([reason, payload = std::move(payload)](VEMOKOBUMsgRouter& router) {
      router.completeInRoom(router.room_.exitCallback, 0, std::nullopt, reason);
      router.room_.exitCallback.clear();
      router.tellListeners<event::OnExitRoom>(reason, userIdOf(router.room_.params.load()));
      router.tellPage<event::OnExitRoom>(payload);
      router.room_.params.clear();
    });
  });
}

/// Calls the completion of a room operation, if there is one, with the own user's id.
void VEMOKOBUMsgRouter::completeInRoom(const Published<const VEMORoomCallback>& slot,
                                       std::int64_t code, const Text& desc, std::int64_t number) {
  const auto completion = slot.load();
  const auto room = room_.params.load();
  if (!completion) return;
  asMemoryAllows([&] { (*completion)(VEMOModule::KOBU, code, desc, userIdOf(room), number); });
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
  asMemoryAllows([&] {
    safeRunInMain([errCode, errMsg](VEMOKOBUMsgRouter& router) {
      router.completeInRoom(router.room_.enterCallback, errCode, errMsg, errCode);
    });
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
  auto waiting = stored(std::move(completion));
  room_.params.modify([role](KOBUParams& params) { setSwitchToRole(params, role); });
  slot.publish(std::move(waiting));
  engine->switchRole(role);
}

void VEMOKOBUMsgRouter::onSwitchRole(std::int32_t errCode, const Text& errMsg) {
  asMemoryAllows([&] {
    const auto room = room_.params.load();
    auto payload = event::OnSwitchRole::payload(
        curEnteredRoomUserId(), room ? appScene(*room) : 0, room ? room->role : 0,
        room ? switchToRole(*room) : std::int64_t{0}, errCode, errMsg);
    logEvent<event::OnSwitchRole>(payload.text(), Result{errCode, errMsg},
                                  "-[VEMOKOBUMsgRouter onSwitchRole:errMsg:]");
    // Once somebody has been told, there must be records of the new role: what they take is got
    // here, and the number that they change is put into the present one, where it may be missing.
    room_.params.modify([](KOBUParams& params) { setSwitchToRole(params, switchToRole(params)); });
    onMain([errCode, errMsg, payload = std::move(payload), spare = room_.params.copy(),
            last = room_.params.copy()](VEMOKOBUMsgRouter& router) mutable {
      auto& state = router.room_;
      router.finishSwitch(kKOBURoleAudience, state.switchAudienceCallback, errCode, errMsg, spare);
      router.finishSwitch(kKOBURoleAnchor, state.switchAnchorCallback, errCode, errMsg, spare);
      router.tellPage<event::OnSwitchRole>(payload);
      state.params.modify([](KOBUParams& params) { setSwitchToRole(params, params.role); },
                          std::move(last));
    });
  });
}

/// Answers a switch to `role`, if that is where the user was heading and somebody waits. The first
/// that succeeds takes `spare` for the room's new record.
void VEMOKOBUMsgRouter::finishSwitch(std::int32_t role, Published<const VEMOCallback>& slot,
                                     std::int32_t errCode, const Text& errMsg,
                                     std::shared_ptr<KOBUParams>& spare) {
  const auto room = room_.params.load();
  const auto completion = slot.load();
  if (!room || switchToRole(*room) != role || !completion) return;
  asMemoryAllows([&] { (*completion)(VEMOModule::KOBU, errCode, errMsg); });
  slot.clear();
  if (errCode == 0) {
    room_.params.modify([role](KOBUParams& params) { params.role = role; }, std::move(spare));
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
