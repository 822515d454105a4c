#pragma once

#include <memory>
#include <string>

#include "bridge/NotificationCenter.h"
#include "platform/DBusNotificationCenter.h"

namespace vemo {

/// A centre on the bus that `options` name, the session bus unless they say otherwise,
/// where there is one; else one that reaches this process only, and `whyNoBus`, if given,
/// says why.
std::unique_ptr<CrossProcessNotificationCenter> makeCrossProcessCenter(
    DBusNotificationCenterOptions options = {}, std::string* whyNoBus = nullptr);

}  // namespace vemo
