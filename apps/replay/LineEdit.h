#pragma once

#include <string>
#include <string_view>

namespace vemo::replay {

// Changes one member of the JSON object that a line holds, and no other byte of the line. The
// line is good JSON.

/// `line` with `json` as the value of `key`: in the place of what it was, or behind the last
/// member.
std::string withMember(std::string_view line, std::string_view key, std::string_view json);

/// `line` without the member `key`.
std::string withoutMember(std::string_view line, std::string_view key);

}  // namespace vemo::replay
