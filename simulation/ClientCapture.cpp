#include "bridge/EngineCodes.h"
#include "simulation/Client.h"

namespace vemo {
namespace {

constexpr Clock::Time kCaptureStart{200};

}  // namespace

void Client::startCapture(const KOBUVideoEncParam& param, bool broadcast,
                          const std::string& appGroup) {
  if (capture.state != CaptureState::idle) {
    warn(kWarnCaptureRunning, "the screen is captured already");
    return;
  }
  capture = {CaptureState::capturing, broadcast, appGroup,
             accepts(param) ? param : KOBUVideoEncParam()};
  later(kCaptureStart, capturing_, [](Client& self) {
    self.captureReady_ = true;
    self.emit([](auto& to) { to.onScreenCaptureStarted(); });
    self.publish();
  });
}

std::int64_t Client::pauseCapture() {
  if (!captureReady_ || capture.state != CaptureState::capturing) return kNotCapturing;
  capture.state = CaptureState::paused;
  emit([](auto& to) { to.onScreenCapturePaused(0); });
  return 0;
}

std::int64_t Client::resumeCapture() {
  if (capture.state != CaptureState::paused) return kNotCapturing;
  capture.state = CaptureState::capturing;
  emit([](auto& to) { to.onScreenCaptureResumed(0); });
  return 0;
}

std::int64_t Client::stopCapture() {
  if (capture.state == CaptureState::idle) return kNotCapturing;
  capturing_.reset();
  captureReady_ = false;
  capture = {};
  emit([](auto& to) { to.onScreenCaptureStoped(0); });
  publish();
  return 0;
}

VideoStream Client::captureStream() const {
  auto stream = screenStream(capture.encoder);
  if (capture.state == CaptureState::paused) stream.fps = stream.bitrate = 0;
  return stream;
}

}  // namespace vemo
