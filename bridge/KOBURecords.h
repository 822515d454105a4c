#pragma once

#include <cstdint>
#include <map>
#include <string_view>
#include <tuple>
#include <vector>

#include "bridge/Fields.h"
#include "bridge/Text.h"

// The engine's records: plain values, each with the table of its properties. Texts
// are absent and numbers zero until set, save where a default is given.

namespace vemo {

inline constexpr std::int32_t kKOBURoleAnchor = 20;    ///< sends and receives media
inline constexpr std::int32_t kKOBURoleAudience = 21;  ///< receives only

inline constexpr std::int32_t kKOBUStreamTypeMain = 0;       ///< camera
inline constexpr std::int32_t kKOBUStreamTypeMainSmall = 1;  ///< camera, small picture
inline constexpr std::int32_t kKOBUStreamTypeSub = 2;        ///< screen sharing

/// What a user enters a room with.
struct KOBUParams {
  std::uint32_t sdkAppId = 0;
  Text userId;
  Text userSig;
  std::uint32_t roomId = 0;
  std::int32_t role = kKOBURoleAnchor;

  /// Numbers that others attach to the record under keys of their own; they live
  /// and are copied with it and are no properties of it. Keys are literals.
  std::map<std::string_view, std::int64_t> associated;
};
template <>
struct Fields<KOBUParams> {
  static constexpr std::string_view name = "KOBUParams";
  static constexpr std::tuple table{
      Field{"sdkAppId", &KOBUParams::sdkAppId}, Field{"userId", &KOBUParams::userId},
      Field{"userSig", &KOBUParams::userSig}, Field{"roomId", &KOBUParams::roomId},
      Field{"role", &KOBUParams::role}};
};

/// How a video is drawn. The numbers are the engine's: rotation in quarter turns
/// clockwise, fill mode 0 fill and 1 fit, mirror type 0 automatic, 1 on, 2 off.
struct KOBURenderParams {
  std::int32_t rotation = 0;
  std::int32_t fillMode = 0;
  std::int32_t mirrorType = 0;
};
template <>
struct Fields<KOBURenderParams> {
  static constexpr std::string_view name = "KOBURenderParams";
  static constexpr std::tuple table{Field{"rotation", &KOBURenderParams::rotation},
                                    Field{"fillMode", &KOBURenderParams::fillMode},
                                    Field{"mirrorType", &KOBURenderParams::mirrorType}};
};

/// How a video is encoded.
struct KOBUVideoEncParam {
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::int32_t fps = 15;
  std::int32_t bitrate = 0;     ///< kbit/s
  std::int32_t minBitrate = 0;  ///< kbit/s
  bool adjustResolution = false;
};
template <>
struct Fields<KOBUVideoEncParam> {
  static constexpr std::string_view name = "KOBUVideoEncParam";
  static constexpr std::tuple table{
      Field{"width", &KOBUVideoEncParam::width},
      Field{"height", &KOBUVideoEncParam::height},
      Field{"fps", &KOBUVideoEncParam::fps},
      Field{"bitrate", &KOBUVideoEncParam::bitrate},
      Field{"minBitrate", &KOBUVideoEncParam::minBitrate},
      Field{"adjustResolution", &KOBUVideoEncParam::adjustResolution}};
};

/// What the engine gives up first on a poor network, and who decides.
struct KOBUNetworkQosParam {
  std::int32_t preference = 0;
  std::int32_t controlMode = 0;
};
template <>
struct Fields<KOBUNetworkQosParam> {
  static constexpr std::string_view name = "KOBUNetworkQosParam";
  static constexpr std::tuple table{Field{"preference", &KOBUNetworkQosParam::preference},
                                    Field{"controlMode", &KOBUNetworkQosParam::controlMode}};
};

/// A user's network quality: 0 unknown, 1 excellent to 6 unusable.
struct KOBUQualityInfo {
  Text userId;
  std::int32_t quality = 0;
};
template <>
struct Fields<KOBUQualityInfo> {
  static constexpr std::string_view name = "KOBUQualityInfo";
  static constexpr std::tuple table{Field{"userId", &KOBUQualityInfo::userId},
                                    Field{"quality", &KOBUQualityInfo::quality}};
};

/// How loud a user is, 0 to 100. The engine leaves `userId` absent for the own user.
struct KOBUVolumeInfo {
  Text userId;
  std::uint32_t volume = 0;
};
template <>
struct Fields<KOBUVolumeInfo> {
  static constexpr std::string_view name = "KOBUVolumeInfo";
  static constexpr std::tuple table{Field{"userId", &KOBUVolumeInfo::userId},
                                    Field{"volume", &KOBUVolumeInfo::volume}};
};

/// Statistics of one stream that the own user sends.
struct KOBULocalStatistics {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t frameRate = 0;        ///< frames/s
  std::uint32_t videoBitrate = 0;     ///< kbit/s
  std::uint32_t audioSampleRate = 0;  ///< Hz
  std::uint32_t audioBitrate = 0;     ///< kbit/s
  std::int32_t streamType = 0;
};
template <>
struct Fields<KOBULocalStatistics> {
  static constexpr std::string_view name = "KOBULocalStatistics";
  static constexpr std::tuple table{Field{"width", &KOBULocalStatistics::width},
                                    Field{"height", &KOBULocalStatistics::height},
                                    Field{"frameRate", &KOBULocalStatistics::frameRate},
                                    Field{"videoBitrate", &KOBULocalStatistics::videoBitrate},
                                    Field{"audioSampleRate", &KOBULocalStatistics::audioSampleRate},
                                    Field{"audioBitrate", &KOBULocalStatistics::audioBitrate},
                                    Field{"streamType", &KOBULocalStatistics::streamType}};
};

/// Statistics of one stream that is received.
struct KOBURemoteStatistics {
  Text userId;
  std::uint32_t packetLoss = 0;  ///< percent
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t frameRate = 0;          ///< frames/s
  std::uint32_t videoBitrate = 0;       ///< kbit/s
  std::uint32_t audioSampleRate = 0;    ///< Hz
  std::uint32_t audioBitrate = 0;       ///< kbit/s
  std::uint32_t jitterBufferDelay = 0;  ///< ms
  std::int32_t streamType = 0;
};
template <>
struct Fields<KOBURemoteStatistics> {
  static constexpr std::string_view name = "KOBURemoteStatistics";
  static constexpr std::tuple table{
      Field{"userId", &KOBURemoteStatistics::userId},
      Field{"packetLoss", &KOBURemoteStatistics::packetLoss},
      Field{"width", &KOBURemoteStatistics::width},
      Field{"height", &KOBURemoteStatistics::height},
      Field{"frameRate", &KOBURemoteStatistics::frameRate},
      Field{"videoBitrate", &KOBURemoteStatistics::videoBitrate},
      Field{"audioSampleRate", &KOBURemoteStatistics::audioSampleRate},
      Field{"audioBitrate", &KOBURemoteStatistics::audioBitrate},
      Field{"jitterBufferDelay", &KOBURemoteStatistics::jitterBufferDelay},
      Field{"streamType", &KOBURemoteStatistics::streamType}};
};

/// What the engine measures every two seconds in a room.
struct KOBUStatistics {
  std::uint32_t appCpu = 0;         ///< percent
  std::uint32_t systemCpu = 0;      ///< percent
  std::uint32_t rtt = 0;            ///< ms
  std::uint32_t upLoss = 0;         ///< percent
  std::uint32_t downLoss = 0;       ///< percent
  std::uint64_t sentBytes = 0;      ///< since the room was entered
  std::uint64_t receivedBytes = 0;  ///< since the room was entered
  std::vector<KOBULocalStatistics> localStatistics;
  std::vector<KOBURemoteStatistics> remoteStatistics;
};
template <>
struct Fields<KOBUStatistics> {
  static constexpr std::string_view name = "KOBUStatistics";
  static constexpr std::tuple table{Field{"appCpu", &KOBUStatistics::appCpu},
                                    Field{"systemCpu", &KOBUStatistics::systemCpu},
                                    Field{"rtt", &KOBUStatistics::rtt},
                                    Field{"upLoss", &KOBUStatistics::upLoss},
                                    Field{"downLoss", &KOBUStatistics::downLoss},
                                    Field{"sentBytes", &KOBUStatistics::sentBytes},
                                    Field{"receivedBytes", &KOBUStatistics::receivedBytes},
                                    Field{"localStatistics", &KOBUStatistics::localStatistics},
                                    Field{"remoteStatistics", &KOBUStatistics::remoteStatistics}};
};

/// What a speed test found of one server.
struct KOBUSpeedTestResult {
  Text ip;
  std::int32_t quality = 0;  ///< as KOBUQualityInfo
  double upLostRate = 0;     ///< 0 to 1
  double downLostRate = 0;   ///< 0 to 1
  std::int32_t rtt = 0;      ///< ms
};
template <>
struct Fields<KOBUSpeedTestResult> {
  static constexpr std::string_view name = "KOBUSpeedTestResult";
  static constexpr std::tuple table{Field{"ip", &KOBUSpeedTestResult::ip},
                                    Field{"quality", &KOBUSpeedTestResult::quality},
                                    Field{"upLostRate", &KOBUSpeedTestResult::upLostRate},
                                    Field{"downLostRate", &KOBUSpeedTestResult::downLostRate},
                                    Field{"rtt", &KOBUSpeedTestResult::rtt}};
};

/// One piece of music to play.
struct PWAudioMusicParam {
  std::int32_t ID = 0;         ///< chosen by the caller; every later operation names it
  Text path;                   ///< file path or address
  std::int32_t loopCount = 0;  ///< repetitions after the first time
  bool publish = false;        ///< whether the other users hear it
  std::int64_t startTimeMs = 0;
  std::int64_t endTimeMs = -1;  ///< -1: to the end
};
template <>
struct Fields<PWAudioMusicParam> {
  static constexpr std::string_view name = "PWAudioMusicParam";
  static constexpr std::tuple table{Field{"ID", &PWAudioMusicParam::ID},
                                    Field{"path", &PWAudioMusicParam::path},
                                    Field{"loopCount", &PWAudioMusicParam::loopCount},
                                    Field{"publish", &PWAudioMusicParam::publish},
                                    Field{"startTimeMs", &PWAudioMusicParam::startTimeMs},
                                    Field{"endTimeMs", &PWAudioMusicParam::endTimeMs}};
};

/// Distances from the edges of a view, in points.
struct EdgeInsets {
  float top = 0;
  float left = 0;
  float bottom = 0;
  float right = 0;
};
template <>
struct Fields<EdgeInsets> {
  static constexpr std::string_view name = "EdgeInsets";
  static constexpr std::tuple table{
      Field{"top", &EdgeInsets::top}, Field{"left", &EdgeInsets::left},
      Field{"bottom", &EdgeInsets::bottom}, Field{"right", &EdgeInsets::right}};
};

}  // namespace vemo
