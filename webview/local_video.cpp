#include "json/JsonText.h"
#include "webview/TextForms.h"
#include "webview/event_routing.h"

// The own camera: how its picture is shown here, encoded and sent, and what is sent instead.

namespace vemo {

void VEMOKOBUMsgRouter::setCustomRenderSource(const std::shared_ptr<VEMOUIRenderSource>& source) {
  localVideo_.renderSource.publish(
      std::make_shared<const std::weak_ptr<VEMOUIRenderSource>>(source));
}

std::shared_ptr<VEMOUIRenderSource> VEMOKOBUMsgRouter::customRenderSource() const {
  const auto source = localVideo_.renderSource.load();
  return source ? source->lock() : nullptr;
}

Outcome VEMOKOBUMsgRouter::startLocalPreview(KOBUCloud&,
                                             const Command<Or<param::FrontCamera, true>>& command) {
  const auto source = customRenderSource();
  if (!source) return fail(error::noOwnSource);
  auto view = source->renderViewOf(curEnteredRoomUserId(), ViewType::camera);
  if (!view) return fail(error::noOwnView);
  command.answerLater();
  innerStartLocalPreview(command.get<param::FrontCamera>(), std::move(view),
                         loggedAnswer(command, "startLocalPreview",
                                      "-[VEMOKOBUMsgRouter startLocalPreview:webView:]"));
  return success;
}

Outcome VEMOKOBUMsgRouter::setLocalPreviewParams(
    KOBUCloud& engine,
    const Command<Maybe<param::RenderParams>, Maybe<param::EncoderRotation>,
                  Maybe<param::EncoderMirror>, Maybe<param::SensorMode>>& command) {
  if (const auto params = command.get<param::RenderParams>()) engine.setLocalRenderParams(*params);
  if (const auto rotation = command.get<param::EncoderRotation>()) {
    engine.setVideoEncoderRotation(*rotation);
  }
  if (const auto mirror = command.get<param::EncoderMirror>()) {
    engine.setVideoEncoderMirror(*mirror);
  }
  if (const auto mode = command.get<param::SensorMode>()) engine.setGSensorMode(*mode);
  return success;
}

Outcome VEMOKOBUMsgRouter::enableEncSmallVideoStream(
    KOBUCloud& engine,
    const Command<Maybe<param::EnableSmallStream>, Maybe<param::Encoder>>& command) {
  const auto enable = command.get<param::EnableSmallStream>();
  if (!enable) return success;
  if (!*enable) {
    engine.enableEncSmallVideoStream(false, nullptr);
  } else if (const auto quality = command.get<param::Encoder>()) {
    engine.enableEncSmallVideoStream(true, &*quality);
  }
  return success;
}

Outcome VEMOKOBUMsgRouter::stopLocalPreview(KOBUCloud& engine, const Command<>&) {
  stopPreviewAndReport(engine);
  return success;
}

Outcome VEMOKOBUMsgRouter::setVideoMuteImage(
    KOBUCloud&, const Command<param::ImgUrl, param::MuteImageFps>& command) {
  const std::string url(command.get<param::ImgUrl>());
  if (!platform_.downloads.isUrl(url)) return paramError(param::ImgUrl::missing);
  const auto fps = command.get<param::MuteImageFps>();
  command.answerLater();
  platform_.downloads.download(url, answering(command, [complete = plainAnswer(command), fps](
                                                           VEMOKOBUMsgRouter& router, const Answer&,
                                                           const DownloadResult& result) {
                                 router.useMuteImage(result, fps, complete);
                               }));
  return success;
}

/// Gives the engine the downloaded picture, then answers. A file that is no image still goes
/// to the engine, as no image; and the answer is success even when the engine was released
/// before the picture was there.
void VEMOKOBUMsgRouter::useMuteImage(const DownloadResult& result, std::int32_t fps,
                                     const VEMOCallback& answer) {
  if (result.error) {
    answer(VEMOModule::KOBU, result.error->code, result.error->description);
    return;
  }
  auto bytes = result.file ? result.file->readAll() : std::nullopt;
  if (!bytes) {
    constexpr auto& words = error::noImageData;
    answer(words.module, words.code, Text(words.text));
    return;
  }
  platform_.images.decode(
      std::move(*bytes),
      weakly([answer, fps](VEMOKOBUMsgRouter& router, std::shared_ptr<VEMOImage> image) {
        if (const auto engine = router.sharedKOBU_.load()) {
          engine->setVideoMuteImage(std::move(image), fps);
        }
        answer(VEMOModule::KOBU, 0, std::nullopt);
      }));
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
  report("disable_camera");
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
  // Information whatever the outcome: a refusal is no failure record here.
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

// ---- Events

void VEMOKOBUMsgRouter::onSendFirstLocalVideoFrame(std::int64_t streamType) {
  tell<event::OnSendFirstLocalVideoFrame>("-[VEMOKOBUMsgRouter onSendFirstLocalVideoFrame:]",
                                          streamType);
}

void VEMOKOBUMsgRouter::onCameraDidReady() {
  tell<event::OnCameraDidReady>("-[VEMOKOBUMsgRouter onCameraDidReady]");
}

}  // namespace vemo
