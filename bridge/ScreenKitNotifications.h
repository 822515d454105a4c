#pragma once

#include <array>
#include <string_view>

namespace vemo {

/// What the screen-broadcast extension posts across processes.
inline constexpr const char* kVEMOScreenKit_Started_Notify = "VEMOScreenKit_Started_Notify";
inline constexpr const char* kVEMOScreenKit_Paused_Notify = "VEMOScreenKit_Paused_Notify";
inline constexpr const char* kVEMOScreenKit_Resumed_Notify = "VEMOScreenKit_Resumed_Notify";
inline constexpr const char* kVEMOScreenKit_Finished_Notify = "VEMOScreenKit_Finished_Notify";

/// Each of them, with the word by which a page hears of it.
struct ScreenKitNotification {
  std::string_view event;
  const char* name;
};
inline constexpr std::array<ScreenKitNotification, 4> kScreenKitNotifications{
    {{"started", kVEMOScreenKit_Started_Notify},
     {"paused", kVEMOScreenKit_Paused_Notify},
     {"resumed", kVEMOScreenKit_Resumed_Notify},
     {"finished", kVEMOScreenKit_Finished_Notify}}};

}  // namespace vemo
