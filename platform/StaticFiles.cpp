#include "platform/StaticFiles.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <system_error>
#include <utility>

namespace vemo {
namespace {

/// A part of a request's path with its percent escapes undone; nothing when one is wrong.
std::optional<std::string> decoded(std::string_view part) {
  std::string name;
  for (std::size_t at = 0; at < part.size(); ++at) {
    if (part[at] != '%') {
      name += part[at];
      continue;
    }
    unsigned char byte = 0;
    const auto digits = part.substr(at + 1, 2);
    const auto [end, problem] =
        std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16);
    if (digits.size() != 2 || problem != std::errc{} || end != digits.data() + 2)
      return std::nullopt;
    name += static_cast<char>(byte);
    at += 2;
  }
  return name;
}

bool isFileName(std::string_view name) {
  return !name.empty() && !name.starts_with('.') && name.find('/') == std::string_view::npos &&
         name.find('\0') == std::string_view::npos;
}

}  // namespace

std::optional<std::filesystem::path> fileFor(const std::filesystem::path& folder,
                                             std::string_view target) {
  target = target.substr(0, target.find('?'));
  if (!target.starts_with('/')) return std::nullopt;
  target.remove_prefix(1);

  const bool isFolder = target.empty() || target.ends_with('/');
  std::filesystem::path relative;
  while (!target.empty()) {
    const auto end = target.find('/');
    const auto name = decoded(target.substr(0, end));
    if (!name || !isFileName(*name)) return std::nullopt;
    relative /= *name;
    target.remove_prefix(end == std::string_view::npos ? target.size() : end + 1);
  }

  if (isFolder) relative /= "index.html";

  // A link inside the folder may still point out of it, or to what is hidden in it.
  std::error_code problem;
  const auto root = std::filesystem::canonical(folder, problem);
  if (problem) return std::nullopt;
  auto file = std::filesystem::canonical(root / relative, problem);
  if (problem || !std::filesystem::is_regular_file(file, problem)) return std::nullopt;
  const auto [inRoot, inFile] = std::mismatch(root.begin(), root.end(), file.begin(), file.end());
  if (inRoot != root.end()) return std::nullopt;
  if (std::any_of(inFile, file.end(), [](const auto& name) { return !isFileName(name.native()); }))
    return std::nullopt;
  return file;
}

std::string_view contentType(const std::filesystem::path& file) {
  constexpr auto kTypes = std::to_array<std::pair<std::string_view, std::string_view>>({
      {".html", "text/html; charset=utf-8"},
      {".css", "text/css; charset=utf-8"},
      {".js", "text/javascript; charset=utf-8"},
      {".mjs", "text/javascript; charset=utf-8"},
      {".json", "application/json"},
      {".map", "application/json"},
      {".svg", "image/svg+xml"},
      {".png", "image/png"},
      {".jpg", "image/jpeg"},
      {".jpeg", "image/jpeg"},
      {".gif", "image/gif"},
      {".webp", "image/webp"},
      {".ico", "image/x-icon"},
      {".txt", "text/plain; charset=utf-8"},
      {".wasm", "application/wasm"},
      {".woff2", "font/woff2"},
      {".mp3", "audio/mpeg"},
      {".mp4", "video/mp4"},
      {".webm", "video/webm"},
      {".ogg", "audio/ogg"},
      {".wav", "audio/wav"},
      {".m4a", "audio/mp4"},
      {".vtt", "text/vtt; charset=utf-8"},
  });
  const auto extension = file.extension().string();
  const auto found = std::ranges::find(kTypes, std::string_view(extension),
                                       [](const auto& type) { return type.first; });
  return found == kTypes.end() ? "application/octet-stream" : found->second;
}

}  // namespace vemo
