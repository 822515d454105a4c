#include "engine/GivingWay.h"

#include <gtest/gtest.h>

namespace vemo::janus {
namespace {

VideoEncoding wide() {
  VideoEncoding asked;
  asked.width = 640;
  asked.height = 360;
  asked.fps = 20;
  asked.bitrate = 1000;
  return asked;
}

TEST(GivingWay, HalfOfWhatIsLostIsGivenUp) {
  GivingWay way;
  EXPECT_TRUE(way.look(0.2));
  EXPECT_DOUBLE_EQ(way.share(), 0.9);
  EXPECT_TRUE(way.look(0.5));
  EXPECT_DOUBLE_EQ(way.share(), 0.675);
}

TEST(GivingWay, LittleLossChangesNothing) {
  GivingWay way;
  EXPECT_TRUE(way.look(0.4));
  EXPECT_FALSE(way.look(0.1));
  EXPECT_FALSE(way.look(0.02));
  EXPECT_DOUBLE_EQ(way.share(), 0.8);
}

TEST(GivingWay, WhatWasGivenUpComesBackAndNoMore) {
  GivingWay way;
  EXPECT_FALSE(way.look(0));
  way.look(0.4);
  EXPECT_TRUE(way.look(0));
  EXPECT_DOUBLE_EQ(way.share(), 0.92);
  EXPECT_TRUE(way.look(0));
  EXPECT_DOUBLE_EQ(way.share(), 1);
}

TEST(GivingWay, SomethingIsAlwaysLeft) {
  GivingWay way;
  for (int i = 0; i < 100; ++i) way.look(1);
  EXPECT_DOUBLE_EQ(way.share(), 0.1);
}

TEST(GivenWay, AllIsAsAsked) { EXPECT_EQ(givenWay(wide(), 1, true), wide()); }

TEST(GivenWay, EachPictureHasFewerBits) {
  auto expected = wide();
  expected.bitrate = 300;
  EXPECT_EQ(givenWay(wide(), 0.3, false), expected);
}

TEST(GivenWay, PicturesAreFewer) {
  auto expected = wide();
  expected.bitrate = 500;
  expected.fps = 10;
  EXPECT_EQ(givenWay(wide(), 0.5, true), expected);
  expected.bitrate = 100;
  expected.fps = 5;
  EXPECT_EQ(givenWay(wide(), 0.1, true), expected);
}

TEST(GivenWay, FewPicturesBecomeNotMore) {
  auto asked = wide();
  asked.fps = 3;
  EXPECT_EQ(givenWay(asked, 0.5, true).fps, 3U);
}

TEST(GivenWay, TheSizeIsHalvedIfItMay) {
  auto asked = wide();
  asked.mayShrink = true;
  EXPECT_EQ(givenWay(asked, 0.5, false).width, 640U);
  asked.height = 90;
  const auto given = givenWay(asked, 0.49, false);
  EXPECT_EQ(given.width, 320U);
  EXPECT_EQ(given.height, 46U);
  asked.mayShrink = false;
  EXPECT_EQ(givenWay(asked, 0.49, false).width, 640U);
}

TEST(GivenWay, TheLeastBitRateIsKept) {
  auto asked = wide();
  asked.minBitrate = 800;
  EXPECT_EQ(givenWay(asked, 0.1, false).bitrate, 800U);
  asked.minBitrate = 0;
  EXPECT_EQ(givenWay(asked, 0.01, false).bitrate, 100U);
}

TEST(GivenWay, ALeastBitRateAboveWhatIsAskedForMakesItNoMore) {
  auto asked = wide();
  asked.minBitrate = 2000;
  EXPECT_EQ(givenWay(asked, 0.1, true), asked);
}

}  // namespace
}  // namespace vemo::janus
