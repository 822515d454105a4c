#include "recorder/SecretEraser.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace vemo {
namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

/// Overwrites the value behind a key that ends at `at` in the JSON text that ends at `end`: a
/// quote, a colon and the value, the quotes behind as many backslashes as the text is deep in
/// strings.
char* eraseValue(char* at, const char* end) {
  const auto skip = [&](auto is) {
    const auto* const from = at;
    while (at < end && is(*at)) ++at;
    return at - from;
  };
  const auto isBackslash = [](char c) { return c == '\\'; };
  char* const start = at;
  skip(isBackslash);
  if (at == end || *at != '"') return start;
  ++at;
  skip(isBlank);
  if (at == end || *at != ':') return start;
  ++at;
  skip(isBlank);
  char* value = at;
  const auto depth = skip(isBackslash);
  if (at == end || *at != '"') {  // a number or so
    for (at = value; at < end && !isBlank(*at) && *at != ',' && *at != '}' && *at != ']'; ++at)
      *at = '*';
    return at;
  }
  value = ++at;
  for (std::ptrdiff_t backslashes = 0; at < end; ++at) {
    if (*at == '"' && backslashes <= depth) {
      at -= backslashes;
      break;
    }
    backslashes = isBackslash(*at) ? backslashes + 1 : 0;
  }
  std::fill(value, at, '*');
  return at;
}

void eraseIn(char* text, std::size_t size, std::string_view key) {
  char* const end = text + size;
  for (char* at = text; static_cast<std::size_t>(end - at) > key.size();) {
    char* const found = std::search(at, end, key.begin(), key.end());
    if (found == end) return;
    const bool quoted = found > text && found[-1] == '"';
    at = found + key.size();
    if (quoted) at = eraseValue(at, end);
  }
}

}  // namespace

void eraseSecrets(char* note, std::size_t size, const std::vector<std::string>& keys) noexcept {
  bool isSecret = false;  // the next text is
  for (std::size_t at = 0; at < size;) {
    const auto head = static_cast<unsigned char>(note[at]);
    if (head == 0x18) {
      isSecret = false;
      at += 2;
    } else if (head == 0x1B || head == 0x3B || head == 0xFB) {
      if (isSecret && at + 9 <= size) std::memset(note + at + 1, 0, 8);
      isSecret = false;
      at += 9;
    } else if (head == 0x7A && at + 5 <= size) {
      std::size_t length = 0;
      for (std::size_t i = 1; i <= 4; ++i)
        length = (length << 8U) | static_cast<unsigned char>(note[at + i]);
      length = std::min(length, size - at - 5);
      char* const text = note + at + 5;
      if (isSecret) std::memset(text, '*', length);
      isSecret = !isSecret && std::any_of(keys.begin(), keys.end(), [&](const auto& key) {
        return std::string_view(text, length) == key;
      });
      for (const auto& key : keys) eraseIn(text, length, key);
      at += 5 + length;
    } else {
      isSecret = false;
      ++at;
    }
  }
}

}  // namespace vemo
