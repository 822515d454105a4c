#include "simulator/ByteRange.h"

#include <algorithm>
#include <boost/beast/core/string.hpp>
#include <charconv>
#include <limits>
#include <system_error>

namespace vemo {
namespace {

constexpr std::string_view kUnit = "bytes=";

/// A number of digits alone; one that is too large is as large as can be.
std::optional<std::uint64_t> positionFrom(std::string_view digits) {
  std::uint64_t position = 0;
  const auto* const begin = digits.data();
  const auto* const end = begin + digits.size();
  const auto [stop, problem] = std::from_chars(begin, end, position);
  if (stop != end || problem == std::errc::invalid_argument) return std::nullopt;
  return problem == std::errc{} ? position : std::numeric_limits<std::uint64_t>::max();
}

}  // namespace

std::optional<ByteRange> byteRange(std::string_view field, std::uint64_t size) {
  const auto unit = field.substr(0, kUnit.size());
  if (!boost::beast::iequals({unit.data(), unit.size()}, {kUnit.data(), kUnit.size()}))
    return std::nullopt;
  field.remove_prefix(kUnit.size());
  const auto dash = field.find('-');
  if (dash == std::string_view::npos) return std::nullopt;
  const auto before = field.substr(0, dash);
  const auto after = field.substr(dash + 1);
  const auto last = positionFrom(after);
  if (!last && !after.empty()) return std::nullopt;

  if (before.empty()) {  // so many at the end
    if (!last || (*last > 0 && size == 0)) return std::nullopt;
    const auto length = std::min(*last, size);
    return ByteRange{.first = size - length, .length = length};
  }
  const auto first = positionFrom(before);
  if (!first || (last && *last < *first)) return std::nullopt;
  if (*first >= size) return ByteRange{};
  const auto rest = size - *first;
  return ByteRange{.first = *first, .length = last ? std::min(*last - *first, rest - 1) + 1 : rest};
}

}  // namespace vemo
