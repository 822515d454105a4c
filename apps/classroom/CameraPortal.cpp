#include "classroom/CameraPortal.h"

#include <utility>

#include "engine/Portal.h"

namespace vemo {
namespace {

using janus::Portal;

/// One question, on the portal's thread.
class AskedOfCamera {
 public:
  AskedOfCamera(CameraPortal::Settings settings,
                std::function<void(CameraPortal::Answer answer)> answered)
      : settings_(std::move(settings)), answered_(std::move(answered)) {}

  void begin(EngineThread& thread) {
    portal_ =
        std::make_shared<Portal>(thread, Portal::Settings{settings_.bus, settings_.answerTimeout},
                                 Portal::Names{"org.freedesktop.portal.Camera", "camera portal"},
                                 Portal::Listener{[this](GVariant*) { ask(); },
                                                  [this](const std::string&, bool byUser) {
                                                    answer(byUser ? CameraPortal::Answer::refused
                                                                  : CameraPortal::Answer::none);
                                                  }});
    portal_->begin();
  }
  void end() {
    if (const auto ending = std::exchange(portal_, nullptr)) ending->end();
  }

 private:
  void ask() {
    portal_->requestOfUser("AccessCamera", {}, {}, settings_.choiceTimeout,
                           "the user did not answer",
                           [this](GVariant*) { answer(CameraPortal::Answer::allowed); });
  }
  void answer(CameraPortal::Answer given) {
    end();
    answered_(given);
  }

  const CameraPortal::Settings settings_;
  const std::function<void(CameraPortal::Answer answer)> answered_;
  std::shared_ptr<Portal> portal_;
};

}  // namespace

CameraPortal::CameraPortal(Settings settings)
    : settings_(std::move(settings)), thread_(std::make_shared<EngineThread>()) {}

CameraPortal::Question CameraPortal::ask(std::function<void(Answer)> answered) const {
  const auto asked = std::make_shared<AskedOfCamera>(settings_, std::move(answered));
  // The thread outlives what is posted to it.
  thread_->post([asked, thread = thread_.get()] { asked->begin(*thread); });
  return {asked.get(),
          [asked, thread = thread_](void*) { thread->post([asked] { asked->end(); }); }};
}

}  // namespace vemo
