#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

namespace vemo {

/// No line of a recording or of a scenario is longer: a file with a longer one is neither.
inline constexpr std::size_t kMaxLineBytes = std::size_t{64} << 20U;
inline constexpr std::string_view kLineTooLong = "longer than 64 MiB";

/// What some editors write in front of a text in UTF-8.
inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

enum class LineRead : std::uint8_t { whole, tooLong, none };

/// Reads the next line of `in` into `line`, without its line break. The last one needs none; as
/// after std::getline, `in` is then at its end. One that is too long is read no further.
LineRead readLine(std::istream& in, std::string& line);

}  // namespace vemo
