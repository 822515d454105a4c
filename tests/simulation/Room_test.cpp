#include <gtest/gtest.h>

#include <thread>

#include "Classroom.h"

namespace vemo {
namespace {

TEST(Room, EnteringIsAnsweredAfterItsTime) {
  Classroom classroom;
  const auto alice = classroom.handset();
  alice->enterRoom(paramsOf("alice"), 1);
  EXPECT_EQ(alice.snapshot().room, RoomState::entering);
  classroom.advance(59);
  EXPECT_TRUE(alice.events->lines().empty());
  classroom.advance(1);
  EXPECT_EQ(alice.events->lines(), Lines{"onEnterRoom 60"});
  EXPECT_EQ(alice.snapshot().room, RoomState::inside);
  EXPECT_EQ(alice.snapshot().appScene, 1);
}

TEST(Room, EnteringTakesAWhileHoweverShortTheWay) {
  Classroom classroom;
  const auto alice = classroom.handset();
  alice.engineClass->setNetwork(
      {.delay = std::chrono::milliseconds(0), .jitter = std::chrono::milliseconds(0)});
  alice->enterRoom(paramsOf("alice"), 1);
  classroom.advance(19);
  EXPECT_TRUE(alice.events->lines().empty());
  classroom.advance(1);
  EXPECT_EQ(alice.events->lines(), Lines{"onEnterRoom 20"});
}

TEST(Room, EventsComeOnOneThreadThatIsNotTheCallers) {
  Classroom classroom;
  const auto alice = classroom.handset();
  const auto bob = classroom.handset();
  alice->enterRoom(paramsOf("alice"), 0);
  bob->enterRoom(paramsOf("bob"), 0);
  classroom.advance(3000);
  const auto thread = alice.events->events().at(0).thread;
  EXPECT_NE(thread, std::this_thread::get_id());
  for (const auto& handset : {alice, bob}) {
    for (const auto& event : handset.events->events()) EXPECT_EQ(event.thread, thread);
  }
}

struct RefusedEnter {
  const char* name;
  std::function<void(KOBUParams&)> spoil;
  std::int32_t code;
  const char* text;
};

class RoomRefuses : public testing::TestWithParam<RefusedEnter> {};

TEST_P(RoomRefuses, WithAnErrorAndThenANegativeResult) {
  auto options = Classroom::steady();
  options.applications = {kApplication};
  Classroom classroom(options);
  const auto alice = classroom.handset();
  auto params = paramsOf("alice");
  GetParam().spoil(params);
  alice->enterRoom(params, 0);
  classroom.advance(5000);
  const auto code = std::to_string(GetParam().code);
  EXPECT_EQ(alice.events->lines(),
            (Lines{"onError " + code + " " + GetParam().text, "onEnterRoom " + code}));
  EXPECT_EQ(alice.snapshot().room, RoomState::outside);
  EXPECT_TRUE(classroom.cloud->rooms().empty());

  alice.events->take();
  alice->enterRoom(paramsOf("alice"), 0);
  classroom.advance(60);
  EXPECT_EQ(alice.events->lines(), Lines{"onEnterRoom 60"});
}

INSTANTIATE_TEST_SUITE_P(
    , RoomRefuses,
    testing::Values(RefusedEnter{"BadSignature", [](auto& params) { params.userSig = "bad"; },
                                 kEnterBadSignature, "bad user signature"},
                    RefusedEnter{"EmptySignature", [](auto& params) { params.userSig = ""; },
                                 kEnterBadSignature, "bad user signature"},
                    RefusedEnter{"NoSignature", [](auto& params) { params.userSig.reset(); },
                                 kEnterBadSignature, "bad user signature"},
                    RefusedEnter{"EmptyUserId", [](auto& params) { params.userId = ""; },
                                 kEnterBadUserId, "empty user id"},
                    RefusedEnter{"NoUserId", [](auto& params) { params.userId.reset(); },
                                 kEnterBadUserId, "empty user id"},
                    RefusedEnter{
                        "LongUserId",
                        [](auto& params) { params.userId = std::string(kLongestUserId + 1, 'x'); },
                        kEnterBadUserId, "a user id that is too long"},
                    RefusedEnter{"RoomZero", [](auto& params) { params.roomId = 0; },
                                 kEnterBadRoomId, "bad room id"},
                    RefusedEnter{"UnknownApplication", [](auto& params) { params.sdkAppId = 7; },
                                 kEnterUnknownApplication, "unknown application"},
                    RefusedEnter{"ApplicationZero", [](auto& params) { params.sdkAppId = 0; },
                                 kEnterUnknownApplication, "unknown application"},
                    RefusedEnter{"UnknownRole", [](auto& params) { params.role = 5; },
                                 kEnterRefused, "unknown role"}),
    [](const auto& refused) { return refused.param.name; });

TEST(Room, RefusesWhoComesWhenItIsFull) {
  auto options = Classroom::steady();
  options.roomCapacity = 2;
  Classroom classroom(options);
  const auto alice = classroom.entered("alice");
  const auto bob = classroom.entered("bob");
  const auto carol = classroom.entered("carol");
  EXPECT_EQ(carol.snapshot().room, RoomState::outside);
  carol->enterRoom(paramsOf("carol"), 0);
  classroom.advance(60);
  EXPECT_EQ(carol.events->lines(), (Lines{"onError -3316 the room is full", "onEnterRoom -3316"}));

  carol.events->take();
  bob->exitRoom();
  carol->enterRoom(paramsOf("carol"), 0);
  classroom.advance(60);
  EXPECT_EQ(carol.events->lines().at(0), "onEnterRoom 60");
}

TEST(Room, RefusesEverybodyWhileTheServiceIsSuspended) {
  Classroom classroom;
  classroom.cloud->setSuspended(true);
  const auto alice = classroom.handset();
  alice->enterRoom(paramsOf("alice"), 0);
  classroom.advance(60);
  EXPECT_EQ(alice.events->take(),
            (Lines{"onError -100013 the service is suspended", "onEnterRoom -100013"}));
  classroom.cloud->setSuspended(false);
  alice->enterRoom(paramsOf("alice"), 0);
  classroom.advance(60);
  EXPECT_EQ(alice.events->lines(), Lines{"onEnterRoom 60"});
}

TEST(Room, AsksTheRuleForSignatures) {
  auto options = Classroom::steady();
  options.signatureIsGood = [](const KOBUParams& params) { return params.userSig == "open"; };
  Classroom classroom(options);
  const auto alice = classroom.handset();
  auto params = paramsOf("alice");
  params.userSig = "open";
  alice->enterRoom(params, 0);
  classroom.advance(60);
  EXPECT_EQ(alice.events->lines(), Lines{"onEnterRoom 60"});
}

TEST(Room, ARefusedClientIgnoresAnExitFromTheErrorItself) {
  Classroom classroom;
  const auto alice = classroom.handset();
  alice.events->inEvent = [&](const RecordingDelegate::Event& event) {
    if (event.name == "onError") alice->exitRoom();
  };
  auto params = paramsOf("alice");
  params.userSig = "bad";
  alice->enterRoom(params, 0);
  classroom.advance(1000);
  EXPECT_EQ(alice.events->lines(),
            (Lines{"onError -3320 bad user signature", "onEnterRoom -3320"}));
}

TEST(Room, EnteringAgainIsRefusedAndTheRoomKept) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  auto params = paramsOf("alice");
  params.roomId = 102;
  alice->enterRoom(params, 0);
  classroom.advance(100);
  EXPECT_EQ(alice.events->lines(), (Lines{"onError -3302 already in a room", "onEnterRoom -3302"}));
  EXPECT_EQ(alice.snapshot().room, RoomState::inside);
  EXPECT_EQ(alice.snapshot().params.roomId, kRoom);
}

TEST(Room, ExitIsAnsweredOnce) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  alice->exitRoom();
  alice->exitRoom();
  classroom.advance(5000);
  EXPECT_EQ(alice.events->lines(), Lines{"onExitRoom 0"});
  EXPECT_TRUE(classroom.cloud->rooms().empty());
}

