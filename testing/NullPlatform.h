#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

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
#include "bridge/VEMOLogger.h"
#include "bridge/VEMOUIRenderSource.h"
#include "bridge/VEMOWebView.h"

// The pieces of a platform, the web view, the base router and the source of views, each as what
// accepts everything and does nothing, so that a double overrides the one operation that it is
// about. Any thread; nothing that is given is kept. (A VEMOKOBUEventListener is that by itself.)

namespace vemo {

/// Keeps no record, and no configuration: each updater is given a new one.
class NullVEMOLogger : public VEMOLogger {
 public:
  void log(const DUNLogParam&) override {}
  void updateLogConfig(const std::function<void(DUNLoggerConfig&)>& update) override {
    DUNLoggerConfig config;
    update(config);
  }
};

/// Keeps no line.
class NullSystemLog : public SystemLog {
 public:
  void writeLine(std::string_view) override {}
};

/// Every thread is the main thread, and what is queued is destroyed unrun.
class NullMainQueue : public MainQueue {
 public:
  bool isMainThread() const override { return true; }
  void dispatchAsync(std::function<void()>) override {}
};

/// Nobody is called.
class NullNotificationCenter : public NotificationCenter {
 public:
  void post(const std::string&) override {}
  void addObserver(const void*, const std::string&, Callback) override {}
  void removeEveryObserver(const void*) override {}
};

/// Nobody is called.
class NullCrossProcessNotificationCenter : public CrossProcessNotificationCenter {
 public:
  void post(const std::string&) override {}
  void addObserver(const void*, const std::string&, Callback) override {}
  void removeObserver(const void*, const std::string&) override {}
  void removeEveryObserver(const void*) override {}
};

/// Everything is authorised, and the user never answers.
class NullCaptureAuthorization : public CaptureAuthorization {
 public:
  AuthorizationStatus authorizationStatus(MediaType) const override {
    return AuthorizationStatus::authorized;
  }
  void requestAccess(MediaType, std::function<void(bool granted)>) override {}
};

/// Shows nothing: no button is ever pressed.
class NullAlertPresenter : public AlertPresenter {
 public:
  void present(Alert) override {}
};

/// No information, and no settings page.
class NullApplication : public Application {
 public:
  Text information(std::string_view) const override { return std::nullopt; }
  bool canOpenSettings() const override { return false; }
  void openSettings() override {}
};

/// No text is a URL; a download that is asked for all the same never ends.
class NullDownloadService : public DownloadService {
 public:
  bool isUrl(const std::string&) const override { return false; }
  void download(const std::string&, std::function<void(DownloadResult)>) override {}
};

/// No bytes are an image; says so within the call.
class NullImageDecoder : public ImageDecoder {
 public:
  void decode(std::string, Done done) override { done(nullptr); }
};

/// At least any version.
class NullSystemVersion : public SystemVersion {
 public:
  bool isAtLeast(int, int, int) const override { return true; }
};

/// The extension never starts.
class NullVEMOExtensionLauncher : public VEMOExtensionLauncher {
 public:
  void launch() override {}
};

/// Its page is gone.
class NullVEMOWebView : public VEMOWebView {
 public:
  void loadJs(const std::string&, bool) override {}
};

/// Has no web view and calls no command.
class NullVEMOJSMsgRouter : public VEMOJSMsgRouter {
 public:
  void setMethod(const std::string&, Wrapper) override {}
  void receive(std::string_view) override {}
  std::shared_ptr<VEMOWebView> webView() const override { return nullptr; }
  void setWebView(std::shared_ptr<VEMOWebView>) override {}
};

/// Has no views.
class NullVEMOUIRenderSource : public VEMOUIRenderSource {
 public:
  std::shared_ptr<NativeView> renderViewOf(const Text&, ViewType) override { return nullptr; }
};

}  // namespace vemo
