#include "replay/Accept.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <sstream>
#include <string>

#include "Folder.h"
#include "replay/LineEdit.h"
#include "replay/Replay.h"

namespace vemo::replay {
namespace {

std::string accepted(const std::string& scenario) {
  const auto result = acceptScenario(scenario, {});
  EXPECT_EQ(result.status, kDone) << result.sentence;
  return result.text;
}

/// What --check says of `scenario`.
std::string checked(const std::string& scenario) {
  std::istringstream in(scenario);
  std::ostringstream out;
  std::ostringstream err;
  replay(in, Mode::check, out, err);
  return err.str() + out.str();
}

const std::string kRoleIsNull = R"([{"effect":"value","thread":"main","of":"role","value":null}])";

TEST(Accept, WritesAllThatAStepDid) {
  EXPECT_EQ(accepted("{\"get\":\"role\"}\n"),
            "{\"get\":\"role\",\"expect\":" + kRoleIsNull + "}\n");
  EXPECT_EQ(accepted("{\"device\":{}}\n{\"drain\":true}"),
            "{\"device\":{}}\n{\"drain\":true,\"expect\":[]}")
      << "that nothing happens holds something, too, save of steps that never do";
}

TEST(Accept, WhatItWritesHoldsAndIsWrittenOnce) {
  const std::string scenario =
      "# A room.\n"
      "\n"
      "{\"device\":{\"camera\":2}}\n"
      "{\"command\":\"initSDK\"}\n"
      "{\"listener\":\"ear\"}\n"
      "{\"host\":\"addKOBUEventListener\",\"args\":[\"ear\"]}\n"
      "{\"command\":\"enterRoom\",\"params\":{\"sdkAppId\":1,\"userId\":\"ann\",\"userSig\":\"s\","
      "\"roomId\":7,\"role\":20,\"appScene\":0}}\n"
      "{\"event\":\"onEnterRoom\",\"args\":[12]}\n"
      "{\"command\":\"startLocalPreview\"}\n"
      "{\"press\":\"不允许\"}\n";
  const auto once = accepted(scenario);
  EXPECT_EQ(checked(once), "8 steps, 6 expectations\n");
  EXPECT_EQ(accepted(once), once);
  EXPECT_NE(once.find("# A room.\n\n{\"device\":{\"camera\":2}}\n"), std::string::npos);
  EXPECT_NE(once.find("{\"listener\":\"ear\"}\n"), std::string::npos);
  EXPECT_EQ(once.find("fileName"), std::string::npos) << "it moves with the code";
}

TEST(Accept, WhatHoldsStaysByteForByte) {
  const std::string scenario =
      "  \t\n"
      "#{\"get\":\"role\"}\n"
      "{ \"get\" : \"role\" , \"expect\" : [ { \"value\" : null } ] }  \r\n"
      "{\"get\":\"role\",\"expect\":[\"*\"]}\n"
      "{\"command\":\"initSDK\",\"partial\":true,\"expect\":[{\"effect\":\"reply\"}]}\n"
      "{\"drain\":true,\"expect\":[],\"partial\":true}\n";
  EXPECT_EQ(accepted(scenario), scenario);
}

TEST(Accept, OfWhatDoesNotHoldTheRestStays) {
  EXPECT_EQ(accepted(R"({"expect":[{"of":"role","thread":"*","value":20}],"get":"role"})"),
            R"({"expect":[{"of":"role","thread":"*","value":null}],"get":"role"})")
      << "keys that were left out stay out";
  EXPECT_EQ(accepted(R"({"get":"role","expect":[]})"),
            R"({"get":"role","expect":)" + kRoleIsNull + "}");
  EXPECT_EQ(accepted(R"({"get":"role","expect":[{"effect":"script"},{"of":"role"},"*"]})"),
            R"({"get":"role","expect":[{"of":"role"}]})");

  const std::string initSDK = R"({"command":"initSDK","partial":true,"expect":)";
  EXPECT_EQ(
      accepted(initSDK + R"([{"effect":"post"},{"call":"setDelegate","args":"*"},)"
                         R"({"effect":"reply","error":{"module":"*","errcode":5}}]})"),
      initSDK +
          R"([{"call":"setDelegate","args":"*"},{"effect":"reply","error":{"module":"*","errcode":0}}]})")
      << "a part stays a part";
}

TEST(Accept, APartOfWhichNothingIsLeftBecomesTheWhole) {
  EXPECT_EQ(accepted(R"({"get":"role","partial":true,"expect":[{"effect":"post"}]})"),
            R"({"get":"role","expect":)" + kRoleIsNull + "}");
  EXPECT_EQ(accepted(R"({"partial":true,"get":"role","expect":[{"effect":"post"}]})"),
            R"({"get":"role","expect":)" + kRoleIsNull + "}");
}

TEST(Accept, RowsOfATableStayOrAreRefused) {
  const std::string table =
      "{\"command\":\"initSDK\",\"expect\":[\"*\",\"*\",\"*\",\"*\"]}\n"
      "{\"rows\":\"setAudioRoute\",\"then\":{\"get\":\"role\"}}\n";
  const std::string good = "[[[\"setAudioRoute\",1]],{\"route\":1}]\n";
  const auto kept = accepted(table + good);
  EXPECT_TRUE(kept.ends_with(good)) << kept;

  const auto refused = acceptScenario(table + good + "[\"no route\",{}]\n", {});
  EXPECT_EQ(refused.status, kExpectationFailed);
  EXPECT_EQ(refused.text, "");
  EXPECT_TRUE(
      refused.sentence.starts_with("line 4, step 4, params {}: record of setAudioRouteFailed has "
                                   "errorDesc \"no route param\", was \"no route\" (effect 2, "))
      << refused.sentence;
  EXPECT_TRUE(refused.sentence.ends_with("; the outcome of a row has to be rewritten by hand"));
}

TEST(Accept, AScenarioThatCannotBePlayedIsNoneToAccept) {
  const auto result = acceptScenario("{\"get\":\"role\"}\n{\"gte\":\"role\"}\n", {});
  EXPECT_EQ(result.status, kUnreadable);
  EXPECT_EQ(result.sentence, "line 2: unknown verb \"gte\"; did you mean \"get\"?");
}

class AcceptFile : public testing::Test {
 protected:
  ExitStatus accept(const std::string& path) {
    out_.str({});
    err_.str({});
    return acceptFile(path, out_, err_);
  }

