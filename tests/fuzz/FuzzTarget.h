#pragma once

#include <boost/json/parse.hpp>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string_view>

/// What a fuzz target does with one input, under the name that libFuzzer calls it by. It gives 0;
/// what must never be ends the process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace vemo::fuzz {

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

/// Ends the process, as a crash does, unless `holds`.
inline void must(bool holds, std::string_view what, std::string_view found) {
  if (holds) return;
  std::cerr << "It must be that " << what << "; found: " << found << '\n' << std::flush;
  std::abort();
}

inline bool isJson(std::string_view text) {
  boost::json::error_code problem;
  boost::json::parse(text, problem);
  return !problem;
}

/// `script` must call a function, whose name may hold anything, with one argument.
inline void mustBeACall(std::string_view script) {
  auto at = script.find('(');
  if (script.ends_with(')')) {
    script.remove_suffix(1);
    while (at != std::string_view::npos && !isJson(script.substr(at + 1)))
      at = script.find('(', at + 1);
  } else {
    at = std::string_view::npos;
  }
  must(at != std::string_view::npos, "a script calls a function with JSON", script);
  must(script.find_first_of("\r\n", at) == std::string_view::npos &&
           script.find("\u2028", at) == std::string_view::npos &&
           script.find("\u2029", at) == std::string_view::npos,
       "a script's argument is one line of JavaScript", script);
}

/// Calls `line` with each line of `text`.
template <class Line>
void forEachLine(std::string_view text, const Line& line) {
  while (!text.empty()) {
    const auto end = text.find('\n');
    line(text.substr(0, end));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
}

}  // namespace vemo::fuzz
