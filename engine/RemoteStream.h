#pragma once

#include <gst/video/video.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "engine/AudioMix.h"
#include "engine/Conference.h"

namespace vemo::janus {

/// One stream of another user, as it arrives. It is made and destroyed on the engine thread, save
/// that a sample on its way may outlive its user's leave; then the sound's input ends there.
class Conference::RemoteStream final : public StreamReceiver {
 public:
  using First = std::function<void(int width, int height)>;

  /// `sound`: where it is heard; null for pictures. `first` is called on a streaming thread.
  RemoteStream(std::unique_ptr<AudioMix::Input> sound, First first)
      : sound_(std::move(sound)), first_(std::move(first)) {}

  void take(GstSample* sample) override {
    ++frames;
    if (sound_) {
      loudness_ = loudnessOf(sample) * volume_ / 100;
      sound_->push(sample);
    } else {
      GstVideoInfo info;
      if (GstCaps* caps = gst_sample_get_caps(sample);
          caps && gst_video_info_from_caps(&info, caps)) {
        width = GST_VIDEO_INFO_WIDTH(&info);
        height = GST_VIDEO_INFO_HEIGHT(&info);
      }
      stage.show(sample);
    }
    if (!began_.exchange(true)) first_(width, height);
  }

  /// The next sample counts as the first.
  void begin() { began_ = false; }
  /// Whether it is received: what still comes when it is not is the rest of what was sent before.
  void setReceived(bool received) { received_ = received; }
  /// How loud what came last is, from 0 to 100.
  int loudness() const { return received_ ? loudness_.load() : 0; }
  void setVolume(int volume) {
    volume_ = volume;
    sound_->setVolume(volume);
  }

  VideoStage stage;
  std::atomic<std::uint64_t> frames = 0;
  std::atomic<int> width = 0, height = 0;

 private:
  const std::unique_ptr<AudioMix::Input> sound_;
  const First first_;
  std::atomic<bool> began_ = false, received_ = false;
  std::atomic<int> volume_ = 100, loudness_ = 0;
};

}  // namespace vemo::janus
