#include "simulator/Options.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vemo::test {
namespace {

std::optional<SimulatorOptions> parsed(std::vector<std::string> words, std::string& error) {
  words.insert(words.begin(), "vemo-simulator");
  std::vector<char*> argv;
  argv.reserve(words.size() + 1);
  for (auto& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  return optionsFrom(static_cast<int>(words.size()), argv.data(), error);
}

TEST(Options, HaveDefaults) {
  std::string error;
  const auto options = parsed({}, error);
  ASSERT_TRUE(options);
  EXPECT_EQ(options->port, 8377);
  EXPECT_EQ(options->seed, 1U);
  EXPECT_TRUE(options->logFile.empty());
  EXPECT_FALSE(options->help);
}

TEST(Options, AreRead) {
  std::string error;
  const auto options = parsed(
      {"--port", "0", "--page=x", "--seed", "99", "--room-capacity", "2", "--log", "y", "--record", "z",
       "--help"},
      error);
  ASSERT_TRUE(options);
  EXPECT_EQ(options->port, 0);
  EXPECT_EQ(options->pageFolder, "x");
  EXPECT_EQ(options->seed, 99U);
  EXPECT_EQ(options->roomCapacity, 2U);
  EXPECT_EQ(options->logFile, "y");
  EXPECT_EQ(options->recordFolder, "z");
  EXPECT_TRUE(options->help);
}

TEST(Options, MistakesAreNamed) {
  const std::vector<std::pair<std::vector<std::string>, std::string>> mistakes{
      {{"--port"}, "--port needs a value."},
      {{"--port", "70000"}, "\"70000\" is no value for that option; see --help."},
      {{"--port", "-1"}, "\"-1\" is no value for that option; see --help."},
      {{"--seed", "1x"}, "\"1x\" is no value for that option; see --help."},
      {{"--room-capacity", "0"}, "\"0\" is no value for that option; see --help."},
      {{"--nose"}, "Unknown option --nose."},
      {{"here"}, "Unexpected argument here."}};
  for (const auto& [words, sentence] : mistakes) {
    std::string error;
    EXPECT_FALSE(parsed(words, error));
    EXPECT_EQ(error, sentence);
  }
}

}  // namespace
}  // namespace vemo::test
