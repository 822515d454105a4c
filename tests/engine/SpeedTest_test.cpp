#include "engine/SpeedTest.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Folder.h"
#include "MediaServer.h"
#include "engine/VideoRoom.h"
#include "testing/Arrivals.h"

namespace vemo {
namespace {

using namespace std::chrono_literals;
using janus::JanusConnection;
using janus::LossTest;

constexpr const char* kKey = "the-key-of-the-operator";
/// Where the server sends and receives media.
constexpr int kFirstPort = 20'000;
constexpr int kLastPort = 20'999;

/// The test's network, in which media can be lost. What counts is done by a filter in the kernel.
class LossyNetwork {
 public:
  LossyNetwork() : works_(run("qdisc add dev lo clsact")) {}
  ~LossyNetwork() {
    if (works_) run("qdisc del dev lo clsact");
  }
  LossyNetwork(const LossyNetwork&) = delete;
  LossyNetwork& operator=(const LossyNetwork&) = delete;

  /// One of so many packets of sound is lost, no others are. False where the kernel can't.
  bool loseUp(int of) { return works_ && run(filter(kDestination, oneOf(of))); }
  bool loseDown(int of) { return works_ && run(filter(kSource, oneOf(of))); }
  /// All that is sent to where the server receives media is lost.
  bool loseAll() { return works_ && run(filter(kDestination, {})); }

 private:
  // Where things are in a frame of UDP over IPv4.
  static constexpr int kSource = 34;
  static constexpr int kDestination = 36;

  static bool run(const std::string& what) {
    return std::system(("tc " + what + " 2>/dev/null").c_str()) == 0;
  }
  static std::vector<std::string> oneOf(int of) {
    return {"48 0 0 42",  // the first byte of what UDP carries
            "84 0 0 192",
            "21 0 P 128",  // is one of RTP
            "48 0 0 43",   // the kind of its content
            "84 0 0 127",
            "53 0 P 96",  // is no report
            "40 0 0 44",  // its number
            "148 0 0 " + std::to_string(of),
            "21 0 P 3"};
  }
  /// Drops UDP whose port at `portAt` is one of the server's and that fits `more`. P stands for the
  /// way to the end, where it is let pass.
  static std::string filter(int portAt, const std::vector<std::string>& more) {
    std::vector<std::string> code{"40 0 0 12",
                                  "21 0 P 2048",  // IPv4
                                  "48 0 0 23",
                                  "21 0 P 17",  // UDP
                                  "40 0 0 " + std::to_string(portAt),
                                  "53 0 P " + std::to_string(kFirstPort),
                                  "37 P 0 " + std::to_string(kLastPort)};
    code.insert(code.end(), more.begin(), more.end());
    code.emplace_back("6 0 0 2");           // drop
    code.emplace_back("6 0 0 4294967295");  // the next filter decides
    std::string text = std::to_string(code.size());
    for (std::size_t i = 0; i < code.size(); ++i) {
      if (const auto at = code[i].find('P'); at != std::string::npos) {
        code[i].replace(at, 1, std::to_string(code.size() - 2 - i));
      }
      text += ',' + code[i];
    }
    return "filter add dev lo egress bpf da bytecode '" + text + "'";
  }

  const bool works_;
};

constexpr const char* kNoFilters = "this kernel has no filter that loses packets (cls_bpf)";

std::vector<std::string> serverOptions(std::vector<std::string> more = {}) {
  more.emplace_back("--rtp-ports");
  more.push_back(std::to_string(kFirstPort) + '-' + std::to_string(kLastPort));
  return more;
}

JanusConnection::Settings connectionTo(const std::string& server) {
  JanusConnection::Settings settings;
  settings.server = server;
  const auto signature = MediaServer::signature(7);
  settings.token = UserSignature::of(signature).server;
  return settings;
}

/// On a busy machine, too, media has come through by then.
LossTest::Settings patient(const std::string& adminKey = "") {
  LossTest::Settings settings;
  settings.adminKey = adminKey;
  settings.media.longestWayUp = 60s;
  return settings;
}

/// A speed test, what it finds and what it says.
class Measuring {
 public:
  explicit Measuring(const std::vector<std::string>& servers,
                     const LossTest::Settings& media = patient()) {
    std::vector<JanusConnection::Settings> all;
    for (const auto& server : servers) all.push_back(connectionTo(server));
    thread_.post([this, all, media] {
      test_ = std::make_unique<janus::SpeedTest>(
          thread_, all, media,
          std::make_shared<const KOBUCloud::SpeedTestCompletion>(
              [this](const auto& result, std::int64_t, std::int64_t) { found.add(*result); }),
          [this](const std::string& text) { said.add(text); });
    });
  }
  ~Measuring() {
    stop();
    EXPECT_TRUE(thread_.waitUntilIdle(30s));
  }
  Measuring(const Measuring&) = delete;
  Measuring& operator=(const Measuring&) = delete;

  void stop() {
    thread_.post([this] { test_.reset(); });
  }

  /// Once the test has ended.
  KOBUSpeedTestResult result() {
    EXPECT_TRUE(thread_.waitUntilIdle(180s));
    return found.next().value_or(KOBUSpeedTestResult{});
  }

  Arrivals<KOBUSpeedTestResult> found;
  Arrivals<std::string> said;

