#include <gtest/gtest.h>

#include "Classroom.h"

namespace vemo {
namespace {

struct Image : VEMOImage {};

/// Alice, who publishes, and Bob, who sees it.
struct LocalMedia : testing::Test {
  Classroom classroom;
  TestHandset alice = classroom.entered("alice");
  TestHandset bob = classroom.entered("bob");

  Lines happened(const TestHandset& handset, int ms = 300) {
    classroom.advance(ms);
    return handset.events->takeRare();
  }
  void SetUp() override {
    alice.events->take();
    bob.events->take();
  }
};

TEST_F(LocalMedia, AStartedCameraGetsReadyAndIsPublished) {
  const auto view = std::make_shared<NativeView>();
  alice->startLocalPreview(false, view);
  EXPECT_EQ(happened(alice), (Lines{"onCameraDidReady", "onSendFirstLocalVideoFrame 0"}));
  EXPECT_EQ(happened(bob),
            (Lines{"onUserVideoAvailable alice 1", "onFirstVideoFrame alice 0 640 360"}));
  const auto video = alice.snapshot().video;
  EXPECT_TRUE(video.cameraOn);
  EXPECT_FALSE(video.front);
  EXPECT_EQ(video.view, view);
  EXPECT_EQ(alice.snapshot().ownPicture.kind, PictureKind::live);

  alice->startLocalPreview(true, view);
  EXPECT_EQ(happened(alice), Lines{});
  EXPECT_TRUE(alice.snapshot().video.front);

  alice->stopLocalPreview();
  EXPECT_EQ(happened(bob), Lines{"onUserVideoAvailable alice 0"});
  EXPECT_EQ(alice.snapshot().video.view, nullptr);
  EXPECT_EQ(alice.snapshot().ownPicture.kind, PictureKind::none);
}

TEST_F(LocalMedia, ACameraStoppedAtOnceNeverGetsReady) {
  alice->startLocalPreview(true, nullptr);
  alice->stopLocalPreview();
  EXPECT_EQ(happened(alice, 1000), Lines{});
  EXPECT_EQ(happened(bob), Lines{});
}

TEST_F(LocalMedia, MutingTheCameraEndsItForOthers) {
  alice->startLocalPreview(true, nullptr);
  happened(bob);
  alice->muteLocalVideo(true);
  EXPECT_EQ(happened(bob), Lines{"onUserVideoAvailable alice 0"});
  EXPECT_TRUE(alice.snapshot().video.muted);
  alice->muteLocalVideo(false);
  EXPECT_EQ(happened(bob),
            (Lines{"onUserVideoAvailable alice 1", "onFirstVideoFrame alice 0 640 360"}));
}

TEST_F(LocalMedia, AMutedCameraShowsTheMuteImage) {
  const auto image = std::make_shared<Image>();
  const auto view = std::make_shared<NativeView>();
  bob->startRemoteView("alice", 0, view);
  alice->startLocalPreview(true, nullptr);
  alice->setVideoMuteImage(image, 7);
  alice->muteLocalVideo(true);
  happened(bob);
  for (const auto& picture :
       {bob.snapshot().remoteViews.at(0).picture, alice.snapshot().ownPicture}) {
    EXPECT_EQ(picture.kind, PictureKind::muteImage);
    EXPECT_EQ(picture.muteImage, image);
    EXPECT_EQ(picture.fps, 7);
  }
  bob->muteRemoteVideoStream("alice", true);
  EXPECT_EQ(bob.snapshot().remoteViews.at(0).picture.kind, PictureKind::none);
  bob->muteRemoteVideoStream("alice", false);
  alice->setVideoMuteImage(nullptr, 5);
  EXPECT_EQ(bob.snapshot().remoteViews.at(0).picture.kind, PictureKind::none);
  EXPECT_EQ(alice.snapshot().ownPicture.kind, PictureKind::none);
}

TEST_F(LocalMedia, AudienceSendsNothing) {
  const auto carol = classroom.entered("carol", kKOBURoleAudience);
  carol->startLocalPreview(true, nullptr);
  carol->startLocalAudio(2);
  EXPECT_EQ(happened(carol), (Lines{"onMicDidReady", "onCameraDidReady"}));
  EXPECT_EQ(happened(bob), Lines{});
}

TEST_F(LocalMedia, WhatIsOnBeforeEnteringIsPublishedThen) {
  const auto carol = classroom.handset();
  carol->startLocalPreview(true, nullptr);
  carol->startLocalAudio(2);
  happened(carol);
  carol->enterRoom(paramsOf("carol"), 0);
  EXPECT_EQ(happened(bob), (Lines{"onRemoteUserEnterRoom carol", "onUserAudioAvailable carol 1",
                                  "onUserVideoAvailable carol 1", "onFirstAudioFrame carol",
                                  "onFirstVideoFrame carol 0 640 360"}));
}

TEST_F(LocalMedia, EncoderAndRenderParametersAreKeptAndSeen) {
  const auto view = std::make_shared<NativeView>();
  bob->startRemoteView("alice", 0, view);
  alice->startLocalPreview(true, nullptr);
  alice->setLocalRenderParams({1, 1, 2});
  alice->setVideoEncoderParam({1280, 720, 30, 1200, 300, true});
  alice->setVideoEncoderRotation(2);
  alice->setVideoEncoderMirror(true);
  alice->setGSensorMode(1);
  alice->setNetworkQosParam({2, 1});
  EXPECT_EQ(happened(bob),
            (Lines{"onUserVideoAvailable alice 1", "onFirstVideoFrame alice 0 1280 720"}));
  const auto video = alice.snapshot().video;
  EXPECT_EQ(video.renderParams.mirrorType, 2);
  EXPECT_EQ(video.encoder.bitrate, 1200);
  EXPECT_TRUE(video.encoder.adjustResolution);
  EXPECT_EQ(video.sensorMode, 1);
  EXPECT_EQ(video.qos.preference, 2);
  EXPECT_EQ(alice.snapshot().ownPicture.drawing.rotation, 1);
  const auto picture = bob.snapshot().remoteViews.at(0).picture;
  EXPECT_EQ(picture.width, 1280);
  EXPECT_EQ(picture.fps, 30);
  EXPECT_EQ(picture.rotation, 2);
  EXPECT_TRUE(picture.mirror);
  EXPECT_EQ(picture.drawing.rotation, 0);
}

TEST_F(LocalMedia, EncoderParametersThatCannotBeUsedAreReported) {
  alice->setVideoEncoderParam({1280, 720, 30, 1200, 300, true});
  alice->setVideoEncoderParam({-1, 720, 30, 1200, 300, true});
  EXPECT_EQ(happened(alice), Lines{"onWarning 1101 video encoder parameters that can't be used"});
  EXPECT_EQ(alice.snapshot().video.encoder.width, 1280);
  alice->enableEncSmallVideoStream(true, nullptr);
  EXPECT_TRUE(alice.snapshot().video.smallStream.has_value());
  alice->enableEncSmallVideoStream(false, nullptr);
  EXPECT_FALSE(alice.snapshot().video.smallStream.has_value());
}

TEST_F(LocalMedia, TheCameraIsSwitched) {
  auto& devices = alice->getDeviceManager();
  EXPECT_NE(devices.switchCamera(false), 0) << "the camera is off";
  alice->startLocalPreview(true, nullptr);
  EXPECT_EQ(devices.switchCamera(false), 0);
  EXPECT_FALSE(alice.snapshot().video.front);
}

TEST_F(LocalMedia, AStartedMicrophoneGetsReadyAndIsPublished) {
  alice->startLocalAudio(3);
  EXPECT_EQ(happened(alice), (Lines{"onMicDidReady", "onSendFirstLocalAudioFrame"}));
  EXPECT_EQ(happened(bob), (Lines{"onUserAudioAvailable alice 1", "onFirstAudioFrame alice"}));
  EXPECT_EQ(alice.snapshot().audio.quality, 3);
  alice->muteLocalAudio(true);
  EXPECT_EQ(happened(bob), Lines{"onUserAudioAvailable alice 0"});
  alice->muteLocalAudio(false);
  EXPECT_EQ(happened(bob), (Lines{"onUserAudioAvailable alice 1", "onFirstAudioFrame alice"}));
  alice->stopLocalAudio();
  EXPECT_EQ(happened(bob), Lines{"onUserAudioAvailable alice 0"});
  EXPECT_FALSE(alice.snapshot().audio.microphoneOn);
}

TEST_F(LocalMedia, AChangedRouteIsReported) {
  alice->setAudioRoute(kRouteEarpiece);
  alice->setAudioRoute(kRouteEarpiece);
  alice->setAudioRoute(9);
  EXPECT_EQ(happened(alice),
            (Lines{"onAudioRouteChanged 1 0", "onWarning 1101 unknown audio route"}));
  EXPECT_EQ(alice.snapshot().audio.route, kRouteEarpiece);
}

TEST_F(LocalMedia, VolumesStayWithinTheirScale) {
  EXPECT_EQ(alice->getAudioCaptureVolume(), 100);
  alice->setAudioCaptureVolume(1000);
  alice->setAudioPlayoutVolume(-5);
  EXPECT_EQ(alice->getAudioCaptureVolume(), 100);
  EXPECT_EQ(alice->getAudioPlayoutVolume(), 0);
  alice->setAudioCaptureVolume(40);
  EXPECT_EQ(alice->getAudioCaptureVolume(), 40);
}

TEST_F(LocalMedia, ALongExperimentalCallIsNotKept) {
  const std::string call = R"({"api":"restoreConnection")";
  alice->callExperimentalAPI(call + std::string(4096 - call.size() - 1, ' ') + "}");
  alice->callExperimentalAPI(call + std::string(4096 - call.size(), ' ') + "}");
  EXPECT_EQ(happened(alice), Lines{"onWarning 1103 an experimental call that is too long"});
  ASSERT_EQ(alice.snapshot().experimentalCalls.size(), 1U);
  EXPECT_EQ(alice.snapshot().experimentalCalls[0].size(), 4096U);
}

TEST_F(LocalMedia, ExperimentalCallsAreJsonTexts) {
  alice->callExperimentalAPI(R"({"api":"setNetwork","params":{"delayMs":50,"upLoss":7}})");
  alice->callExperimentalAPI("not json");
  alice->callExperimentalAPI("[]");
  alice->callExperimentalAPI("{}");
  alice->callExperimentalAPI(R"({"api":"fly"})");
  EXPECT_EQ(happened(alice),
            (Lines{"onWarning 1103 an experimental call is a JSON object with a text \"api\"",
                   "onWarning 1103 an experimental call is a JSON object with a text \"api\"",
                   "onWarning 1103 an experimental call is a JSON object with a text \"api\"",
                   "onWarning 1102 unknown experimental call fly"}));
  EXPECT_EQ(alice.snapshot().experimentalCalls.size(), 1U);
  classroom.advance(2000);
  EXPECT_EQ(alice.events->statistics()->rtt, 100U);
  EXPECT_EQ(alice.events->statistics()->upLoss, 7U);
  alice->callExperimentalAPI(R"({"api":"dropConnection"})");
  EXPECT_FALSE(alice.snapshot().connected);
  alice->callExperimentalAPI(R"({"api":"restoreConnection"})");
  EXPECT_TRUE(alice.snapshot().connected);
}

TEST_F(LocalMedia, DebugAndLogSettingsAreKept) {
  alice->showDebugView(2);
  alice->setDebugViewMargin("bob", {1, 2, 3, 4});
  EXPECT_EQ(alice.snapshot().debugView, 2);
  EXPECT_EQ(alice.snapshot().debugViewMargins.at("bob").bottom, 3);
  alice.engineClass->setLogLevel(4);
  alice.engineClass->setConsoleEnabled(true);
  alice.engineClass->setLogCompressEnabled(false);
  alice.engineClass->setLogDirPath("logs");
  const auto log = alice.engineClass->logSettings();
  EXPECT_EQ(log.level, 4);
  EXPECT_TRUE(log.console);
  EXPECT_FALSE(log.compress);
  EXPECT_EQ(log.directory, "logs");
}

}  // namespace
}  // namespace vemo
