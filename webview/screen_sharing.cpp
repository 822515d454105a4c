#include <algorithm>

#include "bridge/ScreenKitNotifications.h"
#include "webview/TextForms.h"
#include "webview/event_routing.h"

// Capturing the screen, and the broadcast extension that captures the whole device.

namespace vemo {
namespace {

// What a page asks for, and as bits, what a system supports.
constexpr auto kCaptureInApp = param::ScreenCaptureMode::inApp;
constexpr auto kCaptureByReplaykit = param::ScreenCaptureMode::byReplaykit;

std::string_view eventWord(const std::string& notification) {
  const auto known =
      std::ranges::find(kScreenKitNotifications, notification, &ScreenKitNotification::name);
  return known == kScreenKitNotifications.end() ? std::string_view() : known->event;
}

}  // namespace

std::int32_t VEMOKOBUMsgRouter::kobuScreenCaptureSupportMode() const {
  static const std::int32_t mode = [this] {
    std::int32_t supported = 0;
    if (platform_.system.isAtLeast(13, 0, 0)) supported += kCaptureInApp;
    if (platform_.system.isAtLeast(11, 0, 0)) supported += kCaptureByReplaykit;
    return supported;
  }();
  return mode;
}

Outcome VEMOKOBUMsgRouter::isSupportScreenCapture(const Command<>& command) {
  command.setValue({{"mode", kobuScreenCaptureSupportMode()}});
  return success;
}

Outcome VEMOKOBUMsgRouter::launchScreenKit(const Command<>& command) {
  if (!platform_.system.isAtLeast(11, 0, 0)) return fail(error::noLaunch);
  // On 11.x the command deliberately leaves no trace: no launch, no error, no value.
  if (!platform_.system.isAtLeast(12, 0, 0)) return success;
  auto answer = stored(plainAnswer(command));
  platform_.extensionLauncher.launch();
  command.answerLater();
  screenSharing_.launchCallback.publish(std::move(answer));
  return success;
}

Outcome VEMOKOBUMsgRouter::startScreenCapture(
    KOBUCloud& engine,
    const Command<param::ScreenCaptureMode, Checked<param::Encoder>, Maybe<param::AppGroup>>&
        command) {
  const auto mode = command.get<param::ScreenCaptureMode>();
  const auto encoder = command.get<param::Encoder>();
  if (!encoder) return paramError(param::Encoder::missing);
  const auto given = command.get<param::AppGroup>();
  const std::string appGroup(given ? *given : std::string_view(platform_.appGroup));

  const bool inApp = mode == kCaptureInApp;
  if (!platform_.system.isAtLeast(inApp ? 13 : 11, 0, 0)) {
    return fail(error::noCapture);
  }
  // The leading blank of the second text is part of it.
  const std::string_view prefix = inApp ? "" : " startScreenCaptureByReplaykit ";
  logRouter(DUNLogParam::kInformation, "kobuStartScreenCapture",
            std::string(prefix) + "mode = " + std::to_string(mode) + ", appGroup = " + appGroup,
            std::nullopt, "-[VEMOKOBUMsgRouter startScreenCapture:webView:]");
  auto started = stored(
      VEMOCallback(answering(command, [](VEMOKOBUMsgRouter& router, const Answer& answer,
                                         VEMOModule module, std::int64_t code, const Text& desc) {
        answer.send(module, code, desc,
                    {{"userId", cleaned(router.curEnteredRoomUserId())}, {"reason", 0}});
      })));
  if (inApp) {
    engine.startScreenCaptureInApp(*encoder);
  } else {
    engine.startScreenCaptureByReplaykit(*encoder, appGroup);
  }
  command.answerLater();
  screenSharing_.startCallback.publish(std::move(started));
  return success;
}

/// Pause, resume and stop: the reply carries the engine's own result, and there is no
/// record of it.
Outcome VEMOKOBUMsgRouter::controlScreenCapture(KOBUCloud& engine, const Call& call,
                                                std::int64_t (KOBUCloud::*operation)(),
                                                const ErrorWords& failed) {
  if (!platform_.system.isAtLeast(11, 0, 0)) {
    constexpr auto& words = error::noCaptureControl;
    call.setError(words.module, words.code, Text(words.text));
    return success;
  }
  Text failure(failed.text);
  const auto result = (engine.*operation)();
  call.setError(failed.module, result, result != 0 ? std::move(failure) : Text{});
  return success;
}

Outcome VEMOKOBUMsgRouter::pauseScreenCapture(KOBUCloud& engine, const Command<>& command) {
  return controlScreenCapture(engine, command, &KOBUCloud::pauseScreenCapture, error::pauseFailed);
}

Outcome VEMOKOBUMsgRouter::resumeScreenCapture(KOBUCloud& engine, const Command<>& command) {
  return controlScreenCapture(engine, command, &KOBUCloud::resumeScreenCapture,
                              error::resumeFailed);
}

Outcome VEMOKOBUMsgRouter::stopScreenCapture(KOBUCloud& engine, const Command<>& command) {
  return controlScreenCapture(engine, command, &KOBUCloud::stopScreenCapture, error::stopFailed);
}

// ---- Notifications of the broadcast extension

void VEMOKOBUMsgRouter::registerForScreenKitNotificationsWithName(const std::string& name) {
  unregisterForScreenKitNotificationsWithName(name);
  platform_.crossProcessNotifications.addObserver(
      this, name, weakly([](VEMOKOBUMsgRouter& router, const std::string& received) {
        router.onRecvScreenKitNotify(received);
      }));
}

void VEMOKOBUMsgRouter::unregisterForScreenKitNotificationsWithName(const std::string& name) {
  platform_.crossProcessNotifications.removeObserver(this, name);
}

void VEMOKOBUMsgRouter::unregisterScreenKitNotifications() {
  platform_.crossProcessNotifications.removeEveryObserver(this);
}

void VEMOKOBUMsgRouter::onRecvScreenKitNotify(const std::string& name) {
  if (name == kVEMOScreenKit_Started_Notify) {
    if (const auto answer = screenSharing_.launchCallback.load()) {
      (*answer)(VEMOModule::KOBU, 0, std::nullopt);
    }
  }
  // Whatever came, a launch under way is over: one that did not start is never answered.
  screenSharing_.launchCallback.clear();
  const auto word = eventWord(name);
  if (word.empty()) return;
  tell<event::OnScreenKitEvent>("-[VEMOKOBUMsgRouter onRecvScreenKitNotify:]", word);
}

// ---- Events of the engine

void VEMOKOBUMsgRouter::onScreenCaptureStarted() {
  asMemoryAllows([this] {
    auto payload = event::OnScreenCaptureStarted::payload(curEnteredRoomUserId(), std::int32_t{0});
    if (screenSharing_.startCallback.load()) {
      safeRunInMain([](VEMOKOBUMsgRouter& router) {
        if (const auto answer = router.screenSharing_.startCallback.load()) {
          (*answer)(VEMOModule::KOBU, 0, std::nullopt);
        }
      });
    }
    // Cleared here, on the event's thread: an answer that had to hop finds nothing to call,
    // unless a newer start has taken the slot. That is part of the interface as it stands; the
    // page is told by the event in any case.
    screenSharing_.startCallback.clear();
    logEvent<event::OnScreenCaptureStarted>(payload.text(), std::nullopt,
                                            "-[VEMOKOBUMsgRouter onScreenCaptureStarted]");
    onMain([payload = std::move(payload)](VEMOKOBUMsgRouter& router) {
      router.tellPage<event::OnScreenCaptureStarted>(payload);
    });
  });
}

void VEMOKOBUMsgRouter::onScreenCapturePaused(std::int32_t reason) {
  tell<event::OnScreenCapturePaused>("-[VEMOKOBUMsgRouter onScreenCapturePaused:]", reason);
}

void VEMOKOBUMsgRouter::onScreenCaptureResumed(std::int32_t reason) {
  tell<event::OnScreenCaptureResumed>("-[VEMOKOBUMsgRouter onScreenCaptureResumed:]", reason);
}

void VEMOKOBUMsgRouter::onScreenCaptureStoped(std::int32_t reason) {
  tell<event::OnScreenCaptureStoped>("-[VEMOKOBUMsgRouter onScreenCaptureStoped:]", reason);
}

}  // namespace vemo
