#pragma once

#include <cstdint>
#include <string>

#include "bridge/Text.h"

namespace vemo {

/// The error record of a reply. Code 0 is an answer of success.
struct VEMOJSError {
  std::string module;        ///< one of kVEMOModuleTypeStrings
  std::int64_t errcode = 0;  ///< 0 success; else the bridge's or the engine's code
  Text errmsg;               ///< absent when the record was made without a message

  friend bool operator==(const VEMOJSError&, const VEMOJSError&) = default;
};

}  // namespace vemo
