#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace vemo {

/// The parts of the application that an error record can name.
enum class VEMOModule { IMSDK = 0, KOBU = 1, BOARD = 2, BSI = 3, ER = 4, JS = 5, UI = 6, All = 7 };

/// The texts of error records, indexed by VEMOModule.
inline constexpr std::array<std::string_view, 8> kVEMOModuleTypeStrings{
    "IMSDK", "KOBU", "BOARD", "BSI", "ER", "JS", "UI", "All"};

/// The text of `module`; empty for a value that is no VEMOModule.
constexpr std::string_view moduleText(VEMOModule module) {
  const auto index = static_cast<std::size_t>(module);
  return index < kVEMOModuleTypeStrings.size() ? kVEMOModuleTypeStrings[index] : std::string_view{};
}

}  // namespace vemo
