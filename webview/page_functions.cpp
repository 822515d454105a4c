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

void VEMOKOBUMsgRouter::executeJSCallback(std::string_view function,
                                          std::optional<boost::json::object> envelope,
                                          bool needLog) {
  if (function.empty() || !envelope) return;
  runScript(callScript(function, [&](std::string& script) { appendJsonText(script, *envelope); }),
            needLog);
}

void VEMOKOBUMsgRouter::callBackToH5(std::string_view name,
                                     std::optional<boost::json::object> value, bool needLog) {
  tellPage(name, value ? std::optional(jsonText(*value)) : std::nullopt, needLog);
}

void VEMOKOBUMsgRouter::tellPage(std::string_view event, std::optional<std::string_view> payload,
                                 bool needLog) {
  const auto functions = eventRouting_.pageFunctions.load();
  if (!functions) return;
  const auto function = functions->find(event);
  if (function == functions->end()) return;
  // The text of callBackCommonJson, around a payload that is text already.
  const auto writeEnvelope = [&](std::string& script) {
    script += R"({"head":{"module":"kobucb","action":)";
    appendJsonString(script, event);
    script += '}';
    if (payload) script.append(R"(,"retval":)").append(*payload);
    script += '}';
  };
  const auto size = function->second.size() + event.size() + (payload ? payload->size() : 0) + 64;
  runScript(callScript(function->second, writeEnvelope, size), needLog);
}

void VEMOKOBUMsgRouter::runScript(std::string script, bool needLog) {
  runOnMain(platform_.mainQueue,
            weakly([script = std::move(script), needLog](VEMOKOBUMsgRouter& router) {
              if (const auto page = router.webView()) page->loadJs(script, needLog);
            }));
}

void VEMOKOBUMsgRouter::safeRunInMain(MainBlock block) {
  if (block) runOnMain(platform_.mainQueue, weakly(std::move(block)));
}

void VEMOKOBUMsgRouter::asyncRunInMain(MainBlock block) { safeRunInMain(std::move(block)); }

}  // namespace vemo
