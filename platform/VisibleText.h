#pragma once

#include <string>
#include <string_view>

namespace vemo {

/// `text` as it can stand in a line that people read on a terminal: each control
/// character and line break, of ASCII or beyond it, and each mark that turns the direction
/// of writing becomes its `\uXXXX`; bytes that are no UTF-8 become U+FFFD; all else stays.
/// JSON text stays JSON text with the same values. Any thread.
std::string visibleText(std::string_view text);

/// `text` cut to at most `maxBytes` bytes, between characters; one that was cut ends in
/// an ellipsis, which counts. `maxBytes` is 3 or more. Any thread.
std::string shortened(std::string_view text, std::size_t maxBytes);

}  // namespace vemo
