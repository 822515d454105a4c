#include <gtest/gtest.h>

#include "Classroom.h"

namespace vemo {
namespace {

TEST(Connection, ALossIsNoticedAndReported) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  classroom.cloud->dropConnection("alice");
  EXPECT_FALSE(alice.snapshot().connected);
  classroom.advance(3999);
  EXPECT_TRUE(alice.events->takeRare().empty());
  classroom.advance(1);
  EXPECT_EQ(alice.events->takeRare(), Lines{"onConnectionLost"});
  classroom.advance(500);
  EXPECT_EQ(alice.events->takeRare(), Lines{"onTryToReconnect"});
  classroom.cloud->restoreConnection("alice");
  classroom.advance(20);
  EXPECT_EQ(alice.events->takeRare(), Lines{"onConnectionRecovery"});
  EXPECT_TRUE(alice.snapshot().connected);
}

TEST(Connection, AShortLossIsNotNoticed) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  const auto bob = classroom.entered("bob");
  bob.events->take();
  alice.engineClass->dropConnection();
  alice.engineClass->dropConnection();
  classroom.advance(1000);
  alice.engineClass->restoreConnection();
  alice.engineClass->restoreConnection();
  classroom.advance(60'000);
  EXPECT_EQ(alice.events->takeRare(), Lines{"onRemoteUserEnterRoom bob"});
  EXPECT_TRUE(bob.events->takeRare().empty());
}

TEST(Connection, OthersSeeTheUserGoWhenItTimesOut) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  alice->startLocalAudio(2);
  classroom.advance(500);
  const auto bob = classroom.entered("bob");
  alice.events->takeRare();
  bob.events->take();
  classroom.cloud->dropConnection("alice");
  classroom.advance(30'000);
  EXPECT_TRUE(bob.events->takeRare().empty());
  classroom.advance(20);
  EXPECT_EQ(bob.events->takeRare(),
            (Lines{"onUserAudioAvailable alice 0", "onRemoteUserLeaveRoom alice 1"}));

  // It comes back by itself.
  alice.events->take();
  classroom.cloud->restoreConnection("alice");
  classroom.advance(100);
  EXPECT_EQ(alice.events->takeRare(), Lines{"onConnectionRecovery"});
  EXPECT_EQ(bob.events->takeRare(),
            (Lines{"onRemoteUserEnterRoom alice", "onUserAudioAvailable alice 1",
                   "onFirstAudioFrame alice"}));
}

TEST(Connection, WhatWasMissedIsLearntOnRecovery) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  const auto bob = classroom.entered("bob");
  alice.events->take();
  classroom.cloud->dropConnection("alice");
  bob->exitRoom();
  const auto carol = classroom.entered("carol");
  carol->startLocalPreview(true, nullptr);
  classroom.advance(1000);
  EXPECT_TRUE(alice.events->takeRare().empty());
  classroom.cloud->restoreConnection("alice");
  classroom.advance(20);
  EXPECT_EQ(alice.events->takeRare(),
            (Lines{"onRemoteUserLeaveRoom bob 0", "onRemoteUserEnterRoom carol",
                   "onUserVideoAvailable carol 1"}));
}

TEST(Connection, WhatIsPublishedMeanwhileIsToldOnRecovery) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  const auto bob = classroom.entered("bob");
  bob.events->take();
  classroom.cloud->dropConnection("alice");
  alice->startLocalAudio(2);
  classroom.advance(1000);
  EXPECT_TRUE(bob.events->takeRare().empty());
  classroom.cloud->restoreConnection("alice");
  classroom.advance(100);
  EXPECT_EQ(bob.events->takeRare(),
            (Lines{"onUserAudioAvailable alice 1", "onFirstAudioFrame alice"}));
}

