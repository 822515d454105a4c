#include "engine/LineList.h"

#include <algorithm>

#include "engine/Gst.h"

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
  gchar* text = nullptr;
  gsize size = 0;
  if (!g_file_get_contents(path.c_str(), &text, &size, nullptr)) return std::nullopt;
  const GText held(text);
  return std::string(text, size);
}

}  // namespace vemo::janus
