#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <sstream>
#include <string>

#include "replay/Replay.h"

namespace vemo::replay {
namespace {

struct Case {
  const char* scenario;  // its last line is the one that is wrong
  const char* why;
};

void PrintTo(const Case& c, std::ostream* out) { *out << c.scenario; }

class ScenarioErrors : public testing::TestWithParam<Case> {};

TEST_P(ScenarioErrors, AreOneLineWithItsNumberAndTheReason) {
  const std::string scenario = GetParam().scenario;
  const auto line = 1 + std::count(scenario.begin(), scenario.end(), '\n');
  for (const auto mode : {Mode::transcript, Mode::check}) {
    std::istringstream in(scenario);
    std::ostringstream out;
    std::ostringstream err;
    EXPECT_EQ(replay(in, mode, out, err), kUnreadable);
    EXPECT_EQ(err.str(), "line " + std::to_string(line) + ": " + GetParam().why + "\n");
  }
}

INSTANTIATE_TEST_SUITE_P(
    Lines, ScenarioErrors,
    testing::Values(
        Case{"{", "no JSON: column 2: incomplete JSON"},
        Case{" # late", "no JSON: column 2: syntax error"},
        Case{"\n{\"get\":\"role\"} {}", "no JSON: column 16: extra data"},
        Case{"\n#\n\"get\"", "a step must be an object"}, Case{"3", "a step must be an object"},
        Case{"{}", "a step without a verb"},
        Case{R"({"comand":"initSDK"})", "unknown verb \"comand\"; did you mean \"command\"?"},
        Case{R"({"hold":true})", "unknown verb \"hold\""},
        Case{R"({"vemorec":2,"program":"0.1.0","whole":true})",
             "this is a recording; vemo-replay --from makes a scenario of it"},
        Case{"vemorec dump 1", "this is a recording; vemo-replay --from makes a scenario of it"},
        Case{R"({"free":true,"new":true})", "two verbs, \"free\" and \"new\""},
        Case{R"({"drain":true,"thread":"main"})", "unknown key \"thread\" of drain"},
        Case{R"({"command":"x","":1})", "unknown key \"\" of command"},
        Case{R"({"get":"role","hold":1})", "hold must be true or false"},
        Case{R"({"get":"role","partial":"yes"})", "partial must be true or false"},
        Case{R"({"get":"role","expect":{}})", "expect must be an array"}));

INSTANTIATE_TEST_SUITE_P(
    Values, ScenarioErrors,
    testing::Values(
        Case{R"({"command":1})", "command must be text"},
        Case{R"({"command":"x","params":[]})", "params must be an object"},
        Case{R"({"command":"x","params":null})", "params must be an object"},
        Case{R"({"command":"x","nativecb":1})", "nativecb must be text"},
        Case{R"({"command":"x","webView":"no"})", "webView must be true or false"},
        Case{R"({"command":"x","as":7})", "as must be text"},
        Case{R"({"message":{}})", "message must be text"},
        Case{R"({"message":"{}","as":null})", "as must be text"},
        Case{R"({"music":1.5,"on":"start","code":0})", "music must be an integer of 32 bits"},
        Case{R"({"music":1})", "music needs on"},
        Case{R"({"music":1,"on":"stop","code":0})",
             "on must be \"start\", \"progress\" or \"complete\""},
        Case{R"({"music":1,"on":"start"})", "music needs code"},
        Case{R"({"music":1,"on":"complete","code":0,"progressMs":1})",
             "complete has no progressMs and no durationMs"},
        Case{R"({"music":1,"on":"progress","progressMs":1})", "music needs durationMs"},
        Case{R"({"music":1,"on":"progress","code":0})", "progress has no code"},
        Case{R"({"music":1,"on":"start","code":0,"thread":"other"})",
             "thread must be \"main\" or \"engine\""},
        Case{R"({"speedTest":7,"completed":1,"total":1})", "speedTest must be an object"},
        Case{R"({"speedTest":{"rtt":[]},"completed":1,"total":1})",
             "speedTest is no such record: /rtt: integer expected"},
        Case{R"({"speedTest":{},"completed":1})", "speedTest needs total"},
        Case{R"({"access":1})", "access must be true or false"},
        Case{R"({"access":true,"thread":"engine"})", "thread must be \"main\" or \"other\""},
        Case{R"({"press":true})", "press must be text"},
        Case{R"({"downloaded":false})", "downloaded must be true"},
        Case{R"({"notify":null})", "notify must be text"},
        Case{R"({"drain":false})", "drain must be true"},
        Case{R"({"free":1})", "free must be true or false"},
        Case{R"({"new":true})", "the host has a router already"},
        Case{"{\"free\":true}\n{\"new\":true}\n{\"new\":true}", "the host has a router already"},
        Case{R"({"get":"mood"})", "unknown value \"mood\""},
        Case{R"({"listener":"a","ops":["onEnterRoom"]})",
             "unknown operation \"onEnterRoom\" of a listener; did you mean \"onVEMOEnterRoom\"?"},
        Case{R"({"listener":"a","ops":"all"})", "ops must be an array"},
        Case{R"({"release":"a"})", "unknown listener \"a\""},
        Case{"{\"listener\":\"a\"}\n{\"release\":\"a\"}\n{\"release\":\"a\"}",
             "unknown listener \"a\""}));

INSTANTIATE_TEST_SUITE_P(
    Expectations, ScenarioErrors,
    testing::Values(
        Case{R"({"drain":true,"expect":[{"effect":"replay"}]})",
             "unknown effect \"replay\"; did you mean \"reply\"?"},
        Case{R"({"drain":true,"expect":[{"effect":""}]})", "unknown effect \"\""},
        Case{R"({"drain":true,"expect":[{"effect":"reply","eror":null}]})",
             "unknown key \"eror\" of the effect reply; did you mean \"error\"?"},
        Case{
            "{\"drain\":true,\"expect\":[]}\n"
            R"({"drain":true,"partial":true,"expect":[{"effect":"log"},{"effect":"log","":null}]})",
            "unknown key \"\" of the effect log"},
        Case{R"({"drain":true,"expect":[{"effect":"openSettings","name":null}]})",
             "unknown key \"name\" of the effect openSettings"},
        Case{R"({"drain":true,"expect":[{"eror":null}]})",
             "no effect has a key \"eror\"; did you mean \"error\"?"},
        Case{R"({"drain":true,"expect":[{"effect":"*","item":"a","record":null}]})",
             "no effect has all the keys that are expected of one"},
        Case{R"({"drain":true,"expect":[{"effect":"log","record":{"errorcode":null}}]})",
             "unknown key \"errorcode\" of a log record; did you mean \"errorCode\"?"},
        Case{R"({"drain":true,"expect":[{"error":{"code":null}}]})",
             "unknown key \"code\" of an error"},
        Case{R"({"drain":true,"expect":[{"effect":"alert","buttons":[{"text":null}]}]})",
             "unknown key \"text\" of a button"}));

INSTANTIATE_TEST_SUITE_P(
    Arguments, ScenarioErrors,
    testing::Values(
        Case{R"({"event":"onRain"})", "unknown event \"onRain\""},
        Case{R"({"event":"onEnterRoom:","args":[1]})",
             "unknown event \"onEnterRoom:\"; did you mean \"onEnterRoom\"?"},
        Case{R"({"event":"onEnterRoom"})", "onEnterRoom takes 1 arguments, not 0"},
        Case{R"({"event":"onMicDidReady","args":[1]})", "onMicDidReady takes 0 arguments, not 1"},
        Case{R"({"event":"onMicDidReady","args":{}})", "args must be an array"},
        Case{R"({"event":"onEnterRoom","args":["1"]})",
             "argument 1 of onEnterRoom must be an integer of 64 bits"},
        Case{R"({"event":"onEnterRoom","args":[9223372036854775808]})",
             "argument 1 of onEnterRoom must be an integer of 64 bits"},
        Case{R"({"event":"onError","args":[2147483648,null,null]})",
             "argument 1 of onError must be an integer of 32 bits"},
        Case{R"({"event":"onError","args":[1,2,null]})",
             "argument 2 of onError must be text or null"},
        Case{R"({"event":"onError","args":[1,null,[]]})",
             "argument 3 of onError must be an object or null"},
        Case{R"({"event":"onUserAudioAvailable","args":["u",1]})",
             "argument 2 of onUserAudioAvailable must be true or false"},
        Case{R"({"event":"onStatistics","args":[{"localStatistics":[{"width":"wide"}]}]})",
             "argument 1 of onStatistics is no such record: /localStatistics/0/width: integer "
             "expected"},
        Case{R"({"event":"onUserVoiceVolume","args":[{},1]})",
             "argument 1 of onUserVoiceVolume must be an array or null"},
        Case{R"({"event":"onUserVoiceVolume","args":[[null],1]})",
             "argument 1 of onUserVoiceVolume must be an object"},
        Case{R"({"host":"initSDK"})", "unknown operation \"initSDK\""},
        Case{R"({"host":"kobuStartAudio","args":["u"]})",
             "kobuStartAudio takes 2 arguments, not 1"},
        Case{R"({"host":"kobuStartAudio","args":["u",7]})",
             "argument 2 of kobuStartAudio must be text or null"},
        Case{R"({"host":"vemoEnterRoom","args":[{"roomId":[]},1]})",
             "argument 1 of vemoEnterRoom is no such record: /roomId: integer expected"},
        Case{R"({"host":"zebExitRoom","args":[null]})", "zebExitRoom takes 0 arguments, not 1"},
        Case{R"({"host":"addKOBUEventListener","args":["nobody"]})", "unknown listener \"nobody\""},
        Case{"{\"free\":true}\n{\"host\":\"dance\"}", "unknown operation \"dance\""}));

INSTANTIATE_TEST_SUITE_P(
    Slips, ScenarioErrors,
    testing::Values(
        Case{"\xEF\xBB\xBF{\"drain\":true}",
             "there is a byte order mark in front; save the file as UTF-8 without one"},
        Case{R"({"command":"initSDK","as":"a","command":"uninitSDK"})",
             "the key \"command\" stands twice in one object"},
        Case{R"({"command":"x","params":{"a":1,"b":{"a":2},"\u0061":3}})",
             "the key \"a\" stands twice in one object"},
        Case{R"({"message":"{}","hld":true})",
             "unknown key \"hld\" of message; did you mean \"hold\"?"},
        Case{R"({"command":"x","parms":{}})",
             "unknown key \"parms\" of command; did you mean \"params\"?"},
        Case{R"({"get":"roll"})", "unknown value \"roll\"; did you mean \"role\"?"},
        Case{R"({"event":"onConectionLost"})",
             "unknown event \"onConectionLost\"; did you mean \"onConnectionLost\"?"},
        Case{R"({"host":"startLocalPreview"})",
             "unknown operation \"startLocalPreview\"; did you mean \"startLocalPreivew\"?"},
        Case{"{\"listener\":\"left\"}\n{\"listener\":\"right\"}\n{\"release\":\"rihgt\"}",
             "unknown listener \"rihgt\"; did you mean \"right\"?"},
        Case{"{\"listener\":\"left\"}\n{\"host\":\"addKOBUEventListener\",\"args\":[\"Left\"]}",
             "unknown listener \"Left\"; did you mean \"left\"?"},
        Case{R"({"listener":"a","ops":["onVEMOEnterroom"]})",
             "unknown operation \"onVEMOEnterroom\" of a listener; did you mean "
             "\"onVEMOEnterRoom\"?"},
        Case{R"({"device":{"cammera":1}})",
             "unknown key \"cammera\" of device; did you mean \"camera\"?"},
        Case{R"({"device":{"results":{"stopScreenCaptur":1}}})",
             "unknown key \"stopScreenCaptur\" of results; did you mean \"stopScreenCapture\"?"},
        Case{R"({"device":{"download":{"imaeg":true}}})",
             "unknown key \"imaeg\" of download; did you mean \"image\"?"},
        Case{R"({"rows":"x","than":{}})", "unknown key \"than\" of rows; did you mean \"then\"?"}));

INSTANTIATE_TEST_SUITE_P(
    Device, ScenarioErrors,
    testing::Values(
        Case{R"({"device":[]})", "device must be an object"},
        Case{R"({"device":{"colour":"red"}})", "unknown key \"colour\" of device"},
        Case{R"({"device":{"os":17}})", "os must be text"},
        Case{R"({"device":{"os":""}})", "os must be a version such as \"17.0.0\""},
        Case{R"({"device":{"os":"17."}})", "os must be a version such as \"17.0.0\""},
        Case{R"({"device":{"os":"1.2.3.4"}})", "os must be a version such as \"17.0.0\""},
        Case{R"({"device":{"os":"-1"}})", "os must be a version such as \"17.0.0\""},
        Case{R"({"device":{"camera":"3"}})", "camera must be an integer of 32 bits"},
        Case{R"({"device":{"bundle":{"CFBundleName":1}}})", "bundle \"CFBundleName\" must be text"},
        Case{R"({"device":{"canOpenSettings":0}})", "canOpenSettings must be true or false"},
        Case{R"({"device":{"views":true}})", "views must be an object or false"},
        Case{R"({"device":{"views":{"a/0":1}}})", "views \"a/0\" must be text"},
        Case{R"({"device":{"results":{"start":1}}})", "unknown key \"start\" of results"},
        Case{R"({"device":{"results":{"stopScreenCapture":"1"}}})",
             "result of stopScreenCapture must be an integer of 64 bits"},
        Case{R"({"device":{"download":true}})", "download must be an object"},
        Case{R"({"device":{"download":{"error":{"desc":"x"}}}})", "error of download has no code"},
        Case{R"({"device":{"download":{"length":1}}})", "unknown key \"length\" of download"}));

TEST(Buttons, OneThatTheOldestAlertHasNotIsAnError) {
  std::istringstream in(
      "{\"device\":{\"microphone\":2}}\n"
      "{\"command\":\"initSDK\"}\n"
      "{\"press\":\"anything\"}\n"
      "{\"command\":\"startLocalAudio\"}\n"
      "{\"press\":\"anything\"}\n");
  std::ostringstream out;
  std::ostringstream err;
  EXPECT_EQ(replay(in, Mode::transcript, out, err), kUnreadable);
  EXPECT_EQ(err.str(), "line 5: the alert has no button \"anything\"\n");
}

TEST(Buttons, OneThatIsNearlyRightIsNamed) {
  std::istringstream in(
      "{\"device\":{\"microphone\":2}}\n"
      "{\"command\":\"initSDK\"}\n"
      "{\"command\":\"startLocalAudio\"}\n"
      "{\"press\":\"前往设定\"}\n");
  std::ostringstream out;
  std::ostringstream err;
  EXPECT_EQ(replay(in, Mode::transcript, out, err), kUnreadable);
  EXPECT_EQ(err.str(),
            "line 4: the alert has no button \"前往设定\"; did you mean \"前往设置\"?\n");
}

TEST(NamedScenario, ErrorsNameTheFileAndThePlace) {
  const auto told = [](const std::string& scenario) {
    std::istringstream in(scenario);
    std::ostringstream out;
    std::ostringstream err;
    replay(in, Mode::check, out, err, "a/b.jsonl");
    return err.str() + out.str();
  };
  EXPECT_EQ(told("# one\n{\"get\":\"role\"} {}\n"),
            "a/b.jsonl: line 2: no JSON: column 16: extra data\n");
  EXPECT_EQ(told("{\"get\":\"rolle\"}\n"),
            "a/b.jsonl: line 1: unknown value \"rolle\"; did you mean \"role\"?\n");
  EXPECT_TRUE(
      told("\n{\"get\":\"role\",\"expect\":[]}\n").starts_with("a/b.jsonl: line 2, step 1: "))
      << told("\n{\"get\":\"role\",\"expect\":[]}\n");
}

}  // namespace
}  // namespace vemo::replay
