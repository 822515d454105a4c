#include "simulator/Options.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>
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
  EXPECT_TRUE(options->pageFolder.empty());
  EXPECT_FALSE(options->pageUrl);
  EXPECT_FALSE(options->help);
}

TEST(Options, AreRead) {
  std::string error;
  const auto options = parsed({"--port", "0", "--shell=x", "--seed", "99", "--room-capacity", "2",
                               "--log", "y", "--record", "z", "--help"},
                              error);
  ASSERT_TRUE(options);
  EXPECT_EQ(options->port, 0);
  EXPECT_EQ(options->shellFolder, "x");
  EXPECT_EQ(options->seed, 99U);
  EXPECT_EQ(options->roomCapacity, 2U);
  EXPECT_EQ(options->logFile, "y");
  EXPECT_EQ(options->recordFolder, "z");
  EXPECT_TRUE(options->help);
}

TEST(Options, TheAddressOfAPageIsRead) {
  const std::vector<std::tuple<std::string, std::string, std::string>> addresses{
      {"http://localhost:5173", "http://localhost:5173/", "http://localhost:5173"},
      {"HTTP://LocalHost:80/a?b#c", "http://LocalHost:80/a?b#c", "http://localhost"},
      {"https://127.0.0.1:8443/x/", "https://127.0.0.1:8443/x/", "https://127.0.0.1:8443"}};
  for (const auto& [text, url, origin] : addresses) {
    std::string error;
    const auto options = parsed({"--port", "0", "--page-url", text}, error);
    ASSERT_TRUE(options) << error;
    EXPECT_EQ(options->pageUrl->origin, origin);
    EXPECT_EQ(options->pageUrl->url, url);
  }
  for (const auto* text : {"ftp://host/", "file:///page", "http://", "http://[::1]:5173/", "page",
                           "http://a b/", "http://host;script-src/", "http://user@host/",
                           "http://host:99999/", "javascript:alert(1)"})
    EXPECT_FALSE(pageAddressFrom(text)) << text;
}

TEST(Options, ThePhonesHaveOnePage) {
  const auto folder = std::filesystem::temp_directory_path() / "vemo-options-page";
  std::filesystem::create_directories(folder);
  std::ofstream(folder / "index.html") << "<p>page</p>";
  std::string error;
  const auto options = parsed({"--page", folder.string()}, error);
  EXPECT_TRUE(options) << error;
  EXPECT_EQ(options ? options->pageFolder : "", folder.string());
  EXPECT_FALSE(parsed({"--page-url", "http://localhost:1/", "--page", folder.string()}, error));
  EXPECT_EQ(error, "--page and --page-url name two pages; give one of them.");
  std::filesystem::remove_all(folder);
}

TEST(Options, MistakesAreNamed) {
  const std::vector<std::pair<std::vector<std::string>, std::string>> mistakes{
      {{"--port"}, "--port needs a value."},
      {{"--port", "70000"}, "\"70000\" is no value for --port; see --help."},
      {{"--port", "-1"}, "\"-1\" is no value for --port; see --help."},
      {{"--seed", "1x"}, "\"1x\" is no value for --seed; see --help."},
      {{"--room-capacity", "0"}, "\"0\" is no value for --room-capacity; see --help."},
      {{"--page", "/nowhere"}, "--page: there is no folder \"/nowhere\"."},
      {{"--page", "/proc/self"}, "--page: there is no index.html in \"/proc/self\"."},
      {{"--page-url", "localhost:5173"},
       "--page-url: \"localhost:5173\" is no address of a page, such as http://localhost:5173/."},
      {{"--page-url", ""}, "--page-url needs a value."},
      {{"--log", ""}, "--log needs a value."},
      {{"--record="}, "--record needs a value."},
      {{"--page-url", "http://[::1]:5173/"},
       "--page-url: \"http://[::1]:5173/\" names its host by an IPv6 address, which is not "
       "possible; say localhost."},
      {{"--page-url", "http://localhost:8377/x"},
       "--page-url: \"http://localhost:8377/x\" is the simulator itself; one of the two needs "
       "another port."},
      {{"--page-url", "http://127.0.0.1:7000", "--port", "7000"},
       "--page-url: \"http://127.0.0.1:7000/\" is the simulator itself; one of the two needs "
       "another port."},
      {{"--nose"}, "Unknown option --nose."},
      {{"-xy"}, "Unknown option -xy."},
      {{"--port", "0", "-xy"}, "Unknown option -xy."},
      {{"here"}, "Unexpected argument here."}};
  for (const auto& [words, sentence] : mistakes) {
    std::string error;
    EXPECT_FALSE(parsed(words, error));
    EXPECT_EQ(error, sentence);
  }
}

}  // namespace
}  // namespace vemo::test
