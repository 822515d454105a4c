#include "engine/SignedToken.h"

#include <gtest/gtest.h>

namespace vemo {
namespace {

constexpr std::int64_t kExpiry = 1'700'000'000;
constexpr const char* kSixteenLetters = "sixteen-letters!";

// What openssl dgst -sha1 -hmac makes of the texts before the colons.
TEST(SignedToken, IsTheTextAndItsSignature) {
  EXPECT_EQ(signedToken(kSixteenLetters, kExpiry, "janus", {"janus.plugin.videoroom"}),
            "1700000000,janus,janus.plugin.videoroom:JubsbBnUV8sHG3MzPfaLV0d79Ek=");
  EXPECT_EQ(signedToken(kSixteenLetters, kExpiry, "janus.plugin.videoroom", {"room=1400000001-7"}),
            "1700000000,janus.plugin.videoroom,room=1400000001-7:lLBHo0wWwidFp9l+4GJK9I8cEis=");
}

TEST(SignedToken, DependsOnTheSecret) {
  EXPECT_NE(signedToken("one", kExpiry, "janus", {"a"}),
            signedToken("two", kExpiry, "janus", {"a"}));
}

TEST(UserSignature, HoldsATokenForTheServerAndOneForTheRoom) {
  const auto signature = signRoom(kSixteenLetters, kExpiry, 1'400'000'001, 7);
  EXPECT_EQ(signature.room,
            "1700000000,janus.plugin.videoroom,room=1400000001-7:lLBHo0wWwidFp9l+4GJK9I8cEis=");
  const auto read = UserSignature::of(signature.text());
  EXPECT_EQ(read.server, signature.server);
  EXPECT_EQ(read.room, signature.room);
}

TEST(UserSignature, MayBeAnything) {
  EXPECT_EQ(UserSignature::of("").server, "");
  EXPECT_EQ(UserSignature::of("nonsense").server, "nonsense");
  EXPECT_EQ(UserSignature::of("nonsense").room, "");
  EXPECT_EQ(UserSignature::of(";").room, "");
}

}  // namespace
}  // namespace vemo
