#include "simulator/PhoneTest.h"

#include <gtest/gtest.h>

// What a phone tells of its router, and gives as a recording.

namespace vemo::test {
namespace {

TEST_F(PhoneTest, TellsWhatGoesInAndComesOutWhileTheFrameWantsToKnow) {
  const auto ada = connect();
  command(ada, "getSDKVersion", {}, "unheard");
  frame(ada, {{"kind", "note"}, {"on", true}});
  command(ada, "initSDK", {}, "init");
  command(ada, "enterRoom", enterParams("ada", "good"), "enter");
  frame(ada, {{"kind", "note"}, {"on", false}});
  command(ada, "getSDKVersion", {}, "unheard");

  // What each frame is about: a command, an event, a call, the item of a reply.
  std::vector<std::string> about;
  std::vector<std::string> threads;
  for (const auto& noted : ada.page->frames("noted")) {
    EXPECT_GT(noted.at("at").as_int64(), 1'600'000'000'000) << "milliseconds since the epoch";
    if (noted.contains("queuedBy")) continue;
    const auto* const step = noted.if_contains("step");
    const auto& what = noted.at(step ? "step" : "effect").as_object();
    for (const auto* key : {"command", "event", "call", "item"})
      if (what.contains(key)) about.emplace_back(what.at(key).as_string());
    if (what.contains("event")) threads.emplace_back(noted.at("thread").as_string());
    if (what.contains("command")) threads.emplace_back(noted.at("thread").as_string());
  }
  about.resize(std::min<std::size_t>(about.size(), 10));
  EXPECT_EQ(about,
            (std::vector<std::string>{"initSDK", "KOBUCloud.sharedInstance", "setDelegate", "m2",
                                      "enterRoom", "setDefaultStreamRecvMode", "enterRoom",
                                      "onEnterRoom", "enableAudioVolumeEvaluation", "m3"}));
  EXPECT_EQ(threads, (std::vector<std::string>{"main", "main", "engine"}));
}

TEST_F(PhoneTest, TellsByNumbersWhatCameOfWhat) {
  const auto ada = connect();
  frame(ada, {{"kind", "note"}, {"on", true}});
  boost::json::array callbacks;
  for (const auto* name : {"onEnterRoom", "onStatistics"})
    callbacks.push_back({{"sdkcbName", name}, {"jsRecvcbName", "f"}});
  command(ada, "registCallBacks", {{"callbacks", callbacks}}, "callbacks");
  command(ada, "initSDK", {}, "init");
  command(ada, "enterRoom", enterParams("ada", "good"), "enter");
  pass(seconds(10));

  const std::set<std::string> kPeriodic{"onStatistics", "onNetworkQuality", "onUserVoiceVolume"};
  // The steps by number; a task stands for the step that it comes of.
  std::map<std::int64_t, std::string> steps;
  std::set<std::string> causes;
  bool periodic = false;
  std::size_t periodicScripts = 0;
  for (const auto& noted : ada.page->frames("noted")) {
    const auto number = noted.at("number").as_int64();
    const auto* const step = noted.if_contains("step");
    if (const auto* queuedBy = noted.if_contains("queuedBy")) {
      ASSERT_TRUE(steps.contains(queuedBy->as_int64())) << jsonText(noted);
      steps[number] = steps[queuedBy->as_int64()];
    } else if (!step) {
      ASSERT_TRUE(steps.contains(number)) << jsonText(noted);
      const auto& effect = noted.at("effect").as_object();
      const auto& name = effect.at("effect").as_string();
      if (name == "script" && noted.contains("periodic")) ++periodicScripts;
      causes.insert(steps[number] + " > " +
                    (name == "script" ? jsonText(effect.at("argument").at("head").at("action"))
                                      : std::string(name)));
    } else if (!step->as_object().contains("device")) {
      EXPECT_FALSE(steps.contains(number)) << jsonText(noted);
      for (const auto* key : {"command", "event"})
        if (step->as_object().contains(key)) steps[number] = step->at(key).as_string();
      EXPECT_EQ(noted.contains("periodic"), kPeriodic.contains(steps[number])) << jsonText(noted);
      periodic = periodic || noted.contains("periodic");
    }
  }
  EXPECT_TRUE(causes.contains("initSDK > reply"));
  EXPECT_TRUE(causes.contains("onEnterRoom > reply"));
  EXPECT_TRUE(periodic);
  EXPECT_TRUE(causes.contains("onEnterRoom > \"onEnterRoom\""))
      << "scripts that come once are told";
  EXPECT_EQ(periodicScripts, 0U) << "the frame gets them, again and again";
}

TEST_F(PhoneTest, AFrameThatReadsSlowlyMissesOnlyWhatComesAgainAndAgain) {
  const auto ada = entered("ada");
  frame(ada, {{"kind", "note"}, {"on", true}});
  const auto told = [&](std::string_view key, std::string_view value) {
    return std::ranges::count_if(ada.page->frames("noted"), [&](const object& noted) {
      const auto* const step = noted.if_contains("step");
      return step && step->as_object().contains(key) && step->at(key).as_string() == value;
    });
  };
  ada.page->unsent = std::size_t{2} << 20U;
  pass(seconds(10));
  command(ada, "getAudioVolume", {{"capture", true}}, "volume");
  EXPECT_EQ(told("command", "getAudioVolume"), 1);
  EXPECT_EQ(told("event", "onStatistics"), 0);
  ada.page->unsent = 0;
  pass(seconds(10));
  EXPECT_GE(told("event", "onStatistics"), 1);
  std::int64_t lost = 0;
  for (const auto& noted : ada.page->frames("noted"))
    if (const auto* count = noted.if_contains("lost")) lost += count->as_int64();
  EXPECT_GE(lost, 10) << "statistics, qualities and volumes of ten seconds";
}

TEST_F(PhoneTest, NotesHoldNoSignature) {
  const auto ada = connect();
  frame(ada, {{"kind", "note"}, {"on", true}});
  command(ada, "initSDK", {}, "init");
  command(ada, "enterRoom", enterParams("ada", "verysecret"), "enter");
  command(ada, "startSpeedTest", {{"sdkAppId", 1}, {"userId", "ada"}, {"userSig", "verysecret"}},
          "test");
  bool speedTest = false;
  for (const auto& noted : ada.page->frames("noted")) {
    const auto text = jsonText(noted);
    EXPECT_EQ(text.find("verysecret"), std::string::npos) << text;
    const auto* const effect = noted.if_contains("effect");
    if (!effect || !effect->as_object().contains("call")) continue;
    if (effect->at("call") != "startSpeedTest") continue;
    speedTest = true;
    EXPECT_TRUE(effect->at("args").at(2).as_string().starts_with("***")) << text;
  }
  EXPECT_TRUE(speedTest);
}

/// The lines that a page was told of recordings, one text for each that is over.
std::vector<std::string> recordings(const FakePage& page) {
  std::vector<std::string> all;
  std::string text;
  for (const auto& frame : page.frames("recorded")) {
    if (frame.contains("over")) {
      all.push_back(std::exchange(text, {}));
    } else {
      text += frame.at("text").as_string();
    }
  }
  return all;
}

Recording readBack(const std::string& text) {
  std::istringstream in(text);
  std::string error;
  const auto recording = readRecording(in, error);
  EXPECT_TRUE(recording) << error;
  return recording.value_or(Recording());
}

/// How many of the notes have this text as that member.
std::ptrdiff_t count(const Recording& recording, std::string_view key, std::string_view value) {
  return std::ranges::count_if(recording.notes, [&](const RecordedNote& note) {
    const auto* const member = note.what.if_contains(key);
    return member && member->is_string() && member->as_string() == value;
  });
}

TEST_F(PhoneTest, GivesTheRecordingOfItsLastMinutes) {
  const auto ada = entered("ada");
  frame(ada, {{"kind", "save"}});
  ASSERT_EQ(ada.page->frames("saved").size(), 1U);
  const auto recording = readBack(std::string(ada.page->frames("saved")[0].at("text").as_string()));
  EXPECT_TRUE(recording.whole);
  EXPECT_EQ(count(recording, "event", "onEnterRoom"), 1);
  EXPECT_EQ(count(recording, "call", "enterRoom"), 1);
}

TEST_F(PhoneTest, TellsItsRecordingFromTheBeginningWhileItIsAskedTo) {
  const auto ada = entered("ada");
  frame(ada, {{"kind", "record"}, {"on", true}});
  frame(ada, {{"kind", "record"}, {"on", true}});  // it is on already
  command(ada, "muteLocalAudio", {{"mute", true}}, "first");
  frame(ada, {{"kind", "record"}, {"on", false}});
  command(ada, "muteLocalAudio", {{"mute", true}}, "second");
  frame(ada, {{"kind", "record"}, {"on", true}});
  frame(ada, {{"kind", "record"}, {"on", false}});
  frame(ada, {{"kind", "record"}, {"on", false}});
  EXPECT_EQ(ada.problem(), "");

  const auto told = recordings(*ada.page);
  ASSERT_EQ(told.size(), 2U);
  for (std::size_t i = 0; i < told.size(); ++i) {
    const auto recording = readBack(told[i]);
    EXPECT_TRUE(recording.whole);
    EXPECT_EQ(count(recording, "event", "onEnterRoom"), 1) << "of before it was asked for";
    EXPECT_EQ(count(recording, "call", "enterRoom"), 1);
    EXPECT_EQ(count(recording, "call", "muteLocalAudio"), static_cast<std::ptrdiff_t>(i) + 1);
  }
}

TEST_F(PhoneTest, ARecordingThatIsReadSlowlySaysWhatIsMissing) {
  const auto ada = entered("ada");
  ada.page->unsent = std::size_t{8} << 20U;
  frame(ada, {{"kind", "record"}, {"on", true}});
  ada.page->unsent = 0;
  command(ada, "muteLocalAudio", {{"mute", true}}, "volume");
  frame(ada, {{"kind", "record"}, {"on", false}});
  const auto told = recordings(*ada.page);
  ASSERT_EQ(told.size(), 1U);
  EXPECT_FALSE(readBack(told[0]).whole);
  EXPECT_NE(told[0].find("\n{\"lost\":"), std::string::npos) << told[0].substr(0, 200);
  EXPECT_NE(told[0].find("muteLocalAudio"), std::string::npos);
}

TEST_F(PhoneTest, WhatIsWrittenToAFileIsNotRecordedOnceMore) {
  environment_.streamSession = [](auto) { return std::make_shared<int>(); };
  const auto ada = connect();
  frame(ada, {{"kind", "record"}, {"on", true}});
  EXPECT_EQ(ada.problem(), "the simulator writes the whole session to a file already (--record)");
  frame(ada, {{"kind", "record"}});
  EXPECT_EQ(ada.problem(), "it doesn't say whether to record");
  EXPECT_TRUE(ada.page->frames("recorded").empty());
}

}  // namespace
}  // namespace vemo::test
