#pragma once

#include <boost/json/array.hpp>
#include <memory>
#include <string_view>

#include "replay/HostArguments.h"
#include "replay/ScenarioError.h"

// What a scenario can call by name.

namespace vemo::replay {

/// The native operation `name` of the router with the arguments `values`; an ArgumentError when
/// there is no such operation or the arguments do not fit.
BoundCall<VEMOKOBUMsgRouter> hostOperation(std::string_view name, const json::array& values,
                                           NamedObjects& objects, std::shared_ptr<Notes> notes);

}  // namespace vemo::replay
