#include <iostream>
#include <memory>
#include <string>

#include "PhoneEngine.h"
#include "PhoneLogger.h"
#include "PhoneWebView.h"
#include "platform/InProcessNotificationCenter.h"
#include "platform/JSMsgRouter.h"
#include "platform/LoopbackNotificationCenter.h"
#include "testing/NullPlatform.h"
#include "webview/VEMOKOBUMsgRouter.h"

/// What this phone does not have yet: each is replaced by a class of the phone's own in its turn.
class NotYetPorted : public vemo::NullSystemLog,
                     public vemo::NullCaptureAuthorization,
                     public vemo::NullAlertPresenter,
                     public vemo::NullApplication,
                     public vemo::NullDownloadService,
                     public vemo::NullImageDecoder,
                     public vemo::NullSystemVersion,
                     public vemo::NullVEMOExtensionLauncher {};

int main() {
  // A phone has a loop of its own, which is told to call drain() by what the queue is made with.
  vemo::MainThreadQueue mainQueue;
  PhoneLogger logger([](const std::string& line) { std::clog << line + '\n'; });
  PhoneEngineClass engineClass;
  vemo::InProcessNotificationCenter notifications;
  vemo::LoopbackNotificationCenter crossProcess;
  NotYetPorted phone;
  const std::string appGroup = "group.phone";

  const auto view = std::make_shared<PhoneWebView>(mainQueue, [&](const std::string& script) {
    std::cout << script << '\n';
    if (script.starts_with("onNativeEvent(")) mainQueue.stop();  // nothing else is awaited here
  });
  auto router = vemo::VEMOKOBUMsgRouter::create(
      std::make_unique<vemo::JSMsgRouter>(
          logger, std::make_shared<vemo::MainThreadReplyDelivery>(mainQueue, "nativeReply"), view),
      {engineClass, logger, phone, mainQueue, notifications, crossProcess, phone, phone, phone,
       phone, phone, phone, phone, appGroup});

  // What the page posts comes in here, on the thread on which the web view gives it.
  router->receive(R"({"head":{"module":"kobu","action":"initSDK"},"cbid":"1"})");
  router->receive(R"({"head":{"module":"kobu","action":"registCallBacks"},"params":{"callbacks":[
      {"sdkcbName":"onEnterRoom","jsRecvcbName":"onNativeEvent"}]},"cbid":"2"})");
  router->receive(R"({"head":{"module":"kobu","action":"enterRoom"},"params":{"appScene":1,
      "sdkAppId":1,"userId":"ada","userSig":"signed","roomId":101},"cbid":"3"})");
  mainQueue.run();

  // The queue is run empty before its pieces end: work that waits there holds the router.
  router.reset();
  while (mainQueue.drain() > 0) {
  }
}
