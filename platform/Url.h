#pragma once

#include <string>
#include <string_view>

namespace vemo {

/// The scheme of an absolute URL in lower case; empty when `text` is none: when it has no
/// scheme, nothing after it, or blanks or control characters. The rest is not looked at.
std::string schemeOf(std::string_view text);

}  // namespace vemo
