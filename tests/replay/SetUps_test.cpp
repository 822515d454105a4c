#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <ostream>
#include <sstream>
#include <string>

#include "Folder.h"
#include "replay/Replay.h"

namespace vemo::replay {
namespace {

struct Played {
  ExitStatus status;
  std::string out;
  std::string err;
};

class SetUps : public testing::Test {
 protected:
  /// Plays `scenario` as if it stood in the folder `at`.
  Played run(const std::string& scenario, Mode mode = Mode::transcript,
             const std::string& at = ".") {
    std::istringstream in(scenario);
    std::ostringstream out;
    std::ostringstream err;
    const auto status = replay(in, mode, out, err, folder_.file(at) + "/it.jsonl");
    return {status, out.str(), err.str()};
  }

  /// What is said of a scenario whose second line is in error.
  std::string why(const std::string& line) {
    const auto played = run("# one\n" + line + "\n{\"get\":\"role\"}\n");
    EXPECT_EQ(played.status, kUnreadable);
    EXPECT_EQ(played.out, run("").out);  // it ends there
    const auto place = folder_.file(".") + "/it.jsonl: line 2: ";
    EXPECT_TRUE(played.err.starts_with(place)) << played.err;
    EXPECT_TRUE(played.err.ends_with("\n")) << played.err;
    return played.err.substr(place.size(), played.err.size() - place.size() - 1);
  }

