#pragma once

#include <cstdint>
#include <source_location>
#include <string_view>

namespace vemo {

/// A place in the source that logs: the file's name without folders, and a line, or for
/// records that are written on behalf of many places another number that is stable and
/// distinct within the file.
struct Place {
  std::string_view file;
  std::uint_least32_t line;

  /// The place that calls this; as a default argument, the place of the call.
  static constexpr Place here(std::source_location at = std::source_location::current()) {
    const std::string_view path = at.file_name();
    return {path.substr(path.rfind('/') + 1), at.line()};
  }
};

}  // namespace vemo
