#include "platform/VisibleText.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "json/JsonText.h"

namespace vemo {
namespace {

constexpr std::string_view kEllipsis = "…";

/// Control characters, line and paragraph separator, and the marks of direction.
bool mustBeEscaped(std::uint32_t character) {
  return character < 0x20 || (character >= 0x7F && character <= 0x9F) || character == 0x061C ||
         character == 0x200E || character == 0x200F ||
         (character >= 0x2028 && character <= 0x202E) ||
         (character >= 0x2066 && character <= 0x2069);
}

bool isPlain(char c) { return c >= 0x20 && c < 0x7F; }

bool continues(char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80; }

}  // namespace

std::string visibleText(std::string_view text) {
  if (std::all_of(text.begin(), text.end(), isPlain)) return std::string(text);
  const auto valid = validUtf8(text);
  std::string out;
  out.reserve(valid.size());
  for (std::size_t i = 0; i < valid.size();) {
    auto end = i + 1;
    while (end < valid.size() && continues(valid[end])) ++end;
    const auto bytes = std::string_view(valid).substr(i, end - i);
    // Those that must be escaped have three bytes at most.
    std::uint32_t character = static_cast<unsigned char>(bytes[0]);
    const auto tail = [&](std::size_t at) { return static_cast<unsigned char>(bytes[at]) & 0x3FU; };
    if (bytes.size() == 2) character = (character & 0x1FU) << 6U | tail(1);
    if (bytes.size() == 3) character = (character & 0xFU) << 12U | tail(1) << 6U | tail(2);
    if (bytes.size() < 4 && mustBeEscaped(character)) {
      fmt::format_to(std::back_inserter(out), "\\u{:04x}", character);
    } else {
      out += bytes;
    }
    i = end;
  }
  return out;
}

std::string shortened(std::string_view text, std::size_t maxBytes) {
  if (text.size() <= maxBytes) return std::string(text);
  auto end = maxBytes - kEllipsis.size();
  while (end > 0 && continues(text[end])) --end;
  return std::string(text.substr(0, end)).append(kEllipsis);
}

}  // namespace vemo
