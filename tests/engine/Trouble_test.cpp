#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>

#include "Classroom.h"
#include "Folder.h"
#include "MediaServer.h"
#include "Senses.h"
#include "bridge/EngineCodes.h"
#include "engine/Gst.h"
#include "engine/JanusConnection.h"
#include "testing/Arrivals.h"

namespace vemo {
namespace {

using namespace std::chrono_literals;

/// Nothing can be read from it.
constexpr const char* kNothing = "filesrc location=/nowhere/device";
const std::string kWarning = "onWarning " + std::to_string(kWarnDevice) + " ";

// Devices

class DeviceTest : public ::testing::Test {
 protected:
  const MediaServer server_;
  EngineOptions options_ = testOptions(server_.url());
};

TEST_F(DeviceTest, WithoutACameraATestPictureIsSeen) {
  options_.frontCamera = {kNothing, "filesrc location=/nowhere/else"};
  Person alice("alice", options_);
  const auto view = std::make_shared<SeenView>();
  alice->startLocalPreview(true, view);
  alice.told->waitFor("onCameraDidReady");
  EXPECT_TRUE(view->waitForPictures(1));
  // Told once, of the last.
  const auto warnings = alice.told->events("onWarning");
  ASSERT_EQ(warnings.size(), 1U);
  EXPECT_TRUE(warnings[0].line.starts_with(kWarning + "The camera can't be used, a test picture"))
      << warnings[0].line;
}

TEST_F(DeviceTest, OfTwoCamerasTheOneThatWorksIsTakenSilently) {
  options_.frontCamera.insert(options_.frontCamera.begin(), kNothing);
  Person alice("alice", options_);
  const auto view = std::make_shared<SeenView>();
  alice->startLocalPreview(true, view);
  EXPECT_TRUE(view->waitForColour("red"));
  EXPECT_TRUE(alice.told->events("onWarning").empty());
}

TEST_F(DeviceTest, ADeviceThatAnotherUsesIsSaidToBe) {
  // A port is had by one alone, as a camera is.
  const std::string port =
      "udpsrc port=20999 reuse=false ! rawvideoparse width=16 height=16 format=i420";
  janus::initialiseGStreamer();
  GstElement* other = gst_parse_launch("udpsrc port=20999 reuse=false ! fakesink", nullptr);
  ASSERT_NE(gst_element_set_state(other, GST_STATE_PLAYING), GST_STATE_CHANGE_FAILURE);
  options_.frontCamera = {port};
  Person alice("alice", options_);
  alice->startLocalPreview(true, nullptr);
  alice.told->waitFor(kWarning + "The camera can't be used");
  alice.told->waitFor("onCameraDidReady");
  gst_element_set_state(other, GST_STATE_NULL);
  gst_object_unref(other);
}

TEST_F(DeviceTest, ACameraThatIsUnpluggedLeavesTheClassGoingOn) {
  options_.frontCamera[0].replace(options_.frontCamera[0].find("is-live=true"), 0,
                                  "num-buffers=150 ");
  Person alice("alice", options_);
  Person bob("bob", testOptions(server_.url()));
  const auto view = std::make_shared<SeenView>();
  alice.enterSending();
  bob.enter().entered();
  bob->startRemoteView("alice", kKOBUStreamTypeMain, view);
  ASSERT_TRUE(view->waitForColour("red"));
  alice.told->waitFor(kWarning + "The camera can't be used, a test picture");
  EXPECT_TRUE(view->waitForColour("black")) << view->seen();  // the ground of the test picture
  EXPECT_TRUE(bob.heard().waitForPitch(440));
  EXPECT_EQ(alice.told->count("onExitRoom"), 0U);
}

TEST_F(DeviceTest, WithoutAMicrophoneThereIsSilence) {
  options_.microphone = {kNothing};
  Person alice("alice", options_);
  Person bob("bob", testOptions(server_.url()));
  alice.enter();
  alice->startLocalAudio(2);
  alice.told->waitFor(kWarning + "The microphone can't be used, so nobody can hear you");
  alice.told->waitFor("onMicDidReady");
  bob.enter();
  bob.told->waitFor("onFirstAudioFrame alice");
  EXPECT_TRUE(bob.heard().waitForPitch(0));
}

TEST_F(DeviceTest, WithoutASoundServerTheClassGoesOn) {
  // The first can't be made, the second not opened; the third ends while it is used. Each in a room
  // of its own: where a goodbye takes long, who has the same name is refused.
  std::uint32_t room = 7;
  for (const char* speaker : {"nosuchsink", "filesink location=/nowhere/device",
                              "identity error-after=30 ! fakesink sync=true"}) {
    options_.speaker = speaker;
    const auto silent = std::make_shared<RecordingDelegate>();
    JanusEngineClass made(options_);
    const auto bob = made.sharedInstance();
    bob->setDelegate(silent);
    Person alice("alice", testOptions(server_.url()));
    alice.enter(kKOBURoleAnchor, ++room);
    alice->startLocalAudio(2);
    alice->startLocalPreview(true, nullptr);
    bob->enterRoom(MediaServer::params("bob", room), 0);
    silent->waitFor(kWarning + "The speaker can't be used, so you hear nothing");
    const auto view = std::make_shared<SeenView>();
    bob->startRemoteView("alice", kKOBUStreamTypeMain, view);
    EXPECT_TRUE(view->waitForColour("red"));
    bob->enableAudioVolumeEvaluation(100);
    silent->waitFor("onUserVoiceVolume alice");
    EXPECT_EQ(silent->count("onWarning"), 1U)
        << speaker << ": " << ::testing::PrintToString(silent->takeRare());
  }
}

TEST_F(DeviceTest, AScreenThatCantBeCapturedEndsTheCapture) {
  options_.screen = {kNothing};
  Person alice("alice", options_);
  alice->startScreenCaptureInApp({});
  alice.told->waitFor("onScreenCaptureStoped");
  EXPECT_EQ(alice.told->count(kWarning + "The screen can't be captured"), 1U);
  EXPECT_EQ(alice->pauseScreenCapture(), kNotCapturing);
}

// Certificates

class CertificateTest : public ::testing::Test {
 protected:
  /// A server with a certificate of its own making for `name`, such as "IP:10.99.0.1".
  std::unique_ptr<MediaServer> serverFor(const std::string& name) {
    const auto command =
        "openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 "
        "-nodes -days 2 -subj /CN=classroom -addext subjectAltName=" +
        name + " -keyout " + folder_.file("key") + " -out " + certificate() + " 2>/dev/null";
    EXPECT_EQ(std::system(command.c_str()), 0);
    return std::make_unique<MediaServer>(
        std::vector<std::string>{"--certificate", certificate(), "--key", folder_.file("key")});
  }
  std::string certificate() const { return folder_.file("certificate"); }
  static std::string refusal(const EngineOptions& options) {
    Person alice("alice", options);
    alice.enter();
    alice.told->waitFor("onEnterRoom " + std::to_string(kEnterTimedOut));
    const auto errors = alice.told->events("onError");
    return errors.size() == 1 ? errors[0].line : std::to_string(errors.size()) + " errors";
  }