TEST(Room, ExitOutsideARoomDoesNothing) {
  Classroom classroom;
  const auto alice = classroom.handset();
  alice->exitRoom();
  classroom.advance(1000);
  EXPECT_TRUE(alice.events->lines().empty());
}

TEST(Room, ExitOnTheWayInCancelsTheEnter) {
  Classroom classroom;
  const auto alice = classroom.handset();
  alice->enterRoom(paramsOf("alice"), 0);
  classroom.advance(30);
  alice->exitRoom();
  EXPECT_EQ(alice.snapshot().room, RoomState::outside);
  classroom.advance(1000);
  EXPECT_EQ(alice.events->lines(),
            (Lines{"onError -3309 left on the way in", "onEnterRoom -3309", "onExitRoom 0"}));
  EXPECT_TRUE(classroom.cloud->rooms().empty());
}

TEST(Room, EnteringRightAfterAnExitIsAnsweredAfterIt) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  alice->exitRoom();
  alice->enterRoom(paramsOf("alice"), 0);
  classroom.advance(100);
  EXPECT_EQ(alice.events->lines(), (Lines{"onExitRoom 0", "onEnterRoom 60"}));
}

TEST(Room, OthersSeeAnAnchorComeAndGo) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  const auto bob = classroom.entered("bob");
  EXPECT_EQ(alice.events->take(), Lines{"onRemoteUserEnterRoom bob"});
  bob->exitRoom();
  classroom.advance(20);
  EXPECT_EQ(alice.events->lines(), Lines{"onRemoteUserLeaveRoom bob 0"});
}

