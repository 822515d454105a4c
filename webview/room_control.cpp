#include <memory>

#include "json/RecordMapper.h"
#include "webview/KOBUParams_VEMOExt.h"
#include "webview/TextForms.h"
#include "webview/VEMOKOBUMsgRouter.h"

namespace vemo {

/// The completion that answers a room command: {"userId", `numberKey`: number} beside an
/// error record that is set whatever the code.
VEMORoomCallback VEMOKOBUMsgRouter::roomAnswer(const Command& command, std::string_view numberKey) {
  return weakly([item = command.item, webView = command.webView, numberKey](
                    VEMOKOBUMsgRouter&, VEMOModule module, std::int64_t code, const Text& desc,
                    const Text& uid, std::int64_t number) {
    setError(*item, module, code, desc);
    // In the item's arena: a room command is answered twice at the most.
    boost::json::object value(2, item->arena());
    value.emplace("userId", idOrNull(uid));
    value.emplace(numberKey, number);
    item->setMsgRetval(std::move(value));
    item->executeJSCallbackIn(webView);
  });
}

Outcome VEMOKOBUMsgRouter::enterRoom(KOBUCloud& engine, const Command& command) {
  const auto scene = command.number("appScene");
  const auto receiveAudio = command.number("autoRecvAudio");
  const auto receiveVideo = command.number("autoRecvVideo");
  if (!scene) return paramError("no appScene param");
  auto record = recordFrom<KOBUParams>(command.params());
  if (!record) return paramError("params can't parse KOBUParams");

  engine.setDefaultStreamRecvMode(!receiveAudio || receiveAudio->boolean(),
                                  !receiveVideo || receiveVideo->boolean());
  platform_.logger.updateLogConfig(
      [&](DUNLoggerConfig& config) { config.sdkAppId = record->sdkAppId; });
  hasEnterRoom_ = false;
  command.item->setIsAsyncTask(true);
  setAppScene(*record, scene->as<std::int64_t>());
  const auto params = std::make_shared<const KOBUParams>(std::move(*record));
  vemoEnterRoom(params, appScene(*params), roomAnswer(command, "elapsed"));
  return success;
}

Outcome VEMOKOBUMsgRouter::exitRoom(const Command& command) {
  hasEnterRoom_ = false;  // also without an engine: the page means to be out
  if (!sharedKOBU_.load()) return notInitialised();
  platform_.notifications.post(VEMOStartExitClassRoomNotify);
  command.item->setIsAsyncTask(true);
  zebExitRoom(roomAnswer(command, "reason"));
  return success;
}

void VEMOKOBUMsgRouter::vemoEnterRoom(std::shared_ptr<const KOBUParams> params,
                                      std::int64_t appScene, VEMORoomCallback completion) {
  if (!params) return;
  enterRoomParams_.publish(params);
  enterCallback_.publish(stored(std::move(completion)));
  if (const auto engine = sharedKOBU_.load()) engine->enterRoom(*params, appScene);
}

void VEMOKOBUMsgRouter::zebExitRoom(VEMORoomCallback completion) {
  exitCallback_.publish(stored(std::move(completion)));
  if (const auto engine = sharedKOBU_.load()) engine->exitRoom();
}

}  // namespace vemo
