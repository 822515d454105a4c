#include "json/JsonText.h"
#include "webview/VEMOKOBUMsgRouter.h"

namespace vemo {

void VEMOKOBUMsgRouter::setError(VEMOJSMsgItem& item, VEMOModule module, std::int64_t code,
                                 Text message) {
  item.setMsgError({std::string(moduleText(module)), code, std::move(message)});
}

VEMOCallback VEMOKOBUMsgRouter::plainAnswer(const Command& command) {
  return weakly([item = command.item, webView = command.webView](
                    VEMOKOBUMsgRouter&, VEMOModule module, std::int64_t code, const Text& desc) {
    setError(*item, module, code, desc);
    item->executeJSCallbackIn(webView);
  });
}

VEMOCallback VEMOKOBUMsgRouter::loggedAnswer(const Command& command, const char* actionName,
                                             Site site) {
  return weakly([item = command.item, webView = command.webView, actionName, site,
                 params = std::string(command.paramsText)](VEMOKOBUMsgRouter& router,
                                                           VEMOModule module, std::int64_t code,
                                                           const Text& desc) {
    setError(*item, module, code, desc);
    router.logEnd(actionName, params, code, desc, site);
    item->executeJSCallbackIn(webView);
  });
}

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
  safeRunInMain([function = std::move(function), envelope = std::move(envelope),
                 needLog](VEMOKOBUMsgRouter& router) {
    if (function.empty() || !envelope) return;
    const auto webView = router.platform_.baseRouter.webView();
    if (!webView) return;
    std::string script = function;
    script += '(';
    appendJsonText(script, *envelope);
    script += ')';
    webView->loadJs(script, needLog);
  });
}

void VEMOKOBUMsgRouter::callBackToH5(std::string_view name,
                                     std::optional<boost::json::object> value, bool needLog) {
  const auto functions = jsCallBacks_.load();
  if (!functions) return;
  const auto function = functions->find(name);
  if (function == functions->end() || function->second.empty()) return;
  executeJSCallback(function->second, callBackCommonJson(name, std::move(value)), needLog);
}

void VEMOKOBUMsgRouter::safeRunInMain(MainBlock block) {
  if (!block) return;
  if (platform_.mainQueue.isMainThread()) {
    block(*this);
  } else {
    platform_.mainQueue.dispatchAsync(weakly(std::move(block)));
  }
}

void VEMOKOBUMsgRouter::asyncRunInMain(MainBlock block) { safeRunInMain(std::move(block)); }

}  // namespace vemo