 private:
  EngineThread thread_;
  std::unique_ptr<janus::SpeedTest> test_;
};

/// Looks at the rooms of a server.
class Rooms {
 public:
  explicit Rooms(const MediaServer& server) {
    connection_ = std::make_shared<JanusConnection>(
        thread_, connectionTo(server.url()),
        JanusConnection::Listener{[](auto, const auto&) {}, [] {}, [] {}, [](bool) {},
                                  [](const auto&) {}});
    thread_.post([this] {
      connection_->open([this](const auto&) {
        connection_->attach(janus::kVideoRoom, [this](const auto&, std::uint64_t handle) {
          handle_ = handle;
          opened_.add(true);
        });
      });
    });
    opened_.next();
  }
  ~Rooms() {
    thread_.post([this] { connection_->close(); });
    EXPECT_TRUE(thread_.waitUntilIdle(30s));
  }
  Rooms(const Rooms&) = delete;
  Rooms& operator=(const Rooms&) = delete;

  /// Waits until there are so many.
  void waitFor(std::size_t count) {
    const auto late = std::chrono::steady_clock::now() + 120s;
    while (look() != count) {
      if (std::chrono::steady_clock::now() > late) return ADD_FAILURE() << "never " << count;
    }
  }

 private:
  std::size_t look() {
    Arrivals<std::size_t> counted;
    thread_.post([&] {
      // With a pause, so that the server has time for others.
      pause_ = thread_.after(50ms, [&] {
        connection_->message(handle_, {{"request", "list"}, {"admin_key", kKey}}, std::nullopt,
                             [&](const JanusConnection::Result& result) {
                               const auto* list = result.answer.if_contains("list");
                               ASSERT_TRUE(list && list->is_array());
                               counted.add(list->get_array().size());
                             });
      });
    });
    return counted.next().value_or(0);
  }

  Arrivals<bool> opened_;
  EngineThread thread_;
  std::shared_ptr<JanusConnection> connection_;
  std::uint64_t handle_ = 0;
  EngineThread::Timer pause_;
};

TEST(SpeedTestTest, LossIsThatOfMediaEachWay) {
  const MediaServer server(serverOptions());
  LossyNetwork network;
  // The numbers have no common divisor, so the one loses its part of what the other leaves.
  if (!network.loseUp(10) || !network.loseDown(7)) GTEST_SKIP() << kNoFilters;
  Measuring measuring({server.url()});
  const auto result = measuring.result();
  EXPECT_NEAR(result.upLostRate, 1.0 / 10, 0.02);
  EXPECT_NEAR(result.downLostRate, 1.0 / 7, 0.02);
  EXPECT_GE(result.quality, 4);
  EXPECT_GT(result.rtt, 0);
  EXPECT_EQ(measuring.said.count(), 0U);
}

TEST(SpeedTestTest, WhereNoMediaComesThroughAllIsLost) {
  const MediaServer server(serverOptions());
  LossyNetwork network;
  if (!network.loseAll()) GTEST_SKIP() << kNoFilters;
  LossTest::Settings media;
  media.media.longestWayUp = 1s;
  Measuring measuring({server.url()}, media);
  const auto result = measuring.result();
  EXPECT_EQ(result.upLostRate, 1);
  EXPECT_EQ(result.downLostRate, 1);
  EXPECT_EQ(result.quality, 6);
  EXPECT_GT(result.rtt, 0);
  const std::string why = "speed test of 10.99.0.1:8188: no media came through";
  EXPECT_EQ(measuring.said.next(2), (std::vector{why, why}));
}

class SpeedTestRoomTest : public ::testing::Test {
 protected:
  const Folder folder_;
  MediaServer server_{serverOptions({"--admin-key-file", folder_.write("key", kKey)})};
};

TEST_F(SpeedTestRoomTest, WhereItMayMakeNoRoomTheRoundTripIsToldAllTheSame) {
  Measuring measuring({server_.url()});
  const auto result = measuring.result();
  EXPECT_GT(result.rtt, 0);
  EXPECT_EQ(result.upLostRate, 0);
  EXPECT_NE(result.quality, 6);
  const auto said = measuring.said.next().value_or("");
  EXPECT_TRUE(said.starts_with("speed test of 10.99.0.1:8188: ")) << said;
}

TEST_F(SpeedTestRoomTest, TheRoomIsThereForTheTestAlone) {
  Rooms rooms(server_);
  rooms.waitFor(0);
  Measuring measuring({server_.url()}, patient(kKey));
  rooms.waitFor(1);
  EXPECT_EQ(measuring.result().downLostRate, 0);
  rooms.waitFor(0);
  EXPECT_EQ(measuring.said.count(), 0U);
}

TEST_F(SpeedTestRoomTest, StoppedInTheMiddleItLeavesNoRoomAndTellsNothing) {
  Rooms rooms(server_);
  Measuring measuring({server_.url()}, patient(kKey));
  rooms.waitFor(1);
  measuring.stop();
  rooms.waitFor(0);
  EXPECT_EQ(measuring.found.count(), 0U);
}

TEST_F(SpeedTestRoomTest, AServerThatGoesAwayHasLostAllAndTheNextIsMeasured) {
  Measuring measuring({server_.url(), "ws://10.99.0.1:1"}, patient(kKey));
  {
    Rooms rooms(server_);
    rooms.waitFor(1);
  }
  server_.stop();
  const auto result = measuring.result();
  EXPECT_EQ(result.ip, "10.99.0.1:8188");
  EXPECT_EQ(result.upLostRate, 1);
  EXPECT_EQ(result.downLostRate, 1);
  EXPECT_EQ(result.quality, 6);
  EXPECT_EQ(measuring.said.next(), "speed test of 10.99.0.1:8188: the connection was lost");
  EXPECT_EQ(measuring.result().ip, "10.99.0.1:1");
}

}  // namespace
}  // namespace vemo