  Folder folder_;
  std::ostringstream out_;
  std::ostringstream err_;
};

TEST_F(AcceptFile, ReplacesItOnce) {
  const auto path = folder_.write("a.jsonl", "{\"get\":\"role\"}\n");
  ASSERT_EQ(::chmod(path.c_str(), 0640), 0);
  EXPECT_EQ(accept(path), kDone) << err_.str();
  EXPECT_EQ(out_.str(), path + ": 1 step, 1 expectation, 1 written\n");
  EXPECT_EQ(textOf(path), "{\"get\":\"role\",\"expect\":" + kRoleIsNull + "}\n");
  struct stat about {};
  ASSERT_EQ(::stat(path.c_str(), &about), 0);
  EXPECT_EQ(about.st_mode & 0777U, 0640U);

  EXPECT_EQ(accept(path), kDone);
  EXPECT_EQ(out_.str(), path + ": 1 step, 1 expectation, 0 written\n");
  struct stat later {};
  ASSERT_EQ(::stat(path.c_str(), &later), 0);
  EXPECT_EQ(later.st_ino, about.st_ino) << "it was written again";
  EXPECT_EQ(std::distance(
                std::filesystem::directory_iterator(std::filesystem::path(path).parent_path()), {}),
            1)
      << "something lies beside it";
}

TEST_F(AcceptFile, KeepsEveryByteOfTheRest) {
  const std::string rest = "# \xFF\xFE no text at all\r\n\n";
  const auto path = folder_.write("a.jsonl", rest + "{\"get\":\"role\"}");
  EXPECT_EQ(accept(path), kDone) << err_.str();
  EXPECT_EQ(textOf(path), rest + "{\"get\":\"role\",\"expect\":" + kRoleIsNull + "}");
}

TEST_F(AcceptFile, PlaysAsTheFirstOfItsProcess) {
  // Of the volume events of a process every 120th is logged.
  std::string scenario = "{\"command\":\"initSDK\"}\n";
  for (int i = 0; i < 120; ++i)
    scenario += "{\"event\":\"onUserVoiceVolume\",\"args\":[[],0],\"thread\":\"main\"}\n";
  const auto path = folder_.write("a.jsonl", scenario);
  EXPECT_EQ(accept(path), kDone) << err_.str();
  EXPECT_EQ(accept(path), kDone) << err_.str();
  EXPECT_EQ(out_.str(), path + ": 121 steps, 121 expectations, 0 written\n");
}

TEST_F(AcceptFile, UsesItsSetUpsAndKeepsALink) {
  folder_.write("setup/engine.jsonl", "{\"command\":\"initSDK\"}\n");
  const auto path = folder_.write("a/real.jsonl", "{\"use\":\"engine\"}\n{\"get\":\"role\"}\n");
  const auto link = folder_.file("a/link.jsonl");
  std::filesystem::create_symlink(path, link);
  EXPECT_EQ(accept(link), kDone) << err_.str();
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_EQ(textOf(path),
            "{\"use\":\"engine\"}\n{\"get\":\"role\",\"expect\":" + kRoleIsNull + "}\n");
}

TEST_F(AcceptFile, LeavesItWhereSomethingIsWrong) {
  const std::string bad = "{\"get\":\"role\"}\n{\"get\":\"rolle\"}\n";
  const auto path = folder_.write("a.jsonl", bad);
  EXPECT_EQ(accept(path), kUnreadable);
  EXPECT_EQ(err_.str(), path +
                            ": line 2: unknown value \"rolle\"; did you mean \"role\"?; "
                            "nothing was written\n");
  EXPECT_EQ(textOf(path), bad);

  EXPECT_EQ(accept("-"), kUnreadable);
  EXPECT_EQ(err_.str(), "--accept needs a file that it can rewrite, not standard input\n");
  EXPECT_EQ(accept(folder_.file("none.jsonl")), kUnreadable);
  EXPECT_EQ(err_.str(), folder_.file("none.jsonl") + " can't be read: No such file or directory\n");
  EXPECT_EQ(accept(std::filesystem::path(path).parent_path().string()), kUnreadable);
}

TEST(LineEdit, ChangesOneMember) {
  EXPECT_EQ(withMember(R"({"a":[1,{"b":"}"}],"b":2})", "b", "3"), R"({"a":[1,{"b":"}"}],"b":3})");
  EXPECT_EQ(withMember(R"( { "a" : "\"," } )", "b", "[]"), R"( { "a" : "\",","b":[] } )");
  EXPECT_EQ(withMember(R"({"\u0061":true})", "a", "false"), R"({"\u0061":false})");
  EXPECT_EQ(withMember(R"({"a":1,"a":2})", "a", "3"), R"({"a":1,"a":3})") << "the last counts";
  EXPECT_EQ(withMember("{}", "a", "1"), R"({"a":1})");
}

TEST(LineEdit, TakesAMemberAway) {
  EXPECT_EQ(withoutMember(R"({"a":1, "b":[2] , "c":3})", "a"), R"({"b":[2] , "c":3})");
  EXPECT_EQ(withoutMember(R"({"a":1, "b":[2] , "c":3})", "b"), R"({"a":1 , "c":3})");
  EXPECT_EQ(withoutMember(R"({"a":1, "b":[2] , "c":3})", "c"), R"({"a":1, "b":[2]})");
  EXPECT_EQ(withoutMember(R"({"a":1})", "a"), "{}");
  EXPECT_EQ(withoutMember(R"({"a":1})", "b"), R"({"a":1})");
}

}  // namespace
}  // namespace vemo::replay
