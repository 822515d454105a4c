#include "classroom/DesktopPhone.h"

#include <utility>

#include "classroom/DesktopServices.h"
#include "classroom/DesktopWebView.h"
#include "platform/InProcessNotificationCenter.h"
#include "platform/JSMsgRouter.h"
#include "platform/ReplyDelivery.h"
#include "platform/SecretMask.h"
#include "recorder/NoteRing.h"
#include "recorder/Recorder.h"
#include "webview/VEMOKOBUMsgRouter.h"

namespace vemo {
namespace {

NoteRingOptions ringOptions() {
  NoteRingOptions options;
  options.program = VEMO_VERSION;
  return options;
}

}  // namespace

struct DesktopPhone::Parts {
  Parts(const DesktopEnvironment& given, std::shared_ptr<JanusEngineClass> engine,
        const Place& place)
      : environment(given),
        engineClass(std::move(engine)),
        logger(given.makeLogger()),
        downloads(given.makeDownloads()),
        images(given.makeImages()),
        services(given.mainQueue, given.permissions, given.cameras, place.origin, place.window),
        webView(std::make_shared<DesktopWebView>(given.mainQueue, place.view)),
        canvas(std::make_shared<VideoCanvas>(given.mainQueue)),
        lastMinutes(std::make_shared<NoteRing>(ringOptions())),
        session(given.streamSession ? given.streamSession(lastMinutes) : nullptr),
        recorder(pieces(), lastMinutes, nullptr),
        renderSource(recorder.renderSource(canvas)) {
    canvas->showIn(place.overlay);
  }

  Platform pieces() {
    return {.engineClass = *engineClass,
            .logger = *logger,
            .systemLog = environment.systemLog,
            .mainQueue = environment.mainQueue,
            .notifications = notifications,
            .crossProcessNotifications = environment.extensionNotifications,
            .captureAuthorization = services,
            .alerts = services,
            .application = services,
            .downloads = *downloads,
            .images = *images,
            .system = services,
            .extensionLauncher = environment.extensionLauncher,
            .appGroup = appGroup};
  }

  std::unique_ptr<VEMOJSMsgRouter> makeBaseRouter() {
    return recorder.baseRouter(
        std::make_unique<JSMsgRouter>(recorder.platform().logger,
                                      recorder.replies(std::make_shared<MainThreadReplyDelivery>(
                                          environment.mainQueue, "vemoBridge.onReply")),
                                      webView));
  }

  /// What the router is given: the pieces with the recorder around them.
  Platform platform(std::shared_ptr<const void> owner) {
    auto noting = recorder.platform();
    noting.owner = std::move(owner);
    return noting;
  }

  const DesktopEnvironment environment;
  const std::shared_ptr<JanusEngineClass> engineClass;
  const std::unique_ptr<VEMOLogger> logger;
  const std::unique_ptr<DownloadService> downloads;
  const std::unique_ptr<ImageDecoder> images;
  const std::string appGroup = "group.vemo.classroom";
  InProcessNotificationCenter notifications;
  DesktopServices services;
  const std::shared_ptr<DesktopWebView> webView;
  const std::shared_ptr<VideoCanvas> canvas;
  const std::shared_ptr<NoteRing> lastMinutes;
  const std::shared_ptr<void> session;
  Recorder recorder;
  const std::shared_ptr<VEMOUIRenderSource> renderSource;
};

DesktopPhone::DesktopPhone(const DesktopEnvironment& environment,
                           std::shared_ptr<JanusEngineClass> engineClass, const Place& place)
    : parts_(std::make_shared<Parts>(environment, std::move(engineClass), place)),
      router_(VEMOKOBUMsgRouter::create(parts_->makeBaseRouter(), parts_->platform(parts_))) {
  router_->setCustomRenderSource(parts_->renderSource);
}

DesktopPhone::~DesktopPhone() {
  parts_->webView->end();
  parts_->services.end();
  parts_->canvas->end();
}

void DesktopPhone::receive(std::string_view message) { router_->receive(message); }

void DesktopPhone::setPlaces(std::string_view text, double zoom) {
  if (auto places = placesFrom(text)) parts_->canvas->setPlaces(std::move(*places), zoom);
}

std::string DesktopPhone::saveRecording(const std::string& file) const {
  const SecretMask mask;
  std::string error;
  parts_->lastMinutes->write(
      file, [&](std::string_view line, std::string& buffer) { return mask.masked(line, buffer); },
      error);
  return error;
}

std::weak_ptr<const void> DesktopPhone::life() const { return parts_; }

}  // namespace vemo
