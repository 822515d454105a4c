#include "json/EngineEvents.h"

#include <algorithm>
#include <array>
#include <string>

namespace vemo {
namespace {

template <auto event>
constexpr auto bind = Bound<event, Arguments>::bind;

using Event = KOBUCloudDelegate;

constexpr auto events = std::to_array<NamedOperation<Event, Arguments>>({
    {"onError", bind<&Event::onError>},
    {"onWarning", bind<&Event::onWarning>},
    {"onEnterRoom", bind<&Event::onEnterRoom>},
    {"onExitRoom", bind<&Event::onExitRoom>},
    {"onSwitchRole", bind<&Event::onSwitchRole>},
    {"onRemoteUserEnterRoom", bind<&Event::onRemoteUserEnterRoom>},
    {"onRemoteUserLeaveRoom", bind<&Event::onRemoteUserLeaveRoom>},
    {"onAudioRouteChanged", bind<&Event::onAudioRouteChanged>},
    {"onUserAudioAvailable", bind<&Event::onUserAudioAvailable>},
    {"onUserVideoAvailable", bind<&Event::onUserVideoAvailable>},
    {"onUserSubStreamAvailable", bind<&Event::onUserSubStreamAvailable>},
    {"onNetworkQuality", bind<&Event::onNetworkQuality>},
    {"onStatistics", bind<&Event::onStatistics>},
    {"onUserVoiceVolume", bind<&Event::onUserVoiceVolume>},
    {"onConnectionLost", bind<&Event::onConnectionLost>},
    {"onTryToReconnect", bind<&Event::onTryToReconnect>},
    {"onConnectionRecovery", bind<&Event::onConnectionRecovery>},
    {"onFirstVideoFrame", bind<&Event::onFirstVideoFrame>},
    {"onFirstAudioFrame", bind<&Event::onFirstAudioFrame>},
    {"onSendFirstLocalVideoFrame", bind<&Event::onSendFirstLocalVideoFrame>},
    {"onSendFirstLocalAudioFrame", bind<&Event::onSendFirstLocalAudioFrame>},
    {"onCameraDidReady", bind<&Event::onCameraDidReady>},
    {"onMicDidReady", bind<&Event::onMicDidReady>},
    {"onScreenCaptureStarted", bind<&Event::onScreenCaptureStarted>},
    {"onScreenCapturePaused", bind<&Event::onScreenCapturePaused>},
    {"onScreenCaptureResumed", bind<&Event::onScreenCaptureResumed>},
    {"onScreenCaptureStoped", bind<&Event::onScreenCaptureStoped>},
});

}  // namespace

std::vector<std::string_view> engineEventNames() {
  std::vector<std::string_view> names;
  names.reserve(events.size());
  for (const auto& event : events) names.push_back(event.name);
  return names;
}

BoundCall<KOBUCloudDelegate> engineEvent(std::string_view name, const boost::json::array& values) {
  const auto* const event =
      std::ranges::find(events, name, &NamedOperation<Event, Arguments>::name);
  if (event == events.end()) throw ArgumentError("unknown event \"" + std::string(name) + "\"");
  Arguments arguments(name, values);
  return event->bind(arguments);
}

}  // namespace vemo
