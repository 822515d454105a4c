#include "simulator/PageAddress.h"

#include <curl/curl.h>

#include <memory>
#include <string_view>

namespace vemo {
namespace {

using Url = std::unique_ptr<CURLU, decltype(&curl_url_cleanup)>;

std::string part(const Url& url, CURLUPart which, unsigned flags = 0) {
  char* text = nullptr;
  if (curl_url_get(url.get(), which, &text, flags) != CURLUE_OK) return {};
  const std::unique_ptr<char, decltype(&curl_free)> owner(text, &curl_free);
  return text;
}

}  // namespace

std::optional<PageAddress> pageAddressFrom(const std::string& text) {
  const Url url(curl_url(), &curl_url_cleanup);
  if (curl_url_set(url.get(), CURLUPART_URL, text.c_str(), 0) != CURLUE_OK) return std::nullopt;
  const auto scheme = part(url, CURLUPART_SCHEME);
  if (scheme != "http" && scheme != "https") return std::nullopt;
  if (!part(url, CURLUPART_USER).empty()) return std::nullopt;
  auto host = part(url, CURLUPART_HOST);
  for (char& c : host)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  // The origin stands in a security policy, which knows no other characters in a host.
  constexpr std::string_view kAllowed = "abcdefghijklmnopqrstuvwxyz0123456789.-";
  if (host.empty() || host.find_first_not_of(kAllowed) != std::string::npos) return std::nullopt;

  PageAddress address;
  address.origin = scheme + "://" + host;
  if (const auto port = part(url, CURLUPART_PORT, CURLU_NO_DEFAULT_PORT); !port.empty())
    address.origin += ":" + port;
  address.url = part(url, CURLUPART_URL);
  address.host = host;
  address.port = part(url, CURLUPART_PORT, CURLU_DEFAULT_PORT);
  return address;
}

}  // namespace vemo
