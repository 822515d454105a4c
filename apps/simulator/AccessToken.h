#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace vemo {

/// What the simulator's address carries so that only those who were told it get phones: other users
/// of the machine reach its port, too. 32 hexadecimal digits, from the system's source of chance.
std::string newAccessToken();

/// The user's own token, which lies in `file`, so that an address holds from one start to the next;
/// it is made where there is none, or none that is this user's alone (mode 0600). Nothing, with a
/// sentence in `problem`, when no such file can be had.
std::optional<std::string> keptAccessToken(const std::filesystem::path& file, std::string& problem);

/// Where a user's token lies: in $XDG_STATE_HOME, or ~/.local/state. Empty when the environment
/// names neither.
std::filesystem::path accessTokenFile();

/// Whether `given` is `token`, found out in a time that does not tell where they differ. An empty
/// token is nobody's.
bool isToken(std::string_view given, std::string_view token);

}  // namespace vemo