  const Folder folder_;
};

TEST_F(CertificateTest, OneThatIsVouchedForIsAcceptedAndMediaFlows) {
  const auto server = serverFor(std::string("IP:") + kAddress);
  auto options = testOptions(server->url());
  options.authorities = certificate();
  Person alice("alice", options);
  alice.enter();
  alice->startLocalPreview(true, nullptr);
  Person bob("bob", options);
  bob.enter().entered();
  const auto view = std::make_shared<SeenView>();
  bob->startRemoteView("alice", kKOBUStreamTypeMain, view);
  EXPECT_TRUE(view->waitForColour("red"));
}

TEST_F(CertificateTest, OneOfItsOwnMakingIsRefused) {
  const auto server = serverFor(std::string("IP:") + kAddress);
  EXPECT_EQ(
      refusal(testOptions(server->url())),
      "onError -3308 the server can't be reached: its certificate is refused, as nobody who is "
      "trusted vouches for it");
}

TEST_F(CertificateTest, OneOfAnotherServerIsRefused) {
  const auto server = serverFor("DNS:elsewhere.example");
  auto options = testOptions(server->url());
  options.authorities = certificate();
  EXPECT_EQ(
      refusal(options),
      "onError -3308 the server can't be reached: its certificate is refused, as it is another "
      "server's");
}

TEST_F(CertificateTest, AuthoritiesThatCantBeReadAreNamed) {
  auto options = testOptions(std::string("wss://") + kAddress + ":8188");
  options.authorities = "/nowhere/authorities.pem";
  EXPECT_NE(refusal(options).find("/nowhere/authorities.pem"), std::string::npos)
      << refusal(options);
}

// Whom the server does not have any longer

TEST(RemovalTest, WhoseSignatureEndsIsOutAndTheOthersGoOn) {
  const MediaServer server({"--session-timeout", "3"});
  auto options = testOptions(server.url());
  options.keepalive = 300ms;
  Person alice("alice", options);
  Person bob("bob", options);
  bob.enter().entered();
  auto params = MediaServer::params("alice");
  params.userSig = MediaServer::signature(7, 4s);
  alice->enterRoom(params, 0);
  alice.entered();
  bob.told->waitFor("onRemoteUserEnterRoom alice");
  alice.told->waitFor("onExitRoom " + std::to_string(kExitRemoved));
  const auto errors = alice.told->events("onError");
  ASSERT_EQ(errors.size(), 1U);
  EXPECT_EQ(errors[0].number, kEnterBadSignature);
  EXPECT_EQ(alice.told->count("onConnectionLost"), 0U);
  bob.told->waitFor("onRemoteUserLeaveRoom alice " + std::to_string(kLeaveTimedOut));
  EXPECT_EQ(bob.told->count("onExitRoom"), 0U);
  // With a new one she is back.
  alice.told->clear();
  bob.told->clear();
  alice.enter().entered();
  bob.told->waitFor("onRemoteUserEnterRoom alice");
}

/// An operator, who knows the key with which rooms are made.
class Operator {
 public:
  Operator(const MediaServer& server, std::string key) : key_(std::move(key)) {
    const auto signature = MediaServer::signature(7);
    janus::JanusConnection::Settings settings;
    settings.server = server.url();
    settings.token = UserSignature::of(signature).server;
    connection_ = std::make_shared<janus::JanusConnection>(
        thread_, settings,
        janus::JanusConnection::Listener{[](auto, const auto&) {}, [] {}, [] {}, [](bool) {},
                                         [](const auto&) {}});
  }
  ~Operator() {
    thread_.post([this] { connection_->close(); });
    thread_.waitUntilIdle(10s);
  }
  Operator(const Operator&) = delete;
  Operator& operator=(const Operator&) = delete;

