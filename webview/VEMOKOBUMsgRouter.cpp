#include "webview/VEMOKOBUMsgRouter.h"

#include "bridge/ScreenKitNotifications.h"

namespace vemo {

VEMOKOBUMsgRouter::VEMOKOBUMsgRouter(Platform platform) : platform_(std::move(platform)) {}

std::shared_ptr<VEMOKOBUMsgRouter> VEMOKOBUMsgRouter::create(Platform platform) {
  const std::shared_ptr<VEMOKOBUMsgRouter> router(new VEMOKOBUMsgRouter(std::move(platform)));
  for (const auto& notification : kScreenKitNotifications) {
    router->registerForScreenKitNotificationsWithName(notification.name);
  }
  router->registRouter();
  return router;
}

VEMOKOBUMsgRouter::~VEMOKOBUMsgRouter() {
  enterCallback_.clear();
  exitCallback_.clear();
  switchAnchorCallback_.clear();
  switchAudienceCallback_.clear();
  launchScreenKitCallback_.clear();
  startScreenCaptureCallback_.clear();
  kobuEventListeners_.clear();
  auto engine = sharedKOBU_.take();
  if (engine) engine->setDelegate(nullptr);
  if (hasEnterRoom_ && engine) engine->exitRoom();
  platform_.engineClass.destroySharedIntance();
  engine.reset();  // gone before the subscriptions are
  unregisterScreenKitNotifications();
}

Text VEMOKOBUMsgRouter::curEnteredRoomUserId() const {
  const auto params = enterRoomParams_.load();
  return params ? params->userId : Text{};
}

bool VEMOKOBUMsgRouter::isOwnUser(const Text& userId) const {
  return !userId || userId == curEnteredRoomUserId();
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
  const bool failed = code != 0;
  logRouter(failed ? DUNLogParam::kFailure : DUNLogParam::kInformation,
            failed ? std::string(actionName) + "Failed" : std::string(actionName), actionParam,
            Result{code, desc}, site);
}

void VEMOKOBUMsgRouter::logEvent(std::string_view name, std::string_view payload,
                                 std::optional<Result> result, const Site& site) {
  log(DUNLogParam::kInformation, "SDKCallback", name, payload, result, site);
}

}  // namespace vemo
