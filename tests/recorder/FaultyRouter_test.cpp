// Linked with a router that has a fault (CMakeLists.txt).

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <sstream>
#include <string>

#include "recorder/Recorded.h"
#include "replay/Minimise.h"

namespace vemo::test {
namespace {

std::string recordedSession() {
  std::ifstream file(VEMO_RECORDING);
  std::ostringstream text;
  text << file.rdbuf();
  return sessionOf(text.str());
}

/// The line of `session` that has `part`, counted from 1.
std::size_t lineOf(const std::string& session, const std::string& part) {
  std::istringstream in(session);
  std::size_t number = 1;
  for (std::string line; std::getline(in, line); ++number) {
    if (line.find(part) != std::string::npos) return number;
  }
  ADD_FAILURE() << "no " << part << " in\n" << session;
  return 0;
}

TEST(FaultyRouter, ARecordingOfASoundOneNamesTheFirstWrongStep) {
  const auto session = recordedSession();
  const auto line = lineOf(session, R"({"command":"stopLocalAudio")");
  const auto told = checked(session);
  EXPECT_TRUE(told.starts_with("line " + std::to_string(line) + ", step ")) << told;
  const auto sentence = told.substr(0, told.find('\n'));
  EXPECT_NE(sentence.find(": call of muteLocalAudio came, was call of stopLocalAudio"),
            std::string::npos)
      << sentence;
}

TEST(FaultyRouter, ItsFaultNeedsFewSteps) {
  std::istringstream session(recordedSession());
  std::ostringstream out;
  std::ostringstream err;
  EXPECT_EQ(replay::minimise(session, {}, out, err, {}), replay::kDone) << err.str();
  const auto least = out.str();
  EXPECT_TRUE(least.starts_with(R"({"command":"initSDK")")) << least;
  EXPECT_NE(least.find("\n{\"command\":\"stopLocalAudio\""), std::string::npos) << least;
  EXPECT_EQ(std::ranges::count(least, '\n'), 2) << least;
}

}  // namespace
}  // namespace vemo::test
