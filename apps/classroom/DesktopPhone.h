#pragma once

#include <gtk/gtk.h>
#include <webkit2/webkit2.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "bridge/Platform.h"
#include "classroom/CameraPortal.h"
#include "classroom/Permissions.h"
#include "classroom/VideoCanvas.h"
#include "engine/JanusEngine.h"
#include "simulator/SessionFiles.h"

namespace vemo {

class VEMOKOBUMsgRouter;

/// What all windows share; outlives them.
struct DesktopEnvironment {
  MainQueue& mainQueue;
  SystemLog& systemLog;
  Permissions& permissions;
  const CameraPortal& cameras;
  CrossProcessNotificationCenter& extensionNotifications;
  VEMOExtensionLauncher& extensionLauncher;
  std::function<std::unique_ptr<VEMOLogger>()> makeLogger;
  std::function<std::unique_ptr<DownloadService>()> makeDownloads;
  std::function<std::unique_ptr<ImageDecoder>()> makeImages;
  StreamSession streamSession;  ///< null when no sessions are written
};

/// One page of one window, as a phone of its own: its router and what it is given. Main thread.
class DesktopPhone {
 public:
  struct Place {
    GtkWindow* window = nullptr;
    WebKitWebView* view = nullptr;
    GtkOverlay* overlay = nullptr;  ///< around the view
    std::string origin;             ///< of the page
  };

  /// The widgets live as long as the phone.
  DesktopPhone(const DesktopEnvironment& environment, std::shared_ptr<JanusEngineClass> engineClass,
               const Place& place);
  /// The page is gone: drops the router, which dies once what has happened already is told.
  ~DesktopPhone();
  DesktopPhone(const DesktopPhone&) = delete;
  DesktopPhone& operator=(const DesktopPhone&) = delete;

  /// A message from the page.
  void receive(std::string_view message);
  void setPlaces(std::string_view text, double zoom);
  /// Writes the recording of the last minutes to `file`; says why it can't be, or nothing.
  std::string saveRecording(const std::string& file) const;

  /// Expires once the router and all that it was given are gone.
  std::weak_ptr<const void> life() const;

 private:
  struct Parts;
  const std::shared_ptr<Parts> parts_;  // kept by the router too, which may live on a little
  std::shared_ptr<VEMOKOBUMsgRouter> router_;
};

}  // namespace vemo
