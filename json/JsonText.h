#pragma once

#include <array>
#include <boost/json/value.hpp>
#include <charconv>
#include <concepts>
#include <cstddef>
#include <string>
#include <string_view>

namespace vemo {

// JSON text as the page, the log and the transcript get it: compact, UTF-8, keys in
// insertion order, "/" and non-ASCII as they are, U+2028 and U+2029 escaped so that a
// script holding the text also parses in web views older than ES2019. Floating
// numbers are written as a page's own JSON.stringify writes them (1.5, 100, 1e+21,
// null for what is not finite). Bytes that are no UTF-8 become U+FFFD.
// Thread-safe: no state.

/// Appends the JSON text of a value, an object or an array to `out`.
void appendJsonText(std::string& out, const boost::json::value& value);
void appendJsonText(std::string& out, const boost::json::object& object);
void appendJsonText(std::string& out, const boost::json::array& array);

/// Appends `text` as a JSON string, quotes included.
void appendJsonString(std::string& out, std::string_view text);

/// Appends the digits of `number`.
template <std::integral Integer>
requires(!std::same_as<Integer, bool>) void appendJsonInteger(std::string& out, Integer number) {
  std::array<char, 24> digits;
  auto* const end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
  out.append(digits.data(), end);
}

template <class Json>
std::string jsonText(const Json& json) {
  std::string out;
  out.reserve(128);  // most texts need one allocation
  appendJsonText(out, json);
  return out;
}

/// The script that calls the page function `name` with the JSON text that `write(script)`
/// appends. `size` bytes of memory are taken at once; most scripts need no more.
template <class Write>
std::string callScript(std::string_view name, Write write, std::size_t size = 256) {
  std::string script;
  script.reserve(size);
  script += name;
  script += '(';
  write(script);
  script += ')';
  return script;
}

/// `text` with every sequence of bytes that is no UTF-8 replaced by U+FFFD.
std::string validUtf8(std::string_view text);

}  // namespace vemo
