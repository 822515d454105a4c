#pragma once

#include <boost/json/object.hpp>
#include <map>
#include <string_view>
#include <vector>

#include "ProtocolStage.h"

// How commands come to stay unanswered, one way for each that the document tells.

namespace vemo::test {

/// A world in which a command is not answered. Its name is the reason, as it is told.
struct Silence {
  World world;
  boost::json::object params;  ///< what differs from the command's usual ones
  bool nativecb = false;
};

/// By command, in the order in which the reasons are told.
const std::map<std::string_view, std::vector<Silence>>& silences();

}  // namespace vemo::test
