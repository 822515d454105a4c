#pragma once

#include <optional>
#include <string>

namespace vemo {

/// Where a page is that another server serves.
struct PageAddress {
  std::string url;     ///< normalised
  std::string origin;  ///< scheme, host and port, as browsers write an origin
  std::string host;
  std::string port;  ///< as digits, the scheme's own too
};

/// The address that `text` is; nothing when it is no URL with http or https and a host by name
/// or as an IPv4 address.
std::optional<PageAddress> pageAddressFrom(const std::string& text);

}  // namespace vemo
