#include "webview/VEMOKOBUMsgRouter.h"

// The user's permission stands before the camera and the microphone: they start at
// once, after the user's answer, or not at all, with an alert that leads to the settings.

namespace vemo {
namespace {

constexpr std::int64_t kCameraRefused = -1314;
constexpr std::int64_t kMicrophoneRefused = -1317;

void replaceAll(std::string& text, std::string_view what, std::string_view by) {
  for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size())) {
    text.replace(at, what.size(), by);
  }
}

}  // namespace

void VEMOKOBUMsgRouter::startPreviewNow(bool frontCamera, const std::shared_ptr<NativeView>& view,
                                        const VEMOCallback& completion) {
  const auto engine = sharedKOBU_.load();
  if (!engine) return;  // released while the user was asked
  engine->startLocalPreview(frontCamera, view);
  reportEvent("enable_camera");
  completion(VEMOModule::KOBU, 0, "");
}

void VEMOKOBUMsgRouter::startAudioNow(std::int32_t quality, const VEMOCallback& completion) {
  const auto engine = sharedKOBU_.load();
  if (!engine) return;
  engine->startLocalAudio(quality);
  reportEvent("enable_mic");
  completion(VEMOModule::KOBU, 0, "");
}

void VEMOKOBUMsgRouter::innerStartLocalPreview(bool frontCamera, std::shared_ptr<NativeView> view,
                                               VEMOCallback completion) {
  if (!sharedKOBU_.load()) return;
  auto& authorization = platform_.captureAuthorization;
  switch (authorization.authorizationStatus(MediaType::video)) {
    case AuthorizationStatus::denied:
    case AuthorizationStatus::restricted: gotoSystemSetting(true, std::move(completion)); return;
    case AuthorizationStatus::notDetermined:
      authorization.requestAccess(
          MediaType::video,
          weakly([frontCamera, view = std::move(view), completion = std::move(completion)](
                     VEMOKOBUMsgRouter& router, bool granted) {
            if (granted) {
              router.startPreviewNow(frontCamera, view, completion);
            } else {
              completion(VEMOModule::KOBU, kCameraRefused, "user not allowed access camera");
            }
          }));
      return;
    case AuthorizationStatus::authorized: break;
  }
  startPreviewNow(frontCamera, view, completion);
}

void VEMOKOBUMsgRouter::innerStartLocalAudio(std::int32_t quality, VEMOCallback completion) {
  if (!sharedKOBU_.load()) return;
  auto& authorization = platform_.captureAuthorization;
  switch (authorization.authorizationStatus(MediaType::audio)) {
    case AuthorizationStatus::denied:
    case AuthorizationStatus::restricted: gotoSystemSetting(false, std::move(completion)); return;
    case AuthorizationStatus::notDetermined:
      // Camera access is asked for, not the microphone's, and that answer decides: the
      // pages in the field count on one prompt for a lesson.
      authorization.requestAccess(
          MediaType::video, weakly([quality, completion = std::move(completion)](
                                       VEMOKOBUMsgRouter& router, bool granted) {
            if (granted) {
              router.startAudioNow(quality, completion);
            } else {
              completion(VEMOModule::KOBU, kMicrophoneRefused, "user not allowed access mic");
            }
          }));
      return;
    case AuthorizationStatus::authorized: break;
  }
  startAudioNow(quality, completion);
}

void VEMOKOBUMsgRouter::gotoSystemSetting(bool camera, VEMOCallback completion) {
  const auto& application = platform_.application;
  const std::string device = camera ? "相机" : "麦克风";
  const auto code = camera ? kCameraRefused : kMicrophoneRefused;

  Alert alert;
  alert.title =
      "“" + application.information("CFBundleName").value_or("(null)") + "”想访问您的" + device;
  alert.message =
      application
          .information(camera ? "NSCameraUsageDescription" : "NSMicrophoneUsageDescription")
          .value_or("");
  if (alert.message.empty()) {
    alert.message = "因%@权限受限，无法正常访问%@，请前往设置%@访问权限。";
    replaceAll(alert.message, "%@", device);
  }
  alert.actions.push_back(
      {"不允许", AlertActionStyle::normal,
       weakly([camera, code, completion](VEMOKOBUMsgRouter&) {
         completion(VEMOModule::KOBU, code,
                    camera ? "user don't goto setting set camera auth"
                           : "user don't goto setting set mic auth");
       })});
  // The microphone's answers speak of the camera too; pages compare these texts.
  alert.actions.push_back(
      {"前往设置", AlertActionStyle::destructive,
       weakly([code, completion = std::move(completion)](VEMOKOBUMsgRouter& router) {
         auto& settings = router.platform_.application;
         if (!settings.canOpenSettings()) {
           completion(VEMOModule::KOBU, code, "app can't goto setting set camera auth");
           return;
         }
         completion(VEMOModule::KOBU, code, "goto setting set camera auth");
         settings.openSettings();
       })});
  platform_.alerts.present(std::move(alert));
}

}  // namespace vemo
