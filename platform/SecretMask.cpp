#include "platform/SecretMask.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <optional>
#include <random>
#include <utility>

namespace vemo {
namespace {

// JSON text in a string of JSON text has each quote and backslash escaped, and again for
// each string around that, in whichever of several ways. So the text is read in layers: the
// first is the text as it stands, each other one what the escapes of the one before mean.
// What is JSON text in a string of one layer is plain JSON in the next.

constexpr unsigned kDeepest = 8;
/// Values that hide nothing: no text, and nothing in it.
constexpr std::array<std::string_view, 5> kNoSecrets{"null", "true", "false", "{}", "[]"};
/// In one text. A hash takes as long as a hundred bytes of text, so many would take too long.
constexpr std::size_t kMostHashes = 1000;

/// One character of a layer.
struct Character {
  // Bytes are themselves. What an escape means is a code point: ASCII as the byte, any other
  // above this.
  static constexpr std::int32_t kCodePoint = 0x100;
  static constexpr std::int32_t kEnd = 0x1FFFFF;  ///< of the string, or of the text

  Character(std::int32_t meant, std::size_t begin)
      : value(static_cast<std::uint32_t>(meant) & 0x1F'FFFFU), at(begin & 0x7FF'FFFF'FFFFU) {}

  // In 8 bytes, as there is one of these for each byte of a long text.
  std::uint64_t value : 21;
  std::uint64_t at : 43;  ///< where it begins in the text

  bool isEnd() const { return value == kEnd; }
  bool is(char c) const { return value == static_cast<unsigned char>(c); }
  bool isBlank() const { return is(' ') || is('\t') || is('\n') || is('\r'); }
};
static_assert(sizeof(Character) == 8);

/// The first layer: the text as it stands.
class PlainLayer {
 public:
  explicit PlainLayer(std::string_view text) : text_(text) {}
  std::size_t size() const { return text_.size() + 1; }
  Character operator[](std::size_t at) const {
    if (at >= text_.size()) return {Character::kEnd, text_.size()};
    return {static_cast<unsigned char>(text_[at]), at};
  }
  bool hasEscapes() const { return text_.find('\\') != std::string_view::npos; }

 private:
  std::string_view text_;
};

/// Another one. Each ends with a kEnd, at the text's end.
class Layer {
 public:
  explicit Layer(std::vector<Character> characters) : characters_(std::move(characters)) {}
  std::size_t size() const { return characters_.size(); }
  const Character& operator[](std::size_t at) const { return characters_[at]; }
  bool hasEscapes() const {
    return std::ranges::any_of(characters_, [](const auto& one) { return one.is('\\'); });
  }

 private:
  std::vector<Character> characters_;
};

int hexDigit(std::int32_t value) {
  if (value >= '0' && value <= '9') return value - '0';
  if (value >= 'a' && value <= 'f') return value - 'a' + 10;
  if (value >= 'A' && value <= 'F') return value - 'A' + 10;
  return -1;
}

/// What one character of a string means.
struct Meaning {
  std::int32_t value;  ///< as that of a Character
  std::size_t next;    ///< where the string goes on in its layer

