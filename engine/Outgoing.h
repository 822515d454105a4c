#pragma once

#include <algorithm>
#include <atomic>
#include <mutex>

#include "engine/AudioMix.h"
#include "engine/Conference.h"

namespace vemo::janus {

/// The way from what is captured to what is sent, for streaming threads: the connection to send
/// over comes and goes, and what is muted ends here.
class Conference::Outgoing {
 public:
  void setPublisher(Publisher* publisher) {
    const std::lock_guard lock(mutex_);
    publisher_ = publisher;
  }
  void setMicrophone(AudioMix::Input* input) {
    const std::lock_guard lock(mutex_);
    microphone_ = input;
  }
  void camera(GstSample* sample) {
    preview.show(sample);
    if (cameraMuted) return;
    picture(sample);
  }
  /// Sends a picture as the camera's.
  void picture(GstSample* sample) {
    const std::lock_guard lock(mutex_);
    if (!publisher_) return;
    publisher_->push(Line::camera, sample);
    if (small) publisher_->push(Line::cameraSmall, sample);
  }
  void screen(GstSample* sample) {
    if (screenPaused) return;
    const std::lock_guard lock(mutex_);
    if (publisher_) publisher_->push(Line::screen, sample);
  }
  void microphone(GstSample* sample) {
    const bool muted = microphoneMuted;
    loudness = muted ? 0 : loudnessOf(sample) * captureVolume / 100;
    if (muted) return;
    const std::lock_guard lock(mutex_);
    if (microphone_) microphone_->push(sample);
  }
  void sound(GstSample* mixed) {
    if (!sendsSound) return;
    const std::lock_guard lock(mutex_);
    if (publisher_) publisher_->push(Line::audio, mixed);
  }

  VideoStage preview;
  std::atomic<bool> cameraMuted = false, small = false, screenPaused = false;
  std::atomic<bool> microphoneMuted = false, sendsSound = false;
  std::atomic<int> captureVolume = 100, loudness = 0;

 private:
  std::mutex mutex_;
  Publisher* publisher_ = nullptr;
  AudioMix::Input* microphone_ = nullptr;
};

}  // namespace vemo::janus
