#include "json/JsonText.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace vemo {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

unsigned char byteAt(std::string_view text, std::size_t i) {
  return i < text.size() ? static_cast<unsigned char>(text[i]) : 0;
}

struct Sequence {
  std::size_t length;  // bytes to consume
  bool valid;
};

/// The UTF-8 sequence at the front of `text`, whose first byte is not ASCII. What is
/// not valid is consumed up to the first byte that can't continue it.
Sequence utf8Sequence(std::string_view text) {
  const auto first = byteAt(text, 0);
  unsigned char low = 0x80;
  unsigned char high = 0xBF;
  std::size_t length = 0;
  if (first >= 0xC2 && first <= 0xDF) {
    length = 2;
  } else if (first >= 0xE0 && first <= 0xEF) {
    length = 3;
    if (first == 0xE0) low = 0xA0;   // no overlong forms
    if (first == 0xED) high = 0x9F;  // no surrogates
  } else if (first >= 0xF0 && first <= 0xF4) {
    length = 4;
    if (first == 0xF0) low = 0x90;
    if (first == 0xF4) high = 0x8F;  // nothing above U+10FFFF
  } else {
    return {1, false};
  }
  for (std::size_t i = 1; i < length; ++i) {
    const auto next = byteAt(text, i);
    if (next < low || next > high) return {i, false};
    low = 0x80;
    high = 0xBF;
  }
  return {length, true};
}

/// The bytes that a JSON string holds as they are: ASCII without control characters, quotes and
/// backslashes.
constexpr auto plainBytes = [] {
  std::array<bool, 256> plain{};
  for (std::size_t c = 0x20; c < 0x80; ++c) plain[c] = c != '"' && c != '\\';
  return plain;
}();

/// How many bytes at the front of `text` are plain.
std::size_t plainPrefix(std::string_view text) {
  std::size_t i = 0;
  // Eight at a time. A byte that is less than n, or n, sets its own high bit, or a
  // higher one, in the difference; those above ASCII have it set already.
  constexpr std::uint64_t ones = 0x0101010101010101;
  for (std::uint64_t word = 0; i + sizeof word <= text.size(); i += sizeof word) {
    std::memcpy(&word, text.data() + i, sizeof word);
    const auto control = word - ones * 0x20;
    const auto quote = (word ^ (ones * '"')) - ones;
    const auto backslash = (word ^ (ones * '\\')) - ones;
    if (((word | control | quote | backslash) & (ones * 0x80)) != 0) break;
  }
  while (i < text.size() && plainBytes[static_cast<unsigned char>(text[i])]) ++i;
  return i;
}

/// The shortest digits that read back as the same number, laid out as ECMAScript does.
void appendFloating(std::string& out, double number) {
  if (!std::isfinite(number)) {
    out += "null";  // JSON has no other word for it
    return;
  }
  if (number == 0) {
    out += '0';  // of either sign
    return;
  }
  if (number < 0) out += '-';
  // Digits and exponent are taken from d.ddde±xx: the fixed form would write the
  // exact value of large numbers, with more digits than it takes to tell them apart.
  std::array<char, 32> buffer;
  auto* const end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), std::fabs(number),
                                  std::chars_format::scientific)
                        .ptr;
  const std::string_view text(buffer.data(), static_cast<std::size_t>(end - buffer.data()));
  const auto mark = text.find('e');
  const auto fraction = mark > 2 ? text.substr(2, mark - 2) : std::string_view{};
  int exponent = 0;
  std::from_chars(text.data() + mark + 2, end, exponent);
  if (text[mark + 1] == '-') exponent = -exponent;

  if (exponent < -6 || exponent > 20) {
    out.append(text.substr(0, mark));
    out.append(text.substr(mark, 2));  // "e+" or "e-"
    appendJsonInteger(out, std::abs(exponent));
  } else if (exponent < 0) {
    out += "0.";
    out.append(static_cast<std::size_t>(-exponent - 1), '0');
    out += text.front();
    out.append(fraction);
  } else {
    const auto whole = static_cast<std::size_t>(exponent);  // digits before the point, less one
    out += text.front();
    out.append(fraction.substr(0, whole));
    if (fraction.size() < whole) out.append(whole - fraction.size(), '0');
    if (fraction.size() > whole) {
      out += '.';
      out.append(fraction.substr(whole));
    }
  }
}

void appendEscape(std::string& out, unsigned char c) {
  switch (c) {
    case '"': out += "\\\""; return;
    case '\\': out += "\\\\"; return;
    case '\b': out += "\\b"; return;
    case '\f': out += "\\f"; return;
    case '\n': out += "\\n"; return;
    case '\r': out += "\\r"; return;
    case '\t': out += "\\t"; return;
    default: break;
  }
  constexpr std::string_view hex = "0123456789abcdef";
  out += "\\u00";
  out += hex[c >> 4U];
  out += hex[c & 0xFU];
}

}  // namespace

void appendJsonString(std::string& out, std::string_view text) {
  auto plain = plainPrefix(text);
  if (plain == text.size()) {  // as most are: room is made once
    const auto start = out.size();
    out.append(text.size() + 2, '"');
    text.copy(out.data() + start + 1, text.size());
    return;
  }
  out += '"';
  for (;; plain = plainPrefix(text)) {
    out.append(text.substr(0, plain));
    text.remove_prefix(plain);
    if (text.empty()) break;

    std::size_t length = 1;
    if (byteAt(text, 0) < 0x80) {
      appendEscape(out, byteAt(text, 0));
    } else {
      const auto sequence = utf8Sequence(text);
      length = sequence.length;
      const auto bytes = text.substr(0, length);
      if (!sequence.valid) {
        out.append(kReplacement);
      } else if (bytes == "\xE2\x80\xA8") {
        out += "\\u2028";
      } else if (bytes == "\xE2\x80\xA9") {
        out += "\\u2029";
      } else {
        out.append(bytes);
      }
    }
    text.remove_prefix(length);
  }
  out += '"';
}

void appendJsonText(std::string& out, const boost::json::object& object) {
  out += '{';
  bool first = true;
  for (const auto& [key, value] : object) {
    if (!first) out += ',';
    first = false;
    appendJsonString(out, {key.data(), key.size()});
    out += ':';
    appendJsonText(out, value);
  }
  out += '}';
}

void appendJsonText(std::string& out, const boost::json::array& array) {
  out += '[';
  bool first = true;
  for (const auto& value : array) {
    if (!first) out += ',';
    first = false;
    appendJsonText(out, value);
  }
  out += ']';
}

void appendJsonText(std::string& out, const boost::json::value& value) {
  switch (value.kind()) {
    case boost::json::kind::null: out += "null"; return;
    case boost::json::kind::bool_: out += value.get_bool() ? "true" : "false"; return;
    case boost::json::kind::int64: appendJsonInteger(out, value.get_int64()); return;
    case boost::json::kind::uint64: appendJsonInteger(out, value.get_uint64()); return;
    case boost::json::kind::double_: appendFloating(out, value.get_double()); return;
    case boost::json::kind::string: {
      const auto& text = value.get_string();
      appendJsonString(out, {text.data(), text.size()});
      return;
    }
    case boost::json::kind::array: appendJsonText(out, value.get_array()); return;
    case boost::json::kind::object: appendJsonText(out, value.get_object()); return;
  }
}

std::string validUtf8(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) {
    const auto [length, valid] = byteAt(text, 0) < 0x80 ? Sequence{1, true} : utf8Sequence(text);
    out.append(valid ? text.substr(0, length) : kReplacement);
    text.remove_prefix(length);
  }
  return out;
}

}  // namespace vemo
