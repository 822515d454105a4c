#pragma once

#include <memory>

#include "bridge/Text.h"

namespace vemo {

/// A native view: opaque to the router, which passes it to the engine and logs its
/// address. Made by the host, kept alive by whoever shows something in it.
class NativeView {
 public:
  virtual ~NativeView() = default;
};

/// Which of a user's views is meant.
enum class ViewType { camera = 0, subStream = 2 };

/// The host's provider of the views in which users' video is drawn.
class VEMOUIRenderSource {
 public:
  virtual ~VEMOUIRenderSource() = default;

  /// The view for `userId`; null when there is none. Absent is the own user of a router that
  /// is in no room, or that entered it without an id. Called on the thread that delivers the
  /// command.
  virtual std::shared_ptr<NativeView> renderViewOf(const Text& userId, ViewType viewType) = 0;
};

}  // namespace vemo
