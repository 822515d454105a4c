#include "engine/LineList.h"

#include <algorithm>
#include <fstream>

namespace vemo::janus {

std::vector<ListedLine> listedLines(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  std::vector<ListedLine> lines;
  for (std::size_t number = 1; !text.empty(); ++number) {
    const auto end = std::min(text.find('\n'), text.size());
    auto line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    line = line.substr(0, line.find_last_not_of(kBlanks) + 1);
    if (!line.empty() && line.front() != '#') lines.push_back({number, line});
  }
  return lines;
}

std::optional<std::string> contentOf(const std::string& path) {
  constexpr std::size_t kMostBytes = std::size_t{1} << 20U;
  std::ifstream file(path, std::ios::binary);
  std::string text(kMostBytes + 1, '\0');
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  if (!file.eof()) return std::nullopt;  // also of a folder, which opens and can't be read
  text.resize(static_cast<std::size_t>(file.gcount()));
  return text;
}

}  // namespace vemo::janus
