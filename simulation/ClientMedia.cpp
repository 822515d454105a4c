#include <algorithm>

#include "bridge/EngineCodes.h"
#include "simulation/Client.h"
#include "simulation/Encoding.h"

namespace vemo {
namespace {

constexpr Clock::Time kCameraStart{120};
constexpr Clock::Time kMicrophoneStart{60};
constexpr Clock::Time kDeviceJitter{40};
constexpr Clock::Time kAudioFrame{20};
/// Between two announcements: what changes meanwhile is told as it is then. Everybody in the
/// room hears each.
constexpr Clock::Time kAnnouncementPeriod{20};

Clock::Time frameTime(std::uint32_t fps) { return Clock::Time(1000 / std::max(fps, 1U)); }

}  // namespace

void Client::startCamera(bool front, std::shared_ptr<NativeView> view) {
  video.front = front;
  world_.discard(std::exchange(video.view, std::move(view)));
  if (std::exchange(video.cameraOn, true)) return;
  later(kCameraStart + world_.randomTime(kDeviceJitter), camera_, [](Client& self) {
    self.cameraReady_ = true;
    self.emit([](auto& to) { to.onCameraDidReady(); });
    self.publish();
  });
}

void Client::stopCamera() {
  camera_.reset();
  video.cameraOn = cameraReady_ = false;
  world_.discard(std::exchange(video.view, nullptr));
  publish();
}

void Client::startMicrophone(std::int32_t quality) {
  audio.quality = quality;
  if (std::exchange(audio.microphoneOn, true)) return;
  later(kMicrophoneStart + world_.randomTime(kDeviceJitter), microphone_, [](Client& self) {
    self.microphoneReady_ = true;
    self.emit([](auto& to) { to.onMicDidReady(); });
    self.publish();
  });
}

void Client::stopMicrophone() {
  microphone_.reset();
  audio.microphoneOn = microphoneReady_ = false;
  publish();
}

Presence Client::presence() const {
  Presence shown;
  shown.visible = state_ == RoomState::inside && params_.role == kKOBURoleAnchor;
  if (!shown.visible) return shown;
  shown.audio = (microphoneReady_ && !audio.muted) || music.isPublished();
  shown.video = cameraReady_ && !video.muted;
  shown.subStream = captureReady_;
  return shown;
}

bool Client::sends(MediaKind kind) const {
  if (!room_ || isCutOff()) return false;
  const auto shown = presence();
  switch (kind) {
    case MediaKind::audio: return shown.audio;
    case MediaKind::video: return shown.video;
    case MediaKind::subStream: return shown.subStream;
  }
  return false;
}

std::uint32_t Client::loudness() const {
  if (!microphoneReady_ || audio.muted) return 0;
  return world_.voice(*handset_) * static_cast<std::uint32_t>(audio.captureVolume) / 100;
}

SentPictures Client::sent() const {
  if (frozen_) return *frozen_;
  SentPictures now{ownPicture(), cameraStream(video.encoder), std::nullopt, captureStream()};
  now.camera.rotation = video.encoderRotation;
  now.camera.mirror = video.encoderMirror;
  if (video.smallStream) now.small = smallStream(*video.smallStream);
  return now;
}

void Client::publish() {
  if (!room_ || isCutOff()) return;
  const auto shown = presence();
  if (shown != announced_ && !announcing_) {
    announced_ = shown;
    // The only way to go without leaving is to become audience.
    room_->announce(*this, shown, kLeaveAudience);
    later(kAnnouncementPeriod, announcing_, [](Client& self) {
      self.announcing_.reset();
      self.publish();
    });
  }
  reportFirstSent(MediaKind::audio, kKOBUStreamTypeMain, kAudioFrame);
  reportFirstSent(MediaKind::video, kKOBUStreamTypeMain,
                  frameTime(cameraStream(video.encoder).fps));
  reportFirstSent(MediaKind::subStream, kKOBUStreamTypeSub, frameTime(captureStream().fps));
}

void Client::reportFirstSent(MediaKind kind, std::int64_t streamType, Time frame) {
  auto& timer = firstSent_[kind];
  if (!sends(kind)) {
    timer.reset();
    return;
  }
  if (timer) return;
  later(frame + network().delay, timer, [kind, streamType](Client& self) {
    if (!self.sends(kind)) {
      self.firstSent_.erase(kind);
      return;
    }
    self.emit([kind, streamType](auto& to) {
      if (kind == MediaKind::audio) {
        to.onSendFirstLocalAudioFrame();
      } else {
        to.onSendFirstLocalVideoFrame(streamType);
      }
    });
  });
}

bool Client::isAudioMuted(const std::string& user) const {
  const auto wish = wishes.find(user);
  const auto forAll = allAudioMuted.value_or(!receiveMode_.audio);
  return wish == wishes.end() ? forAll : wish->second.audioMuted.value_or(forAll);
}

bool Client::isVideoMuted(const std::string& user) const {
  const auto wish = wishes.find(user);
  const auto forAll = allVideoMuted.value_or(false);
  return wish == wishes.end() ? forAll : wish->second.videoMuted.value_or(forAll);
}

bool Client::receives(const std::string& user, MediaKind kind) const {
  const auto known = known_.find(user);
  if (isCutOff() || known == known_.end() || !known->second.stream(kind).available) return false;
  const bool isAskedFor = receiveMode_.video || views.contains({user, kind});
  switch (kind) {
    case MediaKind::audio: return !isAudioMuted(user);
    case MediaKind::video: return isAskedFor && !isVideoMuted(user);
    case MediaKind::subStream: return isAskedFor;
  }
  return false;
}

bool Client::flows(const std::string& user, MediaKind kind) const {
  const auto publisher = room_ ? room_->find(user) : nullptr;
  return publisher && publisher->sends(kind) && receives(user, kind);
}

void Client::receive(const std::string& user) {
  const auto known = known_.find(user);
  if (known == known_.end()) return;
  for (const auto kind : {MediaKind::audio, MediaKind::video, MediaKind::subStream}) {
    auto& stream = known->second.stream(kind);
    if (stream.firstFrame || !flows(user, kind)) continue;
    const auto picture = pictureOf(user, kind);
    const auto frame = kind == MediaKind::audio ? kAudioFrame : frameTime(picture.fps);
    later(frame, stream.firstFrame,
          [user, kind](Client& self) { self.showFirstFrame(user, kind); });
  }
}

void Client::receiveAll() {
  for (const auto& [user, known] : known_) receive(user);
}

void Client::stopRemoteViews() {
  for (auto& [key, shown] : views) world_.discard(std::move(shown.view));
  views.clear();
}

void Client::showFirstFrame(const std::string& user, MediaKind kind) {
  if (!flows(user, kind)) {
    known_.at(user).stream(kind).firstFrame.reset();
    return;
  }
  if (kind == MediaKind::audio) {
    emit([user](auto& to) { to.onFirstAudioFrame(user); });
    return;
  }
  const auto picture = pictureOf(user, kind);
  emit([user, type = shownStream(user, kind), width = static_cast<std::int32_t>(picture.width),
        height = static_cast<std::int32_t>(picture.height)](auto& to) {
    to.onFirstVideoFrame(user, type, width, height);
  });
}

std::int32_t Client::shownStream(const std::string& user, MediaKind kind) const {
  if (kind == MediaKind::subStream) return kKOBUStreamTypeSub;
  const auto publisher = room_ ? room_->find(user) : nullptr;
  const auto wish = wishes.find(user);
  const auto view = views.find({user, kind});
  const bool wantsSmall =
      (wish != wishes.end() && wish->second.preferredStream == kKOBUStreamTypeMainSmall) ||
      (view != views.end() && view->second.streamType == kKOBUStreamTypeMainSmall);
  return wantsSmall && publisher && publisher->sent().small ? kKOBUStreamTypeMainSmall
                                                            : kKOBUStreamTypeMain;
}

VideoStream Client::pictureOf(const std::string& user, MediaKind kind) const {
  const auto publisher = room_ ? room_->find(user) : nullptr;
  if (!publisher) return {};
  const auto sent = publisher->sent();
  switch (shownStream(user, kind)) {
    case kKOBUStreamTypeMainSmall: return *sent.small;
    case kKOBUStreamTypeSub: return sent.screen;
    default: return sent.main;
  }
}

}  // namespace vemo
