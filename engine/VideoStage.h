#pragma once

#include <memory>
#include <mutex>
#include <utility>

#include "engine/VideoView.h"

namespace vemo::janus {

/// Where one stream's pictures are shown: nowhere, or in a view. Any thread.
class VideoStage {
 public:
  ~VideoStage() { setView(nullptr); }

  void setView(std::shared_ptr<NativeView> view) {
    std::shared_ptr<NativeView> former;
    {
      const std::lock_guard lock(mutex_);
      former = std::exchange(view_, std::move(view));
    }
    if (const auto shown = std::dynamic_pointer_cast<VideoView>(former)) shown->clear();
  }
  void setDrawing(const Drawing& drawing) {
    const std::lock_guard lock(mutex_);
    drawing_ = drawing;
  }
  /// Seen from the next picture on; null for none.
  void setPanel(std::shared_ptr<const DebugPanel> panel) {
    const std::lock_guard lock(mutex_);
    panel_ = std::move(panel);
  }
  void show(GstSample* picture) {
    std::shared_ptr<VideoView> view;
    Drawing drawing;
    {
      const std::lock_guard lock(mutex_);
      view = std::dynamic_pointer_cast<VideoView>(view_);
      drawing = drawing_;
      drawing.panel = panel_;
    }
    if (view) view->show(picture, drawing);
  }

 private:
  std::mutex mutex_;
  std::shared_ptr<NativeView> view_;
  Drawing drawing_;
  std::shared_ptr<const DebugPanel> panel_;
};

}  // namespace vemo::janus
