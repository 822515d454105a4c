#include "bench/BenchPlatform.h"

#include <cstdlib>
#include <iostream>

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

BenchPlatform::BenchPlatform() {
  const auto fake = rest_.pieces();
  router = VEMOKOBUMsgRouter::create(
      std::make_unique<JSMsgRouter>(
          logger, std::make_shared<MainThreadReplyDelivery>(mainQueue, "reply"), webView),
      {fake.engineClass, logger, fake.systemLog, mainQueue, fake.notifications,
       fake.crossProcessNotifications, fake.captureAuthorization, fake.alerts, fake.application,
       fake.downloads, fake.images, fake.system, fake.extensionLauncher, fake.appGroup});
  router->receive(R"({"head":{"module":"kobu","action":"initSDK"}})");
}

void mustBeSame(const std::string& what, const std::string& routers, const std::string& jsons) {
  if (routers == jsons) return;
  std::cerr << "vemo-bench: " << what << " differs.\n  router:     " << routers
            << "\n  Boost.JSON: " << jsons << "\n";
  std::exit(1);
}

}  // namespace vemo::bench
