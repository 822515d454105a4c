#include "platform/SecretMask.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <functional>
#include <random>

namespace vemo {
namespace {

// JSON text in a string of JSON text has each quote and backslash escaped, and again for
// each string around that. Depth 0 is the text as it stands; depth n is what is read
// after taking n layers of escapes away. Nothing is copied for that: a character of depth
// n is read from those of depth n - 1.

constexpr unsigned kMaxDepth = 8;
constexpr std::size_t kShownDigits = 8;

/// One character of some depth: a byte as it stood there, or what an escape meant.
struct Character {
  static constexpr std::int32_t kEnd = -1;  ///< the text, or the string around it, ends

  std::int32_t value = kEnd;
  std::size_t next = 0;  ///< where the text goes on
  bool escaped = false;  ///< a code unit, not a byte

  bool isEnd() const { return value == kEnd; }
  bool is(char c) const { return value == static_cast<unsigned char>(c); }
  bool isBlank() const { return is(' ') || is('\t') || is('\n') || is('\r'); }
};

int hexDigit(std::int32_t value) {
  if (value >= '0' && value <= '9') return value - '0';
  if (value >= 'a' && value <= 'f') return value - 'a' + 10;
  if (value >= 'A' && value <= 'F') return value - 'A' + 10;
  return -1;
}

Character characterAt(std::string_view text, std::size_t at, unsigned depth) {
  if (depth == 0) {
    if (at >= text.size()) return {Character::kEnd, at};
    return {static_cast<unsigned char>(text[at]), at + 1};
  }
  const auto plain = characterAt(text, at, depth - 1);
  if (plain.is('"')) return {Character::kEnd, at};  // it closes the string that is read
  if (!plain.is('\\')) return plain;
  const auto escape = characterAt(text, plain.next, depth - 1);
  if (escape.isEnd()) return {Character::kEnd, at};
  switch (escape.value) {
    case 'b': return {'\b', escape.next, true};
    case 'f': return {'\f', escape.next, true};
    case 'n': return {'\n', escape.next, true};
    case 'r': return {'\r', escape.next, true};
    case 't': return {'\t', escape.next, true};
    case 'u': {
      Character unit{0, escape.next, true};
      for (int i = 0; i < 4; ++i) {
        const auto digit = characterAt(text, unit.next, depth - 1);
        if (hexDigit(digit.value) < 0) break;
        unit.value = unit.value * 16 + hexDigit(digit.value);
        unit.next = digit.next;
      }
      return unit;
    }
    default: return escape;
  }
}

std::size_t afterBlanks(std::string_view text, std::size_t at, unsigned depth) {
  auto character = characterAt(text, at, depth);
  while (character.isBlank()) {
    at = character.next;
    character = characterAt(text, at, depth);
  }
  return at;
}

/// The depth at which a quote stands that has `backslashes` before it.
unsigned depthOfQuote(std::size_t backslashes) {
  // Each layer turns n backslashes before a quote into 2 n + 1.
  return static_cast<unsigned>(std::countr_one(backslashes));
}

/// The same for one that is written u0022 after them.
unsigned depthOfEscapedQuote(std::size_t backslashes) {
  // Each layer around it doubles them, until one is left over that belongs to the u.
  const auto layers = static_cast<unsigned>(std::countr_zero(backslashes));
  return layers + 1 + depthOfQuote((backslashes >> layers) / 2);
}

void appendAsUtf8(std::string& out, const Character& character) {
  const auto unit = static_cast<std::uint32_t>(character.value);
  if (!character.escaped || unit < 0x80) {
    out += static_cast<char>(unit);
  } else if (unit < 0x800) {
    out += static_cast<char>(0xC0U | (unit >> 6U));
    out += static_cast<char>(0x80U | (unit & 0x3FU));
  } else {
    out += static_cast<char>(0xE0U | (unit >> 12U));
    out += static_cast<char>(0x80U | ((unit >> 6U) & 0x3FU));
    out += static_cast<char>(0x80U | (unit & 0x3FU));
  }
}

const std::array<std::uint32_t, 8>& processKey() {
  static const auto key = [] {
    std::array<std::uint32_t, 8> drawn{};
    std::random_device lot;
    std::generate(drawn.begin(), drawn.end(), std::ref(lot));
    return drawn;
  }();
  return key;
}

std::string shortHash(const std::string& value) {
  const auto& key = processKey();
  gchar* const digits =
      g_compute_hmac_for_string(G_CHECKSUM_SHA256, reinterpret_cast<const guchar*>(key.data()),
                                sizeof key, value.data(), static_cast<gssize>(value.size()));
  const std::string shown(digits, kShownDigits);
  g_free(digits);
  return shown;
}

/// The quote that ends `key`, when that is what begins at `at`, just after a quote.
std::optional<Character> quoteAfterKey(std::string_view text, std::size_t at, unsigned depth,
                                       std::string_view key) {
  // Most texts differ at once.
  if (at < text.size() && text[at] != '\\' && !key.starts_with(text[at]) && !key.empty()) return std::nullopt;
  std::string read;
  while (read.size() < key.size()) {
    const auto character = characterAt(text, at, depth + 1);
    if (character.isEnd()) return std::nullopt;
    appendAsUtf8(read, character);
    if (!key.starts_with(read)) return std::nullopt;
    at = character.next;
  }
  const auto quote = characterAt(text, at, depth);
  return quote.is('"') ? std::optional(quote) : std::nullopt;
}

/// A value in the text.
struct Value {
  std::size_t begin = 0;
  std::size_t end = begin;
  std::string content = {};  ///< without escapes
  bool whole = false;        ///< whether the text goes on to its end
};

/// The text whose first character is at `begin`.
Value textValue(std::string_view text, std::size_t begin, unsigned depth) {
  Value value{begin};
  for (;;) {
    const auto character = characterAt(text, value.end, depth + 1);
    if (character.isEnd()) break;
    appendAsUtf8(value.content, character);
    value.end = character.next;
  }
  value.whole = characterAt(text, value.end, depth).is('"');
  return value;
}

/// The number, word, object or array that begins at `begin`.
Value plainValue(std::string_view text, std::size_t begin, unsigned depth) {
  Value value{begin};
  std::size_t open = 0;  // brackets
  bool quoted = false;
  bool escaped = false;
  for (;;) {
    const auto character = characterAt(text, value.end, depth);
    if (character.isEnd()) {
      value.whole = open == 0 && !quoted;
      return value;
    }
    if (escaped) {
      escaped = false;
    } else if (quoted) {
      escaped = character.is('\\');
      quoted = !character.is('"');
    } else if (character.is('"')) {
      quoted = true;
    } else if (character.is('{') || character.is('[')) {
      ++open;
    } else if (open > 0) {
      if (character.is('}') || character.is(']')) --open;
    } else if (character.is('}') || character.is(']') || character.is(',') || character.isBlank()) {
      value.whole = true;
      return value;
    }
    appendAsUtf8(value.content, character);
    value.end = character.next;
  }
}

std::string standIn(const Value& value) {
  return value.whole ? "***" + shortHash(value.content) : "***";
}

}  // namespace

/// What is written in place of which bytes.
struct SecretMask::Replacement {
  std::size_t begin;
  std::size_t end;
  std::string text;
};

/// Replaces the value of the key that begins at `at`, just after a quote of depth `depth`;
/// nothing when it is none of the keys.
std::optional<SecretMask::Replacement> SecretMask::replacement(std::string_view text,
                                                               std::size_t at,
                                                               unsigned depth) const {
  std::optional<Character> quote;
  for (auto key = keys_.begin(); !quote && key != keys_.end(); ++key)
    quote = quoteAfterKey(text, at, depth, *key);
  if (!quote) return std::nullopt;
  const auto colon = characterAt(text, afterBlanks(text, quote->next, depth), depth);
  if (!colon.is(':')) return std::nullopt;

  const auto begin = afterBlanks(text, colon.next, depth);
  const auto first = characterAt(text, begin, depth);
  if (first.is('"')) {
    const auto value = textValue(text, first.next, depth);
    if (value.content.empty()) return std::nullopt;
    return Replacement{value.begin, value.end, standIn(value)};
  }
  const auto value = plainValue(text, begin, depth);
  if (value.content.empty()) return std::nullopt;
  const auto mark = std::string((std::size_t{1} << depth) - 1, '\\') + '"';
  return Replacement{value.begin, value.end, mark + standIn(value) + mark};
}

std::string_view SecretMask::masked(std::string_view text, std::string& buffer) const {
  buffer.clear();
  std::size_t copied = 0;
  std::size_t backslashes = 0;  // just before `at`
  for (std::size_t at = 0; at < text.size();) {
    if (text[at] == '\\') {
      ++backslashes;
      ++at;
      continue;
    }
    constexpr std::string_view kEscapedQuote = "u0022";
    std::size_t length = 1;
    unsigned depth = kMaxDepth + 1;
    if (text[at] == '"') {
      depth = depthOfQuote(backslashes);
    } else if (backslashes > 0 && text.substr(at, kEscapedQuote.size()) == kEscapedQuote) {
      depth = depthOfEscapedQuote(backslashes);
      length = kEscapedQuote.size();
    }
    at += length;
    backslashes = 0;
    if (depth > kMaxDepth) continue;
    if (const auto secret = replacement(text, at, depth)) {
      buffer.append(text.substr(copied, secret->begin - copied)).append(secret->text);
      copied = at = secret->end;
    }
  }
  if (copied == 0) return text;
  buffer.append(text.substr(copied));
  return buffer;
}

}  // namespace vemo
