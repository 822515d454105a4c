#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Classroom.h"
#include "Folder.h"
#include "MediaServer.h"
#include "Senses.h"
#include "Tone.h"

namespace vemo {
namespace {

/// What a picture looks like to the test, made by the host's decoder.
class WhiteImage final : public VEMOImage {};

class MediaTest : public ::testing::Test {
 protected:
  EngineOptions options() const {
    auto made = testOptions(server_.url());
    made.pixelsOf = [](const VEMOImage& image) -> std::shared_ptr<const RgbaPicture> {
      if (!dynamic_cast<const WhiteImage*>(&image)) return nullptr;
      return std::make_shared<RgbaPicture>(
          RgbaPicture{64, 36, std::vector<std::uint8_t>(std::size_t{64} * 36 * 4, 255)});
    };
    return made;
  }

  const MediaServer server_;
};

TEST_F(MediaTest, OnesPictureAndSoundReachTheOther) {
  Person alice("alice", options());
  Person bob("bob", options());
  const auto view = std::make_shared<SeenView>();
  alice.enterSending();
  alice.entered();
  bob.enter().entered();
  bob.told->waitFor("onUserVideoAvailable alice 1");
  bob->startRemoteView("alice", kKOBUStreamTypeMain, view);
  bob.told->waitFor("onFirstVideoFrame alice 0 640 360");
  bob.told->waitFor("onFirstAudioFrame alice");
  alice.told->waitFor("onSendFirstLocalVideoFrame 0");
  alice.told->waitFor("onSendFirstLocalAudioFrame");
  EXPECT_TRUE(view->waitForColour("red"));
  EXPECT_TRUE(bob.heard().waitForPitch(440));
}

TEST_F(MediaTest, WhatStartsLaterComesLater) {
  Person alice("alice", options());
  Person bob("bob", options());
  const auto view = std::make_shared<SeenView>();
  alice.enter().entered();
  bob.enter().entered();
  bob.told->waitFor("onRemoteUserEnterRoom alice");
  bob->startRemoteView("alice", kKOBUStreamTypeMain, view);
  alice->startLocalAudio(2);
  EXPECT_TRUE(bob.heard().waitForPitch(440));
  alice->startLocalPreview(false, nullptr);
  EXPECT_TRUE(view->waitForColour("blue"));
  alice->getDeviceManager().switchCamera(true);
  EXPECT_TRUE(view->waitForColour("red"));
  alice->stopLocalPreview();
  bob.told->waitFor("onUserVideoAvailable alice 0");
  bob.told->clear();
  alice->startLocalPreview(false, nullptr);
  bob.told->waitFor("onUserVideoAvailable alice 1");
  bob.told->waitFor("onFirstVideoFrame alice 0");
  EXPECT_TRUE(view->waitForColour("blue"));
}

TEST_F(MediaTest, MutingIsHeardAndSeen) {
  Person alice("alice", options());
  Person bob("bob", options());
  const auto view = std::make_shared<SeenView>();
  alice.enterSending();
  bob.enter().entered();
  bob->startRemoteView("alice", kKOBUStreamTypeMain, view);
  ASSERT_TRUE(view->waitForColour("red"));
  ASSERT_TRUE(bob.heard().waitForPitch(440));
  alice->muteLocalAudio(true);
  bob.told->waitFor("onUserAudioAvailable alice 0");
  EXPECT_TRUE(bob.heard().waitForPitch(0));
  alice->muteLocalAudio(false);
  EXPECT_TRUE(bob.heard().waitForPitch(440));
  alice->setVideoMuteImage(std::make_shared<WhiteImage>(), 5);
  alice->muteLocalVideo(true);
  EXPECT_TRUE(view->waitForColour("white"));
  alice->muteLocalVideo(false);
  EXPECT_TRUE(view->waitForColour("red"));
  alice->setVideoMuteImage(nullptr, 5);
  alice->muteLocalVideo(true);
  bob.told->waitFor("onUserVideoAvailable alice 0");
}

TEST_F(MediaTest, AReceiverMutesForItself) {
  Person alice("alice", options());
  Person bob("bob", options());
  const auto view = std::make_shared<SeenView>();
  alice.enterSending();
  bob.enter().entered();
  bob->startRemoteView("alice", kKOBUStreamTypeMain, view);
  ASSERT_TRUE(view->waitForColour("red"));
  ASSERT_TRUE(bob.heard().waitForPitch(440));
  bob->muteRemoteAudio("alice", true);
  EXPECT_TRUE(bob.heard().waitForPitch(0));
  // What was still on its way has come by now, and is no more than the rest of what was said.
  bob->enableAudioVolumeEvaluation(100);
  bob.told->waitFor("onUserVoiceVolume alice 0 ");
  bob.told->clear();
  bob.told->waitFor("onUserVoiceVolume alice 0 ");
  bob->muteAllRemoteAudio(false);
  EXPECT_TRUE(bob.heard().waitForPitch(440));
  bob->setRemoteAudioVolume("alice", 10);
  EXPECT_TRUE(bob.heard().waitForPeakBelow(4000));
  bob->muteRemoteVideoStream("alice", true);
  bob->muteRemoteAudio("alice", true);
  ASSERT_TRUE(bob.heard().waitForPitch(0));
  ASSERT_TRUE(bob.engineClass().settle(std::chrono::seconds(30)));
  alice->switchRole(kKOBURoleAudience);  // what comes late has come by then
  bob.told->waitFor("onRemoteUserLeaveRoom alice 3");
  const auto before = view->count();
  alice->switchRole(kKOBURoleAnchor);
  bob.told->waitFor("onUserVideoAvailable alice 1");
  bob->muteRemoteVideoStream("alice", false);
  EXPECT_TRUE(view->waitForPictures(1));
  EXPECT_GT(view->count(), before);
}

TEST_F(MediaTest, ASmallPictureIsChosenByTheReceiver) {
  Person alice("alice", options());
  Person bob("bob", options());
  const auto view = std::make_shared<SeenView>();
  alice.enter();
  KOBUVideoEncParam small;
  small.width = 160;
  small.height = 90;
  alice->enableEncSmallVideoStream(true, &small);
  alice->startLocalPreview(true, nullptr);
  bob.enter().entered();
  bob->startRemoteView("alice", kKOBUStreamTypeMain, view);
  ASSERT_TRUE(view->waitForSize(640, 360));
  bob->setRemoteVideoStreamType("alice", kKOBUStreamTypeMainSmall);
  EXPECT_TRUE(view->waitForSize(160, 90));
  bob->setRemoteVideoStreamType("alice", kKOBUStreamTypeMain);
  EXPECT_TRUE(view->waitForSize(640, 360));
}

TEST_F(MediaTest, ThePictureIsSentAsTheEncoderIsTold) {
  Person alice("alice", options());
  Person bob("bob", options());
  const auto view = std::make_shared<SeenView>();
  alice.enter();
  alice->startLocalPreview(true, nullptr);
  bob.enter().entered();
  bob->startRemoteView("alice", kKOBUStreamTypeMain, view);
  ASSERT_TRUE(view->waitForSize(640, 360));
  KOBUVideoEncParam param;
  param.width = 320;
  param.height = 240;
  alice->setVideoEncoderParam(param);
  EXPECT_TRUE(view->waitForSize(320, 240));
  bob->setRemoteRenderParams("alice", kKOBUStreamTypeMain, {1, 1, 1});
  EXPECT_TRUE(view->waitForDrawing({true, janus::orientationOf(1, true)}));
}

TEST_F(MediaTest, TheScreenIsAPictureOfItsOwn) {
  auto sharing = options();
  Arrivals<bool> shared;
  sharing.onScreenShared = [&shared](bool now) { shared.add(now); };
  Person alice("alice", sharing);
  Person bob("bob", options());
  const auto camera = std::make_shared<SeenView>();
  const auto screen = std::make_shared<SeenView>();
  alice.enter();
  alice->startLocalPreview(true, nullptr);
  bob.enter().entered();
  bob->startRemoteView("alice", kKOBUStreamTypeMain, camera);
  bob->startRemoteView("alice", kKOBUStreamTypeSub, screen);
  alice->startScreenCaptureInApp({});
  bob.told->waitFor("onUserSubStreamAvailable alice 1");
  bob.told->waitFor("onFirstVideoFrame alice 2 1280 720");
  EXPECT_TRUE(screen->waitForColour("green")) << screen->seen();
  EXPECT_TRUE(camera->waitForColour("red"));
  EXPECT_EQ(alice->stopScreenCapture(), 0);
  bob.told->waitFor("onUserSubStreamAvailable alice 0");
  EXPECT_EQ(shared.next(2), (std::vector{true, false}));
}

TEST_F(MediaTest, MusicIsHeardByTheOthers) {
  const Folder folder;
  writeTone(folder.file("song.wav"), 880, 20);
  Person alice("alice", options());
  Person bob("bob", options());
  alice.enter().entered();
  bob.enter().entered();
  PWAudioMusicParam music;
  music.ID = 1;
  music.path = folder.file("song.wav");
  music.publish = true;
  alice->getAudioEffectManager().startPlayMusic(music, nullptr, nullptr, nullptr);
  bob.told->waitFor("onUserAudioAvailable alice 1");
  EXPECT_TRUE(bob.heard().waitForPitch(880));
  EXPECT_TRUE(alice.heard().waitForPitch(880));
  alice->getAudioEffectManager().setMusicPublishVolume(1, 0);
  EXPECT_TRUE(bob.heard().waitForPitch(0));
  alice->getAudioEffectManager().stopPlayMusic(1);
  bob.told->waitFor("onUserAudioAvailable alice 0");
  EXPECT_TRUE(alice.heard().waitForPitch(0));
}

/// The width in which `sender` sends its camera, at the next measuring.
unsigned sentWidth(Person& sender) {
  sender.told->clear();
  sender.told->waitFor("onStatistics");
  const auto sent = sender.told->statistics();
  return sent->localStatistics.empty() ? 0 : sent->localStatistics[0].width;
}

TEST_F(MediaTest, ItGivesWayOnAPoorNetworkAndComesBack) {
  Person alice("alice", options());
  Person bob("bob", options());
  KOBUVideoEncParam encoding;
  encoding.width = 640;
  encoding.height = 360;
  encoding.bitrate = 500;
  encoding.adjustResolution = true;
  alice->setVideoEncoderParam(encoding);
  alice.enterSending();
  bob.enter();
  const auto view = std::make_shared<SeenView>();
  bob->startRemoteView("alice", kKOBUStreamTypeMain, view);
  EXPECT_TRUE(view->waitForSize(640, 360));

  alice->callExperimentalAPI(R"({"api":"losePackets","percent":60})");
  while (sentWidth(alice) != 320U) {
  }
  EXPECT_GT(alice.told->statistics()->upLoss, 10U);
  // With so little loss it stays as it is.
  alice->callExperimentalAPI(R"({"api":"losePackets","percent":5})");
  EXPECT_TRUE(view->waitForSize(320, 180));

  alice->callExperimentalAPI(R"({"api":"losePackets","percent":0})");
  EXPECT_TRUE(view->waitForSize(640, 360));
}

TEST_F(MediaTest, PanelsTellWhatIsKnownOfAStream) {
  Person alice("alice", options());
  Person bob("bob", options());
  const auto own = std::make_shared<SeenView>();
  const auto hers = std::make_shared<SeenView>();
  alice.enter();
  alice->startLocalPreview(true, own);
  bob.enter();
  bob->startRemoteView("alice", kKOBUStreamTypeMain, hers);
  bob->setDebugViewMargin("alice", {.top = 7, .left = 8, .bottom = 9, .right = 10});
  alice->showDebugView(2);
  bob->showDebugView(2);
  EXPECT_TRUE(own->waitForPanel("640x360, 1"));
  EXPECT_TRUE(hers->waitForPanel("640x360, 1"));
  EXPECT_EQ(own->panelMargin().left, 0);
  EXPECT_EQ(hers->panelMargin().left, 8);
  bob->showDebugView(0);
  EXPECT_TRUE(hers->waitForPanel(""));
}

TEST_F(MediaTest, ItIsMeasured) {
  Person alice("alice", options());
  Person bob("bob", options());
  alice.enterSending();
  alice->enableAudioVolumeEvaluation(100);
  bob.enter();
  bob->enableAudioVolumeEvaluation(100);
  bob.told->waitFor("onFirstVideoFrame alice");
  bob.told->waitFor("onFirstAudioFrame alice");
  bob.told->clear();
  alice.told->clear();
  for (int i = 0; i < 2; ++i) {
    bob.told->waitFor("onStatistics");
    alice.told->waitFor("onStatistics");
    bob.told->clear();
    alice.told->clear();
  }
  bob.told->waitFor("onStatistics");
  alice.told->waitFor("onStatistics");
  const auto sent = alice.told->statistics();
  ASSERT_EQ(sent->localStatistics.size(), 1U);
  EXPECT_EQ(sent->localStatistics[0].width, 640U);
  EXPECT_GE(sent->localStatistics[0].frameRate, 5U);  // 15 are asked for, of a machine that may be busy
  EXPECT_LE(sent->localStatistics[0].frameRate, 16U);
  EXPECT_GT(sent->localStatistics[0].videoBitrate, 2U);  // one colour takes little
  EXPECT_GT(sent->localStatistics[0].audioBitrate, 10U);
  EXPECT_GT(sent->sentBytes, 10'000U);
  const auto received = bob.told->statistics();
  ASSERT_EQ(received->remoteStatistics.size(), 1U);
  EXPECT_EQ(received->remoteStatistics[0].userId, "alice");
  EXPECT_EQ(received->remoteStatistics[0].width, 640U);
  EXPECT_GE(received->remoteStatistics[0].frameRate, 5U);
  EXPECT_LE(received->remoteStatistics[0].frameRate, 16U);
  EXPECT_GT(received->remoteStatistics[0].audioBitrate, 10U);
  EXPECT_GT(received->receivedBytes, 10'000U);
  EXPECT_LE(received->appCpu, 100U);
  bob.told->waitFor("onNetworkQuality 1 alice 1");
  bob.told->waitFor("onUserVoiceVolume alice");
  ASSERT_EQ(bob.told->volumes()->size(), 1U);
  EXPECT_GT(bob.told->volumes()->at(0).volume, 30U);
  alice.told->waitFor("onUserVoiceVolume (null)");
}

}  // namespace
}  // namespace vemo
