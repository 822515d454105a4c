#pragma once

#include <boost/json/object.hpp>
#include <string_view>

namespace vemo {

/// The effect that the text of a note says, whole: a script is noted as its text alone and has
/// here the function and the argument, too. Of text that is no object nothing is left.
boost::json::object notedEffect(std::string_view text);

}  // namespace vemo
