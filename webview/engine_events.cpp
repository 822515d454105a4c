#include <algorithm>
#include <array>

#include "webview/KOBUParams_VEMOExt.h"
#include "webview/TextForms.h"
#include "webview/event_routing.h"

// The engine's events about the room, its users and the devices. Those that are measured
// again and again are in periodic_events.cpp.

namespace vemo {
namespace {

using Listener = VEMOKOBUEventListener;

/// The engine's failures of entering a room.
bool isEnterFailure(std::int32_t code) {
  constexpr std::array<std::int32_t, 8> codes{-3301, -3308, -3316, -3317,
                                              -3318, -3319, -3320, -100013};
  return std::find(codes.begin(), codes.end(), code) != codes.end();
}

}  // namespace

// ---- Errors and warnings

void VEMOKOBUMsgRouter::onError(std::int32_t errCode, const Text& errMsg,
                                const std::optional<boost::json::object>& extInfo) {
  if (isEnterFailure(errCode)) failEnter(errCode, errMsg);
  auto payload = ownPayload();
  payload.add("errCode", errCode);
  addCleaned(payload, "errMsg", errMsg);
  payload.add("extInfo", extInfo ? *extInfo : boost::json::object{});
  logEvent("onError", payload.text(), Result{errCode, errMsg},
           "-[VEMOKOBUMsgRouter onError:errMsg:extInfo:]");
  onMain([payload = std::move(payload)](VEMOKOBUMsgRouter& router) {
    router.toPage("onError", payload.text(), true);
  });
}

/// Leaves, and answers the enter under way; its completion stays, since the engine still
/// reports the end of the enter.
void VEMOKOBUMsgRouter::failEnter(std::int32_t errCode, const Text& errMsg) {
  if (const auto engine = sharedKOBU_.load()) engine->exitRoom();
  if (!enterCallback_.load()) return;
  safeRunInMain([errCode, errMsg](VEMOKOBUMsgRouter& router) {
    if (const auto completion = router.enterCallback_.load()) {
      (*completion)(VEMOModule::KOBU, errCode, errMsg, router.curEnteredRoomUserId(), errCode);
    }
  });
}

void VEMOKOBUMsgRouter::onWarning(std::int32_t warningCode, const Text& warningMsg,
                                  const std::optional<boost::json::object>& extInfo) {
  auto payload = ownPayload();
  payload.add("warningCode", static_cast<std::uint32_t>(warningCode));
  addCleaned(payload, "warningMsg", warningMsg);
  payload.add("extInfo", extInfo ? *extInfo : boost::json::object{});
  logEvent("onWarning", payload.text(), Result{warningCode, warningMsg},
           "-[VEMOKOBUMsgRouter onWarning:warningMsg:extInfo:]");
  onMain([payload = std::move(payload)](VEMOKOBUMsgRouter& router) {
    router.toPage("onWarning", payload.text(), true);
  });
}

// ---- The own room

void VEMOKOBUMsgRouter::onEnterRoom(std::int64_t result) {
  auto payload = ownPayload();
  payload.add("elapsed", result);
  logEvent("onEnterRoom", payload.text(), std::nullopt, "-[VEMOKOBUMsgRouter onEnterRoom:]");
  onMain([result, payload = std::move(payload)](VEMOKOBUMsgRouter& router) {
    constexpr std::int32_t volumeIntervalMs = 500;
    if (const auto engine = router.sharedKOBU_.load()) {
      engine->enableAudioVolumeEvaluation(volumeIntervalMs);
    }
    router.hasEnterRoom_ = true;  // whatever the result: pages read "elapsed" for that
    if (const auto completion = router.enterCallback_.load()) {
      (*completion)(VEMOModule::KOBU, 0, std::nullopt, router.curEnteredRoomUserId(), result);
    }
    // After the call, whatever it did: a completion that enters again by itself loses the
    // new completion here.
    router.enterCallback_.clear();
    router.tellListeners(&Listener::onVEMOEnterRoom, result, router.curEnteredRoomUserId());
    router.toPage("onEnterRoom", payload.text(), true);
  });
  platform_.notifications.post(VEMOEnterClassRoomCompleteNotify);
}

void VEMOKOBUMsgRouter::onExitRoom(std::int64_t reason) {
  auto payload = ownPayload();
  payload.add("reason", reason);
  logEvent("onExitRoom", payload.text(), std::nullopt, "-[VEMOKOBUMsgRouter onExitRoom:]");
  onMain([reason, payload = std::move(payload)](VEMOKOBUMsgRouter& router) {
    if (const auto completion = router.exitCallback_.load()) {
      (*completion)(VEMOModule::KOBU, 0, std::nullopt, router.curEnteredRoomUserId(), reason);
    }
    router.exitCallback_.clear();
    router.tellListeners(&Listener::onVEMOExitRoom, reason, router.curEnteredRoomUserId());
    router.toPage("onExitRoom", payload.text(), true);
    router.enterRoomParams_.clear();
  });
}

void VEMOKOBUMsgRouter::onSwitchRole(std::int32_t errCode, const Text& errMsg) {
  const auto room = enterRoomParams_.load();
  auto payload = ownPayload();
  payload.add("appScene", room ? appScene(*room) : 0);
  payload.add("fromRole", room ? room->role : 0);
  payload.add("toRole", room ? switchToRole(*room) : 0);
  payload.add("errCode", errCode);
  addCleaned(payload, "errMsg", errMsg);
  logEvent("onSwitchRole", payload.text(), Result{errCode, errMsg},
           "-[VEMOKOBUMsgRouter onSwitchRole:errMsg:]");
  onMain([errCode, errMsg, payload = std::move(payload)](VEMOKOBUMsgRouter& router) {
    router.finishSwitch(kKOBURoleAudience, router.switchAudienceCallback_, errCode, errMsg);
    router.finishSwitch(kKOBURoleAnchor, router.switchAnchorCallback_, errCode, errMsg);
    router.toPage("onSwitchRole", payload.text(), true);
    router.enterRoomParams_.modify(
        [](KOBUParams& params) { setSwitchToRole(params, params.role); });
  });
}

/// Answers a switch to `role`, if that is where the user was heading and somebody waits.
void VEMOKOBUMsgRouter::finishSwitch(std::int32_t role, Published<const VEMOCallback>& slot,
                                     std::int32_t errCode, const Text& errMsg) {
  const auto room = enterRoomParams_.load();
  const auto completion = slot.load();
  if (!room || switchToRole(*room) != role || !completion) return;
  (*completion)(VEMOModule::KOBU, errCode, errMsg);
  slot.clear();
  if (errCode == 0) {
    enterRoomParams_.modify([role](KOBUParams& params) { params.role = role; });
  }
}

// ---- Other users

void VEMOKOBUMsgRouter::onRemoteUserEnterRoom(const Text& userId) {
  auto payload = ownPayload();
  addCleaned(payload, "remoteUserId", userId);
  plainEvent("onRemoteUserEnterRoom", std::move(payload),
             "-[VEMOKOBUMsgRouter onRemoteUserEnterRoom:]", [userId](VEMOKOBUMsgRouter& router) {
               router.tellListeners(&Listener::onVEMORemoteUserEnterRoom, userId);
             });
}

void VEMOKOBUMsgRouter::onRemoteUserLeaveRoom(const Text& userId, std::int64_t reason) {
  auto payload = ownPayload();
  addCleaned(payload, "remoteUserId", userId);
  payload.add("reason", reason);
  plainEvent("onRemoteUserLeaveRoom", std::move(payload),
             "-[VEMOKOBUMsgRouter onRemoteUserLeaveRoom:reason:]",
             [userId, reason](VEMOKOBUMsgRouter& router) {
               router.tellListeners(&Listener::onVEMORemoteUserLeaveRoom, userId, reason);
             });
}

JsonObjectText VEMOKOBUMsgRouter::availabilityPayload(const Text& userId, bool available) const {
  JsonObjectText payload;
  addCleaned(payload, "availableUserId", userId);
  addCleaned(payload, "userId", curEnteredRoomUserId());
  payload.add("available", available);
  return payload;
}

void VEMOKOBUMsgRouter::onUserAudioAvailable(const Text& userId, bool available) {
  plainEvent("onUserAudioAvailable", availabilityPayload(userId, available),
             "-[VEMOKOBUMsgRouter onUserAudioAvailable:available:]",
             [userId, available](VEMOKOBUMsgRouter& router) {
               router.tellListeners(&Listener::onVEMOUserAudioAvailable, userId, available);
             });
}

void VEMOKOBUMsgRouter::onUserVideoAvailable(const Text& userId, bool available) {
  plainEvent("onUserVideoAvailable", availabilityPayload(userId, available),
             "-[VEMOKOBUMsgRouter onUserVideoAvailable:available:]",
             [userId, available](VEMOKOBUMsgRouter& router) {
               router.tellListeners(&Listener::onVEMOUserVideoAvailable, userId, available);
             });
}

void VEMOKOBUMsgRouter::onUserSubStreamAvailable(const Text& userId, bool available) {
  plainEvent("onUserSubStreamAvailable", availabilityPayload(userId, available),
             "-[VEMOKOBUMsgRouter onUserSubStreamAvailable:available:]",
             [userId, available](VEMOKOBUMsgRouter& router) {
               router.tellListeners(&Listener::onVEMOUserSubStreamAvailable, userId, available);
             });
}

void VEMOKOBUMsgRouter::onFirstVideoFrame(const Text& userId, std::int64_t streamType,
                                          std::int32_t width, std::int32_t height) {
  auto payload = ownPayload();
  addCleaned(payload, "remoteUserId", userId);
  payload.add("streamType", streamType);
  payload.add("width", width);
  payload.add("height", height);
  plainEvent("onFirstVideoFrame", std::move(payload),
             "-[VEMOKOBUMsgRouter onFirstVideoFrame:streamType:width:height:]");
}

void VEMOKOBUMsgRouter::onFirstAudioFrame(const Text& userId) {
  auto payload = ownPayload();
  addCleaned(payload, "remoteUserId", userId);
  plainEvent("onFirstAudioFrame", std::move(payload), "-[VEMOKOBUMsgRouter onFirstAudioFrame:]");
}

// ---- The own devices and connection

void VEMOKOBUMsgRouter::onAudioRouteChanged(std::int64_t route, std::int64_t fromRoute) {
  auto payload = ownPayload();
  payload.add("route", route);
  payload.add("fromRoute", fromRoute);
  plainEvent("onAudioRouteChanged", std::move(payload),
             "-[VEMOKOBUMsgRouter onAudioRouteChanged:fromRoute:]",
             [route, fromRoute](VEMOKOBUMsgRouter& router) {
               router.tellListeners(&Listener::onVEMOAudioRouteChanged, route, fromRoute);
             });
}

void VEMOKOBUMsgRouter::onConnectionLost() {
  plainEvent(
      "onConnectionLost", ownPayload(), "-[VEMOKOBUMsgRouter onConnectionLost]",
      [](VEMOKOBUMsgRouter& router) { router.tellListeners(&Listener::onVEMOConnectionLost); });
}

void VEMOKOBUMsgRouter::onTryToReconnect() {
  plainEvent(
      "onTryToReconnect", ownPayload(), "-[VEMOKOBUMsgRouter onTryToReconnect]",
      [](VEMOKOBUMsgRouter& router) { router.tellListeners(&Listener::onVEMOTryToReconnect); });
}

void VEMOKOBUMsgRouter::onConnectionRecovery() {
  plainEvent(
      "onConnectionRecovery", ownPayload(), "-[VEMOKOBUMsgRouter onConnectionRecovery]",
      [](VEMOKOBUMsgRouter& router) { router.tellListeners(&Listener::onVEMOConnectionRecovery); });
}

void VEMOKOBUMsgRouter::onSendFirstLocalVideoFrame(std::int64_t streamType) {
  auto payload = ownPayload();
  payload.add("streamType", streamType);
  plainEvent("onSendFirstLocalVideoFrame", std::move(payload),
             "-[VEMOKOBUMsgRouter onSendFirstLocalVideoFrame:]");
}

void VEMOKOBUMsgRouter::onSendFirstLocalAudioFrame() {
  plainEvent("onSendFirstLocalAudioFrame", ownPayload(),
             "-[VEMOKOBUMsgRouter onSendFirstLocalAudioFrame]");
}

void VEMOKOBUMsgRouter::onCameraDidReady() {
  plainEvent("onCameraDidReady", ownPayload(), "-[VEMOKOBUMsgRouter onCameraDidReady]");
}

void VEMOKOBUMsgRouter::onMicDidReady() {
  plainEvent("onMicDidReady", ownPayload(), "-[VEMOKOBUMsgRouter onMicDidReady]");
}

// ---- Screen capture

void VEMOKOBUMsgRouter::onScreenCaptureStarted() {
  auto payload = ownPayload();
  payload.add("reason", 0);
  if (startScreenCaptureCallback_.load()) {
    safeRunInMain([](VEMOKOBUMsgRouter& router) {
      if (const auto answer = router.startScreenCaptureCallback_.load()) {
        (*answer)(VEMOModule::KOBU, 0, std::nullopt);
      }
    });
  }
  // Cleared here, on the event's thread: an answer that had to hop finds nothing to call,
  // unless a newer start has taken the slot. That is deliberate: a page that was not
  // answered still gets the event.
  startScreenCaptureCallback_.clear();
  plainEvent("onScreenCaptureStarted", std::move(payload),
             "-[VEMOKOBUMsgRouter onScreenCaptureStarted]");
}

void VEMOKOBUMsgRouter::onScreenCapturePaused(std::int32_t reason) {
  auto payload = ownPayload();
  payload.add("reason", reason);
  plainEvent("onScreenCapturePaused", std::move(payload),
             "-[VEMOKOBUMsgRouter onScreenCapturePaused:]");
}

void VEMOKOBUMsgRouter::onScreenCaptureResumed(std::int32_t reason) {
  auto payload = ownPayload();
  payload.add("reason", reason);
  plainEvent("onScreenCaptureResumed", std::move(payload),
             "-[VEMOKOBUMsgRouter onScreenCaptureResumed:]");
}

void VEMOKOBUMsgRouter::onScreenCaptureStoped(std::int32_t reason) {
  auto payload = ownPayload();
  payload.add("reason", reason);
  plainEvent("onScreenCaptureStoped", std::move(payload),
             "-[VEMOKOBUMsgRouter onScreenCaptureStoped:]");
}

}  // namespace vemo
