#pragma once

#include <boost/json/object.hpp>
#include <set>
#include <string>

namespace vemo::test {

/// Sends everything that `document` tells of, in the form of protocol(), to a router and
/// gives what is not as it is told, a line each that begins with the command or the event;
/// none when the document is true. What to expect is taken from the document alone; one
/// that tells less than all commands and events is examined for those that it tells.
std::set<std::string> untruthsIn(const boost::json::object& document);

}  // namespace vemo::test
