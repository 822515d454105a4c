#include "replay/Minimise.h"

#include <gtest/gtest.h>

#include <chrono>
#include <sstream>
#include <string>

namespace vemo::test {
namespace {

replay::ExitStatus least(const std::string& scenario, std::string& out, std::string& err,
                         const replay::MinimiseOptions& options = {}) {
  std::istringstream in(scenario);
  std::ostringstream written;
  std::ostringstream said;
  const auto status = replay::minimise(in, options, written, said, {});
  out = written.str();
  err = said.str();
  return status;
}

TEST(Minimise, WhatTheDifferenceDoesNotNeedGoes) {
  const std::string init = R"({"command":"initSDK"})";
  const std::string denied = R"({"device":{"camera":2,"views":{"(null)/0":"tile"}}})";
  const std::string wrong =
      R"({"command":"startLocalPreview","partial":true,"expect":[{"effect":"alert","title":"no"}]})";
  std::string scenario = "# a lesson\n{\"command\":\"getSDKVersion\",\"expect\":[]}\n";
  for (int i = 0; i < 20; ++i)
    scenario += R"({"command":"stopLocalAudio"})"
                "\n";
  scenario += init + "\n";
  for (int i = 0; i < 20; ++i)
    scenario += R"({"command":"muteLocalAudio"})"
                "\n";
  scenario += denied + "\n" + R"({"event":"onMicDidReady"})" + "\n" + wrong + "\n" + init + "\n";
  // The first difference is another: it needs nothing at all.
  std::string out;
  std::string err;
  EXPECT_EQ(least(scenario, out, err), replay::kDone);
  EXPECT_EQ(out, "{\"command\":\"getSDKVersion\",\"expect\":[]}\n");

  scenario.replace(scenario.find(",\"expect\":[]"), 12, "");
  EXPECT_EQ(least(scenario, out, err), replay::kDone);
  EXPECT_EQ(out, init + "\n" + denied + "\n" + wrong + "\n");
  EXPECT_EQ(err, "");
}

TEST(Minimise, TenStepsOfThousandsKeepTheDifferenceThatIsNamed) {
  const std::string init = R"({"command":"initSDK"})";
  const std::string enter =
      R"({"command":"enterRoom","params":{"sdkAppId":1,"userId":"ada","roomId":7,"appScene":0}})";
  const std::string entered = R"({"event":"onEnterRoom","args":[12]})";
  const std::string other = R"({"get":"role","expect":[{"effect":"value","value":99}]})";
  const std::string wanted =
      R"({"get":"curEnteredRoomUserId","expect":[{"effect":"value","value":"eve"}]})";
  std::string scenario;
  const auto noise = [&](int from) {
    for (int i = from; i < from + 500; ++i)
      scenario += R"({"command":"muteLocalAudio","params":{"mute":)" +
                  std::string(i % 2 == 0 ? "true" : "false") + "}}\n" +
                  R"({"event":"onFirstAudioFrame","args":["u)" + std::to_string(i) + "\"]}\n";
  };
  noise(0);
  scenario += init + "\n";
  noise(500);
  scenario += enter + "\n" + other + "\n";
  noise(1000);
  scenario += entered + "\n";
  noise(1500);
  scenario += wanted + "\n";
  std::string out;
  std::string err;
  EXPECT_EQ(
      least(scenario, out, err,
            {.difference = "value of curEnteredRoomUserId", .within = std::chrono::minutes(1)}),
      replay::kDone)
      << err;
  EXPECT_EQ(out, init + "\n" + enter + "\n" + wanted + "\n");
  EXPECT_EQ(least(scenario, out, err, {.difference = "reply", .within = std::chrono::minutes(1)}),
            replay::kUnreadable);
  EXPECT_EQ(err,
            "no difference is called \"reply\"; the first is line 2003, step 2003: value of "
            "role has value 20, was 99 (effect 1, /value)\n");
}

/// Listeners that stay, `needed` of them among `steps`, and a question for their names that is
/// answered otherwise.
std::string listeners(int needed, int steps) {
  std::ostringstream scenario;
  for (int i = 0; i < steps; ++i) {
    if (i % (steps / needed) == 0) {
      scenario << R"({"listener":"l)" << i << "\",\"ops\":[]}\n"
               << R"({"host":"addKOBUEventListener","args":["l)" << i << "\"]}\n";
    } else {
      scenario << R"({"command":"getSDKVersion","as":"c)" << i << "\"}\n";
    }
  }
  return scenario.str() +
         R"({"get":"listeners","expect":[{"effect":"value","value":["nobody"]}]})" + "\n";
}

TEST(Minimise, ManyStepsAreKeptThatAreNeeded) {
  const auto scenario = listeners(10, 300);
  std::string needed;
  std::istringstream lines(scenario);
  for (std::string line; std::getline(lines, line);) {
    if (line.find("getSDKVersion") == std::string::npos) needed += line + '\n';
  }
  std::string out;
  std::string err;
  EXPECT_EQ(least(scenario, out, err), replay::kDone) << err;
  EXPECT_EQ(out, needed);
  EXPECT_EQ(err, "");
}

TEST(Minimise, WhatIsFoundWhenTheTimeIsUpIsSmallerAndSaysSo) {
  const auto scenario = listeners(5, 50);
  std::string out;
  std::string err;
  EXPECT_EQ(least(scenario, out, err, {.difference = "", .within = std::chrono::seconds(0)}),
            replay::kDone);
  EXPECT_EQ(out, scenario) << "there was no time at all";
  EXPECT_EQ(err,
            "stopped early, the time is up: of 56 lines 56 are left, of which more may not be "
            "needed\n");
}

TEST(Minimise, RowsStayWithTheirTable) {
  std::string out;
  std::string err;
  const std::string table = R"({"rows":"setLogParams"})";
  const std::string row = R"([[["noSuchCall"]],{}])";
  EXPECT_EQ(least("{\"command\":\"getSDKVersion\"}\n" + table + "\n" + row + "\n" + row + "\n", out,
                  err, {.difference = "line 4", .within = std::chrono::minutes(1)}),
            replay::kDone)
      << err;
  EXPECT_EQ(out, table + "\n" + row + "\n");
}

TEST(Minimise, NothingToKeepIsToldInASentence) {
  std::string out;
  std::string err;
  EXPECT_EQ(least("{\"command\":\"initSDK\"}\n", out, err), replay::kUnreadable);
  EXPECT_EQ(err, "nothing differs that could be kept\n");
  EXPECT_EQ(least("{\"get\":\"role\",\"overlaps\":true,\"expect\":[]}\n", out, err),
            replay::kUnreadable);
  EXPECT_EQ(err, "nothing differs that could be kept\n") << "it may differ";
  EXPECT_EQ(least("{\"nonsense\":1}\n", out, err), replay::kUnreadable);
  EXPECT_EQ(err, "line 1: unknown verb \"nonsense\"\n");
  EXPECT_EQ(out, "");
}

}  // namespace
}  // namespace vemo::test
