#pragma once

#include <boost/json/array.hpp>

namespace vemo::replay {

namespace json = boost::json;

/// Checks that each effect in `expect` can be one: that there is an effect of its name
/// that has its keys; a key that no effect has would match as long as null is expected
/// of it. Without "effect" some effect must have all of them. The fields of log records,
/// error records and buttons are checked in the same way; what router, page and engine
/// put into "args", "retval" and "argument" is free. What can't be is a ScenarioError.
void checkExpected(const json::array& expect);

}  // namespace vemo::replay