TEST(Room, WhoEntersHearsOfThoseInAndOfTheirStreams) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  alice->startLocalPreview(true, nullptr);
  alice->startLocalAudio(2);
  alice->startScreenCaptureInApp({});
  classroom.advance(1000);
  const auto bob = classroom.handset();
  bob->enterRoom(paramsOf("bob"), 0);
  classroom.advance(60);
  EXPECT_EQ(bob.events->lines(),
            (Lines{"onEnterRoom 60", "onRemoteUserEnterRoom alice", "onUserAudioAvailable alice 1",
                   "onUserVideoAvailable alice 1", "onUserSubStreamAvailable alice 1"}));
}

TEST(Room, AudienceIsNotSeenButSees) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  const auto bob = classroom.handset();
  bob->enterRoom(paramsOf("bob", kKOBURoleAudience), 0);
  classroom.advance(100);
  EXPECT_TRUE(alice.events->lines().empty());
  EXPECT_EQ(bob.events->lines(), (Lines{"onEnterRoom 60", "onRemoteUserEnterRoom alice"}));
  bob->exitRoom();
  classroom.advance(100);
  EXPECT_TRUE(alice.events->lines().empty());
}

TEST(Room, RoomsOfOtherNumbersAndApplicationsAreOtherRooms) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  for (const bool otherRoom : {true, false}) {
    auto params = paramsOf("bob");
    ++(otherRoom ? params.roomId : params.sdkAppId);
    const auto bob = classroom.handset();
    bob->enterRoom(params, 0);
    classroom.advance(100);
    EXPECT_EQ(bob.events->lines(), Lines{"onEnterRoom 60"});
    EXPECT_TRUE(alice.events->lines().empty());
    EXPECT_EQ(classroom.cloud->rooms().size(), 2U);
  }
}

TEST(Room, SwitchingTheRoleShowsAndHidesTheUser) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  const auto bob = classroom.entered("bob", kKOBURoleAudience);
  bob->startLocalAudio(2);
  classroom.advance(200);
  EXPECT_TRUE(alice.events->takeRare().empty());

  bob->switchRole(kKOBURoleAnchor);
  classroom.advance(19);
  EXPECT_EQ(bob.events->count("onSwitchRole"), 0U);
  classroom.advance(81);
  EXPECT_EQ(bob.events->takeRare(),
            (Lines{"onMicDidReady", "onSwitchRole 0 ", "onSendFirstLocalAudioFrame"}));
  EXPECT_EQ(
      alice.events->takeRare(),
      (Lines{"onRemoteUserEnterRoom bob", "onUserAudioAvailable bob 1", "onFirstAudioFrame bob"}));

  bob->switchRole(kKOBURoleAudience);
  classroom.advance(100);
  EXPECT_EQ(bob.events->takeRare(), Lines{"onSwitchRole 0 "});
  EXPECT_EQ(alice.events->takeRare(),
            (Lines{"onUserAudioAvailable bob 0", "onRemoteUserLeaveRoom bob 3"}));
  EXPECT_EQ(bob.snapshot().params.role, kKOBURoleAudience);
}

