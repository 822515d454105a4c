#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "bridge/AlertPresenter.h"
#include "bridge/Application.h"
#include "bridge/CaptureAuthorization.h"
#include "bridge/DownloadService.h"
#include "bridge/ImageDecoder.h"
#include "bridge/MainQueue.h"
#include "bridge/NotificationCenter.h"
#include "bridge/SystemVersion.h"
#include "bridge/VEMOExtensionLauncher.h"
#include "bridge/VEMOJSMsgRouter.h"
#include "bridge/VEMOKOBUEventListener.h"
#include "bridge/VEMOLogger.h"
#include "bridge/VEMOUIRenderSource.h"
#include "bridge/VEMOWebView.h"
#include "platform/Forwarding.h"

// The pieces of a platform, the web view, the base router, the source of views and native
// listeners. Each of these passes every call on to its target (platform/Forwarding.h), so that what
// stands in between overrides the operations that it is about.

namespace vemo {

class ForwardingVEMOLogger : public Forwarding<VEMOLogger> {
 public:
  using Forwarding::Forwarding;

  void log(const DUNLogParam& record) override { target().log(record); }
  void updateLogConfig(const std::function<void(DUNLoggerConfig&)>& update) override {
    target().updateLogConfig(update);
  }
};

class ForwardingSystemLog : public Forwarding<SystemLog> {
 public:
  using Forwarding::Forwarding;

  void writeLine(std::string_view line) override { target().writeLine(line); }
};

class ForwardingMainQueue : public Forwarding<MainQueue> {
 public:
  using Forwarding::Forwarding;

  bool isMainThread() const override { return target().isMainThread(); }
  void dispatchAsync(std::function<void()> task) override {
    target().dispatchAsync(std::move(task));
  }
};

class ForwardingNotificationCenter : public Forwarding<NotificationCenter> {
 public:
  using Forwarding::Forwarding;

  void post(const std::string& name) override { target().post(name); }
  void addObserver(const void* observer, const std::string& name, Callback callback) override {
    target().addObserver(observer, name, std::move(callback));
  }
  void removeEveryObserver(const void* observer) override {
    target().removeEveryObserver(observer);
  }
};

class ForwardingCrossProcessNotificationCenter : public Forwarding<CrossProcessNotificationCenter> {
 public:
  using Forwarding::Forwarding;

  void post(const std::string& name) override { target().post(name); }
  void addObserver(const void* observer, const std::string& name, Callback callback) override {
    target().addObserver(observer, name, std::move(callback));
  }
  void removeObserver(const void* observer, const std::string& name) override {
    target().removeObserver(observer, name);
  }
  void removeEveryObserver(const void* observer) override {
    target().removeEveryObserver(observer);
  }
};

class ForwardingCaptureAuthorization : public Forwarding<CaptureAuthorization> {
 public:
  using Forwarding::Forwarding;

  AuthorizationStatus authorizationStatus(MediaType media) const override {
    return target().authorizationStatus(media);
  }
  void requestAccess(MediaType media, std::function<void(bool granted)> answer) override {
    target().requestAccess(media, std::move(answer));
  }
};

class ForwardingAlertPresenter : public Forwarding<AlertPresenter> {
 public:
  using Forwarding::Forwarding;

  void present(Alert alert) override { target().present(std::move(alert)); }
};

class ForwardingApplication : public Forwarding<Application> {
 public:
  using Forwarding::Forwarding;

  Text information(std::string_view key) const override { return target().information(key); }
  bool canOpenSettings() const override { return target().canOpenSettings(); }
  void openSettings() override { target().openSettings(); }
};

class ForwardingDownloadService : public Forwarding<DownloadService> {
 public:
  using Forwarding::Forwarding;

  bool isUrl(const std::string& text) const override { return target().isUrl(text); }
  void download(const std::string& url, std::function<void(DownloadResult)> done) override {
    target().download(url, std::move(done));
  }
};

class ForwardingImageDecoder : public Forwarding<ImageDecoder> {
 public:
  using Forwarding::Forwarding;

  void decode(std::string bytes, Done done) override {
    target().decode(std::move(bytes), std::move(done));
  }
};

class ForwardingSystemVersion : public Forwarding<SystemVersion> {
 public:
  using Forwarding::Forwarding;

  bool isAtLeast(int major, int minor, int patch) const override {
    return target().isAtLeast(major, minor, patch);
  }
};

class ForwardingVEMOExtensionLauncher : public Forwarding<VEMOExtensionLauncher> {
 public:
  using Forwarding::Forwarding;

  void launch() override { target().launch(); }
};

class ForwardingVEMOWebView : public Forwarding<VEMOWebView> {
 public:
  using Forwarding::Forwarding;

  void loadJs(const std::string& script, bool needLog) override {
    target().loadJs(script, needLog);
  }
};

class ForwardingVEMOJSMsgRouter : public Forwarding<VEMOJSMsgRouter> {
 public:
  using Forwarding::Forwarding;

  void setMethod(const std::string& action, Wrapper wrapper) override {
    target().setMethod(action, std::move(wrapper));
  }
  void receive(std::string_view message) override { target().receive(message); }
  std::shared_ptr<VEMOWebView> webView() const override { return target().webView(); }
  void setWebView(std::shared_ptr<VEMOWebView> webView) override {
    target().setWebView(std::move(webView));
  }
};

class ForwardingVEMOUIRenderSource : public Forwarding<VEMOUIRenderSource> {
 public:
  using Forwarding::Forwarding;

  std::shared_ptr<NativeView> renderViewOf(const Text& userId, ViewType viewType) override {
    return target().renderViewOf(userId, viewType);
  }
};

class ForwardingVEMOKOBUEventListener
    : public VEMOKOBUEventListenerOf<ForwardingVEMOKOBUEventListener>,
      public Target<VEMOKOBUEventListener> {
 public:
  using Target::Target;

  template <auto operation, class... Args>
  void heard(const Args&... args) {
    (target().*operation)(args...);
  }
};

}  // namespace vemo