  Folder folder_;
};

const std::string kEngine = "# The engine.\n\n{\"command\":\"initSDK\"}\n";
const std::string kUseEngine = "{\"use\":\"engine\"}\n";

TEST_F(SetUps, ArePlayedAsOneStep) {
  folder_.write("setup/room.jsonl", kEngine + "{\"event\":\"onEnterRoom\",\"args\":[1]}\n");
  const auto played = run(
      "{\"use\":\"room\",\"expect\":[{\"effect\":\"log\"},{\"call\":\"KOBUCloud.sharedInstance\"},"
      "{\"call\":\"setDelegate\"},{\"item\":\"#1.1\"}],\"partial\":true}\n"
      "{\"get\":\"hasEnterRoom\",\"expect\":[{\"value\":true}]}\n"
      "{\"command\":\"dance\",\"expect\":[{\"step\":3,\"item\":\"#3\"}]}\n",
      Mode::check);
  EXPECT_EQ(played.status, kDone) << played.out << played.err;
  EXPECT_EQ(played.out, "3 steps, 3 expectations\n");
}

TEST_F(SetUps, AllTheirEffectsAreOfTheStep) {
  folder_.write("setup/two.jsonl", "{\"get\":\"role\"}\n{\"get\":\"supportMode\"}\n");
  const auto whole = R"([{"step":2,"of":"role"},{"step":2,"of":"supportMode"}])";
  const auto played =
      run("{\"drain\":true}\n{\"use\":\"two\",\"expect\":" + std::string(whole) + "}", Mode::check);
  EXPECT_EQ(played.status, kDone) << played.out << played.err;
  const auto less = run(R"({"use":"two","expect":[{"of":"role"}]})", Mode::check);
  EXPECT_EQ(less.status, kExpectationFailed);
}

TEST_F(SetUps, ItemsOfEachUseHaveLabelsOfTheirOwn) {
  folder_.write(
      "setup/items.jsonl",
      "{\"drain\":true}\n{\"command\":\"dance\"}\n{\"command\":\"dance\",\"as\":\"b\"}\n");
  const auto played =
      run("{\"use\":\"items\",\"expect\":[{\"item\":\"#1.2\"},{\"item\":\"b\"}]}\n"
          "{\"use\":\"items\",\"expect\":[{\"item\":\"#2.2\"},{\"item\":\"b\"}]}\n"
          "{\"command\":\"dance\",\"expect\":[{\"item\":\"#3\"}]}\n",
          Mode::check);
  EXPECT_EQ(played.status, kDone) << played.out << played.err;
}

TEST_F(SetUps, HoldWhatTheyAndTheirStepHold) {
  const std::string event = "{\"event\":\"onEnterRoom\",\"args\":[1],\"hold\":true}\n";
  folder_.write("setup/held.jsonl", kEngine + event);
  folder_.write("setup/done.jsonl", kEngine + event + "{\"drain\":true}\n");
  const auto entered = [&](const std::string& use) {
    const auto played =
        run(use + "\n{\"get\":\"hasEnterRoom\",\"expect\":[{\"value\":true}]}\n", Mode::check);
    EXPECT_NE(played.status, kUnreadable) << played.err;
    return played.status == kDone;
  };
  EXPECT_FALSE(entered(R"({"use":"held","hold":true})"));
  EXPECT_TRUE(entered(R"({"use":"held"})"));
  EXPECT_TRUE(entered(R"({"use":"done","hold":true})"));
}

TEST_F(SetUps, AreFoundBesideTheScenarioOrAbove) {
  folder_.write("setup/one.jsonl", "{\"get\":\"role\"}\n");
  folder_.write("a/setup/one.jsonl", "{\"get\":\"supportMode\"}\n");
  folder_.write("a/b/c/x", "");
  const auto of = [&](const std::string& folder) {
    const auto near = run(R"({"use":"one","expect":[{"of":"supportMode"}]})", Mode::check, folder);
    EXPECT_NE(near.status, kUnreadable) << near.err;
    return near.status == kDone ? "a" : "top";
  };
  EXPECT_STREQ(of("."), "top");
  EXPECT_STREQ(of("b"), "top");
  EXPECT_STREQ(of("a"), "a");
  EXPECT_STREQ(of("a/b/c"), "a");
}

TEST_F(SetUps, MayFollowEachRow) {
  folder_.write("setup/end.jsonl", "{\"command\":\"uninitSDK\"}\n{\"command\":\"dance\"}\n");
  const auto played =
      run("{\"rows\":\"setLogParams\",\"then\":{\"use\":\"end\",\"partial\":true,"
          "\"expect\":[{\"item\":\"#4.2\"}]}}\n"
          "[[],{},{}]\n",
          Mode::check);
  EXPECT_EQ(played.status, kExpectationFailed) << played.err;
  EXPECT_NE(played.out.find(": line 2, step 2: "), std::string::npos);
  EXPECT_EQ(played.out.find(": line 2, step 4: "), std::string::npos) << played.out;
}

TEST_F(SetUps, ThatAreMissingAreNamed) {
  EXPECT_EQ(why(kUseEngine.substr(0, kUseEngine.size() - 1)),
            "no set-up \"engine\": setup/engine.jsonl is neither beside the scenario nor in a "
            "folder above it");
  std::filesystem::create_directories(folder_.file("setup/dir.jsonl"));
  EXPECT_EQ(why(R"({"use":"dir"})"),
            "no set-up \"dir\": setup/dir.jsonl is neither beside the scenario nor in a folder "
            "above it");
}

TEST_F(SetUps, HaveANameAndNoPath) {
  folder_.write("setup/engine.jsonl", kEngine);
  folder_.write("engine.jsonl", kEngine);
  for (const std::string name : {"", ".", "../engine", "engine.jsonl", "a/b", "en gine"}) {
    EXPECT_EQ(why("{\"use\":\"" + name + "\"}"),
              "use must name a set-up by letters, digits, \"_\" and \"-\", not \"" + name + "\"");
  }
  EXPECT_EQ(why(R"({"use":null})"), "use must be text");
  EXPECT_EQ(why(R"({"use":"engine","as":"a"})"), "unknown key \"as\" of use");
}

TEST_F(SetUps, AreToldTheirErrorsWithTheirLine) {
  const std::map<std::string, std::string> errors{
      {"{", "no JSON: column 2: incomplete JSON"},
      {"7", "a step must be an object"},
      {R"({"dance":1})", "unknown verb \"dance\""},
      {R"({"get":"role","as":1})", "unknown key \"as\" of get"},
      {R"({"use":"bad"})", "a set-up can't use another"},
      {R"({"rows":"initSDK"})", "a set-up has no rows"},
      {R"(["no",{}])", "a set-up has no rows"},
      {R"({"drain":true,"expect":[]})", "a step of a set-up expects nothing"},
      {R"({"drain":true,"partial":true})", "a step of a set-up expects nothing"},
      {R"({"get":"mood"})", "unknown value \"mood\""},  // found when it is played
      {R"({"new":true})", "the host has a router already"},
  };
  for (const auto& [line, error] : errors) {
    folder_.write("setup/bad.jsonl", kEngine + line + "\n");
    EXPECT_EQ(why(R"({"use":"bad"})"), "set-up \"bad\", line 4: " + error);
  }
  folder_.write("setup/bad.jsonl", "# nothing\n\n");
  EXPECT_EQ(why(R"({"use":"bad"})"), "set-up \"bad\" has no steps");
}

}  // namespace
}  // namespace vemo::replay
