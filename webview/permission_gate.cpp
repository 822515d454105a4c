#include "webview/VEMOKOBUMsgRouter.h"

// The user's permission stands before the camera and the microphone: they start at
// once, after the user's answer, or not at all, with an alert that leads to the settings.

namespace vemo {
namespace {

void replaceAll(std::string& text, std::string_view what, std::string_view by) {
  for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size())) {
    text.replace(at, what.size(), by);
  }
}

std::int64_t refusalCode(bool camera) { return camera ? -1314 : -1317; }

}  // namespace

/// What the gate does for one device.
struct VEMOKOBUMsgRouter::GatedDevice {
  MediaType permission;    // whose status decides
  MediaType asked;         // what the user is asked for
  bool camera;             // of which device the alert speaks
  const char* refusal;     // the answer when the user says no
  const char* startEvent;  // what is reported of a start
  void (*start)(KOBUCloud& engine, const GateRequest& request);
};

const VEMOKOBUMsgRouter::GatedDevice VEMOKOBUMsgRouter::kCamera{
    MediaType::video,
    MediaType::video,
    true,
    "user not allowed access camera",
    "enable_camera",
    [](KOBUCloud& engine, const GateRequest& request) {
      engine.startLocalPreview(request.frontCamera, request.view);
    }};

// The microphone's status is read, but camera access is what the user is asked for, and
// that answer decides: deliberate, part of the interface as it stands.
const VEMOKOBUMsgRouter::GatedDevice VEMOKOBUMsgRouter::kMicrophone{
    MediaType::audio,
    MediaType::video,
    false,
    "user not allowed access mic",
    "enable_mic",
    [](KOBUCloud& engine, const GateRequest& request) { engine.startLocalAudio(request.quality); }};

void VEMOKOBUMsgRouter::innerStartLocalPreview(bool frontCamera, std::shared_ptr<NativeView> view,
                                               VEMOCallback completion) {
  passGate(kCamera, {frontCamera, std::move(view), 0, std::move(completion)});
}

void VEMOKOBUMsgRouter::innerStartLocalAudio(std::int32_t quality, VEMOCallback completion) {
  passGate(kMicrophone, {false, nullptr, quality, std::move(completion)});
}

void VEMOKOBUMsgRouter::passGate(const GatedDevice& device, GateRequest request) {
  if (!sharedKOBU_.load()) return;
  auto& authorization = platform_.captureAuthorization;
  switch (authorization.authorizationStatus(device.permission)) {
    case AuthorizationStatus::denied:
    case AuthorizationStatus::restricted:
      gotoSystemSetting(device.camera, std::move(request.completion));
      return;
    case AuthorizationStatus::notDetermined:
      authorization.requestAccess(
          device.asked,
          weakly([&device, request = std::move(request)](VEMOKOBUMsgRouter& router, bool granted) {
            if (granted) {
              router.startDevice(device, request);
            } else {
              request.completion(VEMOModule::KOBU, refusalCode(device.camera), device.refusal);
            }
          }));
      return;
    case AuthorizationStatus::authorized: break;
  }
  startDevice(device, request);
}

void VEMOKOBUMsgRouter::startDevice(const GatedDevice& device, const GateRequest& request) {
  const auto engine = sharedKOBU_.load();
  if (!engine) return;  // released while the user was asked
  device.start(*engine, request);
  reportEvent(device.startEvent);
  request.completion(VEMOModule::KOBU, 0, "");
}

void VEMOKOBUMsgRouter::gotoSystemSetting(bool camera, VEMOCallback completion) {
  const auto& application = platform_.application;
  const std::string device = camera ? "相机" : "麦克风";
  const auto code = refusalCode(camera);

  Alert alert;
  alert.title =
      "“" + application.information("CFBundleName").value_or("(null)") + "”想访问您的" + device;
  alert.message =
      application.information(camera ? "NSCameraUsageDescription" : "NSMicrophoneUsageDescription")
          .value_or("");
  if (alert.message.empty()) {
    alert.message = "因%@权限受限，无法正常访问%@，请前往设置%@访问权限。";
    replaceAll(alert.message, "%@", device);
  }
  alert.actions.push_back(
      {"不允许", AlertActionStyle::normal, weakly([camera, code, completion](VEMOKOBUMsgRouter&) {
         completion(VEMOModule::KOBU, code,
                    camera ? "user don't goto setting set camera auth"
                           : "user don't goto setting set mic auth");
       })});
  // The microphone's answers speak of the camera too: deliberate, part of the interface.
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
