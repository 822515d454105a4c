#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace vemo {

/// A part of a file.
struct ByteRange {
  std::uint64_t first = 0;   ///< counted from 0
  std::uint64_t length = 0;  ///< in bytes
};

/// The part of `size` bytes that the value of a request's Range field asks for. Without a length
/// there are no such bytes. Nothing where the field is to be ignored: it is malformed, has several
/// ranges or an unknown unit, or all of nothing is asked for.
std::optional<ByteRange> byteRange(std::string_view field, std::uint64_t size);

}  // namespace vemo
