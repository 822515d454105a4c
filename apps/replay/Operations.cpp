#include "Operations.h"

#include <algorithm>
#include <array>
#include <ranges>
#include <string>
#include <utility>

#include "Nearest.h"

namespace vemo::replay {
namespace {

using Event = KOBUCloudDelegate;
using Router = VEMOKOBUMsgRouter;

template <class Receiver>
struct Row {
  std::string_view name;
  Bind<Receiver> bind;
};

constexpr auto events = std::to_array<Row<Event>>({
    {"onError", Bound<&Event::onError>::bind},
    {"onWarning", Bound<&Event::onWarning>::bind},
    {"onEnterRoom", Bound<&Event::onEnterRoom>::bind},
    {"onExitRoom", Bound<&Event::onExitRoom>::bind},
    {"onSwitchRole", Bound<&Event::onSwitchRole>::bind},
    {"onRemoteUserEnterRoom", Bound<&Event::onRemoteUserEnterRoom>::bind},
    {"onRemoteUserLeaveRoom", Bound<&Event::onRemoteUserLeaveRoom>::bind},
    {"onAudioRouteChanged", Bound<&Event::onAudioRouteChanged>::bind},
    {"onUserAudioAvailable", Bound<&Event::onUserAudioAvailable>::bind},
    {"onUserVideoAvailable", Bound<&Event::onUserVideoAvailable>::bind},
    {"onUserSubStreamAvailable", Bound<&Event::onUserSubStreamAvailable>::bind},
    {"onNetworkQuality", Bound<&Event::onNetworkQuality>::bind},
    {"onStatistics", Bound<&Event::onStatistics>::bind},
    {"onUserVoiceVolume", Bound<&Event::onUserVoiceVolume>::bind},
    {"onConnectionLost", Bound<&Event::onConnectionLost>::bind},
    {"onTryToReconnect", Bound<&Event::onTryToReconnect>::bind},
    {"onConnectionRecovery", Bound<&Event::onConnectionRecovery>::bind},
    {"onFirstVideoFrame", Bound<&Event::onFirstVideoFrame>::bind},
    {"onFirstAudioFrame", Bound<&Event::onFirstAudioFrame>::bind},
    {"onSendFirstLocalVideoFrame", Bound<&Event::onSendFirstLocalVideoFrame>::bind},
    {"onSendFirstLocalAudioFrame", Bound<&Event::onSendFirstLocalAudioFrame>::bind},
    {"onCameraDidReady", Bound<&Event::onCameraDidReady>::bind},
    {"onMicDidReady", Bound<&Event::onMicDidReady>::bind},
    {"onScreenCaptureStarted", Bound<&Event::onScreenCaptureStarted>::bind},
    {"onScreenCapturePaused", Bound<&Event::onScreenCapturePaused>::bind},
    {"onScreenCaptureResumed", Bound<&Event::onScreenCaptureResumed>::bind},
    {"onScreenCaptureStoped", Bound<&Event::onScreenCaptureStoped>::bind},
});

// Commands of the page have the same name as this one.
constexpr auto stopLocalPreview = static_cast<void (Router::*)()>(&Router::stopLocalPreview);

constexpr auto hostOperations = std::to_array<Row<Router>>({
    {"vemoEnterRoom", Bound<&Router::vemoEnterRoom>::bind},
    {"zebExitRoom", Bound<&Router::zebExitRoom>::bind},
    {"switchToAnchorRole", Bound<&Router::switchToAnchorRole>::bind},
    {"switchToAudienceRole", Bound<&Router::switchToAudienceRole>::bind},
    {"startLocalPreivew", Bound<&Router::startLocalPreivew>::bind},
    {"stopLocalPreview", Bound<stopLocalPreview>::bind},
    {"kobuStartPreview", Bound<&Router::kobuStartPreview>::bind},
    {"kobuStopPreview", Bound<&Router::kobuStopPreview>::bind},
    {"kobuStartAudio", Bound<&Router::kobuStartAudio>::bind},
    {"kobuStopAudio", Bound<&Router::kobuStopAudio>::bind},
    {"kobuStartSubStream", Bound<&Router::kobuStartSubStream>::bind},
    {"kobuStopSubStream", Bound<&Router::kobuStopSubStream>::bind},
    {"kobuStopAllRemoteVideo", Bound<&Router::kobuStopAllRemoteVideo>::bind},
    {"kobuMuteAllRemoteVideo", Bound<&Router::kobuMuteAllRemoteVideo>::bind},
    {"kobuMuteAllRemoteAudio", Bound<&Router::kobuMuteAllRemoteAudio>::bind},
    {"addKOBUEventListener", Bound<&Router::addKOBUEventListener>::bind},
    {"removeKOBUEventListener", Bound<&Router::removeKOBUEventListener>::bind},
    {"removeAllKOBUEventListeners", Bound<&Router::removeAllKOBUEventListeners>::bind},
    {"reportEvent", Bound<&Router::reportEvent>::bind},
    {"callBackToH5", Bound<&Router::callBackToH5>::bind},
    {"executeJSCallback", Bound<&Router::executeJSCallback>::bind},
    {"kobuScreenCaptureSupportMode", Bound<&Router::kobuScreenCaptureSupportMode>::bind},
    {"registerForScreenKitNotificationsWithName",
     Bound<&Router::registerForScreenKitNotificationsWithName>::bind},
    {"unregisterForScreenKitNotificationsWithName",
     Bound<&Router::unregisterForScreenKitNotificationsWithName>::bind},
    {"unregisterScreenKitNotifications", Bound<&Router::unregisterScreenKitNotifications>::bind},
    {"onRecvScreenKitNotify", Bound<&Router::onRecvScreenKitNotify>::bind},
});

template <class Rows>
auto bound(const Rows& rows, std::string_view kind, std::string_view name,
           const json::array& values, NamedObjects& objects, std::shared_ptr<Notes> notes) {
  const auto row = std::ranges::find(rows, name, &Rows::value_type::name);
  if (row == rows.end()) {
    throw ScenarioError("unknown " + std::string(kind) + " \"" + std::string(name) + '"' +
                        didYouMean(name, rows | std::views::transform(&Rows::value_type::name)));
  }
  Arguments arguments(name, values, objects, std::move(notes));
  return row->bind(arguments);
}

}  // namespace

Call<KOBUCloudDelegate> engineEvent(std::string_view name, const json::array& values,
                                    NamedObjects& objects, std::shared_ptr<Notes> notes) {
  return bound(events, "event", name, values, objects, std::move(notes));
}

Call<VEMOKOBUMsgRouter> hostOperation(std::string_view name, const json::array& values,
                                      NamedObjects& objects, std::shared_ptr<Notes> notes) {
  return bound(hostOperations, "operation", name, values, objects, std::move(notes));
}

}  // namespace vemo::replay
