#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace vemo {

/// Which page a window shows: one in a folder of this machine, as vemo://classroom/..., or one on
/// another origin. Pages of that origin alone may be shown, and reach the classroom. Any thread.
class PageGate {
 public:
  static constexpr std::string_view kScheme = "vemo";
  static constexpr std::string_view kFolderOrigin = "vemo://classroom";

  /// The classroom page in `folder`; nothing, with a sentence in `error`, when there is none.
  static std::optional<PageGate> forFolder(const std::filesystem::path& folder, std::string& error);
  /// The page at `url`; nothing, with a sentence in `error`, when that is no https address nor one
  /// of this machine: what somebody else could have changed on its way must not reach the
  /// classroom.
  static std::optional<PageGate> forUrl(const std::string& url, std::string& error);

  /// What a window opens.
  const std::string& start() const { return start_; }
  const std::string& origin() const { return origin_; }
  bool allows(std::string_view uri) const;

  /// The file that an address of the folder's origin means; nothing when there is none, or when it
  /// lies outside.
  std::optional<std::filesystem::path> fileFor(std::string_view uri) const;

  /// The content security policy of all pages. No frames: whatever is in the window may reach the
  /// classroom. The rest of a policy is the business of another origin's own server.
  std::string contentSecurityPolicy() const;

 private:
  PageGate(std::string start, std::string origin, std::filesystem::path folder);

  std::string start_;
  std::string origin_;
  std::filesystem::path folder_;
};

/// Scheme, host and port of an address, such as "https://example.org:443"; empty when it has none.
std::string originOf(std::string_view uri);

}  // namespace vemo
