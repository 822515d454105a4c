#include <gtest/gtest.h>

#include "Classroom.h"

namespace vemo {
namespace {

/// Alice, who publishes camera and microphone, and a way to let Bob in.
struct RemoteMedia : testing::Test {
  Classroom classroom;
  TestHandset alice = classroom.entered("alice");

  void SetUp() override {
    alice->startLocalPreview(true, nullptr);
    alice->startLocalAudio(2);
    classroom.advance(500);
  }
  TestHandset bobReceiving(bool audio, bool video) {
    auto bob = classroom.handset();
    bob->setDefaultStreamRecvMode(audio, video);
    bob->enterRoom(paramsOf("bob"), 0);
    classroom.advance(500);
    return bob;
  }
  static std::size_t firstFrames(const TestHandset& handset) {
    return handset.events->count("onFirst");
  }
};

TEST_F(RemoteMedia, ComesByItselfWhereThatIsWanted) {
  const auto bob = bobReceiving(true, true);
  EXPECT_EQ(bob.events->count("onFirstAudioFrame alice"), 1U);
  EXPECT_EQ(bob.events->count("onFirstVideoFrame alice 0 640 360"), 1U);
}

TEST_F(RemoteMedia, ComesWhenAskedForElse) {
  const auto bob = bobReceiving(false, false);
  EXPECT_EQ(firstFrames(bob), 0U);
  EXPECT_TRUE(bob.snapshot().users.at(0).audioMuted);
  bob->startRemoteView("alice", 0, std::make_shared<NativeView>());
  classroom.advance(100);
  EXPECT_EQ(bob.events->count("onFirstVideoFrame alice 0"), 1U);
  bob->muteRemoteAudio("alice", false);
  classroom.advance(100);
  EXPECT_EQ(bob.events->count("onFirstAudioFrame alice"), 1U);
}

TEST_F(RemoteMedia, TheReceiveModeCountsFromTheNextEnter) {
  const auto bob = bobReceiving(true, true);
  bob->setDefaultStreamRecvMode(false, false);
  EXPECT_EQ(bob.snapshot().users.at(0).audioMuted, false);
  bob->exitRoom();
  bob->enterRoom(paramsOf("bob"), 0);
  classroom.advance(100);
  EXPECT_EQ(bob.snapshot().users.at(0).audioMuted, true);
}

TEST_F(RemoteMedia, IsShownInTheViewThatItIsBoundTo) {
  const auto bob = bobReceiving(true, true);
  const auto first = std::make_shared<NativeView>();
  const auto second = std::make_shared<NativeView>();
  bob->startRemoteView("alice", 0, first);
  bob->startRemoteView("alice", 2, second);
  auto views = bob.snapshot().remoteViews;
  ASSERT_EQ(views.size(), 2U);
  EXPECT_EQ(views[0].view, first);
  EXPECT_EQ(views[0].picture.kind, PictureKind::live);
  EXPECT_EQ(views[1].view, second);
  EXPECT_EQ(views[1].streamType, 2);
  EXPECT_EQ(views[1].picture.kind, PictureKind::none) << "no screen is shared";

  bob->startRemoteView("alice", 1, second);
  EXPECT_EQ(bob.snapshot().remoteViews.at(0).view, second);
  EXPECT_EQ(bob.snapshot().remoteViews.at(0).streamType, 1);
  bob->stopRemoteView("alice", 2);
  bob->stopRemoteView("nobody", 0);
  EXPECT_EQ(bob.snapshot().remoteViews.size(), 1U);
  bob->stopAllRemoteView();
  EXPECT_TRUE(bob.snapshot().remoteViews.empty());
}

TEST_F(RemoteMedia, AViewMayWaitForItsUser) {
  const auto bob = bobReceiving(true, true);
  bob->startRemoteView("carol", 0, std::make_shared<NativeView>());
  EXPECT_EQ(bob.snapshot().remoteViews.at(0).picture.kind, PictureKind::none);
  const auto carol = classroom.entered("carol");
  carol->startLocalPreview(true, nullptr);
  classroom.advance(500);
  EXPECT_EQ(bob.events->count("onFirstVideoFrame carol"), 1U);
  EXPECT_EQ(bob.snapshot().remoteViews.at(0).picture.kind, PictureKind::live);
}

TEST_F(RemoteMedia, RenderParametersAreKeptForEachPicture) {
  const auto bob = bobReceiving(true, true);
  bob->startRemoteView("alice", 0, nullptr);
  bob->startRemoteView("alice", 2, nullptr);
  bob->setRemoteRenderParams("alice", 0, {1, 0, 2});
  bob->setRemoteRenderParams("alice", 2, {3, 1, 0});
  const auto views = bob.snapshot().remoteViews;
  EXPECT_EQ(views.at(0).picture.drawing.rotation, 1);
  EXPECT_EQ(views.at(0).picture.drawing.mirrorType, 2);
  EXPECT_EQ(views.at(1).picture.drawing.rotation, 3);
}

TEST_F(RemoteMedia, TheSmallPictureComesWhereItIsSent) {
  const auto bob = bobReceiving(true, true);
  bob->startRemoteView("alice", 0, nullptr);
  bob->setRemoteVideoStreamType("alice", 1);
  EXPECT_EQ(bob.snapshot().remoteViews.at(0).picture.width, 640) << "there is no small one yet";
  KOBUVideoEncParam quality;
  quality.width = 160;
  quality.height = 120;
  alice->enableEncSmallVideoStream(true, &quality);
  EXPECT_EQ(bob.snapshot().remoteViews.at(0).picture.width, 160);
  EXPECT_EQ(bob.snapshot().users.at(0).preferredStream, 1);
  bob->setRemoteVideoStreamType("alice", 0);
  EXPECT_EQ(bob.snapshot().remoteViews.at(0).picture.width, 640);
}

TEST_F(RemoteMedia, StreamTypesThatAreNoneAreReported) {
  const auto bob = bobReceiving(true, true);
  bob.events->take();
  bob->startRemoteView("alice", 3, nullptr);
  bob->stopRemoteView("alice", -1);
  bob->setRemoteRenderParams("alice", 7, {});
  bob->setRemoteVideoStreamType("alice", 5);
  classroom.advance(10);
  EXPECT_EQ(bob.events->takeRare(), Lines(4, "onWarning 1101 unknown stream type"));
  EXPECT_TRUE(bob.snapshot().remoteViews.empty());
}

TEST_F(RemoteMedia, OfUsersWithIdsThatAreTooLongNothingIsKept) {
  const auto bob = bobReceiving(true, true);
  bob.events->take();
  const std::string longest(kLongestUserId, 'x');
  const auto tooLong = longest + "x";
  const auto view = std::make_shared<NativeView>();
  bob->startRemoteView(tooLong, 0, view);
  bob->setRemoteRenderParams(tooLong, 0, {});
  bob->setRemoteVideoStreamType(tooLong, 1);
  bob->muteRemoteVideoStream(tooLong, true);
  bob->muteRemoteAudio(tooLong, true);
  bob->setRemoteAudioVolume(tooLong, 5);
  bob->setDebugViewMargin(tooLong, {});
  bob->startRemoteView(longest, 0, nullptr);
  classroom.advance(10);
  EXPECT_EQ(bob.events->takeRare(), Lines(7, "onWarning 1101 a user id that is too long"));
  EXPECT_EQ(view.use_count(), 1);
  ASSERT_EQ(bob.snapshot().remoteViews.size(), 1U);
  EXPECT_EQ(bob.snapshot().remoteViews[0].userId, longest);
  EXPECT_TRUE(bob.snapshot().debugViewMargins.empty());
}

TEST_F(RemoteMedia, NotMoreUsersAreKeptThanThereIsRoomFor) {
  const auto bob = bobReceiving(true, true);
  bob->startRemoteView("alice", 0, nullptr);
  bob.events->take();
  for (std::size_t i = 0; i < kMostUsersKept + 2; ++i) {
    bob->startRemoteView(std::to_string(i), 0, nullptr);
    bob->setDebugViewMargin(std::to_string(i), {});
  }
  bob->startRemoteView("alice", 1, nullptr);
  classroom.advance(10);
  EXPECT_EQ(bob.events->takeRare(), Lines(5, "onWarning 1105 more users than are kept account of"));
  const auto full = bob.snapshot();
  EXPECT_EQ(full.remoteViews.size(), kMostUsersKept);
  EXPECT_EQ(full.debugViewMargins.size(), kMostUsersKept);
  EXPECT_EQ(full.remoteViews.back().userId, "alice");
  EXPECT_EQ(full.remoteViews.back().streamType, 1) << "what is kept can still be changed";

  bob->stopRemoteView("alice", 0);
  bob->startRemoteView("late", 0, nullptr);
  EXPECT_EQ(bob.snapshot().remoteViews.back().userId, "late");
}

TEST_F(RemoteMedia, ARoomThatHoldsMoreUsersHasThemAllKept) {
  auto options = Classroom::steady();
  options.roomCapacity = kMostUsersKept + 1;
  Classroom large(std::move(options));
  const auto bob = large.entered("bob");
  for (std::size_t i = 0; i < kMostUsersKept + 2; ++i)
    bob->setDebugViewMargin(std::to_string(i), {});
  EXPECT_EQ(bob.snapshot().debugViewMargins.size(), kMostUsersKept + 1);
}

TEST_F(RemoteMedia, IsMutedForOneAndForAll) {
  const auto bob = bobReceiving(true, true);
  const auto carol = classroom.entered("carol");
  bob->startRemoteView("alice", 0, nullptr);
  const auto user = [&](std::size_t index) { return bob.snapshot().users.at(index); };

  bob->muteRemoteVideoStream("alice", true);
  EXPECT_EQ(bob.snapshot().remoteViews.at(0).picture.kind, PictureKind::none);
  bob->muteRemoteVideoStream("alice", false);
  EXPECT_EQ(bob.snapshot().remoteViews.at(0).picture.kind, PictureKind::live);

  bob->muteAllRemoteAudio(true);
  EXPECT_TRUE(user(0).audioMuted && user(1).audioMuted);
  EXPECT_TRUE(bob.snapshot().allAudioMuted);
  bob->muteRemoteAudio("alice", false);
  EXPECT_FALSE(user(0).audioMuted);
  EXPECT_TRUE(user(1).audioMuted);
  bob->muteAllRemoteAudio(false);
  EXPECT_FALSE(user(0).audioMuted || user(1).audioMuted);

  bob->muteAllRemoteVideoStreams(true);
  EXPECT_TRUE(user(0).videoMuted && user(1).videoMuted);
  bob->muteAllRemoteVideoStreams(false);
  EXPECT_FALSE(user(0).videoMuted || user(1).videoMuted);
}

TEST_F(RemoteMedia, TheVolumeOfAUserStaysWithinItsScaleAndIsHeard) {
  const auto bob = bobReceiving(true, true);
  bob->setRemoteAudioVolume("alice", 5000);
  EXPECT_EQ(bob.snapshot().users.at(0).volume, 100);
  const auto loud = bob.snapshot().users.at(0).heard;
  EXPECT_GT(loud, 0U);
  bob->setRemoteAudioVolume("alice", 50);
  EXPECT_EQ(bob.snapshot().users.at(0).heard, loud / 2);
  bob->setAudioPlayoutVolume(0);
  EXPECT_EQ(bob.snapshot().users.at(0).heard, 0U);
  bob->setAudioPlayoutVolume(100);
  bob->muteRemoteAudio("alice", true);
  EXPECT_EQ(bob.snapshot().users.at(0).heard, 0U);
}

TEST_F(RemoteMedia, EndsWithTheVisit) {
  const auto bob = bobReceiving(true, true);
  bob->startRemoteView("alice", 0, nullptr);
  bob->muteAllRemoteAudio(true);
  bob->exitRoom();
  EXPECT_TRUE(bob.snapshot().remoteViews.empty());
  EXPECT_TRUE(bob.snapshot().users.empty());
  EXPECT_FALSE(bob.snapshot().allAudioMuted);
}

}  // namespace
}  // namespace vemo
