#pragma once

#include <gst/gst.h>

#include <memory>
#include <string>

#include "bridge/KOBURecords.h"
#include "bridge/VEMOUIRenderSource.h"

namespace vemo {

/// What is known of a stream, to be drawn over its pictures for a developer.
struct DebugPanel {
  std::string text;   ///< lines
  EdgeInsets margin;  ///< from the view's edges
};

/// How a picture is drawn.
struct Drawing {
  bool fit = false;     ///< the whole picture is seen; otherwise it fills the view
  int orientation = 0;  ///< how it is turned and mirrored first, as a GstVideoOrientationMethod
  std::shared_ptr<const DebugPanel> panel = nullptr;  ///< null for none

  bool operator==(const Drawing&) const = default;  ///< of a panel, whether it is the same one
};

/// A view that the engine can show pictures in. Other views are kept, and nothing is drawn in them.
class VideoView : public NativeView {
 public:
  /// Shows `picture`, raw video. On streaming threads, one at a time, which must not be kept
  /// waiting.
  virtual void show(GstSample* picture, const Drawing& drawing) = 0;
  /// Nothing is shown any more. On the engine thread.
  virtual void clear() = 0;
};

}  // namespace vemo
