#include "platform/PublicAddress.h"

#include <algorithm>
#include <array>
#include <boost/asio/ip/address_v4.hpp>
#include <boost/asio/ip/address_v6.hpp>
#include <boost/asio/ip/network_v4.hpp>
#include <boost/asio/ip/network_v6.hpp>
#include <cstddef>

namespace vemo {
namespace {

using namespace boost::asio::ip;

template <class Network>
bool holds(const Network& network, const decltype(network.address())& address) {
  return Network(address, network.prefix_length()).canonical() == network;
}

bool isPublic(const address_v4& address) {
  static const std::array kOthers{
      make_network_v4("0.0.0.0/8"),        // this machine
      make_network_v4("10.0.0.0/8"),       // private
      make_network_v4("100.64.0.0/10"),    // shared by a provider's customers
      make_network_v4("127.0.0.0/8"),      // this machine
      make_network_v4("169.254.0.0/16"),   // link-local
      make_network_v4("172.16.0.0/12"),    // private
      make_network_v4("192.0.0.0/24"),     // protocols
      make_network_v4("192.0.2.0/24"),     // documents
      make_network_v4("192.168.0.0/16"),   // private
      make_network_v4("198.18.0.0/15"),    // measurements
      make_network_v4("198.51.100.0/24"),  // documents
      make_network_v4("203.0.113.0/24"),   // documents
      make_network_v4("224.0.0.0/3"),      // many at once, unassigned, everybody
  };
  return std::ranges::none_of(kOthers, [&](const auto& net) { return holds(net, address); });
}

address_v4 partOf(const address_v6& address, std::size_t first) {
  const auto bytes = address.to_bytes();
  return address_v4(address_v4::bytes_type{bytes.at(first), bytes.at(first + 1),
                                           bytes.at(first + 2), bytes.at(first + 3)});
}

bool isPublic(const address_v6& address) {
  static const auto kMapped = make_network_v6("::ffff:0:0/96");
  static const auto kTranslated = make_network_v6("64:ff9b::/96");
  static const auto kTunnelled = make_network_v6("2002::/16");
  if (holds(kMapped, address) || holds(kTranslated, address)) return isPublic(partOf(address, 12));
  if (holds(kTunnelled, address)) return isPublic(partOf(address, 2));

  static const auto kGlobal = make_network_v6("2000::/3");
  static const std::array kOthers{
      make_network_v6("2001::/23"),      // protocols, tunnels among them
      make_network_v6("2001:db8::/32"),  // documents
      make_network_v6("3fff::/20"),      // documents
  };
  return holds(kGlobal, address) &&
         std::ranges::none_of(kOthers, [&](const auto& net) { return holds(net, address); });
}

}  // namespace

bool isPublic(const address& address) {
  return address.is_v4() ? isPublic(address.to_v4()) : isPublic(address.to_v6());
}

}  // namespace vemo
