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
      Field{"sdkAppId", &KOBUParams::sdkAppId, "", "the application, as the engine knows it"},
      Field{"userId", &KOBUParams::userId, "", "the own user"},
      Field{"userSig", &KOBUParams::userSig, "", "the user's signature; a secret"},
      Field{"roomId", &KOBUParams::roomId, "", "the room"},
      Field{"role", &KOBUParams::role, "",
            "20 anchor (sends and receives), 21 audience (receives)"}};
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
  static constexpr std::tuple table{
      Field{"rotation", &KOBURenderParams::rotation, "quarter turns clockwise",
            "how the picture is turned"},
      Field{"fillMode", &KOBURenderParams::fillMode, "", "0 fills the view, 1 fits into it"},
      Field{"mirrorType", &KOBURenderParams::mirrorType, "",
            "0 automatic, 1 mirrored, 2 not mirrored"}};
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
      Field{"width", &KOBUVideoEncParam::width, "pixels", "width of the picture"},
      Field{"height", &KOBUVideoEncParam::height, "pixels", "height of the picture"},
      Field{"fps", &KOBUVideoEncParam::fps, "frames/s", "how often a picture is sent"},
      Field{"bitrate", &KOBUVideoEncParam::bitrate, "kbit/s", "bit rate to aim at"},
      Field{"minBitrate", &KOBUVideoEncParam::minBitrate, "kbit/s", "bit rate not to fall below"},
      Field{"adjustResolution", &KOBUVideoEncParam::adjustResolution, "",
            "whether the engine may change the resolution"}};
};

/// What the engine gives up first on a poor network, and who decides.
struct KOBUNetworkQosParam {
  std::int32_t preference = 0;
  std::int32_t controlMode = 0;
};
template <>
struct Fields<KOBUNetworkQosParam> {
  static constexpr std::string_view name = "KOBUNetworkQosParam";
  static constexpr std::tuple table{Field{"preference", &KOBUNetworkQosParam::preference, "",
                                          "what is given up first, by the engine's numbers"},
                                    Field{"controlMode", &KOBUNetworkQosParam::controlMode, "",
                                          "who decides, by the engine's numbers"}};
};

/// A user's network quality: 0 unknown, 1 excellent to 6 unusable.
struct KOBUQualityInfo {
  Text userId;
  std::int32_t quality = 0;
};
template <>
struct Fields<KOBUQualityInfo> {
  static constexpr std::string_view name = "KOBUQualityInfo";
  static constexpr std::tuple table{
      Field{"userId", &KOBUQualityInfo::userId, "", "the user"},
      Field{"quality", &KOBUQualityInfo::quality, "", "0 unknown, 1 excellent to 6 unusable"}};
};

/// How loud a user is, 0 to 100. The engine leaves `userId` absent for the own user.
struct KOBUVolumeInfo {
  Text userId;
  std::uint32_t volume = 0;
};
template <>
struct Fields<KOBUVolumeInfo> {
  static constexpr std::string_view name = "KOBUVolumeInfo";
  static constexpr std::tuple table{
      Field{"userId", &KOBUVolumeInfo::userId, "", "the user"},
      Field{"volume", &KOBUVolumeInfo::volume, "", "how loud the user is, 0 to 100"}};
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
  static constexpr std::tuple table{
      Field{"width", &KOBULocalStatistics::width, "pixels", "width of the picture"},
      Field{"height", &KOBULocalStatistics::height, "pixels", "height of the picture"},
      Field{"frameRate", &KOBULocalStatistics::frameRate, "frames/s", "how many pictures come"},
      Field{"videoBitrate", &KOBULocalStatistics::videoBitrate, "kbit/s",
            "bit rate of the picture"},
      Field{"audioSampleRate", &KOBULocalStatistics::audioSampleRate, "Hz",
            "sampling rate of the sound"},
      Field{"audioBitrate", &KOBULocalStatistics::audioBitrate, "kbit/s", "bit rate of the sound"},
      Field{"streamType", &KOBULocalStatistics::streamType, "",
            "0 the camera, 1 its small picture, 2 the screen"}};
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
      Field{"userId", &KOBURemoteStatistics::userId, "", "who sends the stream"},
      Field{"packetLoss", &KOBURemoteStatistics::packetLoss, "percent",
            "packets of this stream that are lost"},
      Field{"width", &KOBURemoteStatistics::width, "pixels", "width of the picture"},
      Field{"height", &KOBURemoteStatistics::height, "pixels", "height of the picture"},
      Field{"frameRate", &KOBURemoteStatistics::frameRate, "frames/s", "how many pictures come"},
      Field{"videoBitrate", &KOBURemoteStatistics::videoBitrate, "kbit/s",
            "bit rate of the picture"},
      Field{"audioSampleRate", &KOBURemoteStatistics::audioSampleRate, "Hz",
            "sampling rate of the sound"},
      Field{"audioBitrate", &KOBURemoteStatistics::audioBitrate, "kbit/s", "bit rate of the sound"},
      Field{"jitterBufferDelay", &KOBURemoteStatistics::jitterBufferDelay, "ms",
            "how long what arrives is held back before it is played"},
      Field{"streamType", &KOBURemoteStatistics::streamType, "",
            "0 the camera, 1 its small picture, 2 the screen"}};
};

