#pragma once

#include <boost/json/object.hpp>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "bridge/KOBUCloudDelegate.h"
#include "bridge/KOBURecords.h"
#include "bridge/Text.h"
#include "bridge/VEMOKOBUEventListener.h"
#include "json/JsonObjectText.h"
#include "webview/Command.h"
#include "webview/TextForms.h"

// The events that a page can register for, each a type: its name, the fields of its
// payload in order, and the operation by which native listeners hear of it. Payloads are
// written from these lists alone, and the reference that pages are given is made from them.

namespace vemo {

// ---- Fields of a payload: what is given for one, and how it is written

/// A text without line breaks; "(null)" when it is absent.
struct CleanedText {
  using Given = Text;
  static void write(JsonObjectText& payload, std::string_view name, const Text& text) {
    addCleaned(payload, name, text);
  }
};

/// A text as it is.
struct PlainText {
  using Given = std::string;
  static void write(JsonObjectText& payload, std::string_view name, const std::string& text) {
    payload.add(name, text);
  }
};

/// A number, a boolean or an object.
template <class T>
struct Value {
  using Given = T;
  static void write(JsonObjectText& payload, std::string_view name, const T& value) {
    payload.add(name, value);
  }
};

/// A record or a list of records; left out when it is null.
template <class T>
struct Optional {
  using Given = const T*;
  using Of = T;
  static constexpr bool mayBeAbsent = true;
  static void write(JsonObjectText& payload, std::string_view name, const T* value) {
    if (value) payload.add(name, *value);
  }
};

namespace field {

/// The own user: written by the common path, given by no event.
struct OwnUserId : CleanedText {
  static constexpr Words words{
      "userId", "the own user, without line breaks; \"(null)\" outside a room", {}, R"("teacher")"};
};
struct PlainOwnUserId : PlainText {
  static constexpr Words words{"userId", "the own user; empty outside a room", {}, R"("teacher")"};
};
struct OwnUserIdInRoom {
  static constexpr Words words{"userId", "the own user; absent outside a room", {}, R"("teacher")"};
  static constexpr bool mayBeAbsent = true;
  using Given = Text;
  static void write(JsonObjectText& payload, std::string_view name, const Text& text) {
    if (text && !text->empty()) payload.add(name, *text);
  }
};
struct RemoteUserId : CleanedText {
  static constexpr Words words{"remoteUserId", "the other user", {}, R"("student")"};
};
struct AvailableUserId : CleanedText {
  static constexpr Words words{"availableUserId", "the other user", {}, R"("student")"};
};
struct Available : Value<bool> {
  static constexpr Words words{"available", "whether the user sends it now"};
};

struct ErrCode : Value<std::int32_t> {
  static constexpr Words words{"errCode", "the engine's code; 0 is success"};
};
struct ErrMsg : CleanedText {
  static constexpr Words words{
      "errMsg", "the engine's text, without line breaks; \"(null)\" without one", {}, R"("text")"};
};
struct WarningCode : Value<std::uint32_t> {
  static constexpr Words words{"warningCode", "the engine's code, as an unsigned 32-bit number"};
};
struct WarningMsg : CleanedText {
  static constexpr Words words{"warningMsg",
                               "the engine's text, without line breaks; \"(null)\" without one",
                               {},
                               R"("text")"};
};
struct ExtInfo : Value<boost::json::object> {
  static constexpr Words words{"extInfo",
                               "what the engine adds, as it gives it; empty when it adds nothing"};
};

struct Elapsed : Value<std::int64_t> {
  static constexpr Words words{
      "elapsed", "the time that entering took; negative: the engine's code of a failure", "ms"};
};
struct ExitReason : Value<std::int64_t> {
  static constexpr Words words{"reason",
                               "why: 0 left, 1 removed by the server, 2 the room was dismissed"};
};
struct LeaveReason : Value<std::int64_t> {
  static constexpr Words words{
      "reason", "why: 0 left, 1 lost its connection, 2 removed by the server, 3 became audience"};
};
struct AppScene : Value<std::int32_t> {
  static constexpr Words words{"appScene", "the scene of the room; 0 outside one"};
};
struct FromRole : Value<std::int32_t> {
  static constexpr Words words{
      "fromRole",
      "the own role as the router knows it: that of the enter, or of the last successful switch "
      "with \"nativecb\" or by the application; a plain \"switchRole\" does not change it; 0 "
      "outside a room"};
};
struct ToRole : Value<std::int64_t> {
  static constexpr Words words{
      "toRole",
      "the role that a switch with \"nativecb\" or by the application asked for; says nothing of "
      "a plain \"switchRole\"; 0 outside a room"};
};

struct Route : Value<std::int64_t> {
  static constexpr Words words{"route", "where sound is played now, by the engine's numbers"};
};
struct FromRoute : Value<std::int64_t> {
  static constexpr Words words{"fromRoute", "where it was played before, by the same numbers"};
};
struct StreamType : Value<std::int64_t> {
  static constexpr Words words{"streamType", "0 the camera, 1 its small picture, 2 the screen"};
};
struct Width : Value<std::int32_t> {
  static constexpr Words words{"width", "width of the picture", "pixels"};
};
struct Height : Value<std::int32_t> {
  static constexpr Words words{"height", "height of the picture", "pixels"};
};
struct CaptureReason : Value<std::int32_t> {
  static constexpr Words words{"reason", "why, by the engine's numbers"};
};
struct NoCaptureReason : Value<std::int32_t> {
  static constexpr Words words{"reason", "always 0"};
};
struct ScreenKitWord : Value<std::string_view> {
  static constexpr Words words{
      "event",
      "what happened: \"started\", \"paused\", \"resumed\" or \"finished\"",
      {},
      R"("started")"};
};

struct LocalQuality : Optional<KOBUQualityInfo> {
  static constexpr Words words{"localQuality", "the own user's; absent when the engine gives none"};
};
struct RemoteQuality : Optional<std::vector<KOBUQualityInfo>> {
  static constexpr Words words{"remoteQuality",
                               "each other user's; absent when the engine gives none"};
};
struct Statistics : Optional<KOBUStatistics> {
  static constexpr Words words{"statistics",
                               "what was measured; absent when the engine gives nothing"};
};
struct TotalVolume : Value<std::int64_t> {
  static constexpr Words words{"totalVolume", "how loud all are together, 0 to 100"};
};
struct UserVolumes : Optional<std::vector<KOBUVolumeInfo>> {
  static constexpr Words words{"userVolumes", "each user who is heard, the own one included"};
};

}  // namespace field

// ---- Events

/// An event whose payload has `Fields`, in this order.
template <class... Fields>
struct Event {
  /// The payload: the own user's id where it belongs, and `given` for the other fields.
  template <class... Given>
  static JsonObjectText payload(const Text& ownId, const Given&... given) {
    JsonObjectText text;
    write<Fields...>(text, ownId, given...);
    return text;
  }

