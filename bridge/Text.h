#pragma once

#include <optional>
#include <string>

namespace vemo {

/// A text that may be absent. An absent text is not an empty one: the first is
/// written "(null)" in logs and payloads, the second as itself.
using Text = std::optional<std::string>;

}  // namespace vemo
