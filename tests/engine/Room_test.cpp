#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "Classroom.h"
#include "Folder.h"
#include "MediaServer.h"
#include "bridge/EngineCodes.h"

namespace vemo {
namespace {

using namespace std::chrono_literals;

class RoomTest : public ::testing::Test {
 protected:
  /// What entering with these parameters is answered with.
  static std::int64_t answerTo(const EngineOptions& options, const KOBUParams& params) {
    Person someone(params.userId.value_or(""), options);
    someone->enterRoom(params, 0);
    someone.entered();
    const auto result = someone.told->events("onEnterRoom").at(0).number;
    const auto errors = someone.told->events("onError");
    EXPECT_EQ(errors.size(), result < 0 ? 1U : 0U);
    for (const auto& error : errors) EXPECT_EQ(error.number, result) << error.line;
    return result;
  }
};

TEST_F(RoomTest, EveryFailureToEnterHasItsCode) {
  MediaServer server;
  const auto options = testOptions(server.url());
  const auto good = MediaServer::params("alice");
  EXPECT_GE(answerTo(options, good), 0);

  auto params = good;
  params.roomId = 0;
  EXPECT_EQ(answerTo(options, params), kEnterBadRoomId);
  params = good;
  params.userId = std::nullopt;
  EXPECT_EQ(answerTo(options, params), kEnterBadUserId);
  params.userId = std::string(300, 'a');
  EXPECT_EQ(answerTo(options, params), kEnterBadUserId);
  params = good;
  params.role = 7;
  EXPECT_EQ(answerTo(options, params), kEnterRefused);
  params = good;
  params.userSig = std::nullopt;
  EXPECT_EQ(answerTo(options, params), kEnterBadSignature);
  params.userSig = MediaServer::signature(8);  // of another room
  EXPECT_EQ(answerTo(options, params), kEnterBadSignature);
  params.sdkAppId = 1;  // of another application
  params.userSig = good.userSig;
  EXPECT_EQ(answerTo(options, params), kEnterBadSignature);

  EXPECT_EQ(answerTo(testOptions("ws://10.99.0.1:1"), good), kEnterTimedOut);
  auto none = options;
  none.servers.clear();
  EXPECT_EQ(answerTo(none, good), kEnterRefused);
}

TEST_F(RoomTest, AFullRoomTakesAudienceButNoAnchors) {
  MediaServer server;
  auto options = testOptions(server.url());
  options.mostAnchors = 1;
  Person alice("alice", options);
  alice.enter();
  alice->startLocalPreview(true, nullptr);
  Person carol("carol", options);
  carol.enter(kKOBURoleAudience);
  carol.told->waitFor("onFirstVideoFrame alice");  // who sends counts
  EXPECT_TRUE(carol.told->events("onError").empty());
  EXPECT_EQ(answerTo(options, MediaServer::params("bob")), kEnterRoomFull);
  carol->switchRole(kKOBURoleAnchor);
  carol.told->waitFor("onSwitchRole " + std::to_string(kEnterRoomFull));
}

TEST_F(RoomTest, TheSameUserEntersOnce) {
  MediaServer server;
  const auto options = testOptions(server.url());
  Person alice("alice", options);
  alice.enter().entered();
  EXPECT_EQ(answerTo(options, MediaServer::params("alice")), kEnterRefused);
  alice.enter();
  alice.told->waitFor("onError " + std::to_string(kAlreadyInRoom));
}

TEST_F(RoomTest, EachSeesWhoComesAndGoes) {
  MediaServer server;
  const auto options = testOptions(server.url());
  Person alice("alice", options);
  alice.enter().entered();
  auto bob = std::make_unique<Person>("bob", options);
  bob->enter().entered();
  bob->told->waitFor("onRemoteUserEnterRoom alice");
  alice.told->waitFor("onRemoteUserEnterRoom bob");
  (*bob)->switchRole(kKOBURoleAudience);
  alice.told->waitFor("onRemoteUserLeaveRoom bob 3");
  bob->told->waitFor("onSwitchRole 0");
  alice.told->clear();
  (*bob)->switchRole(kKOBURoleAnchor);
  alice.told->waitFor("onRemoteUserEnterRoom bob");
  (*bob)->exitRoom();
  bob->told->waitFor("onExitRoom 0");
  alice.told->waitFor("onRemoteUserLeaveRoom bob 0");
  alice.told->clear();
  bob->told->clear();
  bob->enter().entered();
  alice.told->waitFor("onRemoteUserEnterRoom bob");
  bob.reset();  // without leaving first
  alice.told->waitFor("onRemoteUserLeaveRoom bob 0");
}

TEST_F(RoomTest, AudienceIsNotSeen) {
  MediaServer server;
  const auto options = testOptions(server.url());
  Person alice("alice", options);
  alice.enter().entered();
  Person bob("bob", options);
  bob.enter(kKOBURoleAudience).entered();
  bob.told->waitFor("onRemoteUserEnterRoom alice");
  Person carol("carol", options);
  carol.enter().entered();
  alice.told->waitFor("onRemoteUserEnterRoom carol");
  EXPECT_EQ(alice.told->count("onRemoteUserEnterRoom bob"), 0U);
}

TEST_F(RoomTest, RoomsAndApplicationsAreApart) {
  MediaServer server;
  const auto options = testOptions(server.url());
  Person alice("alice", options);
  alice.enter(kKOBURoleAnchor, 7).entered();
  Person bob("bob", options);
  bob.enter(kKOBURoleAnchor, 8).entered();
  Person carol("carol", options);
  carol.enter(kKOBURoleAnchor, 7).entered();
  carol.told->waitFor("onRemoteUserEnterRoom alice");
  EXPECT_EQ(carol.told->count("onRemoteUserEnterRoom bob"), 0U);
}

TEST_F(RoomTest, ALostConnectionComesBackAndSoDoesWhatIsReceived) {
  MediaServer server;
  const auto options = testOptions(server.url());
  Person alice("alice", options);
  alice.enter();
  alice->startLocalPreview(true, nullptr);
  alice->startLocalAudio(2);
  Person bob("bob", options);
  bob.enter().entered();
  const auto view = std::make_shared<SeenView>();
  bob->startRemoteView("alice", kKOBUStreamTypeMain, view);
  ASSERT_TRUE(view->waitForColour("red"));
  for (auto* one : {&bob, &alice}) {
    (*one)->callExperimentalAPI(R"({"api":"dropConnection"})");
    one->told->waitFor("onConnectionLost");
    one->told->waitFor("onTryToReconnect");
    one->told->waitFor("onConnectionRecovery");
    one->engineClass().settle(30s);
    alice->getDeviceManager().switchCamera(one == &alice);
    EXPECT_TRUE(view->waitForColour(one == &alice ? "red" : "blue"));
    EXPECT_TRUE(bob.heard().waitForPitch(440));
  }
  EXPECT_EQ(bob.told->count("onRemoteUserLeaveRoom"), 0U)
      << ::testing::PrintToString(bob.told->takeRare());
}

TEST_F(RoomTest, AServerThatWasRestartedHasTheClassBack) {
  MediaServer server;
  const auto options = testOptions(server.url());
  Person alice("alice", options);
  alice.enter();
  alice->startLocalPreview(true, nullptr);
  alice->startLocalAudio(2);
  Person bob("bob", options);
  bob.enter().entered();
  const auto view = std::make_shared<SeenView>();
  bob->startRemoteView("alice", kKOBUStreamTypeMain, view);
  ASSERT_TRUE(view->waitForColour("red"));
  server.stop();
  alice.told->waitFor("onConnectionLost");
  bob.told->waitFor("onConnectionLost");
  alice->switchRole(kKOBURoleAudience);
  alice.told->waitFor("onSwitchRole " + std::to_string(kEnterTimedOut));
  server.start();
  alice.told->waitFor("onConnectionRecovery");
  bob.told->waitFor("onConnectionRecovery");
  alice->getDeviceManager().switchCamera(false);
  EXPECT_TRUE(view->waitForColour("blue"));
  EXPECT_TRUE(bob.heard().waitForPitch(440));
}

TEST_F(RoomTest, TheListOfServersIsReadAgain) {
  MediaServer server;
  const Folder folder;
  auto options = testOptions("");
  options.serversFile = folder.file("servers");
  std::ofstream(options.serversFile) << "ws://10.99.0.1:1\n";
  Person alice("alice", options);
  alice.enter();
  alice.told->waitFor("onEnterRoom " + std::to_string(kEnterTimedOut));
  alice.told->clear();
  std::ofstream(options.serversFile) << "# another\n" << server.url() << '\n';
  alice.enter().entered();
  EXPECT_TRUE(alice.told->events("onError").empty());
}

TEST_F(RoomTest, ASpeedTestMeasuresEachServer) {
  MediaServer server;
  auto options = testOptions(server.url());
  options.servers.emplace_back("ws://10.99.0.1:1");
  Person alice("alice", options);
  std::vector<KOBUSpeedTestResult> results;
  std::vector<std::int64_t> arrived;
  alice->startSpeedTest(1, "alice", MediaServer::signature(7),
                        [&](const auto& result, std::int64_t completed, std::int64_t) {
                          results.push_back(*result);
                          arrived.push_back(completed);
                        });
  EXPECT_TRUE(alice.engineClass().settle(std::chrono::seconds(180)));
  ASSERT_EQ(arrived, (std::vector<std::int64_t>{1, 2}));
  EXPECT_EQ(results[0].ip, "10.99.0.1:8188");
  EXPECT_EQ(results[0].quality, 1);
  EXPECT_EQ(results[0].upLostRate, 0);
  EXPECT_EQ(results[0].downLostRate, 0);
  EXPECT_GT(results[0].rtt, 0);
  EXPECT_EQ(results[1].ip, "10.99.0.1:1");
  EXPECT_EQ(results[1].quality, 6);
  EXPECT_EQ(results[1].downLostRate, 1);
}

}  // namespace
}  // namespace vemo
