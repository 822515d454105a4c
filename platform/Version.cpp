#include "platform/Version.h"

#include <charconv>
#include <cstddef>
#include <system_error>

namespace vemo {

std::optional<Version> versionFrom(std::string_view text) {
  Version version{};
  for (auto& number : version) {
    if (text.starts_with('-')) break;  // which from_chars would take
    const auto* const end = text.data() + text.size();
    // The end is given. NOLINTNEXTLINE(bugprone-suspicious-stringview-data-usage)
    const auto [next, problem] = std::from_chars(text.data(), end, number);
    if (problem != std::errc{}) break;
    if (next == end) return version;
    if (*next != '.') break;
    text.remove_prefix(static_cast<std::size_t>(next + 1 - text.data()));
  }
  return std::nullopt;
}

}  // namespace vemo
