#include "replay/Suite.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include "Folder.h"
#include "replay/JUnit.h"
#include "replay/OwnProcess.h"

namespace vemo::replay {
namespace {

class Suite : public testing::Test {
 protected:
  ExitStatus check(const std::vector<std::string>& paths, const std::string& junit = {}) {
    out_.str({});
    err_.str({});
    return checkSuite(paths, junit, out_, err_);
  }

  Folder folder_;
  std::ostringstream out_;
  std::ostringstream err_;
};

const std::string kGood = "{\"get\":\"role\",\"expect\":[{\"value\":null}]}\n";
const std::string kFails = "{\"get\":\"role\",\"expect\":[{\"value\":20}]}\n";
const std::string kWrong = "{\"gte\":\"role\"}\n";

TEST_F(Suite, ChecksWhatLiesBelowAFolder) {
  folder_.write("suite/b.jsonl", kGood);
  folder_.write("suite/a/x.jsonl", kGood + kGood);
  folder_.write("suite/a/notes.txt", "no scenario");
  folder_.write("suite/a/setup/x.jsonl", kFails);
  EXPECT_EQ(check({folder_.file("suite")}), kDone);
  EXPECT_EQ(out_.str(), "2 scenarios, 3 steps, 3 expectations, 0 failed\n");
  EXPECT_EQ(err_.str(), "");
}

TEST_F(Suite, HasALineForEachFailureByName) {
  const auto c = folder_.write("suite/c.jsonl", kGood + kFails + kFails);
  const auto a = folder_.write("suite/a/x.jsonl", kFails);
  const auto why = ": value of role has value null, was 20 (effect 1, /value)\n";
  EXPECT_EQ(check({folder_.file("suite")}), kExpectationFailed);
  EXPECT_EQ(out_.str(), a + ": line 1, step 1" + why + c + ": line 2, step 2" + why + c +
                            ": line 3, step 3" + why +
                            "2 scenarios, 4 steps, 4 expectations, 2 failed\n");

  const auto b = folder_.write("suite/b.jsonl", kGood + kWrong);
  EXPECT_EQ(check({b, a}), kUnreadable) << "the worst of all";
  EXPECT_EQ(out_.str(), b + ": line 2: unknown verb \"gte\"; did you mean \"get\"?\n" + a +
                            ": line 1, step 1" + why +
                            "2 scenarios, 2 steps, 2 expectations, 2 failed\n");
}

TEST_F(Suite, WhatDiffersWhereThreadsOverlappedIsToldAndNoFailure) {
  const auto a = folder_.write(
      "a.jsonl", "{\"get\":\"role\",\"overlaps\":true,\"expect\":[{\"value\":20}]}\n");
  EXPECT_EQ(check({a}), kDone);
  EXPECT_EQ(out_.str(),
            a + ": line 1, step 1, which overlapped another when it was recorded and may "
                "differ: value of role has value null, was 20 (effect 1, /value)\n"
                "1 scenario, 1 step, 1 expectation, 0 failed\n");
}

TEST_F(Suite, AReportWritesOverNoScenario) {
  const auto good = folder_.write("suite/good.jsonl", kGood);
  for (const auto& scenario : {good, folder_.file("suite")}) {
    EXPECT_EQ(check({scenario}, folder_.file("suite/../suite/good.jsonl")), kUnreadable);
    EXPECT_EQ(out_.str(), "");
    EXPECT_EQ(err_.str(), "--junit would write over the scenario " + good + "\n");
    EXPECT_EQ(textOf(good), kGood);
  }
}

TEST_F(Suite, AReportThatCannotBeWrittenWholeLeavesTheOneBefore) {
  const auto good = folder_.write("suite/good.jsonl", kGood);
  const auto report = folder_.write("report.xml", "the one before");
  const auto* const why = "File too large";
  const auto process = inOwnProcess([&] {
    const rlimit few{100, 100};
    ::setrlimit(RLIMIT_FSIZE, &few);
    ::signal(SIGXFSZ, SIG_IGN);
    const auto status = check({good}, report);
    return std::to_string(status) + ' ' + err_.str();
  });
  EXPECT_EQ(process.text, "2 " + report + " can't be written: " + why + '\n');
  EXPECT_EQ(textOf(report), "the one before");
  EXPECT_EQ(check({good}, report), kDone);
  EXPECT_EQ(textOf(report).substr(0, 5), "<?xml");
}

TEST_F(Suite, OfAPartThatDidNotComeItTellsTheNearest) {
  const auto a = folder_.write(
      "a.jsonl", "{\"get\":\"role\",\"partial\":true,\"expect\":[{\"of\":\"roll\"}]}\n");
  EXPECT_EQ(check({a, a}), kExpectationFailed);
  const auto line = a +
                    ": line 1, step 1: an effect did not come in its place; nearest: value of role "
                    "came, was an effect (effect 1, /of)\n";
  EXPECT_EQ(out_.str(), line + line + "2 scenarios, 2 steps, 2 expectations, 2 failed\n");
}

TEST_F(Suite, SaysWhatCantBeRead) {
  std::filesystem::create_directories(folder_.file("empty/setup"));
  const auto good = folder_.write("good.jsonl", kGood);
  EXPECT_EQ(check({folder_.file("empty"), good}), kUnreadable);
  EXPECT_EQ(err_.str(), folder_.file("empty") + " has no scenarios\n");
  EXPECT_EQ(out_.str(), "1 scenario, 1 step, 1 expectation, 0 failed\n");
  EXPECT_EQ(check({folder_.file("none.jsonl"), good}), kUnreadable);
  EXPECT_EQ(out_.str(), folder_.file("none.jsonl") +
                            ": can't be read: No such file or directory\n"
                            "2 scenarios, 1 step, 1 expectation, 1 failed\n");
  EXPECT_EQ(check({good}, folder_.file("none/report.xml")), kUnreadable);
  EXPECT_EQ(err_.str(),
            folder_.file("none/report.xml") + " can't be written: No such file or directory\n");
}

TEST_F(Suite, WritesAReport) {
  folder_.write("suite/a/good.jsonl", kGood);
  folder_.write("suite/b/fails.jsonl", kFails);
  folder_.write("suite/b/wrong.jsonl", kWrong);
  EXPECT_EQ(check({folder_.file("suite")}, folder_.file("report.xml")), kUnreadable);
  const auto report = textOf(folder_.file("report.xml"));
  for (const std::string part :
       {"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<testsuites name=\"vemo-replay\" tests=\"3\" failures=\"1\" errors=\"1\" skipped=\"0\" ",
        "/suite/b\" tests=\"2\" failures=\"1\" errors=\"1\" ", "name=\"good\"",
        "/suite/b/fails.jsonl: line 1, step 1: value of role has value null, was 20 (effect 1, "
        "/value)\" "
        "type=\"expectation\">",
        "/suite/b/wrong.jsonl: line 1: unknown verb &quot;gte&quot;; did you mean "
        "&quot;get&quot;?\" "
        "type=\"scenario\">"})
    EXPECT_NE(report.find(part), std::string::npos) << part << "\n" << report;
}

TEST(JUnit, HoldsAnyText) {
  ScenarioResult result;
  result.file = "a <&> \"b\"/\xFF'\x01.jsonl";
  result.status = kExpectationFailed;
  result.failures = {"one\n\ttwo \xEF\xBF\xBF \xF0\x9F\x98\x80 ]]>\x1B"};
  result.time = std::chrono::milliseconds(61'007);
  const auto xml = junitXml({result});
  EXPECT_EQ(
      xml,
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<testsuites name=\"vemo-replay\" tests=\"1\" failures=\"1\" errors=\"0\" skipped=\"0\" "
      "time=\"61.007\">\n"
      "  <testsuite name=\"a &lt;&amp;&gt; &quot;b&quot;\" tests=\"1\" failures=\"1\" "
      "errors=\"0\" skipped=\"0\" time=\"61.007\">\n"
      "    <testcase classname=\"a &lt;&amp;&gt; &quot;b&quot;\" name=\"\uFFFD'\uFFFD\" "
      "file=\"a &lt;&amp;&gt; &quot;b&quot;/\uFFFD'\uFFFD.jsonl\" time=\"61.007\">\n"
      "      <failure message=\"one\" type=\"expectation\">one&#10;&#9;two \uFFFD \U0001F600 "
      "]]&gt;\uFFFD&#10;</failure>\n"
      "    </testcase>\n"
      "  </testsuite>\n"
      "</testsuites>\n");
}

TEST(OwnProcess, GivesWhatTheWorkGives) {
  int seen = 1;
  const auto result = inOwnProcess([&] {
    ++seen;
    return std::string(1'000'000, 'x');
  });
  EXPECT_TRUE(result.good);
  EXPECT_EQ(result.text.size(), 1'000'000U);
  EXPECT_EQ(seen, 1);
}

TEST(OwnProcess, SaysHowItEndedElse) {
  const auto killed = inOwnProcess([]() -> std::string {
    std::raise(SIGKILL);
    return {};
  });
  EXPECT_FALSE(killed.good);
  EXPECT_EQ(killed.text, "ended by signal 9");
  const auto thrown = inOwnProcess([]() -> std::string { throw 1; });
  EXPECT_FALSE(thrown.good);
  EXPECT_EQ(thrown.text, "ended with status 1");
}

}  // namespace
}  // namespace vemo::replay
