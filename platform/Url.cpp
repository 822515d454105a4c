#include "platform/Url.h"

#include <algorithm>
#include <iterator>

namespace vemo {
namespace {

// Of ASCII alone, whatever the locale.
bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool isSchemeCharacter(char c) {
  return isLetter(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
}

bool isBlankOrControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte <= 0x20 || byte == 0x7F;
}

}  // namespace

std::string schemeOf(std::string_view text) {
  const auto colon = text.find(':');
  if (colon == std::string_view::npos || colon == 0 || colon + 1 == text.size()) return {};
  const auto scheme = text.substr(0, colon);
  if (!isLetter(scheme.front()) || !std::ranges::all_of(scheme, isSchemeCharacter) ||
      std::ranges::any_of(text, isBlankOrControl)) {
    return {};
  }
  std::string lower;
  std::ranges::transform(scheme, std::back_inserter(lower), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return lower;
}

}  // namespace vemo
