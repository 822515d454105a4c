#pragma once

#include <string>

#include "classroom/Options.h"

namespace vemo {

/// Runs the application until its last window is closed; what main() returns.
int runClassroom(const ClassroomOptions& options, std::string& error);

}  // namespace vemo
