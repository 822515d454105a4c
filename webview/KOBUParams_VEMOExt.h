#pragma once

#include <cstdint>
#include <string_view>

#include "bridge/KOBURecords.h"

namespace vemo {

// Two numbers that the router attaches to the record that a room is entered with.
// They live and are copied with the record, and are no JSON properties of it. Each
// reads as 0 when it was never set.

inline constexpr std::string_view kKOBUParamsAppSceneKey = "kKOBUParamsAppSceneKey";
inline constexpr std::string_view kKOBUParamsSwitchRoleKey = "kKOBUParamsSwitchRoleKey";

namespace detail {
inline std::int64_t associatedNumber(const KOBUParams& params, std::string_view key) {
  const auto found = params.associated.find(key);
  return found == params.associated.end() ? 0 : found->second;
}
}  // namespace detail

/// The scene of the room: stored with 64 bits, read back with 32.
inline std::int32_t appScene(const KOBUParams& params) {
  return static_cast<std::int32_t>(detail::associatedNumber(params, kKOBUParamsAppSceneKey));
}
inline void setAppScene(KOBUParams& params, std::int64_t scene) {
  params.associated[kKOBUParamsAppSceneKey] = scene;
}

/// The role that a switch under way is heading to.
inline std::int64_t switchToRole(const KOBUParams& params) {
  return detail::associatedNumber(params, kKOBUParamsSwitchRoleKey);
}
inline void setSwitchToRole(KOBUParams& params, std::int64_t role) {
  params.associated[kKOBUParamsSwitchRoleKey] = role;
}

}  // namespace vemo
