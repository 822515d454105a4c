#include "webview/command_table.h"

#include <algorithm>

#include "bridge/KOBURecords.h"
#include "webview/events.h"

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
           {"about", "of the picture, such as 640x360; 0x0 without one"}},
          {{"name", "StreamType"},
           {"type", "text"},
           {"about", "which stream: \"main\", \"main_small\", \"sub\", \"audio\" or \"unknown\""}}};
}

}  // namespace

std::span<const CommandTable::Row> CommandTable::rows() {
  using R = Router;
  using Effects = PWAudioEffectManager;
  // The overload that is a handler; the other is an operation of the host.
  constexpr Outcome (R::*stopLocalPreview)(KOBUCloud&, const Command<>&) = &R::stopLocalPreview;

  // clang-format off
  static constexpr std::array table{
      Row{"registCallBacks", call<&R::registCallBacks>}
          .in("event_routing")
          .does("Names the page functions that receive events. Each call replaces all earlier names, one that fails too. An element without both names is skipped; of several for one event the last counts."),
      Row{"initSDK", call<&R::initSDK>}
          .in("engine_lifecycle")
          .does("Makes the engine, which most commands need. Success is answered as an error record with code 0 whose text is \"sdk version : \" and the engine's version.")
          .fails(error::engineThere),
      Row{"setLogParams", call<&R::setLogParams>}
          .in("engine_lifecycle")
          .does("Sets the engine's own log, before \"initSDK\" too. What is left out or of another type stays as it is."),
      Row{"getSDKVersion", call<&R::getSDKVersion>}.logged(Logging::none)
          .in("engine_lifecycle")
          .does("Gives the engine's version.")
          .gives(textField("version", "the engine's version")),
      Row{"uninitSDK", call<&R::uninitSDK>}
          .in("engine_lifecycle")
          .does("Leaves the room and lets go of the engine; harmless without one."),
      Row{"enterRoom", call<&R::enterRoom>}
          .in("room_control")
          .does("Enters a room. It is answered when \"onEnterRoom\" comes, with code 0 even for a failure: then \"elapsed\" is negative, the engine's code. A failure that the engine also reports by one of the errors that end an enter is answered before that, with the error's code and text, and the room is left; other errors change nothing here.")
          .gives(userIdField)
          .gives({field::Elapsed::words, "integer"})
          .fails({0, {}, "the engine reports an error that ends an enter: its code and text", VEMOModule::KOBU})
          .answers(Answered::later)
          .endedBy(kEndOfEnter)
          .unanswered({"another enter replaces it before the engine answers", SilencedBy::itself})
          .unanswered({"the engine is released", SilencedBy::release})
          .answeredAgain("the engine reports an error that ends it: each such error answers it, and the \"onEnterRoom\" that follows does so with code 0. Take the first answer"),
      // Its handler looks for the engine itself: the room is forgotten without one, too.
      Row{"exitRoom", call<&R::exitRoom>}.logged(Logging::announced).guarded(Guard::engine)
          .in("room_control")
          .does("Leaves the room. It is answered with the event \"onExitRoom\".")
          .gives(userIdField)
          .gives({field::ExitReason::words, "integer"})
          .answers(Answered::later)
          .unanswered({"another exit replaces it", SilencedBy::itself})
          .unanswered({"the user was in no room"})
          .unanswered({"the engine is released", SilencedBy::release}),
      Row{"showBugView", engine<&KOBUCloud::showDebugView, ShowType>, "params error"}
          .in("engine_lifecycle")
          .does("Shows the engine's debug panel over the videos."),
      Row{"setDebugViewMargin", call<&R::setDebugViewMargin>}
          .in("engine_lifecycle")
          .does("Sets the margins of the debug panel in one user's view. Without \"userId\" nothing happens, and the answer is a success.")
          .doesNothingWithout<UserId>(),
      Row{"switchRole", call<&R::switchRole>}.guarded(Guard::room)
          .in("room_control")
          .does("Becomes anchor or audience. It is answered at once, and the event \"onSwitchRole\" tells how the switch ended. A message with a \"nativecb\" is answered by that event instead, with the engine's code and text.")
          .fails({0, {}, "the message has \"nativecb\" and the switch fails: the engine's code and text", VEMOModule::KOBU})
          .answersNativecb(Answered::later)
          .unanswered({"the message has \"nativecb\" and the role is neither 20 nor 21"})
          .unanswered({"another such switch is asked for before it has ended"})
          .unanswered({"the room is left meanwhile"})
          .unanswered({"the engine is released", SilencedBy::release}),
      Row{"setNetworkQosParam", engine<&KOBUCloud::setNetworkQosParam, Qos>, "params error"}
          .in("local_video")
          .does("Chooses what the engine gives up first on a poor network, and who decides."),
      Row{"setVideoEncoderParam", engine<&KOBUCloud::setVideoEncoderParam, Encoder>}
          .in("local_video")
          .does("Sets how the own picture is encoded."),
      Row{"startLocalPreview", call<&R::startLocalPreview>}
          .in("local_video")
          .does("Starts the camera and shows it in the own view. The user is asked for permission first where that is not settled; where it is denied, an alert leads to the settings.")
          .fails(error::noOwnSource)
          .fails(error::noOwnView)
          .fails(error::cameraRefused)
          .answers(Answered::later)
          .unanswered({"the user never answers"})
          .unanswered({"permits it only after the engine was released"}),
      Row{"switchCamera", engine<&KOBUDeviceManager::switchCamera, Or<FrontCamera, false>>}
          .in("local_video")
          .does("Switches to the front or the back camera."),
      Row{"setLocalPreviewParams", call<&R::setLocalPreviewParams>}
          .in("local_video")
          .does("Sets how the own picture is drawn here, and how it is sent. The render parameters are set together, with the default for those left out, unless one of them is of another type; each of the others is set only when given."),
      Row{"enableEncSmallVideoStream", call<&R::enableEncSmallVideoStream>}
          .in("local_video")
          .does("Sends a small picture beside the main one, or stops that. Without \"enable\", or with encoder parameters of another type, nothing happens, and the answer is a success.")
          .doesNothingWithout<EnableSmallStream>(),
      Row{"setRemoteVideoStreamType", engine<&KOBUCloud::setRemoteVideoStreamType, UserId, WantedStreamType>, "userId or type param error"}
          .in("remote_media")
          .does("Chooses which of a user's camera pictures is received."),
      Row{"stopLocalPreview", call<stopLocalPreview>}
          .in("local_video")
          .does("Stops the camera."),
      Row{"muteLocalVideo", engine<&KOBUCloud::muteLocalVideo, Mute>, "no mute param"}
          .in("local_video")
          .does("Stops sending the camera, or sends it again. Meanwhile the others get the picture of \"setVideoMuteImage\", if there is one."),
      Row{"startLocalAudio", call<&R::startLocalAudio>}
          .in("local_audio")
          .does("Starts the microphone. Where its permission is not settled, the user is asked for the camera, and that answer decides; where it is denied, an alert leads to the settings.")
          .fails(error::microphoneRefused)
          .answers(Answered::later)
          .unanswered({"the user never answers"})
          .unanswered({"permits it only after the engine was released"}),
      Row{"stopLocalAudio", call<&R::stopLocalAudio>}
          .in("local_audio")
          .does("Stops the microphone."),
      Row{"muteLocalAudio", engine<&KOBUCloud::muteLocalAudio, Mute>, "no mute param"}
          .in("local_audio")
          .does("Mutes the microphone for the other users, or ends that."),
      Row{"startRemoteView", call<&R::startRemoteView>, "userId param error"}
          .in("remote_media")
          .does("Shows a user's stream in the view that the host has for the user's camera, whatever the stream type.")
          .fails(error::noSource).fails(error::noView),
      Row{"setRemotePreviewParams", call<&R::setRemotePreviewParams>}
          .in("remote_media")
          .does("Sets how a user's stream is drawn. Without \"userId\" nothing happens, and the answer is a success.")
          .doesNothingWithout<UserId>(),
      Row{"stopRemoteView", engine<&KOBUCloud::stopRemoteView, UserId, StreamType>, "userId param error"}
          .in("remote_media")
          .does("Stops showing a user's stream."),
      Row{"stopAllRemoteView", engine<&KOBUCloud::stopAllRemoteView>}
          .in("remote_media")
          .does("Stops showing any other user."),
      Row{"muteRemoteVideoStream", engine<&KOBUCloud::muteRemoteVideoStream, UserId, Mute>, "userId or mute param error"}
          .in("remote_media")
          .does("Stops receiving a user's picture, or receives it again."),
      Row{"muteAllRemoteVideoStreams", engine<&KOBUCloud::muteAllRemoteVideoStreams, Mute>, "mute param error"}
          .in("remote_media")
          .does("Stops receiving the pictures of all users, or receives them again."),
      Row{"muteRemoteAudio", engine<&KOBUCloud::muteRemoteAudio, UserId, Mute>, "userId or mute param error"}
          .in("remote_media")
          .does("Mutes one user here, or ends that."),
      Row{"muteAllRemoteAudio", engine<&KOBUCloud::muteAllRemoteAudio, Mute>, "mute param error"}
          .in("remote_media")
          .does("Mutes all other users here, or ends that."),
      Row{"setRemoteAudioVolume", engine<&KOBUCloud::setRemoteAudioVolume, UserId, RemoteVolume>, "userId or volume param error"}
          .in("remote_media")
          .does("Sets how loud a user is played here."),
      Row{"startRemoteSubStreamView", call<&R::startRemoteSubStreamView>, "userId param error"}
          .in("remote_media")
          .does("Shows the screen that a user shares.")
          .fails(error::noSource).fails(error::noView),
      Row{"stopRemoteSubStreamView", engine<&KOBUCloud::stopRemoteView, UserId, Always<kKOBUStreamTypeSub>>, "userId param error"}
          .in("remote_media")
          .does("Stops showing the screen that a user shares."),
      Row{"setRemoteSubStreamPreviewParams", call<&R::setRemoteSubStreamPreviewParams>, "userId param error"}
          .in("remote_media")
          .does("Sets how a user's screen is drawn. Render parameters of another type are ignored, and the answer is a success."),
      Row{"playMusic", call<&R::playMusic>, "audioId param error"}
          .in("background_music")
          .does("Plays music. The same message is answered at the start, at each progress and at the end, as its flags ask for; \"state\" tells which it is.")
          .gives(integerField("audioId", "the music"))
          .gives(textField("state", "which answer it is: \"onStart\", \"onProgress\" or \"onComplete\""))
          .gives(orAbsent(integerField("errCode", "the engine's code, 0 for success; at start and end")))
          .gives(orAbsent(integerField("progressMs", "how far the music has come; in progress", "ms")))
          .gives(orAbsent(integerField("durationMs", "how long the music is; in progress", "ms")))
          .fails(error::musicNotStarted)
          .fails(error::musicBroken)
          .answers(Answered::many).answersFor<OnStart, OnProgress, OnComplete>()
          .unanswered({"none of its flags is true"})
          .unanswered({"the music is played again under its id"})
          .unanswered({"it is stopped"})
          .unanswered({"the engine is released"}),
      Row{"setMusicInfo", call<&R::setMusicInfo>}
          .in("background_music")
          .does("Moves to a position in music and sets volumes. What is left out stays as it is. Without \"audioId\" only the volume of all music is set.")
          .needsOneOf<AudioId, MusicVolume>(error::noMusicGiven),
      Row{"stopMusic", engine<&Effects::stopPlayMusic, AudioId>, "no audioId param"}
          .in("background_music")
          .does("Stops music."),
      Row{"pauseMusic", engine<&Effects::pausePlayMusic, AudioId>, "no audioId param"}
          .in("background_music")
          .does("Pauses music."),
      Row{"resumeMusic", engine<&Effects::resumePlayMusic, AudioId>, "no audioId param"}
          .in("background_music")
          .does("Resumes paused music."),
      Row{"startSpeedTest", call<&R::startSpeedTest>, "params error"}
          .in("diagnostics")
          .does("Measures the network to each of the engine's servers. The message is answered for each server, always with code 0; the text is \"ing\", and \"done\" for the last one.")
          .gives(integerField("totalCount", "how many servers there are"))
          .gives(integerField("completedCount", "how many are measured"))
          .gives(orAbsent({{"result", "what was found of the server measured last"}, "object", false, &telling::properties<KOBUSpeedTestResult>, Fields<KOBUSpeedTestResult>::name}))
          .answers(Answered::many)
          .unanswered({"the test is stopped"})
          .unanswered({"another test begins", SilencedBy::itself})
          .unanswered({"the engine is released meanwhile"}),
      Row{"stopSpeedTest", engine<&KOBUCloud::stopSpeedTest>}
          .in("diagnostics")
          .does("Ends a running speed test."),
      Row{"enableAudioVolumeEvaluation", engine<&KOBUCloud::enableAudioVolumeEvaluation, VolumeInterval>, "no interval param"}
          .in("local_audio")
          .does("Sets how often the event \"onUserVoiceVolume\" comes. Each enter sets it to 500 ms."),
      Row{"setVideoMuteImage", call<&R::setVideoMuteImage>}
          .in("local_video")
          .does("Downloads the picture that the others get while the camera is muted. A file that is no picture takes an earlier picture away, and the answer is a success. After \"uninitSDK\" the picture goes nowhere, and the answer is a success.")
          .fails(error::noImageData)
          .fails({0, {}, "the download fails: the download's code and text", VEMOModule::KOBU})
          .answers(Answered::later),
      Row{"getKOBUStats", call<&R::getKOBUStats>}.logged(Logging::none)
          .in("diagnostics")
          .does("Gives the streams that flow, by the statistics that came last, and forgets these. When none have come since the last time, the text \"[]\" stands in place of the list.")
          .gives({{"RtcInfos", "the streams; or the text \"[]\""}, "list", false, &streamInfo, {}, "[]"}),
      Row{"registReport", call<&R::registReport>}.logged(Logging::none)
          .in("diagnostics")
          .does("Names the page function that is told when the camera and the microphone go on and off. Without a name, no function is told."),
      Row{"setAudioRoute", engine<&KOBUCloud::setAudioRoute, AudioRoute>, "no route param"}
          .in("local_audio")
          .does("Chooses where sound is played, such as the loudspeaker or the earpiece."),
      Row{"setAudioVolume", call<&R::setAudioVolume>}
          .in("local_audio")
          .does("Sets the volume of the microphone, of all that is played here, or of both.")
          .needsOneOf<CaptureVolume, PlayoutVolume>(error::noVolumeGiven),
      Row{"getAudioVolume", call<&R::getAudioVolume>}
          .in("local_audio")
          .does("Gives the volume of the microphone, of all that is played here, or of both.")
          .gives(orAbsent(integerField("captureVolume", "volume of the microphone, if asked for")))
          .gives(orAbsent(integerField("playoutVolume", "volume of all that is played here, if asked for")))
          .needsOneTrue<Capture, Playout>(error::noVolumeGiven),
      Row{"callExperimentalAPI", engine<&KOBUCloud::callExperimentalAPI, APIParams>, "no APIParams param"}
          .in("diagnostics")
          .does("Hands the engine a call for which there is no command. What the engine makes of it is not answered."),
      Row{"isSupportScreenCapture", call<&R::isSupportScreenCapture>}
          .in("screen_sharing")
          .does("Gives what this system can capture.")
          .gives(integerField("mode", "what can be captured: 0 nothing, 1 the application's own screen, 2 the whole device, 3 both")),
      Row{"launchScreenKit", call<&R::launchScreenKit>}
          .in("screen_sharing")
          .does("Starts the screen-broadcast extension. It is answered when the extension has started. On systems before 12.0 nothing is started, and the answer is a success at once.")
          .fails(error::noLaunch)
          .answers(Answered::later)
          .unanswered({"the extension does not start"})
          .unanswered({"another notification of the extension comes before the one of its start"})
          .unanswered({"another launch replaces it", SilencedBy::itself}),
      Row{"startScreenCapture", call<&R::startScreenCapture>}
          .in("screen_sharing")
          .does("Starts to share the screen. It is answered with the event \"onScreenCaptureStarted\", if the engine sends that on the main thread; rely on the event.")
          .gives(userIdField)
          .gives(integerField("reason", "always 0"))
          .fails(error::noCapture)
          .answers(Answered::later)
          .unanswered({"the engine sends the event on a thread of its own"})
          .unanswered({"another start replaces it", SilencedBy::itself})
          .unanswered({"the capture does not start"})
          .unanswered({"the engine is released", SilencedBy::release}),
      Row{"pauseScreenCapture", call<&R::pauseScreenCapture>}
          .in("screen_sharing")
          .does("Pauses screen capture. The answer is an error record with the engine's result, 0 for success.")
          .fails(error::pauseFailed).fails(error::noCaptureControl),
      Row{"resumeScreenCapture", call<&R::resumeScreenCapture>}
          .in("screen_sharing")
          .does("Goes on with screen capture. The answer is an error record with the engine's result, 0 for success.")
          .fails(error::resumeFailed).fails(error::noCaptureControl),
      Row{"stopScreenCapture", call<&R::stopScreenCapture>}
          .in("screen_sharing")
          .does("Ends screen capture. The answer is an error record with the engine's result, 0 for success.")
          .fails(error::stopFailed).fails(error::noCaptureControl),
  };
  // clang-format on

  constexpr auto silentOnesCantFail = [] {
    return std::all_of(table.begin(), table.end(), [](const Row& row) {
      return row.logging != Logging::none ||
             (row.guard == Guard::none && row.errors.count == 0 && row.anyOf.count == 0 &&
              row.action.textWithoutParams(row.badParameter).empty());
    });
  };
  static_assert(silentOnesCantFail());

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

const ActionNames& CommandTable::names() {
  static const auto list = [] {
    Few<std::string_view, ActionNames::kMost> texts;
    for (const auto& row : rows()) texts.add(row.name);
    return texts;
  }();
  static const ActionNames names(list.all());
  return names;
}

}  // namespace vemo
