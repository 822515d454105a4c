#pragma once

#include <algorithm>
#include <array>
#include <boost/json/array.hpp>
#include <cstdint>
#include <optional>
#include <string_view>

#include "bridge/KOBURecords.h"
#include "webview/Command.h"
#include "webview/KOBURenderParams_VEMOExt.h"

// The parameters of the commands, each a type. One that several commands take stands once.

namespace vemo::param {

// ---- Users and streams

struct UserId : NonEmptyText {
  static constexpr Words words{"userId", "the user", {}, R"("student")"};
};
struct Mute : Parameter<bool> {
  static constexpr Words words{"mute", "true mutes, false ends that", {}, "true"};
};
struct StreamType : Ranged<kKOBUStreamTypeMain, kKOBUStreamTypeSub, kKOBUStreamTypeMain> {
  static constexpr Words words{"streamType", "0 the camera, 1 its small picture, 2 the screen"};
};
struct WantedStreamType : Parameter<std::int32_t> {
  static constexpr Words words{"type", "0 the camera's main picture, 1 its small one", {}, "1"};
};
struct RenderParams : RecordParameter<KOBURenderParams, KOBURenderParamsOfPage> {
  static constexpr std::string_view missing = "render param error";
};
struct RemoteVolume : Parameter<std::int32_t> {
  static constexpr Words words{"volume", "how loud the user is played, 0 to 100", {}, "80"};
};

// ---- Engine

struct LogLevel : Parameter<std::int32_t> {
  static constexpr Words words{"logLevel", "how much the engine logs, by the engine's numbers"};
};
struct ConsoleEnable : Parameter<bool> {
  static constexpr Words words{"consoleEnable", "whether the engine logs to the console too"};
};
struct CompressEnable : Parameter<bool> {
  static constexpr Words words{"compressEnable", "whether the engine compresses its log files"};
};
struct LogDirPath : NonEmptyText {
  static constexpr Words words{"logDirPath", "the folder of the engine's log files"};
};
struct ShowType : Parameter<std::int32_t> {
  static constexpr Words words{
      "showType", "what the panel shows, by the engine's numbers; 0 hides it", {}, "1"};
};
struct Top : Parameter<float> {
  static constexpr Words words{"top", "distance from the view's upper edge", "points"};
};
struct Left : Parameter<float> {
  static constexpr Words words{"left", "distance from the view's left edge", "points"};
};
struct Bottom : Parameter<float> {
  static constexpr Words words{"bottom", "distance from the view's lower edge", "points"};
};
struct Right : Parameter<float> {
  static constexpr Words words{"right", "distance from the view's right edge", "points"};
};

// ---- Events of the page

/// One element of "callbacks".
struct SdkcbName : NonEmptyText {
  static constexpr Words words{"sdkcbName", "the event", {}, R"("onEnterRoom")"};
};
struct JsRecvcbName : NonEmptyText {
  static constexpr Words words{
      "jsRecvcbName", "the page function that receives it", {}, R"("onNativeEvent")"};
};
struct Callbacks : Parameter<const boost::json::array*> {
  static constexpr Words words{
      "callbacks", "the events that the page wants from now on, each with its function"};
  static std::optional<Value> read(const boost::json::object* params) {
    const auto* callbacks = vemo_safeNSArrayForKey(params, words.name);
    return callbacks ? std::optional(callbacks) : std::nullopt;
  }
  static constexpr std::string_view missing = "no callbacks content";
  using Element = Params<Maybe<SdkcbName>, Maybe<JsRecvcbName>>;
};
struct ReportFunc : Parameter<std::string_view> {
  static constexpr Words words{
      "reportfunc", "the page function that receives the reports", {}, R"("onNativeReport")"};
};

// ---- Room

struct AppScene : Parameter<std::int64_t> {
  static constexpr Words words{
      "appScene", "the scene of the room, by the engine's numbers", {}, "0"};
  static constexpr std::string_view missing = "no appScene param";
};
struct AutoRecvAudio : Parameter<bool> {
  static constexpr Words words{"autoRecvAudio",
                               "whether the other users are heard without a further command"};
};
struct AutoRecvVideo : Parameter<bool> {
  static constexpr Words words{
      "autoRecvVideo",
      "whether the pictures of the other users are received without a further command"};
};
struct EnterParams : RecordParameter<KOBUParams> {
  static constexpr std::string_view missing = "params can't parse KOBUParams";
};
struct Role : Parameter<std::int32_t> {
  static constexpr Words words{
      "role", "20 anchor (sends and receives), 21 audience (receives)", {}, "21"};
  static constexpr std::string_view missing = "no role param";
};

// ---- Network and encoder

struct Qos : RecordParameter<KOBUNetworkQosParam> {};
struct Encoder : RecordParameter<KOBUVideoEncParam> {
  static constexpr std::string_view missing = "parse KOBUVideoEncParam err";
};
struct EnableSmallStream : Parameter<bool> {
  static constexpr Words words{"enable", "whether the small picture is sent"};
};

// ---- Local video

struct FrontCamera : Parameter<bool> {
  static constexpr Words words{"frontCamera", "true the front camera, false the back one"};
};
struct EncoderRotation : Parameter<std::int32_t> {
  static constexpr Words words{"encoderRotation", "how the sent picture is turned",
                               "quarter turns clockwise"};
};
struct EncoderMirror : Parameter<bool> {
  static constexpr Words words{"encoderMirror", "whether the sent picture is mirrored"};
};
struct SensorMode : Parameter<std::int32_t> {
  static constexpr Words words{"sensorMode",
                               "how the picture turns with the device, by the engine's numbers"};
};
struct ImgUrl : Parameter<std::string_view> {
  static constexpr Words words{
      "imgUrl", "an absolute URL of the picture", {}, R"("https://example.com/away.png")"};
  static constexpr std::string_view missing = "imgUrl params error";
  static constexpr std::string_view format = "uri";
};
struct MuteImageFps : Ranged<5, 10, 5> {
  static constexpr Words words{"fps", "how often the picture is sent", "frames/s"};
};

// ---- Local audio

struct AudioQuality : Ranged<1, 3, 2> {
  static constexpr Words words{"quality", "1 speech, 2 default, 3 music"};
};
struct VolumeInterval : Parameter<std::int32_t> {
  static constexpr Words words{"interval", "time between two volume events; 0 turns them off", "ms",
                               "300"};
};
struct AudioRoute : Parameter<std::int32_t> {
  static constexpr Words words{"route", "where sound is played, by the engine's numbers", {}, "1"};
};
struct CaptureVolume : Parameter<std::int32_t> {
  static constexpr Words words{"captureVolume", "volume of the microphone, 0 to 100"};
};
struct PlayoutVolume : Parameter<std::int32_t> {
  static constexpr Words words{"playoutVolume", "volume of all that is played here, 0 to 100"};
};
struct Capture : Parameter<bool> {
  static constexpr Words words{"capture", "whether to tell the microphone's volume"};
};
struct Playout : Parameter<bool> {
  static constexpr Words words{"playout", "whether to tell the volume of all that is played here"};
};

// ---- Music

struct AudioId : Parameter<std::int32_t> {
  static constexpr Words words{"audioId", "the music, by a number that the page chooses", {}, "1"};
};
/// The params as a record that has a path.
struct Music : RecordParameter<PWAudioMusicParam> {
  static constexpr std::string_view missing = "path param error";
  static constexpr std::string_view requiredProperty = "path";
  static constexpr std::string_view propertyExample = R"("/music/song.mp3")";
  static constexpr std::string_view ignoredProperty = "ID";  // "audioId" takes its place
  static std::optional<PWAudioMusicParam> read(const boost::json::object* params) {
    auto music = recordFrom<PWAudioMusicParam>(params);
    if (music && (!music->path || music->path->empty())) music.reset();
    return music;
  }
};
struct OnStart : Parameter<bool> {
  static constexpr Words words{"onStart", "whether the start is answered"};
};
struct OnProgress : Parameter<bool> {
  static constexpr Words words{"onProgress",
                               "whether progress is answered, each time the engine reports it"};
};
struct OnComplete : Parameter<bool> {
  static constexpr Words words{"onComplete", "whether the end is answered"};
};
struct MusicPosition : Parameter<std::int32_t> {
  static constexpr Words words{"position", "where to go on playing", "ms"};
};
struct MusicVolume : Parameter<std::int32_t> {
  static constexpr Words words{"volume", "volume of all music, not of this one alone, 0 to 100"};
};
struct MusicPlayoutVolume : Parameter<std::int32_t> {
  static constexpr Words words{"playoutVolume", "volume of this music here, 0 to 100"};
};
struct MusicPublishVolume : Parameter<std::int32_t> {
  static constexpr Words words{"publishVolume",
                               "volume of this music for the other users, 0 to 100"};
};

// ---- Diagnostics

struct SdkAppId : Parameter<std::uint32_t> {
  static constexpr Words words{
      "sdkAppId", "the application, as the engine knows it", {}, "1400000001"};
};
struct UserSig : NonEmptyText {
  static constexpr Words words{"userSig", "the user's signature; a secret", {}, R"("signature")"};
};
struct APIParams : Parameter<std::string_view> {
  static constexpr Words words{
      "APIParams", "a JSON text for the engine; it may be empty", {}, R"("{\"api\":\"name\"}")"};
};

// ---- Screen sharing

struct ScreenCaptureMode : Parameter<std::int32_t> {
  static constexpr std::int32_t inApp = 1;
  static constexpr std::int32_t byReplaykit = 2;
  static constexpr Words words{
      "screenCaptureMode", "1 the application's own screen, 2 the whole device", {}, "1"};
  static constexpr std::string_view missing = "screenCaptureMode not found";
  static constexpr std::array values{inApp, byReplaykit};
  static std::optional<std::int32_t> read(const boost::json::object* params) {
    const auto number = vemo_safeNSNumberForKey(params, words.name);
    const auto mode = number ? number->int32() : 0;
    const bool isKnown = std::find(values.begin(), values.end(), mode) != values.end();
    return isKnown ? std::optional(mode) : std::nullopt;
  }
};
struct AppGroup : NonEmptyText {
  static constexpr Words words{"appGroup",
                               "the application group shared with the broadcast extension; without "
                               "it, the group that the host was set up with"};
};

}  // namespace vemo::param
