#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vemo {

/// A token that the media server takes: until `expiry` (seconds since 1970) its bearer may do in
/// `realm` what `permissions` name. `secret` is the server's own. It says nothing of who the
/// bearer is: whoever has it may use any user id.
std::string signedToken(std::string_view secret, std::int64_t expiry, std::string_view realm,
                        const std::vector<std::string>& permissions);

/// What the server calls room `roomId` of application `sdkAppId`.
std::string roomName(std::uint32_t sdkAppId, std::uint32_t roomId);

/// The two tokens that entering a room takes, as they travel in a user's signature: for the
/// server and, behind a ';', for the room. A token for the room may be missing: then it is
/// empty.
struct UserSignature {
  std::string server;
  std::string room;

  static UserSignature of(std::string_view text);
  std::string text() const;
};

/// A signature for one room until `expiry`.
UserSignature signRoom(std::string_view secret, std::int64_t expiry, std::uint32_t sdkAppId,
                       std::uint32_t roomId);

}  // namespace vemo
