// The engine's records as the page sees them: names, order, defaults, and the way back.

#include <gtest/gtest.h>

#include <boost/json/parse.hpp>
#include <string>
#include <string_view>

#include "bridge/KOBURecords.h"
#include "json/RecordMapper.h"

namespace vemo {
namespace {

/// The text of `record`, which is that of its dictionary.
template <HasFields Record>
std::string textOf(const Record& record) {
  std::string text;
  appendRecordText(text, record);
  EXPECT_EQ(text, jsonText(dictionaryFrom(record)));
  return text;
}

/// Reads `json`, which sets every property, and expects it written just so.
template <HasFields Record>
void expectRoundTrip(std::string_view json) {
  const auto parsed = boost::json::parse(json);
  MappingError error;
  const auto record = recordFrom<Record>(&parsed.as_object(), &error);
  ASSERT_TRUE(record) << error.text();
  EXPECT_EQ(textOf(*record), json);
}

TEST(Records, Params) {
  EXPECT_EQ(textOf(KOBUParams{}), R"({"sdkAppId":0,"roomId":0,"role":20})");
  expectRoundTrip<KOBUParams>(
      R"({"sdkAppId":4000000000,"userId":"u","userSig":"s","roomId":4294967295,"role":21})");
}

TEST(Records, WhatIsAttachedToParamsIsNotInItsJson) {
  KOBUParams params;
  params.associated["appScene"] = 1;
  EXPECT_EQ(textOf(params), textOf(KOBUParams{}));
  const auto json = boost::json::parse(R"({"appScene":"wrong","switchToRole":[],"role":21})");
  const auto read = recordFrom<KOBUParams>(&json.as_object());
  ASSERT_TRUE(read);
  EXPECT_TRUE(read->associated.empty());
  EXPECT_EQ(read->role, 21);
}

TEST(Records, RenderParams) {
  EXPECT_EQ(textOf(KOBURenderParams{}), R"({"rotation":0,"fillMode":0,"mirrorType":0})");
  expectRoundTrip<KOBURenderParams>(R"({"rotation":1,"fillMode":2,"mirrorType":3})");
}

TEST(Records, VideoEncParam) {
  EXPECT_EQ(textOf(KOBUVideoEncParam{}),
            R"({"width":0,"height":0,"fps":15,"bitrate":0,"minBitrate":0,)"
            R"("adjustResolution":false})");
  expectRoundTrip<KOBUVideoEncParam>(
      R"({"width":640,"height":360,"fps":20,"bitrate":800,"minBitrate":400,)"
      R"("adjustResolution":true})");
}

TEST(Records, NetworkQosParam) {
  EXPECT_EQ(textOf(KOBUNetworkQosParam{}), R"({"preference":0,"controlMode":0})");
  expectRoundTrip<KOBUNetworkQosParam>(R"({"preference":1,"controlMode":2})");
}

TEST(Records, QualityInfo) {
  EXPECT_EQ(textOf(KOBUQualityInfo{}), R"({"quality":0})");
  expectRoundTrip<KOBUQualityInfo>(R"({"userId":"u","quality":6})");
}

TEST(Records, VolumeInfo) {
  EXPECT_EQ(textOf(KOBUVolumeInfo{}), R"({"volume":0})");
  expectRoundTrip<KOBUVolumeInfo>(R"({"userId":"u","volume":100})");
}

constexpr std::string_view kLocal =
    R"({"width":1,"height":2,"frameRate":3,"videoBitrate":4,"audioSampleRate":48000,)"
    R"("audioBitrate":6,"streamType":2})";
constexpr std::string_view kRemote =
    R"({"userId":"u","packetLoss":1,"width":2,"height":3,"frameRate":4,"videoBitrate":5,)"
    R"("audioSampleRate":6,"audioBitrate":7,"jitterBufferDelay":8,"streamType":1})";

TEST(Records, LocalStatistics) {
  EXPECT_EQ(textOf(KOBULocalStatistics{}),
            R"({"width":0,"height":0,"frameRate":0,"videoBitrate":0,"audioSampleRate":0,)"
            R"("audioBitrate":0,"streamType":0})");
  expectRoundTrip<KOBULocalStatistics>(kLocal);
}

TEST(Records, RemoteStatistics) {
  EXPECT_EQ(textOf(KOBURemoteStatistics{}),
            R"({"packetLoss":0,"width":0,"height":0,"frameRate":0,"videoBitrate":0,)"
            R"("audioSampleRate":0,"audioBitrate":0,"jitterBufferDelay":0,"streamType":0})");
  expectRoundTrip<KOBURemoteStatistics>(kRemote);
}

TEST(Records, Statistics) {
  EXPECT_EQ(textOf(KOBUStatistics{}),
            R"({"appCpu":0,"systemCpu":0,"rtt":0,"upLoss":0,"downLoss":0,"sentBytes":0,)"
            R"("receivedBytes":0,"localStatistics":[],"remoteStatistics":[]})");
  expectRoundTrip<KOBUStatistics>(
      R"({"appCpu":1,"systemCpu":2,"rtt":3,"upLoss":4,"downLoss":5,)"
      R"("sentBytes":18446744073709551615,"receivedBytes":7,"localStatistics":[)" +
      std::string(kLocal) + "," + std::string(kLocal) + R"(],"remoteStatistics":[)" +
      std::string(kRemote) + "]}");
}

TEST(Records, SpeedTestResult) {
  EXPECT_EQ(textOf(KOBUSpeedTestResult{}),
            R"({"quality":0,"upLostRate":0,"downLostRate":0,"rtt":0})");
  expectRoundTrip<KOBUSpeedTestResult>(
      R"({"ip":"10.0.0.1","quality":2,"upLostRate":0.125,"downLostRate":1e-7,"rtt":30})");
}

TEST(Records, MusicParam) {
  EXPECT_EQ(textOf(PWAudioMusicParam{}),
            R"({"ID":0,"loopCount":0,"publish":false,"startTimeMs":0,"endTimeMs":-1})");
  expectRoundTrip<PWAudioMusicParam>(
      R"({"ID":-1,"path":"/a.mp3","loopCount":2,"publish":true,"startTimeMs":9223372036854775807,)"
      R"("endTimeMs":5})");
}

TEST(Records, EdgeInsets) {
  EXPECT_EQ(textOf(EdgeInsets{}), R"({"top":0,"left":0,"bottom":0,"right":0})");
  expectRoundTrip<EdgeInsets>(R"({"top":0.5,"left":-1,"bottom":2,"right":3.25})");
}

}  // namespace
}  // namespace vemo
