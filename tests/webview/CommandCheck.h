#pragma once

#include <boost/json/object.hpp>

#include "ProtocolShape.h"

namespace vemo::test {

/// Sends messages with a command that is told as `command`, and complains of what is not so.
void checkCommand(const boost::json::object& command, const Complain& complain);

}  // namespace vemo::test
