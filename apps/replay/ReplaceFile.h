#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace vemo::replay {

/// Puts `text` in the place of the file at `path`, whose permissions stay, or makes the file: at
/// once and whole, or not at all. Why it can't be, or nothing.
std::string replaceFile(const std::filesystem::path& path, std::string_view text);

}  // namespace vemo::replay
