#include "webview/protocol.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <boost/json/array.hpp>
#include <boost/json/parse.hpp>
#include <boost/json/value.hpp>
#include <cstdio>
#include <ostream>
#include <set>
#include <string>
#include <string_view>

#include "ProtocolCheck.h"
#include "ProtocolStage.h"
#include "json/JsonText.h"

// What pages are told of the router is what it does; and a document that said something
// else would be found out.

namespace vemo::test {
namespace {

namespace json = boost::json;

TEST(Protocol, TellsTheTruth) { EXPECT_EQ(untruthsIn(protocol()), std::set<std::string>()); }

TEST(Protocol, TellsOfEveryEvent) {
  std::set<std::string_view> told;
  const auto document = protocol();
  for (const auto& event : document.at("events").as_array()) {
    told.insert(event.at("name").as_string());
  }
  std::set<std::string_view> known;
  for (const auto& [name, sample] : eventSamples()) known.insert(name);
  EXPECT_EQ(told, known);
}

// ---- Lies

/// One thing that a document tells otherwise: the value at `at` within the command or event
/// `of`, as JSON text; empty when it is left out.
struct Lie {
  std::string_view of;
  std::string_view at;
  std::string_view instead;
  std::string_view found;  ///< part of the line that must name it
};

std::ostream& operator<<(std::ostream& out, const Lie& lie) {
  return out << lie.of << lie.at << " is " << (lie.instead.empty() ? "left out" : lie.instead);
}

/// The document with nothing but the command or event `name`.
json::object documentOf(std::string_view name) {
  auto document = protocol();
  for (auto& [kind, entries] : document) {
    auto& list = entries.as_array();
    const auto isAnother = [&](const json::value& entry) {
      return entry.at("name") != json::value(name);
    };
    list.erase(std::remove_if(list.begin(), list.end(), isAnother), list.end());
  }
  return document;
}

json::object told(const Lie& lie) {
  auto document = documentOf(lie.of);
  auto& commands = document.at("commands").as_array();
  auto& entry = commands.empty() ? document.at("events").as_array().at(0) : commands.at(0);
  const auto slash = lie.at.rfind('/');
  auto& parent = entry.at_pointer(lie.at.substr(0, slash));
  const auto last = lie.at.substr(slash + 1);
  if (auto* list = parent.if_array()) {
    const auto position = list->begin() + std::stoi(std::string(last));
    if (lie.instead.empty()) {
      list->erase(position);
    } else {
      *position = json::parse(lie.instead);
    }
  } else if (lie.instead.empty()) {
    EXPECT_EQ(parent.as_object().erase(last), 1U);
  } else {
    parent.as_object()[last] = json::parse(lie.instead);
  }
  EXPECT_NE(document, documentOf(lie.of)) << "that is no lie";
  return document;
}

class Lies : public testing::TestWithParam<Lie> {};

TEST_P(Lies, AreFound) {
  const auto& lie = GetParam();
  const auto untruths = untruthsIn(told(lie));
  const auto names = [&](const std::string& line) {
    return line.starts_with(std::string(lie.of) + ": ") &&
           line.find(lie.found) != std::string::npos;
  };
  EXPECT_TRUE(std::any_of(untruths.begin(), untruths.end(), names))
      << testing::PrintToString(untruths);
}

INSTANTIATE_TEST_SUITE_P(
    OfCommands, Lies,
    testing::Values(
        Lie{"startRemoteView", "/guard", R"("none")", R"(guard is "none")"},
        Lie{"getSDKVersion", "/guard", R"("engine")", R"(guard is "engine")"},
        Lie{"stopLocalAudio", "/guard", R"("room")", R"(guard is "room")"},
        Lie{"switchRole", "/guard", R"("engine")", R"(guard is "engine")"},
        Lie{"muteLocalAudio", "/answered", R"("later")", R"(answered is "later")"},
        Lie{"enterRoom", "/answered", R"("once")", R"(answered is "once")"},
        Lie{"startLocalPreview", "/answered", R"("many")", R"(answered is "many")"},
        Lie{"playMusic", "/answered", R"("later")", R"(answered is "later")"},
        Lie{"switchRole", "/answeredWithNativecb", "", R"(answeredWithNativecb is "once")"},
        Lie{"stopLocalAudio", "/answeredWithNativecb", R"("later")",
            R"(answeredWithNativecb is "later")"},
        Lie{"muteLocalAudio", "/onNoParams", R"("no params")", R"(onNoParams is "no params")"},
        Lie{"muteLocalAudio", "/onNoParams", "", R"(onNoParams is "")"},
        Lie{"stopLocalAudio", "/onNoParams", R"("no params")", R"(onNoParams is "no params")"},
        Lie{"setAudioVolume", "/anyOf", "", R"(with {} it is)"},
        Lie{"setMusicInfo", "/anyOf/1", R"("position")", R"(anyOf has "position")"},
        Lie{"getAudioVolume", "/anyTrue", "", R"(with {} it is)"},
        Lie{"getAudioVolume", "/anyOf", R"(["capture","playout"])", R"("capture", false it is)"},
        Lie{"setAudioVolume", "/anyTrue", R"(["captureVolume","playoutVolume"])",
            R"(with none of anyTrue it is a success)"},
        Lie{"enterRoom", "/answeredAgainWhen", "", "is answered 2 times where the engine fails"},
        Lie{"exitRoom", "/answeredAgainWhen", R"("it likes to")", "is never answered again"},
        Lie{"launchScreenKit", "/unansweredWhen", R"("the extension does not start")",
            R"(unansweredWhen is "the extension does not start", shown is)"},
        Lie{"setVideoMuteImage", "/unansweredWhen", R"("it is night")",
            R"(unansweredWhen is "it is night")"},
        Lie{"playMusic", "/answersFor/1", "", R"(with none of answersFor it is a success)"},
        Lie{"playMusic", "/answersFor/1", R"("publish")", R"(answersFor has "publish")"},
        Lie{"enterRoom", "/endedByErrors/0", "-3302", R"(endedByErrors has -3302)"},
        Lie{"enterRoom", "/endedByErrors/1", "", R"(endedByErrors lacks -3308)"},
        Lie{"exitRoom", "/unanswered/0/by", R"("other")", R"(tells "itself" wrongly)"},
        Lie{"playMusic", "/unanswered/1/by", R"("itself")", R"(tells "itself" wrongly)"},
        Lie{"exitRoom", "/unanswered/2", "", R"(unanswered is too short)"},
        Lie{"exitRoom", "/unanswered/1/when", R"("it is night")", R"(unanswered/1 is)"},
        Lie{"startSpeedTest", "/unansweredWhen", "", R"(unansweredWhen is "")"},
        Lie{"setRemotePreviewParams", "/nothingWithout", R"("streamType")",
            R"(without "streamType")"},
        Lie{"startRemoteView", "/errors/2/text", R"("no source")", R"(no source)"},
        Lie{"startRemoteView", "/errors/2/code", "-1", R"("no render source"},)"},
        Lie{"startRemoteView", "/errors/2/module", R"("JS")", R"(never fails with)"},
        Lie{"startRemoteView", "/errors/2", "", R"("no render source"}, untold)"},
        Lie{"setVideoMuteImage", "/errors/2/code", "-1", "never fails with"},
        Lie{"setVideoMuteImage", "/errors/3", "", R"("offline"}, untold)"},
        Lie{"playMusic", "/errors/3/code", "-1", R"("play onStart error"}, untold)"},
        Lie{"getSDKVersion", "/errors", R"([{"module":"JS","code":-1,"text":"no","when":"never"}])",
            R"(never fails with)"}));

INSTANTIATE_TEST_SUITE_P(
    OfParameters, Lies,
    testing::Values(
        Lie{"startRemoteView", "/params/0/onMissing", R"("no user")", R"("userId": onMissing)"},
        Lie{"startRemoteView", "/params/0/onWrongType", R"("no user")", R"("userId": onWrongType)"},
        Lie{"setNetworkQosParam", "/params/0/onWrongType", "", R"("preference": onWrongType)"},
        Lie{"startRemoteView", "/params/0/required", "false", R"("userId")"},
        Lie{"setLogParams", "/params/0/required", "true", R"("logLevel")"},
        Lie{"startRemoteView", "/params/0/nonEmpty", "", R"("userId" is not told to be nonEmpty)"},
        Lie{"callExperimentalAPI", "/params/0/nonEmpty", "true", R"("APIParams": onWrongType)"},
        Lie{"muteLocalAudio", "/params/0/type", R"("integer")", R"("mute")"},
        Lie{"setAudioRoute", "/params/0/type", R"("boolean")", R"("route")"},
        Lie{"setAudioRoute", "/params/0/type", R"("number")", R"("route")"},
        Lie{"setAudioRoute", "/params/0/type", R"("text")", R"("route")"},
        Lie{"setDebugViewMargin", "/params/1/type", R"("integer")", R"("top")"},
        Lie{"registCallBacks", "/params/0/type", R"("object")", R"("callbacks")"},
        Lie{"registCallBacks", "/params/0/members/0/name", R"("event")", R"("callbacks/event")"},
        Lie{"enterRoom", "/params/1/default", "false", R"("autoRecvAudio": without it)"},
        Lie{"setVideoEncoderParam", "/params/2/default", "30", R"("fps": without it)"},
        Lie{"startLocalAudio", "/params/0/default", "1", R"("quality": without it)"},
        Lie{"startLocalAudio", "/params/0/min", "0", R"("quality")"},
        Lie{"startLocalAudio", "/params/0/max", "2", R"("quality")"},
        Lie{"startScreenCapture", "/params/0/values/1", "3", R"("screenCaptureMode")"},
        Lie{"setNetworkQosParam", "/params/0/of", "", R"("preference": onWrongType)"},
        Lie{"setLocalPreviewParams", "/params/3/sameAs", R"("mirrorType")",
            R"("mode" is not the same)"},
        Lie{"playMusic", "/params/3/ignored", "true", R"("loopCount")"},
        Lie{"setMusicInfo", "/params/1/name", R"("place")", R"("place")"}));

INSTANTIATE_TEST_SUITE_P(
    OfResults, Lies,
    testing::Values(
        Lie{"getSDKVersion", "/result/0/name", R"("number")", R"("number")"},
        Lie{"getSDKVersion", "/result/0/type", R"("integer")", R"("version")"},
        Lie{"getSDKVersion", "/result/0", "", R"("version")"},
        Lie{"stopLocalAudio", "/result", R"([{"name":"is","type":"text"}])", "without a value"},
        Lie{"exitRoom", "/result/0/mayBeAbsent", "true", R"(always has "userId")"},
        Lie{"playMusic", "/result/2/mayBeAbsent", "", R"("errCode")"},
        Lie{"getKOBUStats", "/result/0/orText", "", R"("RtcInfos")"},
        Lie{"getKOBUStats", "/result/0/orText", R"("none")", R"("RtcInfos")"},
        Lie{"getKOBUStats", "/result/0/members/1/type", R"("integer")", R"("RtcInfos/Resolution")"},
        Lie{"startSpeedTest", "/result/2/members/2/type", R"("integer")", R"("result/upLostRate")"},
        Lie{"startSpeedTest", "/result/2/members/1/type", R"("number")", R"("result/quality")"}));

INSTANTIATE_TEST_SUITE_P(
    OfEvents, Lies,
    testing::Values(
        Lie{"onFirstVideoFrame", "/payload/3/name", R"("breadth")", R"("breadth")"},
        Lie{"onFirstVideoFrame", "/payload/3/type", R"("text")", R"("width")"},
        Lie{"onFirstVideoFrame", "/payload/3", "", R"("width")"},
        Lie{"onUserAudioAvailable", "/payload/0/name", R"("userId")", R"("availableUserId")"},
        Lie{"onStatistics", "/payload/1/mayBeAbsent", "", R"("userId")"},
        Lie{"onStatistics", "/payload/0/members/7/members/0/name", R"("w")",
            R"("statistics/localStatistics/w")"},
        Lie{"onNetworkQuality", "/periodic", "false", "periodic is false"},
        Lie{"onMicDidReady", "/periodic", "true", "periodic is true"},
        Lie{"onEnterRoom", "/listener", R"("onVEMOExitRoom")", R"(listener is "onVEMOExitRoom")"},
        Lie{"onEnterRoom", "/listener", "", R"(called is "onVEMOEnterRoom")"},
        Lie{"onMicDidReady", "/listener", R"("onVEMOMicDidReady")", R"(called is "")"}));

TEST(Protocol, WhatIsNotThereIsFound) {
  const json::object document{
      {"commands", {{{"name", "sing"}, {"guard", "none"}, {"answered", "once"}}}},
      {"events", {{{"name", "onSong"}, {"periodic", false}}}}};
  const std::set<std::string> found{
      R"(onSong: nothing causes this event)",
      R"(sing: fails with {"module":"JS","errcode":-1,"errmsg":"unknown action"}, untold)",
      R"(sing: onNoParams is "", without params it is answered with )"
      R"({"module":"JS","errcode":-1,"errmsg":"unknown action"})",
      R"(sing: with {} it is answered with )"
      R"({"module":"JS","errcode":-1,"errmsg":"unknown action"})"};
  EXPECT_EQ(untruthsIn(document), found);
}

// ---- The program

struct Run {
  std::string out;
  int status = -1;
};

Run vemoProtocol(const std::string& arguments) {
  Run run;
  auto* const program = popen((VEMO_PROTOCOL " " + arguments).c_str(), "r");
  std::array<char, 4096> buffer;
  while (const auto count = std::fread(buffer.data(), 1, buffer.size(), program)) {
    run.out.append(buffer.data(), count);
  }
  const int end = pclose(program);
  if (WIFEXITED(end)) run.status = WEXITSTATUS(end);
  return run;
}

TEST(ProtocolProgram, PrintsTheDocument) {
  const auto run = vemoProtocol("");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(json::parse(run.out), json::parse(jsonText(protocol())));
}

TEST(ProtocolProgram, RefusesAnUnexpectedArgument) {
  for (const auto* arguments : {"nonsense 2>&1", "--helq 2>&1"}) {
    const auto run = vemoProtocol(arguments);
    EXPECT_EQ(run.status, 2);
    EXPECT_TRUE(run.out.starts_with("vemo-protocol: unexpected argument ")) << run.out;
  }
}

}  // namespace
}  // namespace vemo::test
