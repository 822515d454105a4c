// The smallest application around the router: one page command in, its answer out.

#include <functional>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>

#include "platform/CurlDownloadService.h"
#include "platform/InProcessNotificationCenter.h"
#include "platform/JSMsgRouter.h"
#include "platform/JsonLineLogger.h"
#include "platform/LoopbackNotificationCenter.h"
#include "platform/MainThreadQueue.h"
#include "platform/PixbufImageDecoder.h"
#include "platform/StreamSystemLog.h"
#include "simulation/ClassroomCloud.h"
#include "webview/VEMOKOBUMsgRouter.h"

namespace {

/// What only the application can know of its device. This one grants everything.
class Device final : public vemo::CaptureAuthorization,
                     public vemo::AlertPresenter,
                     public vemo::Application,
                     public vemo::SystemVersion,
                     public vemo::VEMOExtensionLauncher {
 public:
  vemo::AuthorizationStatus authorizationStatus(vemo::MediaType) const override {
    return vemo::AuthorizationStatus::authorized;
  }
  void requestAccess(vemo::MediaType, std::function<void(bool)> answer) override { answer(true); }
  void present(vemo::Alert alert) override { std::cout << alert.message << '\n'; }
  vemo::Text information(std::string_view) const override { return "Classroom"; }
  bool canOpenSettings() const override { return false; }
  void openSettings() override {}
  bool isAtLeast(int major, int, int) const override { return major <= 17; }
  void launch() override {}
};

/// The view that shows the page. A real one runs the script there.
class PrintedPage final : public vemo::VEMOWebView {
 public:
  void loadJs(const std::string& script, bool) override { std::cout << script << '\n'; }
};

}  // namespace

// [shown in the README]
int main() {
  vemo::MainThreadQueue mainQueue;
  auto logger = vemo::JsonLineLogger::create({});  // to standard error
  vemo::ClassroomCloud cloud;                      // simulated; your engine goes here
  const auto engineClass = cloud.makeEngineClass();

  vemo::StreamSystemLog systemLog;
  vemo::InProcessNotificationCenter notifications;
  vemo::LoopbackNotificationCenter crossProcess;
  vemo::CurlDownloadService downloads;
  vemo::PixbufImageDecoder images;
  Device device;  // permissions, alerts, settings page, system version, extension
  const std::string appGroup = "group.vemo.classroom";

  const auto router = vemo::VEMOKOBUMsgRouter::create(
      std::make_unique<vemo::JSMsgRouter>(
          *logger, std::make_shared<vemo::MainThreadReplyDelivery>(mainQueue, "nativeReply"),
          std::make_shared<PrintedPage>()),
      {*engineClass, *logger, systemLog, mainQueue, notifications, crossProcess, device, device,
       device, downloads, images, device, device, appGroup});

  // What the page posts. It answers: nativeReply({"head":{...},"error":{...,"errcode":0,...}})
  router->receive(R"({"head":{"module":"kobu","action":"initSDK"},"cbid":"1"})");
  mainQueue.drain();
}
// [end]
