#pragma once

#include <boost/json/object.hpp>

namespace vemo {

/// All commands and events as the router's own tables tell them, in their order; what the
/// members are called and mean is in docs/reference/protocol.schema.json. Any thread.
boost::json::object protocol();

}  // namespace vemo
