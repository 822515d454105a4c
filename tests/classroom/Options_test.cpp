#include "classroom/Options.h"

#include <gtest/gtest.h>

#include <string>

#include "Folder.h"

namespace vemo {
namespace {

TEST(ClassroomOptionsTest, AreRead) {
  std::string error;
  const auto options = classroomOptionsFrom(
      {"--server", "wss://one:8188", "--server", "WS://two:8188", "--windows", "3", "--test-media",
       "--query", "user=Ada", "--record", "sessions", "--relays-file", "relays"},
      error);
  ASSERT_TRUE(options) << error;
  EXPECT_EQ(options->servers, (std::vector<std::string>{"wss://one:8188", "WS://two:8188"}));
  EXPECT_EQ(options->windows, 3);
  EXPECT_TRUE(options->testMedia);
  EXPECT_FALSE(options->automation);
  EXPECT_EQ(options->query, "user=Ada");
  EXPECT_EQ(options->recordFolder, "sessions");
  EXPECT_EQ(options->relaysFile, "relays");
}

TEST(ClassroomOptionsTest, WrongOnesAreNamed) {
  const auto problemWith = [](std::vector<std::string> arguments) {
    std::string error;
    EXPECT_FALSE(classroomOptionsFrom(arguments, error));
    return error;
  };
  EXPECT_EQ(problemWith({"--nonsense"}), "Unknown option --nonsense.");
  EXPECT_EQ(problemWith({"--page"}), "--page needs a value.");
  EXPECT_EQ(problemWith({"--server", "http://one"}),
            "--server: \"http://one\" is no address such as wss://host:8188.");
  EXPECT_EQ(problemWith({"--server", "wss://"}),
            "--server: \"wss://\" is no address such as wss://host:8188.");
  EXPECT_EQ(problemWith({"--windows", "3x"}), "--windows: \"3x\" is no number from 1 to 16.");
  EXPECT_EQ(problemWith({"--windows", "0"}), "--windows: \"0\" is no number from 1 to 16.");
  EXPECT_EQ(problemWith({"--log", ""}), "--log needs a value.");
  EXPECT_EQ(problemWith({"--page", "a", "--page-url", "https://b"}),
            "--page and --page-url name two pages; give one of them.");
}

TEST(ClassroomOptionsTest, FilesThatTheEngineCouldNotUseAreNamed) {
  const Folder folder;
  const auto problemWith = [](auto field, const std::string& file) {
    ClassroomOptions options;
    options.*field = file;
    return problemWithFiles(options);
  };
  const auto servers = folder.write("servers", "# ours\nwss://one:8188\n\nhttp://two\n");
  const auto good = folder.write("good", "# ours\nwss://one:8188\n");
  EXPECT_EQ(problemWith(&ClassroomOptions::serversFile, good), "");
  EXPECT_EQ(problemWith(&ClassroomOptions::serversFile, servers),
            servers + ", line 4: \"http://two\" is no address such as wss://host:8188.");
  EXPECT_EQ(problemWith(&ClassroomOptions::authorities, servers),
            "--authorities: there are no certificates in " + servers + ".");
  EXPECT_EQ(problemWith(&ClassroomOptions::relaysFile, folder.file("none")),
            folder.file("none") + " can't be read.");
  for (const auto& file : {folder.file("none"), folder.file(""), std::string("/dev/zero")}) {
    EXPECT_EQ(problemWith(&ClassroomOptions::serversFile, file),
              "--servers-file: " + file + " can't be read.");
    EXPECT_EQ(problemWith(&ClassroomOptions::authorities, file),
              "--authorities: " + file + " can't be read.");
  }
}

TEST(ClassroomOptionsTest, EachStandsInTheHelp) {
  const auto help = classroomUsage();
  for (const char* name :
       {"--server ", "--servers-file ", "--relays-file ", "--authorities ", "--page ",
        "--page-url ", "--query ", "--windows ", "--test-media", "--log ", "--record ", "--inspect",
        "--automation", "--help", "--version"}) {
    EXPECT_NE(help.find(name), std::string::npos) << name;
  }
}

}  // namespace
}  // namespace vemo
