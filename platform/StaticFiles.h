#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace vemo {

/// The regular file in `folder` that a request for `target` means (a folder's, with "/" at the
/// end, is its index; a query is ignored); nothing when there is none, when the target could
/// lead out of the folder, or when it names a hidden file.
std::optional<std::filesystem::path> fileFor(const std::filesystem::path& folder,
                                             std::string_view target);

/// The media type of a file by its extension.
std::string_view contentType(const std::filesystem::path& file);

}  // namespace vemo
