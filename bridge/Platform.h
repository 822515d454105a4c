#pragma once

#include <memory>
#include <string>

#include "bridge/AlertPresenter.h"
#include "bridge/Application.h"
#include "bridge/CaptureAuthorization.h"
#include "bridge/DownloadService.h"
#include "bridge/ImageDecoder.h"
#include "bridge/KOBUCloud.h"
#include "bridge/MainQueue.h"
#include "bridge/NotificationCenter.h"
#include "bridge/SystemVersion.h"
#include "bridge/VEMOExtensionLauncher.h"
#include "bridge/VEMOLogger.h"

namespace vemo {

/// Everything that a router is given: references to the platform's pieces.
///
/// Each piece must outlive the router. A router that the host has dropped can live a
/// little longer, in work that is queued or in a call that is under way; a host that can't
/// wait for the queue to be empty puts whatever owns the pieces into `owner`, which the
/// router holds.
struct Platform {
  KOBUCloudClass& engineClass;
  VEMOLogger& logger;
  SystemLog& systemLog;
  MainQueue& mainQueue;
  NotificationCenter& notifications;                          ///< inside the process
  CrossProcessNotificationCenter& crossProcessNotifications;  ///< of the broadcast extension
  CaptureAuthorization& captureAuthorization;
  AlertPresenter& alerts;
  Application& application;
  DownloadService& downloads;
  ImageDecoder& images;
  SystemVersion& system;
  VEMOExtensionLauncher& extensionLauncher;
  /// VEMO_SDK_AppGroup: the default group shared with the extension. Read at each use,
  /// on the thread of the command; it lives as long as the other pieces.
  const std::string& appGroup;
  /// Held by the router until all else of it is gone; may be null.
  std::shared_ptr<const void> owner = nullptr;
};

}  // namespace vemo
