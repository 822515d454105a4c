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

void addCleaned(JsonObjectText& object, std::string_view key, const Text& text) {
  // Each looked for by itself: the library searches a set of characters one by one.
  const auto has = [&](char c) { return text->find(c) != std::string::npos; };
  if (text && !has('\n') && !has('\r')) {
    object.add(key, *text);  // most texts need no copy
  } else {
    object.add(key, cleaned(text));
  }
}

std::string idOrNull(const Text& userId) { return userId && !userId->empty() ? *userId : "(null)"; }

std::string addressText(const void* address) {
  std::array<char, 16> digits;
  const auto number = reinterpret_cast<std::uintptr_t>(address);
  auto* const end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
  std::string text("0x");
  text.append(digits.data(), end);
  return text;
}

}  // namespace vemo
