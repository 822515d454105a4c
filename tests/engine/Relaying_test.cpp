#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <regex>
#include <string>

#include "Classroom.h"
#include "Folder.h"
#include "LogLines.h"
#include "MediaServer.h"
#include "Senses.h"
#include "TurnServer.h"
#include "engine/PeerConnection.h"

namespace vemo {
namespace {

/// In the relay's settings, and as it stands in an address.
constexpr const char* kPassword = "a:Curious@one/%";
constexpr const char* kWrittenPassword = "a%3ACurious%40one%2F%25";
constexpr const char* kNoMedia = "begins anew";
constexpr const char* kNoRelay =
    "no TURN server passes media on (10.99.0.1:3478): each can't be reached, or refuses the user "
    "or "
    "the password";

std::string turn(const std::string& password, const std::string& place) {
  return "turn://class:" + password + '@' + place;
}

/// Waits until the relay tells that a way to the media server has ended over which many packets
/// went.
void waitForMediaOver(TurnServer& relay) {
  constexpr std::uint64_t kMany = 100;
  const std::regex count(" peer usage: .*, username=<class>, rp=([0-9]+), .*, sp=([0-9]+)");
  std::smatch counted;
  std::uint64_t packets = 0;
  while (packets < kMany) {
    const auto line = relay.log().waitFor(" peer usage: ");
    if (line.empty()) return;
    if (std::regex_search(line, counted, count)) {
      packets = std::stoull(counted[1]) + std::stoull(counted[2]);
    }
  }
}

class RelayTest : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!TurnServer::isInstalled()) GTEST_SKIP() << "coturn is not installed";
    if (!network_.works()) GTEST_SKIP() << "nft can't close parts of a network here";
    relay_ = std::make_unique<TurnServer>(kPassword);
    server_ = std::make_unique<MediaServer>();
  }
  EngineOptions options(const std::string& relay) const {
    auto made = testOptions(server_->url());
    if (!relay.empty()) made.relays = {relay};
    return made;
  }

  NarrowNetwork network_;
  std::unique_ptr<TurnServer> relay_;
  std::unique_ptr<MediaServer> server_;
};

/// Alice, who sends, and Bob, who is to see and hear her, in a class that both have entered.
struct ClassOfTwo {
  explicit ClassOfTwo(const EngineOptions& options)
      : logLines(folder.file("log/engine.log")), alice("alice", options), bob("bob", options) {
    alice.engineClass().setLogDirPath(folder.file("log"));
    begin();
  }
  void begin() {
    alice.enterSending().entered();
    bob.enter(kKOBURoleAudience).entered();
    bob.told->waitFor("onUserVideoAvailable alice 1");
    bob->startRemoteView("alice", kKOBUStreamTypeMain, view);
  }
  void seeAndHear() {
    EXPECT_TRUE(view->waitForColour("red")) << view->seen();
    EXPECT_TRUE(bob.heard().waitForPitch(440));
  }

  const Folder folder;
  LogLines logLines;  // of Alice
  const std::shared_ptr<SeenView> view = std::make_shared<SeenView>();
  Person alice, bob;
};

TEST_F(RelayTest, WithoutOneNoMediaComesUntilTheDirectWayIsOpen) {
  network_.closeDirectWay();
  ClassOfTwo two(options(""));
  two.logLines.waitFor(kNoMedia);
  EXPECT_EQ(two.view->count(), 0U);
  EXPECT_EQ(two.bob.told->count("onFirstVideoFrame"), 0U);
  network_.open();
  two.seeAndHear();
}

TEST_F(RelayTest, MediaGoesThroughItWhereNoOtherWayIs) {
  network_.closeDirectWay();
  {
    ClassOfTwo two(options(turn(kWrittenPassword, "10.99.0.1?transport=udp")));
    two.seeAndHear();
    EXPECT_TRUE(two.view->waitForPictures(30));
  }
  waitForMediaOver(*relay_);  // that of Alice
  waitForMediaOver(*relay_);  // that of Bob
}

TEST_F(RelayTest, ItIsFoundByItsNameAndReachedByTcp) {
  network_.closeDirectWay();
  network_.closeUdpToRelay();
  {
    ClassOfTwo two(options(turn(kWrittenPassword, "localhost:3478?transport=tcp")));
    two.seeAndHear();
    EXPECT_TRUE(two.view->waitForPictures(30));
  }
  waitForMediaOver(*relay_);
  waitForMediaOver(*relay_);
}

TEST_F(RelayTest, WithoutATransportBothAreTried) {
  network_.closeDirectWay();
  network_.closeUdpToRelay();
  ClassOfTwo two(options(turn(kWrittenPassword, "10.99.0.1:3478")));
  two.seeAndHear();
}