/// What the engine measures again and again in a room.
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
  static constexpr std::tuple table{
      Field{"appCpu", &KOBUStatistics::appCpu, "percent", "processor load of the application"},
      Field{"systemCpu", &KOBUStatistics::systemCpu, "percent",
            "processor load of the whole device"},
      Field{"rtt", &KOBUStatistics::rtt, "ms", "how long the way to the server and back takes"},
      Field{"upLoss", &KOBUStatistics::upLoss, "percent", "packets lost on the way to the server"},
      Field{"downLoss", &KOBUStatistics::downLoss, "percent",
            "packets lost on the way from the server"},
      Field{"sentBytes", &KOBUStatistics::sentBytes, "bytes", "sent since the room was entered"},
      Field{"receivedBytes", &KOBUStatistics::receivedBytes, "bytes",
            "received since the room was entered"},
      Field{"localStatistics", &KOBUStatistics::localStatistics, "",
            "each stream that the own user sends"},
      Field{"remoteStatistics", &KOBUStatistics::remoteStatistics, "",
            "each stream that is received"}};
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
  static constexpr std::tuple table{
      Field{"ip", &KOBUSpeedTestResult::ip, "", "the address of the server"},
      Field{"quality", &KOBUSpeedTestResult::quality, "", "0 unknown, 1 excellent to 6 unusable"},
      Field{"upLostRate", &KOBUSpeedTestResult::upLostRate, "",
            "packets lost on the way to the server, 0 to 1"},
      Field{"downLostRate", &KOBUSpeedTestResult::downLostRate, "",
            "packets lost on the way from the server, 0 to 1"},
      Field{"rtt", &KOBUSpeedTestResult::rtt, "ms",
            "how long the way to the server and back takes"}};
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
  static constexpr std::tuple table{
      Field{"ID", &PWAudioMusicParam::ID, "", "the music; \"audioId\" replaces it"},
      Field{"path", &PWAudioMusicParam::path, "", "file path or address"},
      Field{"loopCount", &PWAudioMusicParam::loopCount, "", "repetitions after the first time"},
      Field{"publish", &PWAudioMusicParam::publish, "", "whether the other users hear it"},
      Field{"startTimeMs", &PWAudioMusicParam::startTimeMs, "ms", "where in the music to begin"},
      Field{"endTimeMs", &PWAudioMusicParam::endTimeMs, "ms",
            "where in the music to end; -1: at its end"}};
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
      Field{"top", &EdgeInsets::top, "points", "distance from the upper edge"},
      Field{"left", &EdgeInsets::left, "points", "distance from the left edge"},
      Field{"bottom", &EdgeInsets::bottom, "points", "distance from the lower edge"},
      Field{"right", &EdgeInsets::right, "points", "distance from the right edge"}};
};

}  // namespace vemo
