#pragma once

#include <boost/json/array.hpp>
#include <string_view>
#include <vector>

#include "bridge/KOBUCloudDelegate.h"
#include "json/Arguments.h"

namespace vemo {

/// The names of all events, in the order of KOBUCloudDelegate.
std::vector<std::string_view> engineEventNames();

/// The engine's event `name` with the arguments `values`, ready to be told to a delegate;
/// an ArgumentError when there is no such event or the arguments do not fit.
BoundCall<KOBUCloudDelegate> engineEvent(std::string_view name, const boost::json::array& values);

}  // namespace vemo