TEST(Connection, EnteringWithoutAConnectionTimesOut) {
  Classroom classroom;
  const auto alice = classroom.handset();
  alice.engineClass->dropConnection();
  alice->enterRoom(paramsOf("alice"), 0);
  classroom.advance(9'999);
  EXPECT_TRUE(alice.events->lines().empty());
  classroom.advance(1);
  EXPECT_EQ(alice.events->lines(),
            (Lines{"onError -3308 the server does not answer", "onEnterRoom -3308"}));
}

TEST(Connection, AnEnterBegunWithoutItSucceedsWhenItIsBackInTime) {
  Classroom classroom;
  const auto alice = classroom.handset();
  alice.engineClass->dropConnection();
  alice->enterRoom(paramsOf("alice"), 0);
  classroom.advance(5'000);
  alice.engineClass->restoreConnection();
  classroom.advance(59);
  EXPECT_TRUE(alice.events->lines().empty());
  classroom.advance(1);
  EXPECT_EQ(alice.events->takeRare(), Lines{"onEnterRoom 5060"});
  classroom.advance(20'000);
  EXPECT_TRUE(alice.events->takeRare().empty());
  EXPECT_EQ(alice.snapshot().room, RoomState::inside);
}

TEST(Connection, ALossOnTheWayInIsOvercome) {
  Classroom classroom;
  const auto alice = classroom.handset();
  alice->enterRoom(paramsOf("alice"), 0);
  classroom.advance(30);
  alice.engineClass->dropConnection();
  classroom.advance(5'000);
  EXPECT_EQ(alice.snapshot().room, RoomState::entering);
  alice.engineClass->restoreConnection();
  alice.engineClass->dropConnection();
  alice.engineClass->restoreConnection();
  classroom.advance(60);
  EXPECT_EQ(alice.events->takeRare(), Lines{"onEnterRoom 5090"});
}

TEST(Connection, OnANetworkWithoutDelayTheServerStillTakesItsTime) {
  auto options = Classroom::steady();
  options.network = {milliseconds(0), milliseconds(0), 0, 0};
  Classroom classroom(options);
  const auto alice = classroom.handset();
  alice->enterRoom(paramsOf("alice"), 0);
  classroom.advance(19);
  EXPECT_TRUE(alice.events->lines().empty());
  classroom.advance(1);
  EXPECT_EQ(alice.events->takeRare(), Lines{"onEnterRoom 20"});

  alice.engineClass->dropConnection();
  classroom.advance(4'000);
  EXPECT_EQ(alice.events->takeRare(), Lines{"onConnectionLost"});
  alice.engineClass->restoreConnection();
  classroom.advance(19);
  EXPECT_TRUE(alice.events->takeRare().empty());
  classroom.advance(1);
  EXPECT_EQ(alice.events->takeRare(), Lines{"onConnectionRecovery"});

  // And who was on the way in when it came back.
  alice->exitRoom();
  classroom.advance(100);
  alice.events->takeRare();
  alice.engineClass->dropConnection();
  alice->enterRoom(paramsOf("alice"), 0);
  classroom.advance(1'000);
  alice.engineClass->restoreConnection();
  classroom.advance(19);
  EXPECT_TRUE(alice.events->takeRare().empty());
  classroom.advance(1);
  EXPECT_EQ(alice.events->takeRare(), Lines{"onEnterRoom 1020"});
}

/// Alice shows everything, and Bob watches and listens.
struct Lesson {
  Lesson() {
    alice->startLocalAudio(2);
    alice->startLocalPreview(true, nullptr);
    alice->startScreenCaptureInApp({});
    bob->startRemoteView("alice", 0, std::make_shared<NativeView>());
    bob->startRemoteView("alice", 2, std::make_shared<NativeView>());
    bob->enableAudioVolumeEvaluation(100);
    classroom.advance(5'000);
  }
  Picture camera() const { return bob.snapshot().remoteViews.at(0).picture; }
  Picture screen() const { return bob.snapshot().remoteViews.at(1).picture; }
  std::uint32_t heard() const { return bob.snapshot().users.at(0).heard; }
  /// The last measured; on the way is at most one more.
  std::vector<KOBURemoteStatistics> received() {
    classroom.advance(2'000);
    return bob.events->statistics()->remoteStatistics;
  }

  Classroom classroom;
  TestHandset alice = classroom.entered("alice");
  TestHandset bob = classroom.entered("bob");
};

TEST(Connection, OthersHearNothingOfAUserThatIsCutOffAndSeeItStandStill) {
  Lesson lesson;
  ASSERT_EQ(lesson.camera().fps, 15);
  ASSERT_EQ(lesson.screen().fps, 15);
  ASSERT_GT(lesson.heard(), 0U);

  lesson.alice.engineClass->dropConnection();
  EXPECT_EQ(lesson.heard(), 0U);
  for (const auto& picture : {lesson.camera(), lesson.screen()}) {
    EXPECT_EQ(picture.kind, PictureKind::live);
    EXPECT_EQ(picture.fps, 0);
  }
  const auto received = lesson.received();
  ASSERT_EQ(received.size(), 2U);
  for (const auto& stream : received) {
    EXPECT_EQ(stream.packetLoss, 100U);
    EXPECT_EQ(stream.frameRate, 0U);
    EXPECT_EQ(stream.videoBitrate, 0U);
    EXPECT_EQ(stream.audioBitrate, 0U);
    EXPECT_GT(stream.width, 0U);
  }
  const auto volumes = *lesson.bob.events->volumes();
  ASSERT_EQ(volumes.size(), 2U);
  EXPECT_EQ(volumes[1].userId, "alice");
  EXPECT_EQ(volumes[1].volume, 0U);

  lesson.alice.engineClass->restoreConnection();
  for (const auto& stream : lesson.received()) {
    EXPECT_EQ(stream.packetLoss, 0U);
    EXPECT_GT(stream.videoBitrate, 0U);
  }
  EXPECT_EQ(lesson.camera().fps, 15);
  EXPECT_EQ(lesson.screen().fps, 15);
  EXPECT_GT(lesson.heard(), 0U);
}

TEST(Connection, WhatAUserThatIsCutOffDoesIsSeenWhenItIsBack) {
  Lesson lesson;
  lesson.alice.engineClass->dropConnection();
  lesson.alice->getDeviceManager().switchCamera(false);
  lesson.alice->setVideoEncoderParam({320, 180, 10, 100, 0, false});
  lesson.alice->stopScreenCapture();
  EXPECT_TRUE(lesson.camera().front);
  EXPECT_EQ(lesson.camera().width, 640);
  EXPECT_EQ(lesson.screen().kind, PictureKind::live);
  EXPECT_FALSE(lesson.alice.snapshot().ownPicture.front);
  EXPECT_EQ(lesson.alice.snapshot().ownPicture.fps, 10);

  lesson.alice.engineClass->restoreConnection();
  lesson.classroom.advance(100);
  EXPECT_FALSE(lesson.camera().front);
  EXPECT_EQ(lesson.camera().width, 320);
  EXPECT_EQ(lesson.screen().kind, PictureKind::none);
}

TEST(Connection, AMuteImageStaysWhileItsSenderIsCutOff) {
  struct Image : VEMOImage {};
  Lesson lesson;
  auto image = std::make_shared<Image>();
  const std::weak_ptr<VEMOImage> held = image;
  lesson.alice->setVideoMuteImage(std::move(image), 5);
  lesson.alice->muteLocalVideo(true);
  lesson.classroom.advance(100);
  lesson.alice.engineClass->dropConnection();
  lesson.alice->setVideoMuteImage(nullptr, 5);
  EXPECT_EQ(lesson.camera().kind, PictureKind::muteImage);
  lesson.alice.engineClass->restoreConnection();
  lesson.classroom.advance(100);
  EXPECT_EQ(lesson.camera().kind, PictureKind::none);
  EXPECT_TRUE(held.expired());
}

TEST(Connection, WhoComesMeanwhileSeesTheFirstFramesOnceTheUserIsBack) {
  Lesson lesson;
  lesson.alice.engineClass->dropConnection();
  const auto carol = lesson.classroom.handset();
  carol->enterRoom(paramsOf("carol"), 0);
  lesson.classroom.advance(1'000);
  EXPECT_EQ(carol.events->takeRare(),
            (Lines{"onEnterRoom 60", "onRemoteUserEnterRoom alice", "onUserAudioAvailable alice 1",
                   "onUserVideoAvailable alice 1", "onUserSubStreamAvailable alice 1",
                   "onRemoteUserEnterRoom bob"}));
  lesson.alice.engineClass->restoreConnection();
  lesson.classroom.advance(1'000);
  EXPECT_EQ(carol.events->takeRare(),
            (Lines{"onFirstAudioFrame alice", "onFirstVideoFrame alice 0 640 360",
                   "onFirstVideoFrame alice 2 1280 720"}));
}

TEST(Connection, AUserWhosePlaceWasTakenIsOutOnRecovery) {
  auto options = Classroom::steady();
  options.roomCapacity = 1;
  Classroom classroom(options);
  const auto alice = classroom.entered("alice");
  classroom.cloud->dropConnection("alice");
  classroom.advance(30'000);
  const auto bob = classroom.entered("bob");
  EXPECT_EQ(bob.snapshot().room, RoomState::inside);
  alice.events->take();
  classroom.cloud->restoreConnection("alice");
  classroom.advance(100);
  EXPECT_EQ(alice.events->takeRare(), (Lines{"onConnectionRecovery", "onExitRoom 1"}));
  EXPECT_EQ(alice.snapshot().room, RoomState::outside);
}

TEST(Connection, ARoomDismissedMeanwhileIsLeftOnRecovery) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  classroom.cloud->dropConnection("alice");
  classroom.cloud->dismissRoom(kApplication, kRoom);
  classroom.advance(100);
  EXPECT_TRUE(alice.events->takeRare().empty());
  classroom.cloud->restoreConnection("alice");
  classroom.advance(100);
  EXPECT_EQ(alice.events->takeRare(), Lines{"onExitRoom 2"});
}

TEST(Connection, WhoLeavesWhileCutOffIsMissedLater) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  const auto bob = classroom.entered("bob");
  bob.events->take();
  classroom.cloud->dropConnection("alice");
  classroom.advance(1000);
  alice->exitRoom();
  classroom.advance(100);
  EXPECT_EQ(alice.events->count("onExitRoom 0"), 1U);
  EXPECT_TRUE(bob.events->takeRare().empty());
  classroom.advance(29'000);
  EXPECT_EQ(bob.events->takeRare(), Lines{"onRemoteUserLeaveRoom alice 1"});
}

TEST(Connection, SwitchingTheRoleWithoutAConnectionTimesOut) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  classroom.cloud->dropConnection("alice");
  alice->switchRole(kKOBURoleAudience);
  classroom.advance(10'000);
  EXPECT_EQ(alice.events->count("onSwitchRole -3308"), 1U);
  EXPECT_EQ(alice.snapshot().params.role, kKOBURoleAnchor);
}

}  // namespace
}  // namespace vemo
