#include "webview/command_table.h"

#include <algorithm>

#include "bridge/KOBURecords.h"

namespace vemo {
namespace {

using namespace param;  // the parameters that the rows name

// Fields of replies
constexpr ResultField userIdField{{"userId", "the own user; \"(null)\" without one"}, "text"};
constexpr ResultField textField(std::string_view name, std::string_view about) {
  return {{name, about}, "text"};
}
constexpr ResultField integerField(std::string_view name, std::string_view about,
                                   std::string_view unit = {}) {
  return {{name, about, unit}, "integer"};
}
constexpr ResultField orAbsent(ResultField field) {
  field.mayBeAbsent = true;
  return field;
}

boost::json::array streamInfo() {
  return {{{"name", "UserId"}, {"type", "text"}, {"about", "who sends the stream"}},
          {{"name", "Resolution"},
           {"type", "text"},
           {"about", "such as 640x360; 0x0 without a picture"}},
          {{"name", "StreamType"},
           {"type", "text"},
           {"about", "main, main_small, sub, audio or unknown"}}};
}

constexpr ErrorWords noSource{kNotAvailable, "no render source", "the host gives no views",
                              VEMOModule::KOBU};
constexpr ErrorWords noView{kNotAvailable, "no found render view",
                            "the host has no view for the user", VEMOModule::KOBU};
constexpr ErrorWords noCapture{kNotAvailable, "not support screencapture",
                               "the system is older than 11.0", VEMOModule::KOBU};

}  // namespace

std::span<const CommandTable::Row> CommandTable::rows() {
  using R = Router;
  using Effects = PWAudioEffectManager;
  // The overload that is a handler; the other is an operation of the host.
  constexpr Outcome (R::*stopLocalPreview)(KOBUCloud&, const Command<>&) = &R::stopLocalPreview;

  // clang-format off
  static constexpr std::array table{
      Row{"registCallBacks", call<&R::registCallBacks>, "no callbacks content"}
          .in("event_routing")
          .does("Names the page functions that receive events. Each call replaces all earlier names, a failed one too; an element that lacks a name is skipped."),
      Row{"initSDK", call<&R::initSDK>}
          .in("engine_lifecycle")
          .does("Makes the engine. Success is answered as an error record with code 0 and the text \"sdk version : \" with the engine's version.")
          .fails({kNotAvailable, "had initSDK", "the engine is there already"}),
      Row{"setLogParams", call<&R::setLogParams>}
          .in("engine_lifecycle")
          .does("Sets the engine's log; works before \"initSDK\" too. What is left out stays as it is."),
      Row{"getSDKVersion", call<&R::getSDKVersion>}.wrapped(Wrapper::bare)
          .in("engine_lifecycle")
          .does("Tells the engine's version.")
          .gives(textField("version", "the engine's version")),
      Row{"uninitSDK", call<&R::uninitSDK>}
          .in("engine_lifecycle")
          .does("Leaves the room and lets go of the engine. Commands that wait for it stay unanswered."),
      Row{"enterRoom", call<&R::enterRoom>}
          .in("room_control")
          .does("Enters a room. The answer comes with the event \"onEnterRoom\" and has code 0 then; a negative \"elapsed\" tells of failure. An error of entering answers it before that, with its code.")
          .gives(userIdField)
          .gives(integerField("elapsed", "the time that entering took; negative: why it failed", "ms"))
          .fails({0, {}, "the engine reports an error of entering: its code and text", VEMOModule::KOBU})
          .answers(Answered::later)
          .unanswered("another enter replaces it before the engine answers, or the engine is released"),
      Row{"exitRoom", call<&R::exitRoom>}.wrapped(Wrapper::announced).guarded(Guard::engine)
          .in("room_control")
          .does("Leaves the room. The answer comes with the event \"onExitRoom\".")
          .gives(userIdField)
          .gives(integerField("reason", "0 left, 1 removed by the server, 2 the room was dismissed"))
          .answers(Answered::later)
          .unanswered("another exit replaces it, the user was in no room, or the engine is released"),
      Row{"showBugView", engine<&KOBUCloud::showDebugView, ShowType>, "params error"}
          .in("engine_lifecycle")
          .does("Shows the engine's debug panel over the videos."),
      Row{"setDebugViewMargin", call<&R::setDebugViewMargin>}
          .in("engine_lifecycle")
          .does("Moves the debug panel of one user's view. Nothing happens without a user.")
          .doesNothingWithout("userId"),
      Row{"switchRole", call<&R::switchRole>}.guarded(Guard::room)
          .in("room_control")
          .does("Becomes anchor or audience. A message with \"nativecb\" is answered when the switch has ended, with the engine's code and text; without it at once.")
          .fails({kNotInRoom, "not enter room", "no enter has ended yet"})
          .fails({0, {}, "the message has \"nativecb\" and the switch fails: the engine's code and text", VEMOModule::KOBU})
          .unanswered("the message has \"nativecb\" and the role is neither 20 nor 21, or another such switch to the same role replaces it"),
      Row{"setNetworkQosParam", engine<&KOBUCloud::setNetworkQosParam, Qos>, "params error"}
          .in("local_video")
          .does("Tells the engine what to give up first on a poor network."),
      Row{"setVideoEncoderParam", engine<&KOBUCloud::setVideoEncoderParam, Encoder>}
          .in("local_video")
          .does("Sets how the own picture is encoded."),
      Row{"startLocalPreview", call<&R::startLocalPreview>}
          .in("local_video")
          .does("Starts the camera in the own view, after asking the user for permission where that is not settled.")
          .fails({kBadParameter, "not set render source", "the host gives no views"})
          .fails({kBadParameter, "not found self render source", "the host has no view for the own user", VEMOModule::KOBU})
          .fails({-1314, {}, "the camera is not permitted", VEMOModule::KOBU})
          .answers(Answered::later)
          .unanswered("the user never answers, or the engine is released meanwhile"),
      Row{"switchCamera", engine<&KOBUDeviceManager::switchCamera, Or<FrontCamera, false>>}
          .in("local_video")
          .does("Switches to the front or the back camera."),
      Row{"setLocalPreviewParams", call<&R::setLocalPreviewParams>}
          .in("local_video")
          .does("Sets how the own picture is drawn here and sent. Each parameter counts for itself."),
      Row{"enableEncSmallVideoStream", call<&R::enableEncSmallVideoStream>}
          .in("local_video")
          .does("Sends a small picture beside the main one, or no longer. Nothing happens without \"enable\".")
          .doesNothingWithout("enable"),
      Row{"setRemoteVideoStreamType", engine<&KOBUCloud::setRemoteVideoStreamType, UserId, WantedStreamType>, "userId or type param error"}
          .in("remote_media")
          .does("Chooses which of a user's pictures is received."),
      Row{"stopLocalPreview", call<stopLocalPreview>}
          .in("local_video")
          .does("Stops the camera."),
      Row{"muteLocalVideo", engine<&KOBUCloud::muteLocalVideo, Mute>, "no mute param"}
          .in("local_video")
          .does("Sends the mute image instead of the camera, or the camera again."),
      Row{"startLocalAudio", call<&R::startLocalAudio>}
          .in("local_audio")
          .does("Starts the microphone, after asking the user where the microphone's permission is not settled; the question is then for the camera, and its answer decides.")
          .fails({-1317, {}, "the microphone is not permitted", VEMOModule::KOBU})
          .answers(Answered::later)
          .unanswered("the user never answers, or the engine is released meanwhile"),
      Row{"stopLocalAudio", call<&R::stopLocalAudio>}
          .in("local_audio")
          .does("Stops the microphone."),
      Row{"muteLocalAudio", engine<&KOBUCloud::muteLocalAudio, Mute>, "no mute param"}
          .in("local_audio")
          .does("Mutes the microphone for the others, or ends that."),
      Row{"startRemoteView", call<&R::startRemoteView>, "userId param error"}
          .in("remote_media")
          .does("Shows a user's stream in the user's camera view, whatever the stream type.")
          .fails(noSource).fails(noView),
      Row{"setRemotePreviewParams", call<&R::setRemotePreviewParams>}
          .in("remote_media")
          .does("Sets how a user's stream is drawn. Nothing happens without a user.")
          .doesNothingWithout("userId"),
      Row{"stopRemoteView", engine<&KOBUCloud::stopRemoteView, UserId, StreamType>, "userId param error"}
          .in("remote_media")
          .does("Shows a user's stream no longer."),
      Row{"stopAllRemoteView", engine<&KOBUCloud::stopAllRemoteView>}
          .in("remote_media")
          .does("Shows no other user any longer."),
      Row{"muteRemoteVideoStream", engine<&KOBUCloud::muteRemoteVideoStream, UserId, Mute>, "userId or mute param error"}
          .in("remote_media")
          .does("Receives a user's picture no longer, or again."),
      Row{"muteAllRemoteVideoStreams", engine<&KOBUCloud::muteAllRemoteVideoStreams, Mute>, "mute param error"}
          .in("remote_media")
          .does("Receives nobody's picture, or everybody's again."),
      Row{"muteRemoteAudio", engine<&KOBUCloud::muteRemoteAudio, UserId, Mute>, "userId or mute param error"}
          .in("remote_media")
          .does("Mutes a user here, or lets the user be heard again."),
      Row{"muteAllRemoteAudio", engine<&KOBUCloud::muteAllRemoteAudio, Mute>, "mute param error"}
          .in("remote_media")
          .does("Mutes everybody else here, or lets all be heard again."),
      Row{"setRemoteAudioVolume", engine<&KOBUCloud::setRemoteAudioVolume, UserId, RemoteVolume>, "userId or volume param error"}
          .in("remote_media")
          .does("Sets how loud a user is played here."),
      Row{"startRemoteSubStreamView", call<&R::startRemoteSubStreamView>, "userId param error"}
          .in("remote_media")
          .does("Shows a user's screen.")
          .fails(noSource).fails(noView),
      Row{"stopRemoteSubStreamView", engine<&KOBUCloud::stopRemoteView, UserId, Always<kKOBUStreamTypeSub>>, "userId param error"}
          .in("remote_media")
          .does("Shows a user's screen no longer."),
      Row{"setRemoteSubStreamPreviewParams", call<&R::setRemoteSubStreamPreviewParams>, "userId param error"}
          .in("remote_media")
          .does("Sets how a user's screen is drawn."),
      Row{"playMusic", call<&R::playMusic>, "audioId param error"}
          .in("background_music")
          .does("Plays music. The message is answered at the start, at each progress and at the end, as its flags ask for; \"state\" tells which.")
          .gives(integerField("audioId", "the music"))
          .gives(textField("state", "onStart, onProgress or onComplete"))
          .gives(orAbsent(integerField("errCode", "0, or the engine's error; at start and end")))
          .gives(orAbsent(integerField("progressMs", "how far it is; in progress", "ms")))
          .gives(orAbsent(integerField("durationMs", "how long it is; in progress", "ms")))
          .fails({0, "play onStart error", "the music can't be started: the engine's code", VEMOModule::KOBU})
          .fails({0, "play onComplete error", "the music breaks off: the engine's code", VEMOModule::KOBU})
          .answers(Answered::many)
          .unanswered("none of the three flags is set"),
      Row{"setMusicInfo", call<&R::setMusicInfo>}
          .in("background_music")
          .does("Moves in music and sets its volumes; without \"audioId\", the volume of all music. What is left out stays as it is.")
          .needsOneOf("audioId", "volume", "no audioId param"),
      Row{"stopMusic", engine<&Effects::stopPlayMusic, AudioId>, "no audioId param"}
          .in("background_music")
          .does("Stops music."),
      Row{"pauseMusic", engine<&Effects::pausePlayMusic, AudioId>, "no audioId param"}
          .in("background_music")
          .does("Pauses music."),
      Row{"resumeMusic", engine<&Effects::resumePlayMusic, AudioId>, "no audioId param"}
          .in("background_music")
          .does("Plays paused music on."),
      Row{"startSpeedTest", call<&R::startSpeedTest>, "params error"}
          .in("diagnostics")
          .does("Measures the network to each server. Answered for each, with code 0; the text is \"ing\", with the last one \"done\".")
          .gives(integerField("totalCount", "how many servers there are"))
          .gives(integerField("completedCount", "how many are measured"))
          .gives(orAbsent({{"result", "of the server measured last"}, "object", false, &telling::properties<KOBUSpeedTestResult>}))
          .answers(Answered::many)
          .unanswered("the test is stopped, or the engine is released meanwhile"),
      Row{"stopSpeedTest", engine<&KOBUCloud::stopSpeedTest>}
          .in("diagnostics")
          .does("Ends a running speed test."),
      Row{"enableAudioVolumeEvaluation", engine<&KOBUCloud::enableAudioVolumeEvaluation, VolumeInterval>, "no interval param"}
          .in("local_audio")
          .does("Sets how often \"onUserVoiceVolume\" comes. Every enter sets it to 500 ms."),
      Row{"setVideoMuteImage", call<&R::setVideoMuteImage>}
          .in("local_video")
          .does("Downloads the picture that is sent while the camera is muted. A file that is no picture takes the picture away and is answered as a success.")
          .fails({kNotAvailable, "download image is nil", "the downloaded file can't be read", VEMOModule::KOBU})
          .fails({0, {}, "the download fails: the download's code and text", VEMOModule::KOBU})
          .answers(Answered::later),
      Row{"getKOBUStats", call<&R::getKOBUStats>}.wrapped(Wrapper::bare)
          .in("diagnostics")
          .does("Tells which streams flow, by the latest statistics, and forgets those. The text \"[]\" stands for the list when there are none since the last time.")
          .gives({{"RtcInfos", "a stream each; or the text \"[]\""}, "list", false, &streamInfo, "[]"}),
      Row{"registReport", call<&R::registReport>}.wrapped(Wrapper::bare)
          .in("diagnostics")
          .does("Names the page function that is told when camera and microphone go on and off; without a name, none is."),
      Row{"setAudioRoute", engine<&KOBUCloud::setAudioRoute, AudioRoute>, "no route param"}
          .in("local_audio")
          .does("Chooses where sound is played."),
      Row{"setAudioVolume", call<&R::setAudioVolume>}
          .in("local_audio")
          .does("Sets the volume of the microphone, of all that is played, or of both.")
          .needsOneOf("captureVolume", "playoutVolume", "params error"),
      Row{"getAudioVolume", call<&R::getAudioVolume>}
          .in("local_audio")
          .does("Tells the volume of the microphone, of all that is played, or of both.")
          .gives(orAbsent(integerField("captureVolume", "of the microphone, if asked for")))
          .gives(orAbsent(integerField("playoutVolume", "of all that is played, if asked for")))
          .needsOneOf("capture", "playout", "params error"),
      Row{"callExperimentalAPI", engine<&KOBUCloud::callExperimentalAPI, APIParams>, "no APIParams param"}
          .in("diagnostics")
          .does("Hands the engine a call for which there is no command. What it makes of that is not answered."),
      Row{"isSupportScreenCapture", call<&R::isSupportScreenCapture>}
          .in("screen_sharing")
          .does("Tells what this system can capture.")
          .gives(integerField("mode", "0 nothing, 1 the application's own screen, 2 the whole device, 3 both")),
      Row{"launchScreenKit", call<&R::launchScreenKit>}
          .in("screen_sharing")
          .does("Starts the screen-broadcast extension. The answer comes when the extension has started; on 11.x nothing is started and the answer is empty.")
          .fails({kBadParameter, "not support launchScreenKit", "the system is older than 11.0"})
          .answers(Answered::later)
          .unanswered("the extension does not start, or another launch replaces it"),
      Row{"startScreenCapture", call<&R::startScreenCapture>}
          .in("screen_sharing")
          .does("Starts to share the screen. The answer comes with the event \"onScreenCaptureStarted\", if that arrives on the main thread.")
          .gives({{"userId", "the own user; \"(null)\" without one"}, "text"})
          .gives(integerField("reason", "always 0"))
          .fails({kNotAvailable, "not support screencapture", "the system is older than 13.0 for mode 1, than 11.0 for mode 2"})
          .answers(Answered::later)
          .unanswered("the event arrives on a thread of the engine, another start replaces it, or the capture does not start"),
      Row{"pauseScreenCapture", call<&R::pauseScreenCapture>}
          .in("screen_sharing")
          .does("Pauses screen capture. Answered with the engine's result, 0 being success.")
          .fails({0, "pauseScreenCapture call failed", "the engine refuses: its result", VEMOModule::KOBU}).fails(noCapture),
      Row{"resumeScreenCapture", call<&R::resumeScreenCapture>}
          .in("screen_sharing")
          .does("Goes on with screen capture. Answered with the engine's result, 0 being success.")
          .fails({0, "resumeScreenCapture call failed", "the engine refuses: its result", VEMOModule::KOBU}).fails(noCapture),
      Row{"stopScreenCapture", call<&R::stopScreenCapture>}
          .in("screen_sharing")
          .does("Ends screen capture. Answered with the engine's result, 0 being success.")
          .fails({0, "stopScreenCapture call failed", "the engine refuses: its result", VEMOModule::KOBU}).fails(noCapture),
  };
  // clang-format on

  constexpr auto allNamesDiffer = [] {
    for (auto row = table.begin(); row != table.end(); ++row) {
      if (std::any_of(row + 1, table.end(),
                      [&](const Row& other) { return other.name == row->name; }))
        return false;
    }
    return true;
  };
  static_assert(allNamesDiffer());
  return table;
}

}  // namespace vemo
