#pragma once

#include <cairo.h>
#include <gst/video/video.h>

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

#include "bridge/MainQueue.h"
#include "engine/VideoView.h"

namespace vemo {

/// A view that keeps the last picture in the size in which it is seen, ready to be drawn.
class VideoSurface final : public VideoView, public std::enable_shared_from_this<VideoSurface> {
 public:
  /// `redraw` is called on the main thread when there is another picture, or none any more.
  VideoSurface(MainQueue& mainQueue, std::function<void()> redraw);

  void show(GstSample* picture, const Drawing& drawing) override;
  void clear() override;

  /// How large it is seen, in pixels. Any thread.
  void setSize(int width, int height);
  /// Draws the picture into a box of this size at 0, 0. Main thread.
  void paint(cairo_t* to, double width, double height) const;

 private:
  struct SurfaceUnref {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
  };
  struct ConverterFree {
    void operator()(GstVideoConverter* converter) const { gst_video_converter_free(converter); }
  };
  using Surface = std::unique_ptr<cairo_surface_t, SurfaceUnref>;

  Surface converted(GstSample* picture, const Drawing& drawing);
  void tell();

  MainQueue& mainQueue_;
  const std::function<void()> redraw_;
  std::atomic<bool> told_ = false;
  std::atomic<int> width_ = 0, height_ = 0;

  // Streaming threads, one at a time.
  std::unique_ptr<GstVideoConverter, ConverterFree> converter_;
  GstVideoInfo from_{}, to_{};

  mutable std::mutex mutex_;
  Surface surface_;
  Drawing drawing_;
};

}  // namespace vemo
