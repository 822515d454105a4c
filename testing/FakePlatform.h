#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bridge/Platform.h"
#include "platform/InProcessNotificationCenter.h"
#include "platform/JSMsgRouter.h"
#include "platform/LoopbackNotificationCenter.h"
#include "platform/MainThreadQueue.h"
#include "testing/FakeEngine.h"
#include "testing/NullPlatform.h"

namespace vemo {

/// A record as it was when it was logged.
struct LoggedRecord {
  int level = 0;
  std::string module, actionName, actionParam, fileName, funcName;
  std::optional<std::int64_t> errorCode;
  Text errorDesc;
  std::uint_least32_t line = 0;
};

class FakeLogger final : public NullVEMOLogger {
 public:
  void log(const DUNLogParam& record) override {
    const auto text = [](const std::optional<std::string_view>& view) {
      return std::string(view.value_or(""));
    };
    const std::lock_guard lock(mutex_);
    records_.push_back({record.level.value_or(0), text(record.module), text(record.actionName),
                        text(record.actionParam), text(record.fileName), text(record.funcName),
                        record.errorCode, record.errorDesc ? Text(*record.errorDesc) : Text{},
                        record.line.value_or(0)});
  }
  std::vector<LoggedRecord> take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(records_, {});
  }

 private:
  std::mutex mutex_;
  std::vector<LoggedRecord> records_;
};

class FakeWebView final : public VEMOWebView {
 public:
  void loadJs(const std::string& script, bool /*needLog*/) override {
    const std::lock_guard lock(mutex_);
    scripts_.push_back(script);
  }
  std::vector<std::string> take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(scripts_, {});
  }

 private:
  std::mutex mutex_;
  std::vector<std::string> scripts_;
};

/// Every piece of a platform, for tests that look at one router from outside. The main
/// thread is the test's; what is authorised, installed or downloaded is the simplest case.
class FakePlatform : private NullSystemLog,
                     private NullCaptureAuthorization,
                     private NullAlertPresenter,
                     private NullApplication,
                     private NullDownloadService,
                     private NullImageDecoder,
                     private NullSystemVersion,
                     private NullVEMOExtensionLauncher {
 public:
  FakeLogger logger;
  MainThreadQueue mainQueue;
  InProcessNotificationCenter notifications;
  LoopbackNotificationCenter crossProcess;
  FakeEngineClass engineClass;
  std::shared_ptr<FakeWebView> webView = std::make_shared<FakeWebView>();

  /// A base router for a router on this platform; `send` goes to the latest one.
  std::unique_ptr<VEMOJSMsgRouter> makeBaseRouter() {
    auto base = std::make_unique<JSMsgRouter>(
        logger, std::make_shared<MainThreadReplyDelivery>(mainQueue, "reply"), webView);
    base_ = base.get();
    return base;
  }

  Platform pieces() {
    return {engineClass, logger, *this, mainQueue, notifications, crossProcess, *this,
            *this,       *this,  *this, *this,     *this,         *this,        appGroup_};
  }

  /// Sends a page message without waiting for queued work. The router must be there.
  void send(const std::string& action, const std::string& params = "{}") {
    base_->receive(R"({"head":{"module":"kobu","action":")" + action + R"("},"params":)" + params +
                   R"(,"cbid":"1"})");
  }

 private:
  const std::string appGroup_ = "group.test";
  VEMOJSMsgRouter* base_ = nullptr;
};

}  // namespace vemo
