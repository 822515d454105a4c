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

}  // namespace

/// What the gate does for one device.
struct VEMOKOBUMsgRouter::GatedDevice {
  MediaType permission;    // whose status decides
  MediaType asked;         // what the user is asked for
  const char* name;        // as the alert calls it
  const char* usage;       // where the application says what it is for
  std::int64_t code;       // of every answer but success
  const char* refusal;     // the answer when the user says no
  const char* dismissal;   // and when the alert is dismissed
  const char* startEvent;  // what is reported of a start
  void (*start)(KOBUCloud& engine, const GateRequest& request);
};

const VEMOKOBUMsgRouter::GatedDevice VEMOKOBUMsgRouter::kCamera{
    MediaType::video,
    MediaType::video,
    "相机",
    "NSCameraUsageDescription",
    kCameraRefused,
    "user not allowed access camera",
    "user don't goto setting set camera auth",
    "enable_camera",
    [](KOBUCloud& engine, const GateRequest& request) {
      engine.startLocalPreview(request.frontCamera, request.view);
    }};

// The microphone's status is read, but camera access is what the user is asked for, and
// that answer decides: deliberate, part of the interface as it stands.
const VEMOKOBUMsgRouter::GatedDevice VEMOKOBUMsgRouter::kMicrophone{
    MediaType::audio,
    MediaType::video,
    "麦克风",
    "NSMicrophoneUsageDescription",
    kMicrophoneRefused,
    "user not allowed access mic",
    "user don't goto setting set mic auth",
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
      gotoSystemSetting(device, std::move(request.completion));
      return;
    case AuthorizationStatus::notDetermined:
      authorization.requestAccess(
          device.asked,
          weakly([&device, request = std::move(request)](VEMOKOBUMsgRouter& router, bool granted) {
            if (granted) {
              router.startDevice(device, request);
            } else {
              router.refuse(device, request.completion, device.refusal);
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
  report(device.startEvent);
  request.completion(VEMOModule::KOBU, 0, "");
}

/// Says that the device does not start; without the reason where there is no memory for it.
void VEMOKOBUMsgRouter::refuse(const GatedDevice& device, const VEMOCallback& completion,
                               std::string_view why) {
  Text desc;
  asMemoryAllows([&] { desc.emplace(why); });
  completion(VEMOModule::KOBU, device.code, desc);
}

void VEMOKOBUMsgRouter::gotoSystemSetting(const GatedDevice& device, VEMOCallback completion) {
  const auto& application = platform_.application;
  Alert alert;
  alert.title = "“" + application.information("CFBundleName").value_or("(null)") + "”想访问您的" +
                device.name;
  alert.message = application.information(device.usage).value_or("");
  if (alert.message.empty()) {
    alert.message = "因%@权限受限，无法正常访问%@，请前往设置%@访问权限。";
    replaceAll(alert.message, "%@", device.name);
  }
  alert.actions.push_back(
      {"不允许", AlertActionStyle::normal, weakly([&device, completion](VEMOKOBUMsgRouter& router) {
         router.refuse(device, completion, device.dismissal);
       })});
  // The microphone's answers speak of the camera too: deliberate, part of the interface.
  alert.actions.push_back(
      {"前往设置", AlertActionStyle::destructive,
       weakly([&device, completion = std::move(completion)](VEMOKOBUMsgRouter& router) {
         auto& settings = router.platform_.application;
         if (!settings.canOpenSettings()) {
           router.refuse(device, completion, "app can't goto setting set camera auth");
           return;
         }
         router.refuse(device, completion, "goto setting set camera auth");
         settings.openSettings();
       })});
  platform_.alerts.present(std::move(alert));
}

}  // namespace vemo
