#pragma once

#include <string>

#include "bridge/NotificationCenter.h"
#include "platform/Subscriptions.h"

namespace vemo {

/// The notification centre of one process. A subscription ended during a post is not
/// called any more by it; one added meanwhile is called from the next post on. A
/// removal waits for calls under way on other threads (see Subscriptions).
class InProcessNotificationCenter final : public NotificationCenter {
 public:
  void post(const std::string& name) override;
  void addObserver(const void* observer, const std::string& name, Callback callback) override;
  void removeEveryObserver(const void* observer) override;

 private:
  Subscriptions subscriptions_;
};

}  // namespace vemo