  /// Asks for it with a room's secret; the server's code, 0 when it was done.
  int ask(const std::string& what, const std::string& id = "") {
    Arrivals<int> answered;
    thread_.post([&] {
      const auto told = [&](const janus::JanusConnection::Result& result) {
        answered.add(result.error ? result.error->code : 0);
      };
      connection_->open([this, told, what, id](const auto&) {
        connection_->attach(
            "janus.plugin.videoroom", [this, told, what, id](const auto&, std::uint64_t handle) {
              boost::json::object body{{"request", what},
                                       {"room", roomName(MediaServer::params("").sdkAppId, 7)}};
              if (!key_.empty()) body["secret"] = key_;
              if (!id.empty()) body["id"] = id;
              connection_->message(handle, body, std::nullopt, told);
            });
      });
    });
    return answered.next().value_or(-1);
  }

 private:
  const std::string key_;
  EngineThread thread_;
  std::shared_ptr<janus::JanusConnection> connection_;
};

TEST(RemovalTest, WhoIsRemovedByAnOperatorIsTold) {
  const Folder folder;
  const std::string key = "the-key-of-the-operator";
  const MediaServer server({"--admin-key-file", folder.write("key", key)});
  auto options = testOptions(server.url());
  options.adminKey = key;
  Person alice("alice", options);
  Person bob("bob", options);
  alice.enter().entered();
  bob.enter().entered();
  bob.told->waitFor("onRemoteUserEnterRoom alice");
  EXPECT_EQ(Operator(server, key).ask("kick", "alice"), 0);
  alice.told->waitFor("onExitRoom " + std::to_string(kExitRemoved));
  bob.told->waitFor("onRemoteUserLeaveRoom alice " + std::to_string(kLeaveRemoved));
  EXPECT_EQ(Operator(server, key).ask("destroy"), 0);
  bob.told->waitFor("onExitRoom " + std::to_string(kExitDismissed));
}

TEST(RemovalTest, NobodyElseRemovesAnybody) {
  const MediaServer server;
  const auto options = testOptions(server.url());
  Person alice("alice", options);
  alice.enter().entered();
  constexpr int kUnauthorised = 433;
  constexpr int kMissing = 429;
  EXPECT_EQ(Operator(server, "").ask("kick", "alice"), kMissing);
  EXPECT_EQ(Operator(server, "guessed").ask("destroy"), kUnauthorised);
  Person bob("bob", options);
  bob.enter();
  bob.told->waitFor("onRemoteUserEnterRoom alice");
}

}  // namespace
}  // namespace vemo
