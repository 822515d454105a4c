#pragma once

#include <boost/asio/ip/address.hpp>

namespace vemo {

/// Whether `address` is one of the public internet's: not of this machine, of a private,
/// shared or link-local network, kept for documents and tests, or for many at once. An
/// IPv4 address within an IPv6 one counts as itself.
bool isPublic(const boost::asio::ip::address& address);

}  // namespace vemo
