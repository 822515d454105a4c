#include "webview/event_routing.h"

#include <algorithm>
#include <cstddef>

#include "json/Lookup.h"

// Who hears of events: the page's functions and the native listeners.

namespace vemo {

Outcome VEMOKOBUMsgRouter::registCallBacks(const Command<Checked<param::Callbacks>>& command) {
  const auto callbacks = command.get<param::Callbacks>();
  auto functions = std::make_shared<CallbackNames>();
  if (callbacks) {
    for (const auto& element : **callbacks) {
      const param::Callbacks::Element entry(element.if_object());
      const auto event = entry.get<param::SdkcbName>();
      const auto function = entry.get<param::JsRecvcbName>();
      if (event && function) (*functions)[std::string(*event)] = *function;
    }
  }
  // The old names go in any case: a failed call leaves none.
  eventRouting_.pageFunctions.publish(std::move(functions));
  if (!callbacks) return paramError(param::Callbacks::missing);
  return success;
}

bool VEMOKOBUMsgRouter::isRegistered(std::string_view event) const {
  const auto functions = eventRouting_.pageFunctions.load();
  return functions && functions->contains(event);
}

// ---- Listeners

std::vector<std::shared_ptr<VEMOKOBUEventListener>> VEMOKOBUMsgRouter::kobuEventListeners() const {
  std::vector<std::shared_ptr<VEMOKOBUEventListener>> live;
  live.reserve(eventRouting_.listeners.size());
  for (const auto& slot : eventRouting_.listeners) {
    if (auto listener = slot.lock()) live.push_back(std::move(listener));
  }
  return live;
}

void VEMOKOBUMsgRouter::compactListeners() {
  std::erase_if(eventRouting_.listeners, [](const auto& slot) { return slot.expired(); });
}

void VEMOKOBUMsgRouter::addKOBUEventListener(std::shared_ptr<VEMOKOBUEventListener> listener) {
  if (!listener) return;
  safeRunInMain([listener = std::move(listener)](VEMOKOBUMsgRouter& router) {
    const auto live = router.kobuEventListeners();
    if (std::find(live.begin(), live.end(), listener) != live.end()) return;
    router.eventRouting_.listeners.push_back(listener);
    router.compactListeners();
  });
}

void VEMOKOBUMsgRouter::removeKOBUEventListener(std::shared_ptr<VEMOKOBUEventListener> listener) {
  if (!listener) return;
  safeRunInMain([listener = std::move(listener)](VEMOKOBUMsgRouter& router) {
    const auto live = router.kobuEventListeners();
    const auto found = std::find(live.begin(), live.end(), listener);
    if (found == live.end()) return;
    // The position among the live listeners is used in the list with its empty slots, so
    // another slot than the listener's own may be the one that goes. That is deliberate:
    // part of the interface as it stands.
    auto& slots = router.eventRouting_.listeners;
    slots.erase(slots.begin() + (found - live.begin()));
    router.compactListeners();
  });
}

void VEMOKOBUMsgRouter::removeAllKOBUEventListeners() {
  safeRunInMain([](VEMOKOBUMsgRouter& router) { router.eventRouting_.listeners.clear(); });
}

}  // namespace vemo