  /// Calls `tell(F)` for each field.
  template <class Tell>
  static void forEachField(Tell tell) {
    (tell(Fields{}), ...);
  }

 private:
  template <class First, class... Rest, class... Given>
  static void write(JsonObjectText& text, const Text& ownId, const Given&... given) {
    if constexpr (std::is_same_v<First, field::OwnUserId>) {
      First::write(text, First::words.name, ownId);
      if constexpr (sizeof...(Rest) > 0) write<Rest...>(text, ownId, given...);
    } else {
      writeGiven<First, Rest...>(text, ownId, given...);
    }
  }
  template <class First, class... Rest, class Head, class... Tail>
  static void writeGiven(JsonObjectText& text, const Text& ownId, const Head& head,
                         const Tail&... tail) {
    static_assert(std::is_same_v<typename First::Given, Head>, "not the type of this field");
    First::write(text, First::words.name, head);
    if constexpr (sizeof...(Rest) > 0) {
      write<Rest...>(text, ownId, tail...);
    } else {
      static_assert(sizeof...(Tail) == 0, "more is given than the payload has fields");
    }
  }
};

/// Whether an event comes again and again: its calls are not logged, and its payload is
/// built only when it is wanted.
template <class Event>
inline constexpr bool isPeriodic = isPeriodicEvent(Event::words.name);

namespace event {

using Listener = VEMOKOBUEventListener;
using field::OwnUserId;

struct OnError : Event<OwnUserId, field::ErrCode, field::ErrMsg, field::ExtInfo> {
  static constexpr std::string_view subject = "room_control";
  static constexpr Words words{"onError",
                               "The engine reports an error. One of those that end an enter also "
                               "answers \"enterRoom\", and the room is left."};
};
struct OnWarning : Event<OwnUserId, field::WarningCode, field::WarningMsg, field::ExtInfo> {
  static constexpr std::string_view subject = "diagnostics";
  static constexpr Words words{"onWarning", "The engine reports trouble that does not stop it."};
};
struct OnEnterRoom : Event<OwnUserId, field::Elapsed> {
  static constexpr std::string_view subject = "room_control";
  static constexpr Words words{"onEnterRoom",
                               "Entering a room has ended, well or not. Answers \"enterRoom\"."};
  static constexpr auto listener = &Listener::onVEMOEnterRoom;
};
struct OnExitRoom : Event<OwnUserId, field::ExitReason> {
  static constexpr std::string_view subject = "room_control";
  static constexpr Words words{"onExitRoom",
                               "The own user has left the room. Answers \"exitRoom\"."};
  static constexpr auto listener = &Listener::onVEMOExitRoom;
};
struct OnSwitchRole : Event<OwnUserId, field::AppScene, field::FromRole, field::ToRole,
                            field::ErrCode, field::ErrMsg> {
  static constexpr std::string_view subject = "room_control";
  static constexpr Words words{"onSwitchRole",
                               "A switch of the own role has ended, well or not. Answers a "
                               "\"switchRole\" that has \"nativecb\"."};
};
struct OnRemoteUserEnterRoom : Event<OwnUserId, field::RemoteUserId> {
  static constexpr std::string_view subject = "remote_media";
  static constexpr Words words{"onRemoteUserEnterRoom",
                               "Another user has come into the room as an anchor, or become one."};
  static constexpr auto listener = &Listener::onVEMORemoteUserEnterRoom;
};
struct OnRemoteUserLeaveRoom : Event<OwnUserId, field::RemoteUserId, field::LeaveReason> {
  static constexpr std::string_view subject = "remote_media";
  static constexpr Words words{"onRemoteUserLeaveRoom",
                               "Another user has left the room, or is an anchor no longer."};
  static constexpr auto listener = &Listener::onVEMORemoteUserLeaveRoom;
};
struct OnAudioRouteChanged : Event<OwnUserId, field::Route, field::FromRoute> {
  static constexpr std::string_view subject = "local_audio";
  static constexpr Words words{"onAudioRouteChanged", "Sound is played somewhere else now."};
  static constexpr auto listener = &Listener::onVEMOAudioRouteChanged;
};
struct OnUserAudioAvailable : Event<field::AvailableUserId, OwnUserId, field::Available> {
  static constexpr std::string_view subject = "remote_media";
  static constexpr Words words{"onUserAudioAvailable",
                               "Another user starts or stops sending sound."};
  static constexpr auto listener = &Listener::onVEMOUserAudioAvailable;
};
struct OnUserVideoAvailable : Event<field::AvailableUserId, OwnUserId, field::Available> {
  static constexpr std::string_view subject = "remote_media";
  static constexpr Words words{"onUserVideoAvailable",
                               "Another user starts or stops sending the camera."};
  static constexpr auto listener = &Listener::onVEMOUserVideoAvailable;
};
struct OnUserSubStreamAvailable : Event<field::AvailableUserId, OwnUserId, field::Available> {
  static constexpr std::string_view subject = "remote_media";
  static constexpr Words words{"onUserSubStreamAvailable",
                               "Another user starts or stops sharing the screen."};
  static constexpr auto listener = &Listener::onVEMOUserSubStreamAvailable;
};
struct OnNetworkQuality : Event<field::PlainOwnUserId, field::LocalQuality, field::RemoteQuality> {
  static constexpr std::string_view subject = "diagnostics";
  static constexpr Words words{"onNetworkQuality", "How good the network is for each user."};
  static constexpr auto listener = &Listener::onVEMONetworkQuality;
};
struct OnStatistics : Event<field::Statistics, field::OwnUserIdInRoom> {
  static constexpr std::string_view subject = "diagnostics";
  static constexpr Words words{"onStatistics",
                               "What the engine measured of the connection and of each stream."};
  static constexpr auto listener = &Listener::onVEMOStatistics;
};
struct OnUserVoiceVolume : Event<field::TotalVolume, field::UserVolumes> {
  static constexpr std::string_view subject = "local_audio";
  static constexpr Words words{
      "onUserVoiceVolume",
      "How loud everyone is, at the interval of \"enableAudioVolumeEvaluation\"."};
  static constexpr auto listener = &Listener::onVEMOUserVoiceVolume;
};
struct OnConnectionLost : Event<OwnUserId> {
  static constexpr std::string_view subject = "room_control";
  static constexpr Words words{"onConnectionLost", "The connection to the server is lost."};
  static constexpr auto listener = &Listener::onVEMOConnectionLost;
};
struct OnTryToReconnect : Event<OwnUserId> {
  static constexpr std::string_view subject = "room_control";
  static constexpr Words words{"onTryToReconnect", "The engine tries to connect again."};
  static constexpr auto listener = &Listener::onVEMOTryToReconnect;
};
struct OnConnectionRecovery : Event<OwnUserId> {
  static constexpr std::string_view subject = "room_control";
  static constexpr Words words{"onConnectionRecovery", "The connection to the server is back."};
  static constexpr auto listener = &Listener::onVEMOConnectionRecovery;
};
struct OnFirstVideoFrame
    : Event<OwnUserId, field::RemoteUserId, field::StreamType, field::Width, field::Height> {
  static constexpr std::string_view subject = "remote_media";
  static constexpr Words words{"onFirstVideoFrame", "The first picture of a stream is shown."};
};
struct OnFirstAudioFrame : Event<OwnUserId, field::RemoteUserId> {
  static constexpr std::string_view subject = "remote_media";
  static constexpr Words words{"onFirstAudioFrame", "The first sound of another user is played."};
};
struct OnSendFirstLocalVideoFrame : Event<OwnUserId, field::StreamType> {
  static constexpr std::string_view subject = "local_video";
  static constexpr Words words{"onSendFirstLocalVideoFrame",
                               "The first picture of an own stream is sent."};
};
struct OnSendFirstLocalAudioFrame : Event<OwnUserId> {
  static constexpr std::string_view subject = "local_audio";
  static constexpr Words words{"onSendFirstLocalAudioFrame",
                               "The first sound of the microphone is sent."};
};
struct OnCameraDidReady : Event<OwnUserId> {
  static constexpr std::string_view subject = "local_video";
  static constexpr Words words{"onCameraDidReady", "The camera runs."};
};
struct OnMicDidReady : Event<OwnUserId> {
  static constexpr std::string_view subject = "local_audio";
  static constexpr Words words{"onMicDidReady", "The microphone runs."};
};
struct OnScreenCaptureStarted : Event<OwnUserId, field::NoCaptureReason> {
  static constexpr std::string_view subject = "screen_sharing";
  static constexpr Words words{"onScreenCaptureStarted",
                               "Screen capture has started. Answers \"startScreenCapture\" when "
                               "the engine sends it on the main thread."};
};
struct OnScreenCapturePaused : Event<OwnUserId, field::CaptureReason> {
  static constexpr std::string_view subject = "screen_sharing";
  static constexpr Words words{"onScreenCapturePaused", "Screen capture has paused."};
};
struct OnScreenCaptureResumed : Event<OwnUserId, field::CaptureReason> {
  static constexpr std::string_view subject = "screen_sharing";
  static constexpr Words words{"onScreenCaptureResumed", "Screen capture goes on after a pause."};
};
struct OnScreenCaptureStoped : Event<OwnUserId, field::CaptureReason> {
  static constexpr std::string_view subject = "screen_sharing";
  static constexpr Words words{"onScreenCaptureStoped", "Screen capture has ended."};
};
/// From the notifications of the broadcast extension, not from the engine.
struct OnScreenKitEvent : Event<OwnUserId, field::ScreenKitWord> {
  static constexpr std::string_view subject = "screen_sharing";
  static constexpr Words words{"onScreenKitEvent",
                               "The screen-broadcast extension has started, paused, resumed or "
                               "finished. That it has started answers \"launchScreenKit\"."};
};

}  // namespace event

template <class... Events>
struct EventList {
  /// Calls `tell(E)` for each event, in order.
  template <class Tell>
  static void forEach(Tell tell) {
    (tell(Events{}), ...);
  }
};

/// All events: the engine's, in the order in which its delegate declares them, and last the
/// extension's.
using AllEvents =
    EventList<event::OnError, event::OnWarning, event::OnEnterRoom, event::OnExitRoom,
              event::OnSwitchRole, event::OnRemoteUserEnterRoom, event::OnRemoteUserLeaveRoom,
              event::OnAudioRouteChanged, event::OnUserAudioAvailable, event::OnUserVideoAvailable,
              event::OnUserSubStreamAvailable, event::OnNetworkQuality, event::OnStatistics,
              event::OnUserVoiceVolume, event::OnConnectionLost, event::OnTryToReconnect,
              event::OnConnectionRecovery, event::OnFirstVideoFrame, event::OnFirstAudioFrame,
              event::OnSendFirstLocalVideoFrame, event::OnSendFirstLocalAudioFrame,
              event::OnCameraDidReady, event::OnMicDidReady, event::OnScreenCaptureStarted,
              event::OnScreenCapturePaused, event::OnScreenCaptureResumed,
              event::OnScreenCaptureStoped, event::OnScreenKitEvent>;

}  // namespace vemo
