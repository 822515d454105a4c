#include "webview/TextForms.h"

#include <array>
#include <charconv>

namespace vemo {

std::string cleaned(const Text& text) {
  if (!text) return "(null)";
  std::string result = *text;
  std::erase_if(result, [](char c) { return c == '\r' || c == '\n'; });
  return result;
}

std::string idOrNull(const Text& userId) { return userId && !userId->empty() ? *userId : "(null)"; }

std::string addressText(const void* address) {
  std::array<char, 16> digits;
  const auto number = reinterpret_cast<std::uintptr_t>(address);
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
  return "0x" + std::string(digits.data(), end);
}

}  // namespace vemo
