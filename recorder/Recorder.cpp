#include "recorder/Recorder.h"

#include <utility>

namespace vemo {

Recorder::Recorder(Platform platform, std::shared_ptr<NoteRing> ring,
                   std::shared_ptr<Journal> journal)
    : target_(std::move(platform)),
      notes_(std::make_shared<Notes>(std::move(ring), std::move(journal), target_.mainQueue)) {}

Platform Recorder::platform() {
  return {.engineClass = engineClass_,
          .logger = logger_,
          .systemLog = systemLog_,
          .mainQueue = mainQueue_,
          .notifications = notifications_,
          .crossProcessNotifications = crossProcess_,
          .captureAuthorization = authorization_,
          .alerts = alerts_,
          .application = application_,
          .downloads = downloads_,
          .images = images_,
          .system = system_,
          .extensionLauncher = launcher_,
          .appGroup = target_.appGroup,
          .owner = target_.owner};
}

std::shared_ptr<NotingReplies> Recorder::replies(std::shared_ptr<ReplyDelivery> target) {
  replies_ = std::make_shared<NotingReplies>(notes_, std::move(target));
  return replies_;
}

std::unique_ptr<VEMOJSMsgRouter> Recorder::baseRouter(std::unique_ptr<VEMOJSMsgRouter> base) {
  if (!replies_) replies(nullptr);
  return std::make_unique<NotingBaseRouter>(notes_, replies_, std::move(base), target_.appGroup);
}

std::shared_ptr<VEMOUIRenderSource> Recorder::renderSource(
    std::shared_ptr<VEMOUIRenderSource> source) {
  notes_->device().renderSource(source != nullptr);
  if (!source) return nullptr;
  return std::make_shared<NotingRenderSource>(notes_, std::move(source));
}

}  // namespace vemo
