#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vemo::janus {

/// A line of a list that a person has written.
struct ListedLine {
  std::size_t number = 0;  ///< from 1
  std::string_view text;   ///< without blanks at its ends
};

/// The lines of `text`, which they point into, but those that are empty or begin with #.
std::vector<ListedLine> listedLines(std::string_view text);

/// What is in the file `path`; nothing when it can't be read, or is longer than 1 MiB, which no
/// list is.
std::optional<std::string> contentOf(const std::string& path);

}  // namespace vemo::janus
