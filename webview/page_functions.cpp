#include "json/JsonText.h"
#include "webview/event_routing.h"

// Calls of the page's functions, by the router's events and by its host.

namespace vemo {

boost::json::object VEMOKOBUMsgRouter::callBackCommonJson(
    std::string_view name, std::optional<boost::json::object> value) {
  boost::json::object envelope;
  if (!name.empty()) envelope["head"] = {{"module", "kobucb"}, {"action", name}};
  if (value) envelope["retval"] = std::move(*value);
  return envelope;
}

void VEMOKOBUMsgRouter::executeJSCallback(std::string function,
                                          std::optional<boost::json::object> envelope,
                                          bool needLog) {
  if (function.empty() || !envelope) return;
  function += '(';
  appendJsonText(function, *envelope);
  function += ')';
  runScript(std::move(function), needLog);
}

void VEMOKOBUMsgRouter::callBackToH5(std::string_view name,
                                     std::optional<boost::json::object> value, bool needLog) {
  tellPage(name, value ? std::optional(jsonText(*value)) : std::nullopt, needLog);
}

void VEMOKOBUMsgRouter::tellPage(std::string_view event, std::optional<std::string_view> payload,
                                 bool needLog) {
  const auto functions = receivers_.pageFunctions.load();
  if (!functions) return;
  const auto function = functions->find(event);
  if (function == functions->end() || function->second.empty()) return;
  // The text of callBackCommonJson, around a payload that is text already.
  std::string script;
  script.reserve(function->second.size() + event.size() + (payload ? payload->size() : 0) + 64);
  script += function->second;
  script += R"(({"head":{"module":"kobucb","action":)";
  appendJsonString(script, event);
  script += '}';
  if (payload) script.append(R"(,"retval":)").append(*payload);
  script += "})";
  runScript(std::move(script), needLog);
}

void VEMOKOBUMsgRouter::runScript(std::string script, bool needLog) {
  if (platform_.mainQueue.isMainThread()) {
    if (const auto page = base_->webView()) page->loadJs(script, needLog);
    return;
  }
  safeRunInMain([script = std::move(script), needLog](VEMOKOBUMsgRouter& router) {
    router.runScript(script, needLog);
  });
}

void VEMOKOBUMsgRouter::safeRunInMain(MainBlock block) {
  if (block) nowOrQueued(weakly(std::move(block)));
}

void VEMOKOBUMsgRouter::asyncRunInMain(MainBlock block) { safeRunInMain(std::move(block)); }

}  // namespace vemo