TEST_F(RelayTest, OneThatRefusesThePasswordIsToldOfAndTheClassGoesOnWhereItCan) {
  network_.closeDirectWay();
  ClassOfTwo two(options(turn("a-wrong-one", "10.99.0.1")));
  two.logLines.waitFor(kNoRelay);
  two.logLines.waitFor(kNoMedia);
  EXPECT_EQ(two.view->count(), 0U);
  relay_->log().waitFor("user class credentials are incorrect");
  network_.open();
  two.seeAndHear();
  EXPECT_EQ(two.logLines.passed().find("a-wrong-one"), std::string::npos);
}

TEST_F(RelayTest, OneThatCantBeReachedLeavesTheDirectWay) {
  relay_->stop();
  ClassOfTwo two(options(turn(kWrittenPassword, "10.99.0.1")));
  two.seeAndHear();
  two.logLines.waitFor(kNoRelay);
}

TEST_F(RelayTest, OneThatGoesAwayHoldsUpNobodyWhoLeaves) {
  network_.closeDirectWay();
  ClassOfTwo two(options(turn(kWrittenPassword, "10.99.0.1")));
  two.seeAndHear();
  relay_->stop();
  two.alice->exitRoom();
  two.alice.told->waitFor("onExitRoom");
  // libnice gives up telling it.
  EXPECT_TRUE(two.alice.engineClass().settle(std::chrono::minutes(1)));
}

TEST_F(RelayTest, OneWhoseNameIsUnknownLeavesTheOthers) {
  network_.closeDirectWay();
  auto named = options(turn(kWrittenPassword, "relay.invalid"));
  named.relays.push_back(turn(kWrittenPassword, "10.99.0.1"));
  ClassOfTwo two(named);
  two.seeAndHear();
  two.logLines.waitFor("the relay relay.invalid:3478 is not used: ");
}

TEST_F(RelayTest, TheFileIsReadAtEachEnterAndWrongLinesAreToldOf) {
  network_.closeDirectWay();
  const Folder folder;
  auto named = options("");
  named.relaysFile =
      folder.write("relays", "turn://class:" + std::string(kPassword) + "@10.99.0.1");
  ClassOfTwo two(named);
  two.logLines.waitFor(named.relaysFile + ", line 1: this is no address");
  two.logLines.waitFor(kNoMedia);
  folder.write("relays",
               "# the password was written wrongly\n" + turn(kWrittenPassword, "10.99.0.1") + '\n');
  for (auto* person : {&two.alice, &two.bob}) {
    (*person)->exitRoom();
    person->told->waitFor("onExitRoom");
    person->told->clear();
  }
  two.begin();
  two.seeAndHear();
  EXPECT_EQ(two.logLines.passed().find("Curious"), std::string::npos);
}

TEST_F(RelayTest, ItReachesTheMediaServerAlone) {
  ASSERT_EQ(std::system("ip addr add 10.99.0.2/24 dev v0"), 0);
  const auto ask = [](const std::string& address) {
    const auto command = std::string("timeout 5 turnutils_uclient -n 1 -m 1 -u class -w '") +
                         kPassword + "' -e " + address + ' ' + kAddress + " >/dev/null 2>&1";
    EXPECT_NE(std::system(command.c_str()), -1);
  };
  ask("10.99.0.2");
  relay_->log().waitFor("CHANNEL_BIND processed, error 403: Forbidden IP");
  ask(kAddress);
  relay_->log().waitFor("CHANNEL_BIND processed, success");
}

TEST_F(RelayTest, AStunServerTellsTheAddressOutside) {
  const std::string outside = "10.99.0.77";
  if (!network_.translateTo(outside)) GTEST_SKIP() << "nft can't translate addresses here";
  EngineThread thread;
  Arrivals<std::string> candidates;
  std::shared_ptr<janus::PeerConnection> connection;
  thread.post([&] {
    janus::PeerConnection::Settings settings;
    EngineOptions options;
    options.relays = {"stun://10.99.0.1"};
    settings.relays = relaysOf(options).usable;
    connection = std::make_shared<janus::PeerConnection>(
        thread, settings,
        janus::PeerConnection::Listener{
            [&](unsigned, const std::string& candidate) { candidates.add(candidate); },
            [](const std::string& why) { ADD_FAILURE() << why; }, nullptr});
    connection->addSendLine(
        "application/x-rtp,media=audio,encoding-name=OPUS,clock-rate=48000,"
        "encoding-params=(string)2,payload=96,ssrc=(uint)1");
    connection->start();
    connection->offer([](const auto& error, const auto&) { EXPECT_EQ(error.value_or(""), ""); });
  });
  auto candidate = candidates.next();
  while (candidate && candidate->find(" typ srflx") == std::string::npos) {
    EXPECT_EQ(candidate->find(outside), std::string::npos) << *candidate;
    candidate = candidates.next();
  }
  EXPECT_NE(candidate.value_or("none").find(' ' + outside + ' '), std::string::npos);
  thread.post([&] { connection.reset(); });
  EXPECT_TRUE(thread.waitUntilIdle(std::chrono::seconds(30)));
}

}  // namespace
}  // namespace vemo
