#include "Minimise.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace vemo::test {
namespace {

replay::ExitStatus least(const std::string& scenario, std::string& out, std::string& err) {
  std::istringstream in(scenario);
  std::ostringstream written;
  std::ostringstream said;
  const auto status = replay::minimise(in, written, said, {});
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

TEST(Minimise, NothingToKeepIsToldInASentence) {
  std::string out;
  std::string err;
  EXPECT_EQ(least("{\"command\":\"initSDK\"}\n", out, err), replay::kUnreadable);
  EXPECT_EQ(err, "nothing differs that could be kept\n");
  EXPECT_EQ(least("{\"nonsense\":1}\n", out, err), replay::kUnreadable);
  EXPECT_EQ(err, "line 1: unknown verb \"nonsense\"\n");
  EXPECT_EQ(out, "");
}

}  // namespace
}  // namespace vemo::test