  bool isEnd() const { return value == Character::kEnd; }
};

/// Moves `at` behind four hexadecimal digits, or as many as there are: the number that they are.
std::int32_t hexNumber(const auto& layer, std::size_t& at) {
  std::int32_t number = 0;
  for (int i = 0; i < 4 && hexDigit(layer[at].value) >= 0; ++i, ++at)
    number = number * 16 + hexDigit(layer[at].value);
  return number;
}

/// The code point of the escape \u whose digits begin at `at`, which is moved behind it. Two may
/// stand for one; one of the two alone stands for none, as readers of JSON have it.
std::int32_t codePoint(const auto& layer, std::size_t& at) {
  const auto unit = hexNumber(layer, at);
  if (unit < 0xD800 || unit > 0xDFFF) return unit;
  constexpr std::int32_t kNone = 0xFFFD;
  if (unit > 0xDBFF || !layer[at].is('\\') || !layer[at + 1].is('u')) return kNone;
  auto next = at + 2;
  const auto low = hexNumber(layer, next);
  if (low < 0xDC00 || low > 0xDFFF) return kNone;
  at = next;
  return 0x10000 + (unit - 0xD800) * 0x400 + (low - 0xDC00);
}

Meaning meaningAt(const auto& layer, std::size_t at) {
  const auto& plain = layer[at];
  if (plain.isEnd() || plain.is('"')) return {Character::kEnd, at};
  if (!plain.is('\\')) return {static_cast<std::int32_t>(plain.value), at + 1};
  const auto& escape = layer[at + 1];
  if (escape.isEnd()) return {Character::kEnd, at};
  at += 2;
  switch (escape.value) {
    case 'b': return {'\b', at};
    case 'f': return {'\f', at};
    case 'n': return {'\n', at};
    case 'r': return {'\r', at};
    case 't': return {'\t', at};
    case 'u': {
      const auto point = codePoint(layer, at);
      return {point < 0x80 ? point : Character::kCodePoint + point, at};
    }
    default: return {static_cast<std::int32_t>(escape.value), at};
  }
}

/// What `before` means.
Layer nextLayer(const auto& before) {
  std::vector<Character> characters;
  characters.reserve(before.size());
  for (std::size_t at = 0; at < before.size();) {
    const auto meaning = meaningAt(before, at);
    characters.emplace_back(meaning.value, before[at].at);
    at = meaning.isEnd() ? at + 1 : meaning.next;
  }
  return Layer(std::move(characters));
}

std::size_t afterBlanks(const auto& layer, std::size_t at) {
  while (layer[at].isBlank()) ++at;
  return at;
}

void appendAsUtf8(std::string& out, std::int32_t value) {
  const auto point = static_cast<std::uint32_t>(value - Character::kCodePoint);
  const auto append = [&](std::uint32_t first, unsigned more) {
    out += static_cast<char>(first | (point >> (6 * more)));
    while (more-- > 0) out += static_cast<char>(0x80U | ((point >> (6 * more)) & 0x3FU));
  };
  if (value < Character::kCodePoint) {
    out += static_cast<char>(value);
  } else if (point < 0x800) {
    append(0xC0, 1);
  } else if (point < 0x10000) {
    append(0xE0, 2);
  } else {
    append(0xF0, 3);
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

std::uint32_t hashOf(const std::string& value) {
  const auto& key = processKey();
  gchar* const digits =
      g_compute_hmac_for_string(G_CHECKSUM_SHA256, reinterpret_cast<const guchar*>(key.data()),
                                sizeof key, value.data(), static_cast<gssize>(value.size()));
  std::uint32_t hash = 0;
  std::from_chars(digits, digits + 8, hash, 16);
  g_free(digits);
  return hash;
}

/// Whether the string that begins at `at`, just after its quote, is `key`; then `at` is moved
/// behind its end.
bool skipKey(const auto& layer, std::size_t& at, std::string_view key) {
  std::string read;
  auto end = at;
  while (read.size() < key.size()) {
    const auto meaning = meaningAt(layer, end);
    if (meaning.isEnd()) return false;
    appendAsUtf8(read, meaning.value);
    if (!key.starts_with(read)) return false;
    end = meaning.next;
  }
  if (!layer[end].is('"')) return false;
  at = end + 1;
  return true;
}

/// A value in a layer.
struct Value {
  std::size_t begin;
  std::size_t end = begin;
  std::string content = {};  ///< without escapes
  bool whole = false;        ///< whether the text goes on to its end
};

/// The text whose first character is at `begin`.
Value textValue(const auto& layer, std::size_t begin) {
  Value value{begin};
  for (auto meaning = meaningAt(layer, begin); !meaning.isEnd();
       meaning = meaningAt(layer, value.end)) {
    appendAsUtf8(value.content, meaning.value);
    value.end = meaning.next;
  }
  value.whole = layer[value.end].is('"');
  return value;
}

/// The number, word, object or array that begins at `begin`.
Value plainValue(const auto& layer, std::size_t begin) {
  Value value{begin};
  std::size_t open = 0;  // brackets
  bool quoted = false;
  bool escaped = false;
  for (;; ++value.end) {
    const auto& character = layer[value.end];
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
    if (quoted || !character.isBlank())
      appendAsUtf8(value.content, static_cast<std::int32_t>(character.value));
  }
}

/// What is written in place of which bytes.
struct Replacement {
  std::size_t begin;
  std::size_t end;
  std::string text;
};

/// The number that can stand for `text`, and `text` for it; each has one form.
std::optional<std::string> numberIn(const std::string& text) {
  if (text.find_first_not_of("+-.0123456789Ee") != std::string::npos) return std::nullopt;
  double number = 0;
  const auto* const end = text.data() + text.size();
  if (std::from_chars(text.data(), end, number).ptr != end) return std::nullopt;
  if (text.find_first_of(".Ee") == std::string::npos) return text;
  std::array<char, 32> digits;
  return std::string(digits.data(), std::to_chars(digits.begin(), digits.end(), number).ptr);
}

/// Finds secrets, layer by layer.
class Search {
 public:
  explicit Search(const std::vector<std::string>& keys) : keys_(keys) {}

  void look(const auto& layer, unsigned depth) {
    std::size_t backslashes = 0;  // just before `at`; an escaped quote is of the next layer
    for (std::size_t at = 0; at < layer.size();) {
      const auto& character = layer[at++];
      const bool opens = character.is('"') && backslashes % 2 == 0;
      backslashes = character.is('\\') ? backslashes + 1 : 0;
      if (opens) at = afterSecret(layer, depth, at);
    }
  }

  /// Hides each rest of a string from its first escape on.
  void hideEscapes(const auto& layer) {
    for (std::size_t at = 0; at < layer.size(); ++at) {
      if (!layer[at].is('\\')) continue;
      const auto begin = at;
      while (!meaningAt(layer, at).isEnd()) at = meaningAt(layer, at).next;
      if (at > begin) add({layer[begin].at, layer[at].at, "***"});
    }
  }

  /// In the order of the text; of those that begin at one place, the one of the outermost
  /// layer first. They may overlap where the text is no good JSON.
  std::vector<Replacement> takeFound() {
    std::vector<Replacement> inOrder;
    inOrder.reserve(found_.size());
    for (auto& [begin, replacement] : found_) inOrder.push_back(std::move(replacement));
    return inOrder;
  }

 private:
  /// Where to go on when a string opens just before `at`: behind the value, if it is a key.
  std::size_t afterSecret(const auto& layer, unsigned depth, std::size_t at) {
    const auto start = at;
    if (std::ranges::none_of(keys_, [&](const auto& key) { return skipKey(layer, at, key); }))
      return start;
    at = afterBlanks(layer, at);
    if (!layer[at].is(':')) return start;
    at = afterBlanks(layer, at + 1);
    const bool isText = layer[at].is('"');
    const auto value = isText ? textValue(layer, at + 1) : plainValue(layer, at);
    const auto& content = value.content;
    if (content.empty() || (!isText && std::ranges::find(kNoSecrets, content) != kNoSecrets.end()))
      return start;
    const bool isGroup = !isText && value.whole && (content[0] == '{' || content[0] == '[');
    auto text = isGroup ? "***" : standIn(value);
    if (!isText && text[0] == '*') {
      const auto quote = std::string((std::size_t{1} << depth) - 1, '\\') + '"';
      text.insert(0, quote).append(quote);
      if (isGroup) text = content[0] == '[' ? "[" + text + "]" : "{" + text + ":" + text + "}";
    }
    add({layer[value.begin].at, layer[value.end].at, std::move(text)});
    return value.end;
  }

  std::string standIn(const Value& value) {
    if (!value.whole || found_.size() >= kMostHashes) return "***";
    constexpr std::uint32_t kNumbers = 1'000'000;
    if (const auto number = numberIn(value.content))
      return std::to_string(1000 * kNumbers + hashOf(*number) % kNumbers);
    std::array<char, 9> digits;
    std::snprintf(digits.data(), digits.size(), "%08x", hashOf(value.content));
    return std::string("***") + digits.data();
  }

  void add(Replacement replacement) {
    const auto begin = replacement.begin;
    found_.emplace(begin, std::move(replacement));
  }

  const std::vector<std::string>& keys_;
  std::multimap<std::size_t, Replacement> found_;
};

}  // namespace

SecretMask::SecretMask(std::vector<std::string> keys) : keys_(std::move(keys)) {}

/// Whether no layer of `text` can hold a key.
bool SecretMask::isClean(std::string_view text) const {
  // Without such an escape the letters of a key stand as they are in every layer.
  if (text.find("\\u") != std::string_view::npos) return false;
  return std::ranges::none_of(keys_, [&](const auto& key) {
    const bool mayBeEscaped = key.find_first_of("\"\\/\b\f\n\r\t") != std::string::npos;
    return mayBeEscaped || text.find(key) != std::string_view::npos;
  });
}

std::string_view SecretMask::masked(std::string_view text, std::string& buffer) const {
  buffer.clear();
  if (isClean(text)) return text;
  Search search(keys_);
  const PlainLayer first(text);
  search.look(first, 0);
  if (first.hasEscapes()) {
    auto layer = nextLayer(first);
    search.look(layer, 1);
    for (unsigned depth = 2; layer.hasEscapes(); ++depth) {
      if (depth > kDeepest) {
        search.hideEscapes(layer);
        break;
      }
      layer = nextLayer(layer);
      search.look(layer, depth);
    }
  }

  std::size_t copied = 0;
  for (const auto& secret : search.takeFound()) {
    if (secret.begin >= copied)
      buffer.append(text.substr(copied, secret.begin - copied)).append(secret.text);
    copied = std::max(copied, secret.end);
  }
  if (copied == 0) return text;
  buffer.append(text.substr(copied));
  return buffer;
}

}  // namespace vemo
