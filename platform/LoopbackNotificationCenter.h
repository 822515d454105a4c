#pragma once

#include <memory>
#include <string>

#include "bridge/NotificationCenter.h"

namespace vemo {

/// A cross-process notification centre that reaches its own process only: for tests,
/// simulated phones and systems without a bus. Each has its own world.
///
/// Callbacks arrive on one thread of the centre, which starts with the first post.
/// A notification reaches those who are subscribed when its turn comes. A removal waits
/// for a call under way on that thread (see Subscriptions).
class LoopbackNotificationCenter final : public CrossProcessNotificationCenter {
 public:
  LoopbackNotificationCenter();
  /// Drops what is not yet delivered and waits for a callback under way, unless it is
  /// called from that very callback.
  ~LoopbackNotificationCenter() override;
  LoopbackNotificationCenter(const LoopbackNotificationCenter&) = delete;
  LoopbackNotificationCenter& operator=(const LoopbackNotificationCenter&) = delete;

  void post(const std::string& name) override;
  void addObserver(const void* observer, const std::string& name, Callback callback) override;
  void removeObserver(const void* observer, const std::string& name) override;
  void removeEveryObserver(const void* observer) override;

 private:
  class Delivery;
  // Shared with the thread, which may outlive the centre by the callback that ended it.
  std::shared_ptr<Delivery> delivery_;
};

}  // namespace vemo
