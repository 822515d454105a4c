#include "platform/CrossProcessCenter.h"

#include "platform/DBusCrossProcessCenter.h"
#include "platform/InProcessCrossProcessCenter.h"

namespace vemo {

std::unique_ptr<CrossProcessNotificationCenter> makeCrossProcessCenter(std::string* whyNoBus) {
  if (auto center = DBusCrossProcessCenter::create({}, whyNoBus)) return center;
  return std::make_unique<InProcessCrossProcessCenter>();
}

}  // namespace vemo
