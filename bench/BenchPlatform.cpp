#include "BenchPlatform.h"

#include <cstdlib>
#include <iostream>
#include <utility>

#include "platform/JsonLineLogger.h"
#include "recorder/NoteRing.h"

namespace vemo::bench {

void CountingLogger::log(const DUNLogParam& record) {
  ++records;
  bytes += record.actionParam.value_or("").size();
  if (keeps) kept = record.actionParam.value_or("");
}

void CountingWebView::loadJs(const std::string& script, bool /*needLog*/) {
  ++scripts;
  bytes += script.size();
  if (keeps) kept = script;
}

BenchPlatform::BenchPlatform(BenchOptions options) {
  const auto fake = rest_.pieces();
  if (options.logged) {
    JsonLineLoggerOptions nowhere;
    nowhere.file = "/dev/null";
    hostLogger_ = JsonLineLogger::create(nowhere);
  }
  platform_.emplace(Platform{fake.engineClass, hostLogger_ ? *hostLogger_ : logger, fake.systemLog,
                             mainQueue, fake.notifications, crossProcessNotifications_,
                             fake.captureAuthorization, fake.alerts, fake.application,
                             fake.downloads, fake.images, fake.system, fake.extensionLauncher,
                             fake.appGroup});
  if (options.recorded) {
    recorder_ = std::make_unique<Recorder>(*platform_,
                                           std::make_shared<NoteRing>(NoteRingOptions()), nullptr);
    delivery_ = recorder_->replies(std::move(delivery_));
  }
  router = makeRouter();
  router->receive(R"({"head":{"module":"kobu","action":"initSDK"}})");
}

std::shared_ptr<VEMOKOBUMsgRouter> BenchPlatform::makeRouter() {
  const auto platform = recorder_ ? recorder_->platform() : *platform_;
  std::unique_ptr<VEMOJSMsgRouter> base =
      std::make_unique<JSMsgRouter>(platform.logger, delivery_, webView);
  if (recorder_) base = recorder_->baseRouter(std::move(base));
  return VEMOKOBUMsgRouter::create(std::move(base), platform);
}

void mustBeSame(const std::string& what, const std::string& routers, const std::string& jsons) {
  if (routers == jsons) return;
  std::cerr << "vemo-bench: " << what << " differs.\n  router:     " << routers
            << "\n  Boost.JSON: " << jsons << "\n";
  std::exit(1);
}

}  // namespace vemo::bench