TEST(Room, SwitchingIsRefusedForAnUnknownRoleAndOutsideARoom) {
  Classroom classroom;
  const auto alice = classroom.handset();
  alice->switchRole(kKOBURoleAudience);
  classroom.advance(10);
  EXPECT_EQ(alice.events->take(), Lines{"onSwitchRole -3303 not in a room"});
  alice->enterRoom(paramsOf("alice"), 0);
  classroom.advance(100);
  alice.events->take();
  alice->switchRole(5);
  classroom.advance(10);
  EXPECT_EQ(alice.events->lines(), Lines{"onSwitchRole -3304 unknown role"});
  EXPECT_EQ(alice.snapshot().params.role, kKOBURoleAnchor);
}

TEST(Room, ASwitchThatIsOvertakenByAnExitFails) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  alice->switchRole(kKOBURoleAudience);
  alice->exitRoom();
  classroom.advance(100);
  EXPECT_EQ(alice.events->lines(), (Lines{"onSwitchRole -3303 not in a room", "onExitRoom 0"}));
}

TEST(Room, TheSameUserAgainPutsTheFirstOneOut) {
  Classroom classroom;
  const auto teacher = classroom.entered("teacher");
  const auto first = classroom.entered("alice");
  teacher.events->take();
  first.events->take();
  const auto second = classroom.handset();
  second->enterRoom(paramsOf("alice"), 0);
  classroom.advance(100);
  EXPECT_EQ(first.events->lines(), Lines{"onExitRoom 1"});
  EXPECT_EQ(first.snapshot().room, RoomState::outside);
  EXPECT_EQ(second.events->lines(), (Lines{"onEnterRoom 60", "onRemoteUserEnterRoom teacher"}));
  EXPECT_EQ(teacher.events->lines(),
            (Lines{"onRemoteUserLeaveRoom alice 2", "onRemoteUserEnterRoom alice"}));
  ASSERT_EQ(classroom.cloud->rooms().size(), 1U);
  EXPECT_EQ(classroom.cloud->rooms()[0].users, (Lines{"teacher", "alice"}));
}

TEST(Room, TheSameUserAloneInItsRoomIsReplacedToo) {
  Classroom classroom;
  const auto first = classroom.entered("alice");
  const auto second = classroom.entered("alice");
  EXPECT_EQ(first.events->lines(), Lines{"onExitRoom 1"});
  EXPECT_EQ(second.snapshot().room, RoomState::inside);
}

TEST(Room, TheOperatorRemovesAUser) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  const auto bob = classroom.entered("bob");
  alice.events->take();
  classroom.cloud->removeUser(kApplication, kRoom, "nobody");
  classroom.cloud->removeUser(kApplication, kRoom, "bob");
  classroom.advance(100);
  EXPECT_EQ(bob.events->lines(), Lines{"onExitRoom 1"});
  EXPECT_EQ(bob.snapshot().room, RoomState::outside);
  EXPECT_EQ(alice.events->lines(), Lines{"onRemoteUserLeaveRoom bob 2"});
}

TEST(Room, TheOperatorDismissesARoom) {
  Classroom classroom;
  const auto alice = classroom.entered("alice");
  const auto bob = classroom.entered("bob");
  alice.events->take();
  classroom.cloud->dismissRoom(kApplication, 999);
  classroom.cloud->dismissRoom(kApplication, kRoom);
  classroom.advance(100);
  EXPECT_EQ(alice.events->lines(), Lines{"onExitRoom 2"});
  EXPECT_EQ(bob.events->lines(), Lines{"onExitRoom 2"});
  EXPECT_TRUE(classroom.cloud->rooms().empty());
}

TEST(Room, TheSameSeedAndStepsGiveTheSameEvents) {
  const auto lesson = [](std::uint64_t seed) {
    CloudOptions options;
    options.seed = seed;
    Classroom classroom(options);
    Lines all;
    auto alice = classroom.handset();
    auto bob = classroom.handset();
    alice->enterRoom(paramsOf("alice"), 0);
    bob->enterRoom(paramsOf("bob"), 0);
    alice->enableAudioVolumeEvaluation(300);
    alice->startLocalAudio(1);
    bob->startLocalAudio(3);
    bob->startLocalPreview(true, nullptr);
    classroom.advance(5000);
    for (const auto& handset : {alice, bob}) {
      for (auto& line : handset.events->take()) all.push_back(std::move(line));
    }
    return all;
  };
  const auto first = lesson(7);
  EXPECT_EQ(lesson(7), first);
  EXPECT_NE(lesson(8), first);
}

}  // namespace
}  // namespace vemo
