#include "webview/VEMOKOBUMsgRouter.h"

#include "bridge/ScreenKitNotifications.h"

namespace vemo {

VEMOKOBUMsgRouter::VEMOKOBUMsgRouter(std::unique_ptr<VEMOJSMsgRouter> base, Platform platform)
    : platform_(std::move(platform)), base_(std::move(base)) {}

std::shared_ptr<VEMOKOBUMsgRouter> VEMOKOBUMsgRouter::create(std::unique_ptr<VEMOJSMsgRouter> base,
                                                             Platform platform) {
  const std::shared_ptr<VEMOKOBUMsgRouter> router(
      new VEMOKOBUMsgRouter(std::move(base), std::move(platform)));
  for (const auto& notification : kScreenKitNotifications) {
    router->registerForScreenKitNotificationsWithName(notification.name);
  }
  router->registRouter();
  return router;
}

VEMOKOBUMsgRouter::~VEMOKOBUMsgRouter() {
  room_.enterCallback.clear();
  room_.exitCallback.clear();
  room_.switchAnchorCallback.clear();
  room_.switchAudienceCallback.clear();
  screenSharing_.launchCallback.clear();
  screenSharing_.startCallback.clear();
  eventRouting_.listeners.clear();
  auto engine = sharedKOBU_.take();
  if (engine) engine->setDelegate(nullptr);
  if (room_.entered && engine) engine->exitRoom();
  platform_.engineClass.destroySharedIntance();
  engine.reset();  // gone before the subscriptions are
  unregisterScreenKitNotifications();
}

// ---- The base router's operations

void VEMOKOBUMsgRouter::setMethod(const std::string& action, Wrapper wrapper) {
  base_->setMethod(action, std::move(wrapper));
}

std::shared_ptr<VEMOWebView> VEMOKOBUMsgRouter::webView() const { return base_->webView(); }

void VEMOKOBUMsgRouter::setWebView(std::shared_ptr<VEMOWebView> webView) {
  base_->setWebView(std::move(webView));
}

void VEMOKOBUMsgRouter::receive(std::string_view message) {
  // The base router is ours: it must not go while it works, whoever lets go of us meanwhile.
  if (const auto self = weak_from_this().lock()) base_->receive(message);
}

// ---- Answers of commands

VEMOCallback VEMOKOBUMsgRouter::plainAnswer(const Call& call) {
  return answering(
      call, [](VEMOKOBUMsgRouter&, const Answer& answer, VEMOModule module, std::int64_t code,
               const Text& desc) { answer.send(module, code, desc); });
}

VEMOCallback VEMOKOBUMsgRouter::loggedAnswer(const Call& call, const char* actionName, Site site) {
  return answering(call, [actionName, site, params = std::string(call.paramsText)](
                             VEMOKOBUMsgRouter& router, const Answer& answer, VEMOModule module,
                             std::int64_t code, const Text& desc) {
    router.logEnd(actionName, params, code, desc, site);
    answer.send(module, code, desc);
  });
}

// ---- Log records

void VEMOKOBUMsgRouter::log(int level, std::string_view module, std::string_view actionName,
                            std::string_view actionParam, std::optional<Result> result,
                            const Site& site) {
  DUNLogParam record;
  record.needReport = true;
  record.level = level;
  record.module = module;
  record.actionName = actionName;
  record.actionParam = actionParam;
  if (result) {
    record.errorCode = result->code;
    record.errorDesc = result->description;
  }
  record.fileName = site.place.file;
  record.funcName = site.funcName;
  record.line = site.place.line;
  platform_.logger.log(record);
}

void VEMOKOBUMsgRouter::logRouter(int level, std::string_view actionName,
                                  std::string_view actionParam, std::optional<Result> result,
                                  const Site& site) {
  log(level, "VEMOKOBUMsgRouter", actionName, actionParam, result, site);
}

void VEMOKOBUMsgRouter::logEnd(std::string_view actionName, std::string_view actionParam,
                               std::int64_t code, const Text& desc, const Site& site) {
  if (code == 0) {
    logRouter(DUNLogParam::kInformation, actionName, actionParam, Result{code, desc}, site);
    return;
  }
  asMemoryAllows([&] {
    logRouter(DUNLogParam::kFailure, std::string(actionName) + "Failed", actionParam,
              Result{code, desc}, site);
  });
}

void VEMOKOBUMsgRouter::logShortage() {
  logRouter(DUNLogParam::kFailure, "outOfMemory", {}, Result{kBadParameter, kOutOfMemory},
            "-[VEMOKOBUMsgRouter logShortage]");
}

}  // namespace vemo
