#pragma once

#include <memory>
#include <utility>

#include "webview/VEMOKOBUMsgRouter.h"

// The common path of an event, for the files that tell events.

namespace vemo {

/// Runs `work(router)` on the main thread: at once there, else queued. The work holds the
/// router until it has run, so an event that has arrived is told even when the host lets
/// go of the router first.
template <class Work>
void VEMOKOBUMsgRouter::onMain(Work work) {
  auto self = shared_from_this();
  if (platform_.mainQueue.isMainThread()) {
    work(*self);
  } else {
    platform_.mainQueue.dispatchAsync(
        [self = std::move(self), work = std::move(work)]() mutable { work(*self); });
  }
}

/// Calls `operation` of every live listener, in order, with `args`. The walk goes over the
/// list as it was at its beginning, whatever a listener does to it meanwhile, and keeps
/// nobody alive but the one that is being called.
template <class Operation, class... Args>
void VEMOKOBUMsgRouter::tellListeners(Operation operation, const Args&... args) {
  if (kobuEventListeners_.empty()) return;
  for (const auto slots = kobuEventListeners_; const auto& slot : slots) {
    if (const auto listener = slot.lock()) (listener.get()->*operation)(args...);
  }
}

/// An event that changes nothing in the router: logs it, tells the listeners through
/// `tellTheListeners(router)` on the main thread, then the page.
template <class Work>
void VEMOKOBUMsgRouter::plainEvent(std::string_view name, JsonObjectText payload, const Site& site,
                                   Work tellTheListeners) {
  logEvent(name, payload.text(), std::nullopt, site);
  onMain([name, payload = std::move(payload),
          tell = std::move(tellTheListeners)](VEMOKOBUMsgRouter& router) {
    tell(router);
    router.toPage(name, payload.text(), true);
  });
}

}  // namespace vemo
