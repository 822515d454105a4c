#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "bridge/Text.h"

namespace vemo {

/// The error record of a reply. Code 0 is an answer of success.
struct VEMOJSError {
  std::string module;        ///< one of kVEMOModuleTypeStrings
  std::int64_t errcode = 0;  ///< 0 success; else the bridge's or the engine's code
  Text errmsg;               ///< absent when the record was made without a message

  friend bool operator==(const VEMOJSError&, const VEMOJSError&) = default;
};

/// What a page is told, with the code -1 of the module "JS", when memory does not suffice: for the
/// command, which then is not done, or only for its answer.
inline constexpr std::string_view kOutOfMemory = "out of memory";
inline constexpr std::string_view kOutOfMemoryForAnswer = "out of memory for the answer";

}  // namespace vemo
