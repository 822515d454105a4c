#include "webview/VEMOKOBUMsgRouter.h"

// Making and releasing the engine, its log settings and its debug panel.

namespace vemo {

Outcome VEMOKOBUMsgRouter::initSDK(const Command<>& command) {
  if (sharedKOBU_.load()) return fail(error::engineThere);
  const std::string message = "sdk version : " + platform_.engineClass.getSDKVersion();
  // Success too is told as an error record, with code 0.
  command.setError(VEMOModule::JS, 0, message);
  logRouter(DUNLogParam::kInformation, "initSDK", command.paramsText, Result{0, message},
            "-[VEMOKOBUMsgRouter initSDK:webView:]");
  const auto engine = platform_.engineClass.sharedInstance();
  sharedKOBU_.publish(engine);
  engine->setDelegate(shared_from_this());
  return success;
}

Outcome VEMOKOBUMsgRouter::setLogParams(
    const Command<Maybe<param::LogLevel>, Maybe<param::ConsoleEnable>, Maybe<param::CompressEnable>,
                  Maybe<param::LogDirPath>>& command) {
  auto& engineClass = platform_.engineClass;
  const auto path = command.get<param::LogDirPath>();
  const std::string folder(path.value_or(""));
  if (const auto level = command.get<param::LogLevel>()) engineClass.setLogLevel(*level);
  if (const auto on = command.get<param::ConsoleEnable>()) engineClass.setConsoleEnabled(*on);
  if (const auto on = command.get<param::CompressEnable>()) engineClass.setLogCompressEnabled(*on);
  if (path) engineClass.setLogDirPath(folder);
  return success;
}

Outcome VEMOKOBUMsgRouter::getSDKVersion(const Command<>& command) {
  command.setValue({{"version", platform_.engineClass.getSDKVersion()}});
  return success;
}

Outcome VEMOKOBUMsgRouter::uninitSDK(const Command<>&) {
  room_.entered = false;
  room_.params.clear();
  if (const auto engine = sharedKOBU_.load()) {
    engine->setDelegate(nullptr);
    engine->exitRoom();
  }
  sharedKOBU_.clear();
  platform_.engineClass.destroySharedIntance();
  return success;
}

Outcome VEMOKOBUMsgRouter::setDebugViewMargin(
    KOBUCloud& engine,
    const Command<Maybe<param::UserId>, Or<param::Top, 0.0F>, Or<param::Left, 0.0F>,
                  Or<param::Bottom, 0.0F>, Or<param::Right, 0.0F>>& command) {
  const auto userId = command.get<param::UserId>();
  if (!userId) return success;  // deliberately no error
  engine.setDebugViewMargin(std::string(*userId),
                            {command.get<param::Top>(), command.get<param::Left>(),
                             command.get<param::Bottom>(), command.get<param::Right>()});
  return success;
}

}  // namespace vemo
