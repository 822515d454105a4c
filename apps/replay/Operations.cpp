#include "replay/Operations.h"

#include <algorithm>
#include <array>
#include <ranges>
#include <string>
#include <utility>

#include "replay/Nearest.h"

namespace vemo::replay {
namespace {

using Router = VEMOKOBUMsgRouter;

using Operation = NamedOperation<Router, HostArguments>;

template <auto operation>
constexpr auto bind = Bound<operation, HostArguments>::bind;

// Commands of the page have the same name as this one.
constexpr auto stopLocalPreview = static_cast<void (Router::*)()>(&Router::stopLocalPreview);

constexpr auto hostOperations = std::to_array<Operation>({
    {"vemoEnterRoom", bind<&Router::vemoEnterRoom>},
    {"zebExitRoom", bind<&Router::zebExitRoom>},
    {"switchToAnchorRole", bind<&Router::switchToAnchorRole>},
    {"switchToAudienceRole", bind<&Router::switchToAudienceRole>},
    {"startLocalPreivew", bind<&Router::startLocalPreivew>},
    {"stopLocalPreview", bind<stopLocalPreview>},
    {"kobuStartPreview", bind<&Router::kobuStartPreview>},
    {"kobuStopPreview", bind<&Router::kobuStopPreview>},
    {"kobuStartAudio", bind<&Router::kobuStartAudio>},
    {"kobuStopAudio", bind<&Router::kobuStopAudio>},
    {"kobuStartSubStream", bind<&Router::kobuStartSubStream>},
    {"kobuStopSubStream", bind<&Router::kobuStopSubStream>},
    {"kobuStopAllRemoteVideo", bind<&Router::kobuStopAllRemoteVideo>},
    {"kobuMuteAllRemoteVideo", bind<&Router::kobuMuteAllRemoteVideo>},
    {"kobuMuteAllRemoteAudio", bind<&Router::kobuMuteAllRemoteAudio>},
    {"addKOBUEventListener", bind<&Router::addKOBUEventListener>},
    {"removeKOBUEventListener", bind<&Router::removeKOBUEventListener>},
    {"removeAllKOBUEventListeners", bind<&Router::removeAllKOBUEventListeners>},
    {"reportEvent", bind<&Router::reportEvent>},
    {"callBackToH5", bind<&Router::callBackToH5>},
    {"executeJSCallback", bind<&Router::executeJSCallback>},
    {"kobuScreenCaptureSupportMode", bind<&Router::kobuScreenCaptureSupportMode>},
    {"registerForScreenKitNotificationsWithName",
     bind<&Router::registerForScreenKitNotificationsWithName>},
    {"unregisterForScreenKitNotificationsWithName",
     bind<&Router::unregisterForScreenKitNotificationsWithName>},
    {"unregisterScreenKitNotifications", bind<&Router::unregisterScreenKitNotifications>},
    {"onRecvScreenKitNotify", bind<&Router::onRecvScreenKitNotify>},
});

}  // namespace

BoundCall<VEMOKOBUMsgRouter> hostOperation(std::string_view name, const json::array& values,
                                           NamedObjects& objects, std::shared_ptr<Notes> notes) {
  const auto* const operation = std::ranges::find(hostOperations, name, &Operation::name);
  if (operation == hostOperations.end()) {
    throw ScenarioError("unknown operation \"" + std::string(name) + '"' +
                        didYouMean(name, hostOperations | std::views::transform(&Operation::name)));
  }
  HostArguments arguments(name, values, objects, std::move(notes));
  return operation->bind(arguments);
}

}  // namespace vemo::replay
