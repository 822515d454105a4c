#include "webview/VEMOKOBUMsgRouter.h"

// Making and releasing the engine, its log settings and its debug panel.

namespace vemo {

Outcome VEMOKOBUMsgRouter::initSDK(const Command& command) {
  if (sharedKOBU_.load()) return failure(kNotAvailable, "had initSDK");
  const std::string message = "sdk version : " + platform_.engineClass.getSDKVersion();
  // Success is told as an error record with code 0: pages read the version from it.
  setError(*command.item, VEMOModule::JS, 0, message);
  logRouter(DUNLogParam::kInformation, "initSDK", command.paramsText, Result{0, message},
            "-[VEMOKOBUMsgRouter initSDK:webView:]");
  const auto engine = platform_.engineClass.sharedInstance();
  sharedKOBU_.publish(engine);
  engine->setDelegate(shared_from_this());
  return success;
}

Outcome VEMOKOBUMsgRouter::setLogParams(const Command& command) {
  auto& engineClass = platform_.engineClass;
  if (const auto level = command.number("logLevel")) engineClass.setLogLevel(level->int32());
  if (const auto on = command.number("consoleEnable")) engineClass.setConsoleEnabled(on->boolean());
  if (const auto on = command.number("compressEnable")) {
    engineClass.setLogCompressEnabled(on->boolean());
  }
  if (const auto path = command.nonEmptyText("logDirPath")) engineClass.setLogDirPath(*path);
  return success;
}

Outcome VEMOKOBUMsgRouter::getSDKVersion(const Command& command) {
  command.item->setMsgRetval({{"version", platform_.engineClass.getSDKVersion()}});
  return success;
}

Outcome VEMOKOBUMsgRouter::uninitSDK(const Command&) {
  hasEnterRoom_ = false;
  enterRoomParams_.clear();
  if (const auto engine = sharedKOBU_.load()) {
    engine->setDelegate(nullptr);
    engine->exitRoom();
  }
  sharedKOBU_.clear();
  platform_.engineClass.destroySharedIntance();
  return success;
}

Outcome VEMOKOBUMsgRouter::showBugView(KOBUCloud& engine, const Command& command) {
  const auto type = command.number("showType");
  if (!type) return paramError("params error");
  engine.showDebugView(type->int32());
  return success;
}

Outcome VEMOKOBUMsgRouter::setDebugViewMargin(KOBUCloud& engine, const Command& command) {
  const auto userId = command.nonEmptyText("userId");
  if (!userId) return success;  // deliberately no error
  const auto inset = [&](std::string_view key) {
    const auto number = command.number(key);
    return number ? number->as<float>() : 0.0F;
  };
  engine.setDebugViewMargin(*userId,
                            {inset("top"), inset("left"), inset("bottom"), inset("right")});
  return success;
}

}  // namespace vemo
