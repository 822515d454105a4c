#pragma once

#include <gst/video/video.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <set>
#include <string>

#include "engine/VideoView.h"

namespace vemo {

/// A view that remembers what it was shown last.
class SeenView final : public VideoView {
 public:
  static constexpr std::chrono::seconds kPatience{30};

  void show(GstSample* picture, const Drawing& drawing) override {
    GstVideoInfo info;
    GstVideoFrame frame;
    if (!gst_video_info_from_caps(&info, gst_sample_get_caps(picture)) ||
        !gst_video_frame_map(&frame, &info, gst_sample_get_buffer(picture), GST_MAP_READ)) {
      return;
    }
    const int width = GST_VIDEO_INFO_WIDTH(&info);
    const int height = GST_VIDEO_INFO_HEIGHT(&info);
    const auto quarter = pixelAt(frame, width / 4, height / 4);
    const auto middle = pixelAt(frame, width / 2, height / 2);
    gst_video_frame_unmap(&frame);
    const std::lock_guard lock(mutex_);
    colour_ = nameOf(middle);
    middle_ = middle;
    upperLeft_ = nameOf(quarter);
    width_ = width;
    height_ = height;
    drawing_ = drawing;
    ++count_;
    changed_.notify_all();
  }
  void clear() override {
    const std::lock_guard lock(mutex_);
    colour_ = "nothing";
    changed_.notify_all();
  }

  /// Waits until the middle has this colour: "red", "green", "blue", "white", "black" or "other".
  bool waitForColour(const std::string& colour, std::chrono::seconds patience = kPatience) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, patience, [&] { return colour_ == colour; });
  }
  bool waitForSize(int width, int height) {
    return waitFor([&] { return width_ == width && height_ == height; });
  }
  bool waitForDrawing(const Drawing& drawing) {
    return waitFor([&] { return drawing_ == drawing; });
  }
  /// Waits until a panel lies over it whose text begins so; until there is none for "".
  bool waitForPanel(const std::string& begin) {
    return waitFor([&] {
      return drawing_.panel ? !begin.empty() && drawing_.panel->text.starts_with(begin)
                            : begin.empty();
    });
  }
  EdgeInsets panelMargin() const {
    const std::lock_guard lock(mutex_);
    return drawing_.panel ? drawing_.panel->margin : EdgeInsets{};
  }
  /// Waits until as many pictures as these have come from now on.
  bool waitForPictures(std::size_t count) {
    std::unique_lock lock(mutex_);
    const auto until = count_ + count;
    return changed_.wait_for(lock, kPatience, [&] { return count_ >= until; });
  }
  /// What it shows, for a failure to tell.
  std::string seen() const {
    const std::lock_guard lock(mutex_);
    return colour_ + " (" + std::to_string(middle_[0]) + ", " + std::to_string(middle_[1]) + ", " +
           std::to_string(middle_[2]) + ") in picture " + std::to_string(count_);
  }
  std::size_t count() const {
    const std::lock_guard lock(mutex_);
    return count_;
  }

 private:
  using Pixel = std::array<int, 3>;

  static Pixel pixelAt(const GstVideoFrame& frame, int x, int y) {
    const auto at = [&](guint component, int column, int row) {
      const auto* line =
          static_cast<const std::uint8_t*>(GST_VIDEO_FRAME_COMP_DATA(&frame, component)) +
          static_cast<std::ptrdiff_t>(row) * GST_VIDEO_FRAME_COMP_STRIDE(&frame, component);
      return static_cast<double>(line[column]);
    };
    // I420, by the matrix of small pictures.
    const double luma = 1.164 * (at(0, x, y) - 16);
    const double blue = at(1, x / 2, y / 2) - 128;
    const double red = at(2, x / 2, y / 2) - 128;
    return {static_cast<int>(luma + 1.596 * red),
            static_cast<int>(luma - 0.392 * blue - 0.813 * red),
            static_cast<int>(luma + 2.017 * blue)};
  }
  static std::string nameOf(const Pixel& pixel) {
    const auto is = [&](int red, int green, int blue) {
      return std::abs(pixel[0] - red) < 40 && std::abs(pixel[1] - green) < 40 &&
             std::abs(pixel[2] - blue) < 40;
    };
    if (is(255, 0, 0)) return "red";
    if (is(0, 255, 0)) return "green";
    if (is(0, 0, 255)) return "blue";
    if (is(255, 255, 255)) return "white";
    if (is(0, 0, 0)) return "black";
    return "other";
  }
  template <class Condition>
  bool waitFor(Condition condition) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kPatience, condition);
  }

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::string colour_ = "nothing", upperLeft_;
  Pixel middle_{};
  int width_ = 0, height_ = 0;
  Drawing drawing_;
  std::size_t count_ = 0;
};

/// Hears 48 kHz stereo and knows the pitch of it.
class HeardSound {
 public:
  void hear(const std::int16_t* values, std::size_t count) {
    const std::lock_guard lock(mutex_);
    for (std::size_t i = 0; i + 1 < count; i += 2) {
      const int value = values[i];
      if (value > 200 && last_ < 0) ++crossings_;
      if (value > 200 || value < -200) last_ = value;
      peak_ = std::max(peak_, std::abs(value));
      if (++samples_ < kWindow) continue;
      pitch_ = crossings_ * (48'000 / kWindow);
      pitches_.insert(pitch_);
      loudest_ = peak_;
      samples_ = crossings_ = peak_ = 0;
      ++windows_;
      changed_.notify_all();
    }
  }
  /// Waits until a fifth of a second in a row has about this pitch in Hz; 0 is silence.
  bool waitForPitch(int pitch) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(30),
                             [&] { return windows_ > 0 && std::abs(pitch_ - pitch) <= 15; });
  }
  bool waitForPeakBelow(int peak) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, std::chrono::seconds(30),
                             [&] { return windows_ > 0 && loudest_ > 0 && loudest_ < peak; });
  }
  /// Whether there ever was such a fifth of a second.
  bool hasHeard(int pitch) const {
    const std::lock_guard lock(mutex_);
    return std::ranges::any_of(pitches_, [&](int heard) { return std::abs(heard - pitch) <= 15; });
  }
  int loudest() const {
    const std::lock_guard lock(mutex_);
    return loudest_;
  }

 private:
  static constexpr int kWindow = 9'600;

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  int last_ = 0, samples_ = 0, crossings_ = 0, pitch_ = -1000, windows_ = 0;
  int peak_ = 0, loudest_ = 0;
  std::set<int> pitches_;
};

}  // namespace vemo
