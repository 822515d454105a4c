#include "Silences.h"

#include <string>

namespace vemo::test {
namespace {

const std::string kReleased = R"({"command":"uninitSDK"})";
const std::string kLeft = R"({"event":"onExitRoom","args":[0],"thread":"main"})";
const std::string kSwitched = R"({"event":"onSwitchRole","args":[0,null],"thread":"main"})";
const std::string kPermitted = R"({"access":true,"thread":"main"})";
const std::string kStarted = R"({"notify":"VEMOScreenKit_Started_Notify","thread":"main"})";

const std::string kSameMusic =
    R"({"command":"playMusic","params":{"audioId":1,"path":"/music/song.mp3","onStart":true}})";
const std::string kMusicStarts = R"({"music":1,"on":"start","code":0,"thread":"main"})";
const std::string kSameTest =
    R"({"command":"startSpeedTest","params":{"sdkAppId":1,"userId":"student","userSig":"s"}})";
const std::string kTestEnds =
    R"({"speedTest":{"ip":"10.0.0.1"},"completed":1,"total":1,"thread":"main"})";

/// In place of the usual answer to the call `asked`, `steps` come: what is in the way first,
/// then what would have been answered.
Silence when(std::string_view reason, std::string_view asked, const Steps& steps) {
  return {{reason, "{}", {}, {{asked, steps}}}, {}};
}

Silence switching(std::string_view reason, const Steps& steps) {
  auto silence = when(reason, "switchRole", steps);
  silence.nativecb = true;
  return silence;
}

}  // namespace

const std::map<std::string_view, std::vector<Silence>>& silences() {
  static const std::vector<Silence> notPermitted{
      when("the user never answers", "requestAccess", {}),
      when("permits it only after the engine was released", "requestAccess",
           {kReleased, kPermitted})};
  static const std::map<std::string_view, std::vector<Silence>> all{
      {"enterRoom",
       {when("another enter replaces it before the engine answers", "enterRoom",
             {R"({"command":"enterRoom","params":{"appScene":1}})", kEntered}),
        when("the engine is released", "enterRoom", {kReleased, kEntered})}},
      {"exitRoom",
       {when("another exit replaces it", "exitRoom", {R"({"command":"exitRoom"})", kLeft}),
        when("the user was in no room", "exitRoom", {}),
        when("the engine is released", "exitRoom", {kReleased, kLeft})}},
      {"switchRole",
       {{{R"(the message has "nativecb" and the role is neither 20 nor 21)",
          "{}",
          {},
          {{"switchRole", {kSwitched}}}},
         {{"role", 22}},
         true},
        switching("another such switch is asked for before it has ended",
                  {R"({"command":"switchRole","params":{"role":20},"nativecb":"page.done"})",
                   kSwitched, kSwitched}),
        switching("the room is left meanwhile", {kLeft, kSwitched}),
        switching("the engine is released", {kReleased, kSwitched})}},
      {"startLocalPreview", notPermitted},
      {"startLocalAudio", notPermitted},
      {"playMusic",
       {{{"none of its flags is true", "{}", {}, {}},
         {{"onStart", false}, {"onProgress", false}, {"onComplete", false}}},
        when("the music is played again under its id", "audioEffect.startPlayMusic",
             {kSameMusic, kMusicStarts}),
        when("it is stopped", "audioEffect.startPlayMusic",
             {R"({"command":"stopMusic","params":{"audioId":1}})"}),
        when("the engine is released", "audioEffect.startPlayMusic", {kReleased})}},
      {"startSpeedTest",
       {when("the test is stopped", "startSpeedTest", {R"({"command":"stopSpeedTest"})"}),
        when("another test begins", "startSpeedTest", {kSameTest, kTestEnds}),
        when("the engine is released meanwhile", "startSpeedTest", {kReleased})}},
      {"launchScreenKit",
       {when("the extension does not start", "launchExtension", {}),
        when("another notification of the extension comes before the one of its start",
             "launchExtension",
             {R"({"notify":"VEMOScreenKit_Paused_Notify","thread":"main"})", kStarted}),
        when("another launch replaces it", "launchExtension",
             {R"({"command":"launchScreenKit"})", kStarted})}},
      {"startScreenCapture",
       {when("the engine sends the event on a thread of its own", "startScreenCaptureInApp",
             {R"({"event":"onScreenCaptureStarted"})"}),
        when("another start replaces it", "startScreenCaptureInApp",
             {R"({"command":"startScreenCapture","params":{"screenCaptureMode":1}})", kCaptured}),
        when("the capture does not start", "startScreenCaptureInApp", {}),
        when("the engine is released", "startScreenCaptureInApp", {kReleased, kCaptured})}},
  };
  return all;
}

}  // namespace vemo::test
