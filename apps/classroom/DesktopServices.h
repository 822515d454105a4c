#pragma once

#include <gtk/gtk.h>

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "bridge/AlertPresenter.h"
#include "bridge/Application.h"
#include "bridge/CaptureAuthorization.h"
#include "bridge/MainQueue.h"
#include "bridge/SystemVersion.h"
#include "classroom/CameraPortal.h"
#include "classroom/Permissions.h"

namespace vemo {

/// What the desktop does for one page in one window: prompts, alerts, settings. What is asked when
/// the page is gone is not shown.
class DesktopServices final : public CaptureAuthorization,
                              public AlertPresenter,
                              public Application,
                              public SystemVersion {
 public:
  /// The first three outlive this. `window` lives until end().
  DesktopServices(MainQueue& mainQueue, Permissions& permissions, const CameraPortal& cameras,
                  std::string origin, GtkWindow* window);

  AuthorizationStatus authorizationStatus(MediaType media) const override;
  /// The user is asked once for all who wait for the same answer, and never again: for a camera by
  /// the desktop's portal, and by a prompt only where that comes to no answer.
  void requestAccess(MediaType media, std::function<void(bool granted)> answer) override;
  void present(Alert alert) override;
  Text information(std::string_view key) const override;
  bool canOpenSettings() const override { return true; }
  void openSettings() override;
  /// A desktop can do all that the router and pages ask a version for.
  bool isAtLeast(int major, int minor, int patch) const override;

  /// The page is gone, and so is what it has shown. Main thread.
  void end();

 private:
  /// What is shown on the main thread, unless the page is gone by then.
  struct Shown;
  void askPortal();
  void prompt(MediaType media);
  static void showAlert(const std::shared_ptr<Shown>& shown, Alert alert);

  MainQueue& mainQueue_;
  Permissions& permissions_;
  const CameraPortal& cameras_;
  const std::string origin_;
  const std::shared_ptr<Shown> shown_;
};

/// The settings of the pages of an origin, over `parent`. Main thread.
void showSettings(GtkWindow* parent, Permissions& permissions, const std::string& origin);

}  // namespace vemo
