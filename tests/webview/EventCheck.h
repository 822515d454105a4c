#pragma once

#include <boost/json/object.hpp>

#include "ProtocolShape.h"

namespace vemo::test {

/// Causes an event that is told as `event`, and complains of what is not so.
void checkEvent(const boost::json::object& event, const Complain& complain);

}  // namespace vemo::test
