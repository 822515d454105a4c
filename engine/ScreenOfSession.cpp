#include <cstdlib>

#include "engine/EngineOptions.h"

namespace vemo {

std::string screenOfSession() {
  const auto isSet = [](const char* variable) {
    const char* value = std::getenv(variable);
    return value && *value != '\0';
  };
  return isSet("WAYLAND_DISPLAY") || !isSet("DISPLAY") ? kScreenPortal
                                                       : "ximagesrc use-damage=false";
}

}  // namespace vemo
