#pragma once

#include <boost/json/array.hpp>
#include <string_view>

#include "bridge/KOBUCloudDelegate.h"
#include "json/Arguments.h"

namespace vemo {

/// The engine's event `name` with the arguments `values`, ready to be told to a delegate;
/// an ArgumentError when there is no such event or the arguments do not fit.
BoundCall<KOBUCloudDelegate> engineEvent(std::string_view name, const boost::json::array& values);

}  // namespace vemo
