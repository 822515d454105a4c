#include <algorithm>
#include <utility>

#include "bridge/EngineCodes.h"
#include "engine/Conference.h"
#include "engine/Outgoing.h"

namespace vemo::janus {
namespace {

constexpr std::int32_t kLargestSide = 4096;
constexpr std::int32_t kHighestFps = 60;
constexpr std::int32_t kHighestBitrate = 20'000;
constexpr std::int32_t kPrefersSharpness = 2;
constexpr const char* kPictures = "decodebin ! videoconvert ! video/x-raw,format=I420";
constexpr const char* kTestPicture = "videotestsrc is-live=true pattern=ball";
constexpr const char* kNoScreen = "The screen can't be captured: ";
constexpr const char* kSilence = "audiotestsrc is-live=true wave=silence samplesperbuffer=480";

VideoEncoding encodingOf(const KOBUVideoEncParam& param, VideoEncoding usual) {
  if (param.width > 0 && param.height > 0) {
    // Codecs want even sides.
    usual.width = (static_cast<unsigned>(param.width) + 1) / 2 * 2;
    usual.height = (static_cast<unsigned>(param.height) + 1) / 2 * 2;
  }
  if (param.fps > 0) usual.fps = static_cast<unsigned>(param.fps);
  if (param.bitrate > 0) usual.bitrate = static_cast<unsigned>(param.bitrate);
  usual.minBitrate = static_cast<unsigned>(param.minBitrate);
  usual.mayShrink = param.adjustResolution;
  return usual;
}

unsigned audioBitrateOf(std::int32_t quality) {
  switch (quality) {
    case 1: return 16;
    case 3: return 128;
    default: return 50;
  }
}

SampleRef sampleOf(const RgbaPicture& picture) {
  const auto caps =
      capsOf("video/x-raw,format=RGBA,framerate=0/1,width=" + std::to_string(picture.width) +
             ",height=" + std::to_string(picture.height));
  GstBuffer* buffer = gst_buffer_new_memdup(picture.rgba.data(), picture.rgba.size());
  SampleRef sample(gst_sample_new(buffer, caps.get(), nullptr, nullptr));
  gst_buffer_unref(buffer);
  return sample;
}

Drawing drawingOf(const KOBURenderParams& params, bool mirrorsByItself) {
  constexpr std::int32_t kMirrored = 1;
  const bool mirror = params.mirrorType == kMirrored || (params.mirrorType == 0 && mirrorsByItself);
  return {params.fillMode == 1, orientationOf(params.rotation, mirror)};
}

}  // namespace

Presence Conference::presence() const {
  Presence shown;
  shown.anchor = role_ == kKOBURoleAnchor;
  if (!shown.anchor) return shown;
  shown.audio = (microphoneReady_ && !microphoneMuted_) || music_.isPublished();
  shown.video = cameraReady_ && (!cameraMuted_ || muteImage_);
  shown.small = small_;
  shown.screen = screenReady_;
  return shown;
}

void Conference::publish() {
  outgoing_->sendsSound = (microphoneReady_ && !microphoneMuted_) || music_.isPublished();
  if (state_ != State::inside || !visit_) return;
  const auto shown = presence();
  if (auto* publisher = visit_->publisher()) {
    // What begins again has a first picture again.
    if (!shown.audio) publisher->stopped(Line::audio);
    if (!shown.video) publisher->stopped(Line::camera);
    if (!shown.screen) publisher->stopped(Line::screen);
  }
  visit_->announce(shown);
}

bool Conference::accepts(const KOBUVideoEncParam& param) {
  const auto within = [](std::int32_t value, std::int32_t highest) {
    return value >= 0 && value <= highest;
  };
  if (within(param.width, kLargestSide) && within(param.height, kLargestSide) &&
      within(param.fps, kHighestFps) && within(param.bitrate, kHighestBitrate) &&
      within(param.minBitrate, kHighestBitrate)) {
    return true;
  }
  warn(kWarnBadValue, "an encoder can't use these parameters");
  return false;
}

std::function<void(const std::string&, const std::string&, bool)> Conference::onTrouble(
    const char* sentence) {
  return bind(
      [sentence](Conference& self, const std::string& device, const std::string& why, bool isLast) {
        self.log_->write(EngineLog::info, device + ": " + why);
        if (isLast) self.warn(kWarnDevice, sentence + why);
      });
}

// Camera

void Conference::startCamera(bool front, std::shared_ptr<NativeView> view) {
  outgoing_->preview.setView(std::move(view));
  const bool same = front_ == front;
  front_ = front;
  setLocalDrawing(localDrawing_);
  if (camera_ && same) return;
  startCameraCapture();
}

void Conference::startCameraCapture() {
  camera_.reset();
  camera_ = std::make_unique<Capture>(
      *thread_,
      Capture::Sources{front_ ? options_->frontCamera : options_->backCamera, kTestPicture},
      kPictures,
      Capture::Listener{[outgoing = outgoing_](GstSample* sample) { outgoing->camera(sample); },
                        bind([](Conference& self) {
                          if (!std::exchange(self.cameraReady_, true)) {
                            self.emit([](auto& to) { to.onCameraDidReady(); });
                          }
                          self.publish();
                        }),
                        onTrouble("The camera can't be used, a test picture stands for it: "),
                        bind([](Conference& self) { self.stopCamera(); })});
}

void Conference::stopCamera() {
  camera_.reset();
  cameraReady_ = false;
  outgoing_->preview.setView(nullptr);
  showMuteImage();
  publish();
}

void Conference::switchCamera(bool front) {
  if (std::exchange(front_, front) == front) return;
  setLocalDrawing(localDrawing_);
  if (camera_) startCameraCapture();
}

void Conference::muteCamera(bool mute) {
  cameraMuted_ = mute;
  outgoing_->cameraMuted = mute;
  showMuteImage();
  publish();
}

void Conference::setMuteImage(std::shared_ptr<VEMOImage> image, std::int32_t fps) {
  muteImage_ = std::move(image);
  muteImageFps_ = std::clamp(fps, 1, 10);
  showMuteImage();
  publish();
}

void Conference::showMuteImage() {
  muteImageTimer_.reset();
  if (!cameraMuted_ || !muteImage_ || !camera_) return;
  const auto picture = options_->pixelsOf ? options_->pixelsOf(*muteImage_) : nullptr;
  if (!picture || picture->rgba.size() != picture->width * picture->height * 4) {
    warn(kWarnBadValue, "the picture for a muted camera has no pixels that can be sent");
    return;
  }
  std::shared_ptr<GstSample> sample = sampleOf(*picture);
  muteImageTimer_ =
      thread_->every(std::chrono::milliseconds(1000 / muteImageFps_),
                     [outgoing = outgoing_, sample] { outgoing->picture(sample.get()); });
}

void Conference::setLocalDrawing(const KOBURenderParams& params) {
  localDrawing_ = params;
  outgoing_->preview.setDrawing(drawingOf(params, front_));
}

void Conference::setGivingWay(const KOBUNetworkQosParam& param) {
  if (param.controlMode != 0) cannot("no server decides how a poor network is met");
  keepsSharp_ = param.preference == kPrefersSharpness;
  applyEncodings();
}

VideoEncoding Conference::possible(const VideoEncoding& asked) const {
  return givenWay(asked, givingWay_.share(), keepsSharp_);
}

void Conference::applyEncodings() {
  auto* publisher = visit_ ? visit_->publisher() : nullptr;
  if (!publisher) return;
  publisher->setVideo(Line::camera, possible(cameraEncoding_));
  publisher->setVideo(Line::cameraSmall, possible(smallEncoding_));
  publisher->setVideo(Line::screen, possible(screenEncoding_));
  publisher->setAudioBitrate(audioBitrateOf(quality_));
}

void Conference::setCameraEncoding(const KOBUVideoEncParam& param) {
  if (!accepts(param)) return;
  auto usual = VideoEncoding{};
  usual.rotation = cameraEncoding_.rotation;
  usual.mirror = cameraEncoding_.mirror;
  cameraEncoding_ = encodingOf(param, usual);
  applyEncodings();
}

void Conference::setCameraRotation(std::int32_t rotation) {
  cameraEncoding_.rotation = smallEncoding_.rotation = rotation % 4;
  applyEncodings();
}

void Conference::setCameraMirror(bool mirror) {
  cameraEncoding_.mirror = smallEncoding_.mirror = mirror;
  applyEncodings();
}

void Conference::setSmallStream(bool enable, const std::optional<KOBUVideoEncParam>& quality) {
  small_ = enable;
  outgoing_->small = enable;
  if (enable && quality && accepts(*quality)) {
    const VideoEncoding usual{160, 90, 15, 100, cameraEncoding_.rotation, cameraEncoding_.mirror};
    smallEncoding_ = encodingOf(*quality, usual);
  }
  applyEncodings();
  publish();
}

// Sound

AudioMix& Conference::sentMix() {
  if (!sent_) {
    sent_ = std::make_unique<AudioMix>(
        *thread_, "", [outgoing = outgoing_](GstSample* mixed) { outgoing->sound(mixed); },
        AudioMix::Listener{[log = log_](const std::string& why) {
                             log->write(EngineLog::error, "what is sent can't be mixed: " + why);
                           },
                           [log = log_] { log->write(EngineLog::info, "what is sent is mixed"); }});
  }
  return *sent_;
}

AudioMix& Conference::playoutMix() {
  if (!playout_) {
    std::function<void(GstSample*)> tap;
    if (options_->onPlayed) {
      tap = [played = options_->onPlayed](GstSample* sample) {
        GstMapInfo map{};
        GstBuffer* buffer = gst_sample_get_buffer(sample);
        if (!buffer || !gst_buffer_map(buffer, &map, GST_MAP_READ)) return;
        played(reinterpret_cast<const std::int16_t*>(map.data), map.size / sizeof(std::int16_t));
        gst_buffer_unmap(buffer, &map);
      };
    }
    playout_ = std::make_unique<AudioMix>(
        *thread_, options_->speaker, std::move(tap),
        AudioMix::Listener{
            bind([](Conference& self, const std::string& why) {
              self.warn(kWarnDevice, "The speaker can't be used, so you hear nothing: " + why);
            }),
            [log = log_] { log->write(EngineLog::info, "The speaker is used again"); }});
    playout_->setVolume(playoutVolume_);
  }
  return *playout_;
}

void Conference::startMicrophone(std::int32_t quality) {
  quality_ = quality;
  applyEncodings();
  if (microphone_) return;
  microphoneInput_ = std::make_unique<AudioMix::Input>(sentMix());
  microphoneInput_->setVolume(captureVolume_);
  outgoing_->setMicrophone(microphoneInput_.get());
  microphone_ = std::make_unique<Capture>(
      *thread_, Capture::Sources{options_->microphone, kSilence, true},
      std::string("audioconvert ! audioresample ! ") + kSound,
      Capture::Listener{[outgoing = outgoing_](GstSample* sample) { outgoing->microphone(sample); },
                        bind([](Conference& self) {
                          if (!std::exchange(self.microphoneReady_, true)) {
                            self.emit([](auto& to) { to.onMicDidReady(); });
                          }
                          self.publish();
                        }),
                        onTrouble("The microphone can't be used, so nobody can hear you: "),
                        bind([](Conference& self) { self.stopMicrophone(); }),
                        [log = log_](const std::string& device) {
                          log->write(EngineLog::info, "The microphone is used again: " + device);
                        }});
}

void Conference::stopMicrophone() {
  microphone_.reset();
  outgoing_->setMicrophone(nullptr);
  outgoing_->loudness = 0;
  microphoneInput_.reset();
  microphoneReady_ = false;
  publish();
}

void Conference::muteMicrophone(bool mute) {
  microphoneMuted_ = mute;
  outgoing_->microphoneMuted = mute;
  publish();
}

void Conference::setCaptureVolume(std::int32_t volume) {
  captureVolume_ = volume;
  outgoing_->captureVolume = volume;
  if (microphoneInput_) microphoneInput_->setVolume(volume);
}

void Conference::setPlayoutVolume(std::int32_t volume) {
  playoutVolume_ = volume;
  if (playout_) playout_->setVolume(volume);
}

void Conference::setAudioRoute(std::int32_t route) {
  if (route == kRouteSpeaker) return;  // where it goes anyway
  if (route == kRouteEarpiece) return cannot("a desktop has no earpiece to play by");
  warn(kWarnBadValue, "unknown audio route");
}

// Screen

void Conference::startScreen(const KOBUVideoEncParam& param,
                             std::shared_ptr<std::atomic<int>> state) {
  screenState_ = std::move(state);
  screenEncoding_ = encodingOf(accepts(param) ? param : KOBUVideoEncParam{}, {1280, 720, 10, 1000});
  outgoing_->screenPaused = false;
  applyEncodings();
  if (options_->screen == std::vector<std::string>{kScreenPortal}) return askForScreen();
  captureScreen({options_->screen, ""});
}

void Conference::askForScreen() {
  const auto over = [](Conference& self) {
    *self.screenState_ = screenIdle;
    self.stopScreen();
  };
  screenCast_ = std::make_unique<ScreenCast>(
      *thread_,
      ScreenCast::Settings{options_->sessionBus, options_->answerTimeout, options_->choiceTimeout},
      ScreenCast::Listener{bind([](Conference& self, Capture::Sources sources) {
                             self.captureScreen(std::move(sources));
                           }),
                           bind([over](Conference& self, const std::string& why) {
                             self.warn(kWarnDevice, std::string(kNoScreen) + why);
                             over(self);
                           }),
                           bind([over](Conference& self) {
                             self.log_->write(EngineLog::info,
                                              "the sharing of the screen was ended at the desktop");
                             over(self);
                           })});
}

void Conference::captureScreen(Capture::Sources sources) {
  screen_ = std::make_unique<Capture>(
      *thread_, std::move(sources), kPictures,
      Capture::Listener{[outgoing = outgoing_](GstSample* sample) { outgoing->screen(sample); },
                        bind([](Conference& self) {
                          self.setScreenReady(true);
                          int starting = screenStarting;
                          self.screenState_->compare_exchange_strong(starting, screenCapturing);
                          self.emit([](auto& to) { to.onScreenCaptureStarted(); });
                          self.publish();
                        }),
                        onTrouble(kNoScreen), bind([](Conference& self) {
                          *self.screenState_ = screenIdle;
                          self.stopScreen();
                        })});
}

void Conference::setScreenReady(bool ready) {
  if (std::exchange(screenReady_, ready) == ready) return;
  if (options_->onScreenShared) options_->onScreenShared(ready);
}

void Conference::pauseScreen(bool pause) {
  outgoing_->screenPaused = pause;
  emit([pause](auto& to) {
    if (pause) {
      to.onScreenCapturePaused(0);
    } else {
      to.onScreenCaptureResumed(0);
    }
  });
}

void Conference::stopScreen() {
  if (!screen_ && !screenCast_) return;
  screen_.reset();
  screenCast_.reset();
  setScreenReady(false);
  emit([](auto& to) { to.onScreenCaptureStoped(0); });
  publish();
}

}  // namespace vemo::janus
