#include "platform/CrossProcessCenter.h"

#include "platform/DBusNotificationCenter.h"
#include "platform/LoopbackNotificationCenter.h"

namespace vemo {

std::unique_ptr<CrossProcessNotificationCenter> makeCrossProcessCenter(std::string* whyNoBus) {
  if (auto center = DBusNotificationCenter::create({}, whyNoBus)) return center;
  return std::make_unique<LoopbackNotificationCenter>();
}

}  // namespace vemo
