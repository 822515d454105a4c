#include "platform/CrossProcessCenter.h"

#include <utility>

#include "platform/LoopbackNotificationCenter.h"

namespace vemo {

std::unique_ptr<CrossProcessNotificationCenter> makeCrossProcessCenter(
    DBusNotificationCenterOptions options, std::string* whyNoBus) {
  if (auto center = DBusNotificationCenter::create(std::move(options), whyNoBus)) return center;
  return std::make_unique<LoopbackNotificationCenter>();
}

}  // namespace vemo
