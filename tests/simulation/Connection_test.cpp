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
  const auto alice = classroom.phone();
  alice.engineClass->dropConnection();
  alice->enterRoom(paramsOf("alice"), 0);
  classroom.advance(9'999);
  EXPECT_TRUE(alice.events->lines().empty());
  classroom.advance(1);
  EXPECT_EQ(alice.events->lines(),
            (Lines{"onError -3308 the server does not answer", "onEnterRoom -3308"}));
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
