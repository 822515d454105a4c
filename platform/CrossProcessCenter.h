#pragma once

#include <memory>
#include <string>

#include "bridge/NotificationCenter.h"

namespace vemo {

/// A centre on the session bus, where there is one; else one that reaches this process
/// only, and `whyNoBus`, if given, says why.
std::unique_ptr<CrossProcessNotificationCenter> makeCrossProcessCenter(
    std::string* whyNoBus = nullptr);

}  // namespace vemo
