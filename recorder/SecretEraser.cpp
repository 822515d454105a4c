#include "recorder/SecretEraser.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace vemo {
namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// Overwrites each byte, of a number or a text that may be one each digit, so that it is one yet.
void overwrite(char* begin, char* end) {
  const bool isNumber =
      std::any_of(begin, end, isDigit) && std::all_of(begin, end, [](char c) {
        return std::string_view("+-.0123456789Ee").find(c) != std::string_view::npos;
      });
  std::replace_if(
      begin, end, [=](char c) { return !isNumber || isDigit(c); }, isNumber ? '1' : kErased);
}

/// Overwrites the number behind a head of CBOR, `isNegative` where that is of -1 less the number.
void overwriteNumber(char* bytes, bool isNegative) {
  std::uint64_t number = 0;
  for (int i = 0; i < 8; ++i) number = (number << 8U) | static_cast<unsigned char>(bytes[i]);
  std::uint64_t ones = 1;
  for (auto left = (isNegative ? number + 1 : number) / 10; left > 0; left /= 10)
    ones = ones * 10 + 1;
  if (isNegative) --ones;
  for (int i = 8; i-- > 0; ones >>= 8U) bytes[i] = static_cast<char>(ones & 0xFFU);
}

/// Overwrites the value behind a key that ends at `at` in the JSON text that ends at `end`: a
/// quote, a colon and the value, the quotes behind as many backslashes as the text is deep in
/// strings. Of an object or array that is not empty all that follows.
char* eraseValue(char* at, char* const end) {
  const auto isBackslash = [](char c) { return c == '\\'; };
  const auto skipBlanks = [&] {  // also those that are escaped in a string
    for (auto* next = at; next < end; at = ++next) {
      next = std::find_if_not(next, end, isBlank);
      at = next;
      next = std::find_if_not(next, end, isBackslash);
      if (next == at || next == end || (*next != 'n' && *next != 'r' && *next != 't')) return;
    }
  };
  char* const start = at;
  at = std::find_if_not(at, end, isBackslash);
  if (at == end || *at != '"') return start;
  ++at;
  skipBlanks();
  if (at == end || *at != ':') return start;
  ++at;
  skipBlanks();
  char* value = at;
  at = std::find_if_not(at, end, isBackslash);
  const auto depth = at - value;
  if (at < end && (*at == '{' || *at == '[')) {
    auto* const next = std::find_if_not(at + 1, end, isBlank);
    if (next < end && *next == (*at == '{' ? '}' : ']')) return next + 1;
    std::fill(at, end, kErased);
    return end;
  }
  if (at == end || *at != '"') {  // a number or so
    at = std::find_if(value, end,
                      [](char c) { return isBlank(c) || c == ',' || c == '}' || c == ']'; });
    const std::string_view word(value, static_cast<std::size_t>(at - value));
    if (word != "null" && word != "true" && word != "false") overwrite(value, at);
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
  overwrite(value, at);
  return at;
}

/// Overwrites all that follows an escape such as \\u0053 for a letter of `key`, for what stands
/// around a key, or for what such an escape is made of: nobody writes one but to hide it.
void eraseHidden(char* at, char* const end, std::string_view key) {
  constexpr std::string_view kEscape = "\\u00";
  constexpr std::string_view kDigits = "0123456789abcdef";
  const auto digit = [&](char c) { return kDigits.find(static_cast<char>(c | 0x20)); };
  while ((at = std::search(at, end, kEscape.begin(), kEscape.end())) != end) {
    char* const escape = at;
    at += kEscape.size();
    if (end - at < 2 || digit(at[0]) >= 16 || digit(at[1]) >= 16) continue;
    const auto letter = static_cast<char>(digit(at[0]) * 16 + digit(at[1]));
    constexpr std::string_view kAround = "\"\\:u0123456789abcdefABCDEF";
    if (key.find(letter) == std::string_view::npos &&
        kAround.find(letter) == std::string_view::npos)
      continue;
    std::fill(escape, end, kErased);
    return;
  }
}

void eraseIn(char* text, std::size_t size, std::string_view key) {
  char* const end = text + size;
  eraseHidden(text, end, key);
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
  constexpr unsigned char kMap = 0xBF;
  constexpr unsigned char kArray = 0x9F;
  constexpr unsigned char kEnd = 0xFF;
  bool isSecret = false;     // what comes next is
  std::size_t inSecret = 0;  // maps and arrays that have not ended
  for (std::size_t at = 0; at < size;) {
    const auto head = static_cast<unsigned char>(note[at]);
    isSecret = isSecret || inSecret > 0;
    if (head == 0x18) {
      isSecret = false;
      at += 2;
    } else if (head == 0x1B || head == 0x3B || head == 0xFB) {
      if (isSecret && at + 9 <= size && head == 0xFB) std::memset(note + at + 1, 0, 8);
      if (isSecret && at + 9 <= size && head != 0xFB) overwriteNumber(note + at + 1, head == 0x3B);
      isSecret = false;
      at += 9;
    } else if (head == 0x7A && at + 5 <= size) {
      std::size_t length = 0;
      for (std::size_t i = 1; i <= 4; ++i)
        length = (length << 8U) | static_cast<unsigned char>(note[at + i]);
      length = std::min(length, size - at - 5);
      char* const text = note + at + 5;
      if (isSecret) overwrite(text, text + length);
      isSecret = !isSecret && std::any_of(keys.begin(), keys.end(), [&](const auto& key) {
        return std::string_view(text, length) == key;
      });
      for (const auto& key : keys) eraseIn(text, length, key);
      at += 5 + length;
    } else {
      if (isSecret && (head == kMap || head == kArray)) ++inSecret;
      if (head == kEnd && inSecret > 0) --inSecret;
      isSecret = false;
      ++at;
    }
  }
}

}  // namespace vemo
