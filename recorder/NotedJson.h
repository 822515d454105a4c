#pragma once

#include <boost/json/object.hpp>
#include <string_view>

// What notes say, as scenarios and transcripts have it: notes are written shortly. Of text that
// is no object nothing is left.

namespace vemo {

/// The effect in `text`, whole: a script is noted as its text alone and has here the function
/// and the argument, too; and a signature that is an argument of a call is noted under its key.
boost::json::object notedEffect(std::string_view text);

/// The step in `text`: a page's message as the command that it holds, if it holds one and no
/// more than a command can say.
boost::json::object notedStep(std::string_view text);

}  // namespace vemo
