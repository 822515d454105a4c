#include "platform/PublicAddress.h"

#include <gtest/gtest.h>

#include <boost/asio/ip/address.hpp>

namespace vemo {
namespace {

bool isPublic(const char* text) { return vemo::isPublic(boost::asio::ip::make_address(text)); }

TEST(PublicAddress, IsOfThePublicInternet) {
  for (const auto* address :
       {"1.1.1.1",          "8.8.8.8",         "9.255.255.255", "11.0.0.0",        "100.63.255.255",
        "100.128.0.0",      "126.255.255.255", "128.0.0.0",     "169.253.0.1",     "172.15.255.255",
        "172.32.0.0",       "192.167.0.1",     "192.169.0.1",   "198.17.0.1",      "198.20.0.1",
        "223.255.255.255",  "2606:4700::1111", "2a00:1450::1",  "2001:4860::8888", "::ffff:8.8.8.8",
        "64:ff9b::8.8.8.8", "2002:808:808::1"}) {
    EXPECT_TRUE(isPublic(address)) << address;
  }
}

TEST(PublicAddress, IsNotOfThisMachineOrAPrivateNetwork) {
  for (const auto* address :
       {"0.0.0.0",         "0.1.2.3",         "10.0.0.0",        "10.255.255.255",
        "100.64.0.0",      "100.127.255.255", "127.0.0.1",       "127.255.255.255",
        "169.254.169.254", "172.16.0.0",      "172.31.255.255",  "192.0.0.1",
        "192.0.2.1",       "192.168.0.0",     "192.168.255.255", "198.18.0.1",
        "198.19.255.255",  "198.51.100.1",    "203.0.113.1",     "224.0.0.1",
        "239.255.255.255", "240.0.0.1",       "255.255.255.255"}) {
    EXPECT_FALSE(isPublic(address)) << address;
  }
  for (const auto* address : {"::",
                              "::1",
                              "::127.0.0.1",
                              "::8.8.8.8",
                              "fc00::1",
                              "fdff::1",
                              "fe80::1",
                              "febf::1",
                              "fec0::1",
                              "ff02::1",
                              "100::1",
                              "2001::1",
                              "2001:db8::1",
                              "3fff::1",
                              "64:ff9b:1::1",
                              "::ffff:127.0.0.1",
                              "::ffff:10.0.0.1",
                              "::ffff:169.254.169.254",
                              "64:ff9b::10.0.0.1",
                              "64:ff9b::7f00:1",
                              "2002:7f00:1::1",
                              "2002:a00:1::1"}) {
    EXPECT_FALSE(isPublic(address)) << address;
  }
}

}  // namespace
}  // namespace vemo
