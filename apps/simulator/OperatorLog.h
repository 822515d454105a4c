#pragma once

#include <string_view>

#include "bridge/VEMOLogger.h"

namespace vemo {

/// Tells the operator something: a record of the program's own, of level 4, with the
/// module "vemo-simulator" and the action name "note". `text` may hold what a page sent;
/// it is cut where it is long. Any thread.
void tellOperator(VEMOLogger& logger, std::string_view text);

/// Writes down what a phone showed or what was done to it: a record of level 2, with the
/// module "vemo-simulator". `what` is the kind of the frame that says so, `frame` its text,
/// which is cut where it is long. Any thread.
void logFrame(VEMOLogger& logger, std::string_view what, std::string_view frame);

}  // namespace vemo
