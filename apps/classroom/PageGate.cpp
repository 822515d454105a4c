#include "classroom/PageGate.h"

#include <glib.h>

#include <memory>
#include <system_error>
#include <utility>

#include "platform/StaticFiles.h"

namespace vemo {

std::string originOf(std::string_view uri) {
  struct Unref {
    void operator()(GUri* held) const { g_uri_unref(held); }
  };
  const std::unique_ptr<GUri, Unref> parsed(
      g_uri_parse(std::string(uri).c_str(), G_URI_FLAGS_SCHEME_NORMALIZE, nullptr));
  if (!parsed) return {};
  const char* host = g_uri_get_host(parsed.get());
  if (!host || !*host) return {};
  const std::string scheme = g_uri_get_scheme(parsed.get());
  const std::unique_ptr<char, decltype(&g_free)> lower(g_ascii_strdown(host, -1), g_free);
  const int port = g_uri_get_port(parsed.get());
  const std::string name = std::string(lower.get()).find(':') == std::string::npos
                               ? lower.get()
                               : "[" + std::string(lower.get()) + "]";
  return scheme + "://" + name + (port > 0 ? ":" + std::to_string(port) : "");
}

PageGate::PageGate(std::string start, std::string origin, std::filesystem::path folder)
    : start_(std::move(start)), origin_(std::move(origin)), folder_(std::move(folder)) {}

std::optional<PageGate> PageGate::forFolder(const std::filesystem::path& folder,
                                            std::string& error) {
  std::error_code missing;
  for (const char* page : {"classroom.html", "index.html"}) {
    if (std::filesystem::is_regular_file(folder / page, missing)) {
      return PageGate(std::string(kFolderOrigin) + '/' + page, std::string(kFolderOrigin), folder);
    }
  }
  error = "There is no page in " + folder.string() + '.';
  return std::nullopt;
}

std::optional<PageGate> PageGate::forUrl(const std::string& url, std::string& error) {
  const auto origin = originOf(url);
  const auto isLocal = [&](std::string_view host) {
    const auto whole = "http://" + std::string(host);
    return origin == whole || origin.starts_with(whole + ':');
  };
  if (origin.starts_with("https://") || isLocal("localhost") || isLocal("127.0.0.1") ||
      isLocal("[::1]")) {
    return PageGate(url, origin, {});
  }
  error = "--page-url: \"" + url + "\" is no https address, nor one of this machine.";
  return std::nullopt;
}

bool PageGate::allows(std::string_view uri) const { return originOf(uri) == origin_; }

std::optional<std::filesystem::path> PageGate::fileFor(std::string_view uri) const {
  if (folder_.empty() || !allows(uri) || !uri.starts_with(kFolderOrigin)) return std::nullopt;
  auto target = uri.substr(kFolderOrigin.size());
  target = target.substr(0, target.find('#'));
  return vemo::fileFor(folder_, target);
}

std::string PageGate::contentSecurityPolicy() const {
  std::string everywhere = "frame-src 'none'; object-src 'none'; base-uri 'none'";
  if (folder_.empty()) return everywhere;
  return "default-src 'self'; img-src 'self' data: blob:; form-action 'none'; " + everywhere;
}

}  // namespace vemo
