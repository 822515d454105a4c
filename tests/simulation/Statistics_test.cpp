#include <gtest/gtest.h>

#include "Classroom.h"

namespace vemo {
namespace {

TEST(Statistics, ComeEveryTwoSecondsInARoom) {
  Classroom classroom;
  const auto alice = classroom.handset();
  classroom.advance(5000);
  alice->enterRoom(paramsOf("alice"), 0);
  classroom.advance(60);
  classroom.advance(1999);
  EXPECT_EQ(alice.events->count("onStatistics"), 0U);
  classroom.advance(1);
  EXPECT_EQ(alice.events->count("onStatistics"), 1U);
  EXPECT_EQ(alice.events->count("onNetworkQuality 1"), 1U);
  classroom.advance(20'000);
  EXPECT_EQ(alice.events->count("onStatistics"), 11U);
  alice->exitRoom();
  classroom.advance(20'000);
  EXPECT_EQ(alice.events->count("onStatistics"), 11U);
}

TEST(Statistics, AddUp) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  const auto bob = classroom.entered("bob");
  alice.engineClass->setNetwork({milliseconds(10), milliseconds(0), 10, 0});
  alice->setVideoEncoderParam({320, 240, 20, 400, 0, false});
  alice->startLocalPreview(true, nullptr);
  alice->startLocalAudio(2);
  alice->startScreenCaptureInApp({});
  KOBUVideoEncParam small;
  small.bitrate = 80;
  alice->enableEncSmallVideoStream(true, &small);
  classroom.advance(2000);
  const auto sentBefore = alice.events->statistics()->sentBytes;
  const auto receivedBefore = bob.events->statistics()->receivedBytes;
  classroom.advance(2000);

  const auto sent = alice.events->statistics();
  ASSERT_EQ(sent->localStatistics.size(), 3U);
  EXPECT_EQ(sent->localStatistics[0].streamType, 0);
  EXPECT_EQ(sent->localStatistics[0].width, 320U);
  EXPECT_EQ(sent->localStatistics[0].frameRate, 20U);
  EXPECT_EQ(sent->localStatistics[0].videoBitrate, 400U);
  EXPECT_EQ(sent->localStatistics[0].audioSampleRate, 48'000U);
  EXPECT_EQ(sent->localStatistics[1].streamType, 1);
  EXPECT_EQ(sent->localStatistics[1].videoBitrate, 80U);
  EXPECT_EQ(sent->localStatistics[2].streamType, 2);
  std::uint64_t kilobits = 0;
  for (const auto& stream : sent->localStatistics) {
    kilobits += stream.videoBitrate + stream.audioBitrate;
  }
  EXPECT_EQ(sent->sentBytes - sentBefore, kilobits * 2 * 1000 / 8);
  EXPECT_EQ(sent->upLoss, 10U);
  EXPECT_EQ(sent->rtt, 20U);
  EXPECT_TRUE(sent->remoteStatistics.empty());

  const auto received = bob.events->statistics();
  ASSERT_EQ(received->remoteStatistics.size(), 2U);
  const auto& main = received->remoteStatistics[0];
  EXPECT_EQ(main.userId, "alice");
  EXPECT_EQ(main.packetLoss, 10U);
  EXPECT_EQ(main.videoBitrate, 360U);
  EXPECT_EQ(main.audioBitrate, 45U);
  EXPECT_EQ(received->remoteStatistics[1].streamType, 2);
  kilobits = 0;
  for (const auto& stream : received->remoteStatistics) {
    kilobits += stream.videoBitrate + stream.audioBitrate;
  }
  EXPECT_EQ(received->receivedBytes - receivedBefore, kilobits * 2 * 1000 / 8);
  EXPECT_TRUE(received->localStatistics.empty());

  bob->setRemoteVideoStreamType("alice", 1);
  bob->muteRemoteAudio("alice", true);
  classroom.advance(2000);
  EXPECT_EQ(bob.events->statistics()->remoteStatistics.at(0).streamType, 1);
  EXPECT_EQ(bob.events->statistics()->remoteStatistics.at(0).videoBitrate, 72U);
  EXPECT_EQ(bob.events->statistics()->remoteStatistics.at(0).audioBitrate, 0U);

  alice->pauseScreenCapture();
  classroom.advance(2000);
  EXPECT_EQ(alice.events->statistics()->localStatistics.at(2).videoBitrate, 0U);
}

TEST(Statistics, QualityFollowsTheNetworks) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  const auto bob = classroom.entered("bob");
  classroom.cloud->setNetwork("alice", {milliseconds(200), milliseconds(0), 10, 0});
  classroom.advance(2000);
  EXPECT_EQ(alice.events->count("onNetworkQuality 4 bob 4"), 1U);
  EXPECT_EQ(bob.events->count("onNetworkQuality 1 alice 4"), 1U);
  classroom.cloud->dropConnection("bob");
  classroom.advance(2000);
  EXPECT_EQ(alice.events->count("onNetworkQuality 4 bob 6"), 1U);
  EXPECT_EQ(bob.events->count("onNetworkQuality 6 alice 6"), 1U);
  EXPECT_EQ(bob.events->statistics()->downLoss, 100U);
}

TEST(Volumes, ComeAtTheirInterval) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  alice->enableAudioVolumeEvaluation(500);
  classroom.advance(2600);
  EXPECT_EQ(alice.events->count("onUserVoiceVolume"), 5U);
  alice->enableAudioVolumeEvaluation(1);
  classroom.advance(1000);
  EXPECT_EQ(alice.events->count("onUserVoiceVolume"), 15U) << "100 ms is the shortest";
  alice->enableAudioVolumeEvaluation(0);
  classroom.advance(5000);
  EXPECT_EQ(alice.events->count("onUserVoiceVolume"), 15U);
}

TEST(Volumes, OfTheOwnUserHaveNoId) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  const auto bob = classroom.entered("bob");
  alice->enableAudioVolumeEvaluation(500);
  alice->startLocalAudio(2);
  classroom.advance(1000);
  ASSERT_EQ(alice.events->volumes()->size(), 1U);
  EXPECT_EQ(alice.events->volumes()->at(0).userId, std::nullopt);
  EXPECT_GT(alice.events->volumes()->at(0).volume, 0U);
  alice->setAudioCaptureVolume(0);
  classroom.advance(500);
  EXPECT_EQ(alice.events->volumes()->at(0).volume, 0U);

  bob->startLocalAudio(2);
  classroom.advance(1000);
  ASSERT_EQ(alice.events->volumes()->size(), 2U);
  EXPECT_EQ(alice.events->volumes()->at(1).userId, "bob");
  EXPECT_GT(alice.events->volumes()->at(1).volume, 0U);
  alice->muteRemoteAudio("bob", true);
  classroom.advance(500);
  EXPECT_EQ(alice.events->volumes()->size(), 1U);
}

}  // namespace
}  // namespace vemo
