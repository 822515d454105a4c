#include "replay/Replay.h"

#include <gtest/gtest.h>

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace vemo::replay {
namespace {

struct Run {
  ExitStatus status;
  std::string out;
  std::string err;
};

Run run(const std::string& scenario, Mode mode = Mode::transcript) {
  std::istringstream in(scenario);
  std::ostringstream out;
  std::ostringstream err;
  const auto status = replay(in, mode, out, err);
  return {status, out.str(), err.str()};
}

/// The effects of a transcript from step 1 on, without where a record was logged.
std::vector<std::string> effectsOf(const std::string& transcript, int fromStep = 1) {
  std::vector<std::string> effects;
  std::istringstream lines(transcript);
  for (std::string line; std::getline(lines, line);) {
    auto effect = boost::json::parse(line).as_object();
    if (effect.at("step").to_number<int>() < fromStep) continue;
    if (auto* record = effect.if_contains("record")) {
      EXPECT_TRUE(record->as_object().erase("fileName")) << line;
      EXPECT_TRUE(record->as_object().erase("line")) << line;
    }
    effects.push_back(boost::json::serialize(effect));
  }
  return effects;
}

std::string fileText(const std::string& name) {
  std::ifstream file(std::filesystem::path(VEMO_REPLAY_TEST_DATA) / name);
  EXPECT_TRUE(file) << name;
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

TEST(Replay, ARoomCycleGivesItsTranscript) {
  const auto played = run(fileText("room-cycle.jsonl"));
  EXPECT_EQ(played.status, kDone);
  EXPECT_EQ(played.err, "");
  EXPECT_EQ(effectsOf(played.out, 0), linesOf(fileText("room-cycle.transcript.jsonl")));
}

TEST(Replay, AnEmptyScenarioWritesTheMakingOfTheRouter) {
  const auto played = run("\n   \n# nothing but a comment\n");
  EXPECT_EQ(played.status, kDone);
  EXPECT_EQ(linesOf(played.out).size(), 8U);
  EXPECT_TRUE(effectsOf(played.out).empty());
}

TEST(Replay, CheckSaysWhatDiffersAndGoesOn) {
  const auto played =
      run("{\"command\":\"getSDKVersion\",\"expect\":[]}\n"
          "\n"
          "{\"get\":\"hasEnterRoom\",\"expect\":[{\"value\":true}]}\n"
          "{\"get\":\"role\",\"expect\":[{\"value\":null}]}\n",
          Mode::check);
  EXPECT_EQ(played.status, kExpectationFailed);
  EXPECT_NE(played.out.find("; expected 0 effects, got 1"), std::string::npos);
  EXPECT_NE(
      played.out.find(
          "line 3, step 2: value of hasEnterRoom has value false, was true (effect 1, /value)"),
      std::string::npos);
  EXPECT_EQ(played.out.find("step 3"), std::string::npos);
  EXPECT_EQ(played.err, "");
}

TEST(Replay, CheckTellsWhatDiffersWhereThreadsOverlappedAndDoesNotFail) {
  const std::string differs = R"({"get":"hasEnterRoom","expect":[{"value":true}])";
  const auto played = run(differs + ",\"overlaps\":true}\n", Mode::check);
  EXPECT_EQ(played.status, kDone);
  EXPECT_EQ(
      linesOf(played.out).front(),
      "line 1, step 1, which overlapped another when it was recorded and may differ: value of "
      "hasEnterRoom has value false, was true (effect 1, /value)");
  EXPECT_EQ(run(differs + ",\"overlaps\":false}\n", Mode::check).status, kExpectationFailed);
}

TEST(Replay, CheckOfAScenarioThatHoldsSaysHowMuchItHeld) {
  const auto played = run(
      "{\"device\":{}}\n{\"get\":\"hasEnterRoom\",\"expect\":[{\"value\":false}]}\n", Mode::check);
  EXPECT_EQ(played.status, kDone);
  EXPECT_EQ(played.out, "2 steps, 1 expectation\n");
  EXPECT_EQ(played.err, "");
}

TEST(Replay, CheckOfAScenarioWithoutExpectationsSaysSo) {
  const auto played = run(R"({"get":"hasEnterRoom"})", Mode::check);
  EXPECT_EQ(played.status, kDone);
  EXPECT_EQ(played.out, "1 step, 0 expectations\n");
}

TEST(Replay, NullMayBeExpectedOfEveryKeyThatAnEffectHas) {
  const auto played =
      run("{\"command\":\"getSDKVersion\",\"expect\":[{\"effect\":\"*\",\"error\":null,"
          "\"retval\":{\"eror\":null}}]}\n"
          "{\"command\":\"exitRoom\",\"partial\":true,\"expect\":[{\"effect\":\"log\","
          "\"record\":{\"errorCode\":null,\"errorDesc\":null}},{\"retval\":null}]}\n",
          Mode::check);
  EXPECT_EQ(played.status, kDone) << played.out << played.err;
}

TEST(Replay, WhatEarlierStepsWroteStaysWrittenAfterAnError) {
  const auto played =
      run("{\"get\":\"hasEnterRoom\"}\n{\"get\":\"weather\"}\n{\"get\":\"role\"}\n");
  EXPECT_EQ(played.status, kUnreadable);
  EXPECT_EQ(
      effectsOf(played.out),
      (std::vector<std::string>{
          R"({"step":1,"effect":"value","thread":"main","of":"hasEnterRoom","value":false})"}));
  EXPECT_EQ(played.err, "line 2: unknown value \"weather\"\n");
}

TEST(Replay, AStepThatCantBeDoneHasNoEffect) {
  const auto played = run(R"({"event":"onExitRoom","args":[0],"thread":"moon"})");
  EXPECT_EQ(played.status, kUnreadable);
  EXPECT_TRUE(effectsOf(played.out).empty());
}

TEST(Replay, AnErrorCountsAfterAFailedExpectation) {
  const auto played = run("{\"get\":\"role\",\"expect\":[]}\n{}\n", Mode::check);
  EXPECT_EQ(played.status, kUnreadable);
}

TEST(Replay, ARouterFreedWithWorkHeldIsStillTheDelegate) {
  const auto played =
      run("{\"command\":\"initSDK\"}\n"
          "{\"event\":\"onMicDidReady\",\"hold\":true}\n"
          "{\"free\":true,\"hold\":true}\n"
          "{\"event\":\"onCameraDidReady\",\"hold\":true}\n"
          "{\"drain\":true}\n"
          "{\"event\":\"onCameraDidReady\"}\n");
  EXPECT_EQ(played.status, kDone) << played.err;
  const auto effects = effectsOf(played.out, 3);
  ASSERT_EQ(effects.size(), 4U);
  EXPECT_NE(effects[0].find("\"step\":4,\"effect\":\"log\",\"thread\":\"other\""),
            std::string::npos);
  EXPECT_NE(effects[1].find(
                "\"step\":5,\"effect\":\"engine\",\"thread\":\"main\",\"call\":\"setDelegate\""),
            std::string::npos);
  EXPECT_NE(effects[2].find("destroySharedIntance"), std::string::npos);
  EXPECT_NE(effects[3].find("unsubscribeAll"), std::string::npos);
}

TEST(Replay, NothingIsWrittenAfterTheLastStep) {
  const auto played =
      run("{\"command\":\"initSDK\"}\n{\"event\":\"onEnterRoom\",\"args\":[1],\"hold\":true}\n");
  EXPECT_EQ(played.status, kDone) << played.err;
  const auto effects = effectsOf(played.out, 2);
  ASSERT_EQ(effects.size(), 2U);
  EXPECT_NE(effects[0].find("\"effect\":\"log\""), std::string::npos);
  EXPECT_NE(effects[1].find("\"effect\":\"post\""), std::string::npos);
}

}  // namespace
}  // namespace vemo::replay
