#pragma once

#include <boost/json/array.hpp>
#include <memory>
#include <string_view>

#include "Arguments.h"

// What a scenario can call by name.

namespace vemo::replay {

/// The engine event `name` with the arguments `values`; a ScenarioError when there is
/// no such event or the arguments do not fit.
Call<KOBUCloudDelegate> engineEvent(std::string_view name, const json::array& values,
                                    NamedObjects& objects, std::shared_ptr<Notes> notes);

/// The native operation `name` of the router, in the same way.
Call<VEMOKOBUMsgRouter> hostOperation(std::string_view name, const json::array& values,
                                      NamedObjects& objects, std::shared_ptr<Notes> notes);

}  // namespace vemo::replay
