#include "json/JsonText.h"
#include "webview/KOBURenderParams_VEMOExt.h"
#include "webview/TextForms.h"
#include "webview/VEMOKOBUMsgRouter.h"

namespace vemo {
namespace {

constexpr std::int32_t kMinMuteImageFps = 5;  // the default too
constexpr std::int32_t kMaxMuteImageFps = 10;
constexpr std::int64_t kNoImageData = -2;

}  // namespace

void VEMOKOBUMsgRouter::setCustomRenderSource(const std::shared_ptr<VEMOUIRenderSource>& source) {
  customRenderSource_.publish(std::make_shared<const std::weak_ptr<VEMOUIRenderSource>>(source));
}

std::shared_ptr<VEMOUIRenderSource> VEMOKOBUMsgRouter::renderSource() const {
  const auto source = customRenderSource_.load();
  return source ? source->lock() : nullptr;
}

Outcome VEMOKOBUMsgRouter::startLocalPreview(KOBUCloud&, const Command& command) {
  const auto front = command.number("frontCamera");
  const auto source = renderSource();
  if (!source) return paramError("not set render source");
  auto view = source->renderViewOf(curEnteredRoomUserId(), ViewType::camera);
  if (!view) return paramError("not found self render source").from(VEMOModule::KOBU);
  command.item->setIsAsyncTask(true);
  innerStartLocalPreview(!front || front->boolean(), std::move(view),
                         loggedAnswer(command, "startLocalPreview",
                                      "-[VEMOKOBUMsgRouter startLocalPreview:webView:]"));
  return success;
}

Outcome VEMOKOBUMsgRouter::switchCamera(KOBUCloud& engine, const Command& command) {
  engine.getDeviceManager().switchCamera(command.flag("frontCamera"));
  return success;
}

Outcome VEMOKOBUMsgRouter::setLocalPreviewParams(KOBUCloud& engine, const Command& command) {
  if (const auto params = renderParamsFrom(command.params())) {
    engine.setLocalRenderParams(*params);
  }
  if (const auto rotation = command.number("encoderRotation")) {
    engine.setVideoEncoderRotation(rotation->int32());
  }
  if (const auto mirror = command.number("encoderMirror")) {
    engine.setVideoEncoderMirror(mirror->boolean());
  }
  if (const auto mode = command.number("sensorMode")) engine.setGSensorMode(mode->int32());
  return success;
}

Outcome VEMOKOBUMsgRouter::stopLocalPreview(KOBUCloud& engine, const Command&) {
  stopPreviewAndReport(engine);
  return success;
}

Outcome VEMOKOBUMsgRouter::muteLocalVideo(KOBUCloud& engine, const Command& command) {
  const auto mute = command.number("mute");
  if (!mute) return paramError("no mute param");
  engine.muteLocalVideo(mute->boolean());
  return success;
}

Outcome VEMOKOBUMsgRouter::setVideoMuteImage(KOBUCloud&, const Command& command) {
  const auto url = command.text("imgUrl");
  if (!url || !platform_.downloads.isUrl(std::string(*url))) {
    return paramError("imgUrl params error");
  }
  const auto fps =
      command.int32InRange("fps", kMinMuteImageFps, kMaxMuteImageFps, kMinMuteImageFps);
  command.item->setIsAsyncTask(true);
  platform_.downloads.download(std::string(*url),
                               weakly([item = command.item, webView = command.webView, fps](
                                          VEMOKOBUMsgRouter& router, const DownloadResult& result) {
                                 router.useMuteImage(result, fps, *item);
                                 item->executeJSCallbackIn(webView);
                               }));
  return success;
}

/// Gives the engine the downloaded picture and fills the reply. A file that is no image
/// still goes to the engine, as no image; and the answer is success even when the engine
/// was released during the download.
void VEMOKOBUMsgRouter::useMuteImage(const DownloadResult& result, std::int32_t fps,
                                     VEMOJSMsgItem& item) {
  if (result.error) {
    setError(item, VEMOModule::KOBU, result.error->code, result.error->description);
    return;
  }
  const auto bytes = result.file ? result.file->readAll() : std::nullopt;
  if (!bytes) {
    setError(item, VEMOModule::KOBU, kNoImageData, "download image is nil");
    return;
  }
  const auto image = platform_.images.decode(*bytes);
  if (const auto engine = sharedKOBU_.load()) engine->setVideoMuteImage(image, fps);
  setError(item, VEMOModule::KOBU, 0, std::nullopt);
}

// ---- Operations of the host

void VEMOKOBUMsgRouter::startLocalPreivew(bool frontCamera, std::shared_ptr<NativeView> view) {
  if (!sharedKOBU_.load()) return;
  const auto params =
      jsonText(boost::json::object{{"front", frontCamera}, {"view", addressText(view.get())}});
  innerStartLocalPreview(
      frontCamera, std::move(view),
      weakly([params](VEMOKOBUMsgRouter& router, VEMOModule, std::int64_t code, const Text& desc) {
        router.logEnd("startLocalPreivew", params, code, desc,
                      "-[VEMOKOBUMsgRouter startLocalPreivew:view:]");
      }));
}

void VEMOKOBUMsgRouter::stopLocalPreview() {
  if (const auto engine = sharedKOBU_.load()) stopPreviewAndReport(*engine);
}

void VEMOKOBUMsgRouter::stopPreviewAndReport(KOBUCloud& engine) {
  engine.stopLocalPreview();
  reportEvent("disable_camera");
}

void VEMOKOBUMsgRouter::kobuStartPreview(const Text& userId, std::shared_ptr<NativeView> view,
                                         bool frontCamera) {
  const auto engine = sharedKOBU_.load();
  if (!engine || !view) return;
  if (!isOwnUser(userId)) {
    engine->startRemoteView(*userId, kKOBUStreamTypeMain, std::move(view));
    return;
  }
  const auto params = jsonText(boost::json::object{
      {"front", frontCamera}, {"view", addressText(view.get())}, {"userId", cleaned(userId)}});
  // The outcome is information here, not a failure: the host watches its own preview.
  innerStartLocalPreview(
      frontCamera, std::move(view),
      weakly([params](VEMOKOBUMsgRouter& router, VEMOModule, std::int64_t code, const Text& desc) {
        router.logRouter(DUNLogParam::kInformation, "kobuStartPreview", params, Result{code, desc},
                         "-[VEMOKOBUMsgRouter kobuStartPreview:fromView:frontCamera:]");
      }));
}

void VEMOKOBUMsgRouter::kobuStopPreview(const Text& userId,
                                        const std::shared_ptr<NativeView>& view) {
  const auto engine = sharedKOBU_.load();
  if (!engine || !view) return;
  if (isOwnUser(userId)) {
    stopPreviewAndReport(*engine);
  } else {
    engine->stopRemoteView(*userId, kKOBUStreamTypeMain);
  }
}

}  // namespace vemo
