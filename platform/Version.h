#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace vemo {

/// A version as major, minor and patch; compares as versions do.
using Version = std::array<int, 3>;

/// The version that `text` writes, such as "17.0.0": one to three numbers without a sign,
/// joined by dots; what is left out is 0. Nothing when it writes none.
std::optional<Version> versionFrom(std::string_view text);

}  // namespace vemo
