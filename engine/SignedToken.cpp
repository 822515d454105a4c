#include "engine/SignedToken.h"

#include <glib.h>

#include <array>
#include <memory>

namespace vemo {
namespace {

constexpr char kBetween = ';';  // stands in no token
constexpr gsize kDigestSize = 20;

std::string base64OfHmacSha1(std::string_view key, std::string_view text) {
  const auto* keyBytes = reinterpret_cast<const guchar*>(key.data());
  std::unique_ptr<GHmac, decltype(&g_hmac_unref)> hmac(
      g_hmac_new(G_CHECKSUM_SHA1, keyBytes, key.size()), g_hmac_unref);
  g_hmac_update(hmac.get(), reinterpret_cast<const guchar*>(text.data()),
                static_cast<gssize>(text.size()));
  std::array<guint8, kDigestSize> digest{};
  gsize size = digest.size();
  g_hmac_get_digest(hmac.get(), digest.data(), &size);
  const std::unique_ptr<gchar, decltype(&g_free)> encoded(g_base64_encode(digest.data(), size),
                                                          g_free);
  return encoded.get();
}

}  // namespace

std::string signedToken(std::string_view secret, std::int64_t expiry, std::string_view realm,
                        const std::vector<std::string>& permissions) {
  std::string text = std::to_string(expiry) + ',' + std::string(realm);
  for (const auto& permission : permissions) text += ',' + permission;
  return text + ':' + base64OfHmacSha1(secret, text);
}

std::string roomName(std::uint32_t sdkAppId, std::uint32_t roomId) {
  return std::to_string(sdkAppId) + '-' + std::to_string(roomId);
}

UserSignature UserSignature::of(std::string_view text) {
  const auto end = text.find(kBetween);
  if (end == std::string_view::npos) return {std::string(text), ""};
  return {std::string(text.substr(0, end)), std::string(text.substr(end + 1))};
}

std::string UserSignature::text() const { return server + kBetween + room; }

UserSignature signRoom(std::string_view secret, std::int64_t expiry, std::uint32_t sdkAppId,
                       std::uint32_t roomId) {
  constexpr std::string_view kRealm = "janus.plugin.videoroom";
  return {signedToken(secret, expiry, "janus", {std::string(kRealm)}),
          signedToken(secret, expiry, kRealm, {"room=" + roomName(sdkAppId, roomId)})};
}

}  // namespace vemo
