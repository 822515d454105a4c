#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "webview/VEMOKOBUMsgRouter.h"
#include "webview/events.h"

// The common path of an event, for the files that tell events.

namespace vemo {

template <class Work>
void VEMOKOBUMsgRouter::onMain(Work work) {
  asMemoryAllows([&] {
    runOnMain(platform_.mainQueue, [self = shared_from_this(), work = std::move(work)]() mutable {
      self->asMemoryAllows([&] { work(*self); });
    });
  });
}

/// Calls the event's operation, if it has one, of every live listener, in order, with `args`.
/// The walk goes over the list as it was at its beginning, whatever a listener does to it
/// meanwhile, and keeps nobody alive but the one that is being called. As memory allows: the page
/// hears all the same.
template <class Event, class... Args>
void VEMOKOBUMsgRouter::tellListeners(const Args&... args) {
  if constexpr (requires { Event::listener; }) {
    if (eventRouting_.listeners.empty()) return;
    asMemoryAllows([&] {
      for (const auto slots = eventRouting_.listeners; const auto& slot : slots) {
        if (const auto listener = slot.lock()) (listener.get()->*Event::listener)(args...);
      }
    });
  }
}

template <class Event>
void VEMOKOBUMsgRouter::tellPage(const JsonObjectText& payload) {
  asMemoryAllows([&] { tellPage(Event::words.name, payload.text(), !isPeriodic<Event>); });
}

template <class Event>
void VEMOKOBUMsgRouter::logEvent(std::string_view payload, std::optional<Result> result,
                                 const Site& site) {
  log(DUNLogParam::kInformation, "SDKCallback", Event::words.name, payload, result, site);
}

template <class Event, class... Given>
void VEMOKOBUMsgRouter::tell(const Site& site, const Given&... given) {
  tellResult<Event>(std::nullopt, site, given...);
}

template <class Event, class... Given>
void VEMOKOBUMsgRouter::tellResult(std::optional<Result> result, const Site& site,
                                   const Given&... given) {
  asMemoryAllows([&] {
    auto payload = Event::payload(curEnteredRoomUserId(), given...);
    logEvent<Event>(payload.text(), result, site);
    onMain([payload = std::move(payload), given...](VEMOKOBUMsgRouter& router) {
      router.tellListeners<Event>(given...);
      router.tellPage<Event>(payload);
    });
  });
}

}  // namespace vemo
