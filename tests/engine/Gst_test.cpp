#include "engine/Gst.h"

#include <gtest/gtest.h>
#include <openssl/crypto.h>
#include <unistd.h>

#include <cstdlib>

namespace vemo::janus {
namespace {

// A process of its own, where nothing has used OpenSSL before.
TEST(GStreamerDeathTest, LeavesThreadsThatOutliveTheProgramWhatOpenSslKeepsForThem) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto inAChild = [] {
    initialiseGStreamer();
    OPENSSL_init_crypto(OPENSSL_INIT_LOAD_CRYPTO_STRINGS, nullptr);
    OPENSSL_atexit([] { ::_exit(1); });  // called when OpenSSL takes all away
    std::exit(0);
  };
  EXPECT_EXIT(inAChild(), ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace vemo::janus
