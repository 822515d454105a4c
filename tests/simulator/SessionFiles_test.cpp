#include "simulator/SessionFiles.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Folder.h"
#include "recorder/Recording.h"

namespace vemo::test {
namespace {

namespace fs = std::filesystem;

/// A folder with files that were written one after the other, up to now.
class SessionFilesTest : public testing::Test {
 protected:
  void write(const std::string& name, std::size_t bytes, std::chrono::minutes ago) {
    std::ofstream(folder_.file(name)) << std::string(bytes, 'x');
    fs::last_write_time(folder_.file(name), fs::file_time_type::clock::now() - ago);
  }
  bool has(const std::string& name) const { return fs::exists(folder_.file(name)); }
  StreamSession sessions(SessionFiles::Limits limits) {
    return SessionFiles(folder_.file(""), limits).streamSession([&](std::string_view line) {
      noted_.emplace_back(line);
    });
  }

  Folder folder_;
  const std::shared_ptr<NoteRing> ring_ = std::make_shared<NoteRing>(NoteRingOptions());
  std::vector<std::string> noted_;
};

using std::chrono::minutes;

TEST_F(SessionFilesTest, TheOldestSessionsGoWithAllTheirFiles) {
  write("20260101-080000-page-1.vemorec", 10, minutes(1));  // last written, whatever its name
  write("20260101-090000-page-1.vemorec", 10, minutes(3));
  write("20260101-090000-page-1.1.vemorec", 10, minutes(9));
  write("20260101-100000-page-2.vemorec", 10, minutes(5));
  write("20260101-100000-page-2.1.vemorec", 10, minutes(6));
  write("20260101-100000-page-2.crash.vemorec", 10, minutes(4));
  write("20260101-110000-page-3.vemorec", 10, minutes(7));
  write("mine.vemorec", 10, minutes(99));
  write("20260101-110000-page-3.jsonl", 10, minutes(99));
  const auto begin = sessions({.sessions = 2, .bytes = 1'000});
  const auto session = begin(ring_);
  EXPECT_TRUE(has("20260101-080000-page-1.vemorec"));
  EXPECT_TRUE(has("20260101-090000-page-1.vemorec"));
  EXPECT_TRUE(has("20260101-090000-page-1.1.vemorec"));
  EXPECT_FALSE(has("20260101-100000-page-2.vemorec"));
  EXPECT_FALSE(has("20260101-100000-page-2.1.vemorec"));
  EXPECT_FALSE(has("20260101-100000-page-2.crash.vemorec"));
  EXPECT_FALSE(has("20260101-110000-page-3.vemorec"));
  EXPECT_TRUE(has("mine.vemorec")) << "nobody here wrote it";
  EXPECT_TRUE(has("20260101-110000-page-3.jsonl"));
  ASSERT_EQ(noted_.size(), 1U);
  EXPECT_EQ(noted_[0], "2 old sessions were removed from " + folder_.file("") +
                           ": kept are 2 sessions and 0 MiB at most");
}

TEST_F(SessionFilesTest, WhatIsTooLargeTogetherGoesAndWhatIsOlder) {
  write("20260101-080000-page-1.vemorec", 600, minutes(1));
  write("20260101-080000-page-2.vemorec", 600, minutes(2));
  write("20260101-080000-page-3.vemorec", 10, minutes(3));
  sessions({.sessions = 9, .bytes = 1'000})(ring_);
  EXPECT_TRUE(has("20260101-080000-page-1.vemorec"));
  EXPECT_FALSE(has("20260101-080000-page-2.vemorec"));
  EXPECT_FALSE(has("20260101-080000-page-3.vemorec"));
}

TEST_F(SessionFilesTest, APageThatIsLoadedAgainAndAgainLeavesOnlySoMany) {
  const auto begin = sessions({.sessions = 3, .bytes = std::uintmax_t{1} << 20U});
  const auto open = begin(ring_);
  ASSERT_TRUE(open);
  for (int page = 0; page < 20; ++page) ASSERT_TRUE(begin(ring_));
  std::size_t files = 0;
  bool first = false;
  for (const auto& file : fs::directory_iterator(folder_.file(""))) {
    ++files;
    first = first || file.path().string().ends_with("-page-1.vemorec");
  }
  EXPECT_EQ(files, 1U + 3U + 1U) << "the one that goes on, those that are kept, the last";
  EXPECT_TRUE(first) << "it is still written";
}

TEST_F(SessionFilesTest, ProgramsThatBeginInTheSameSecondWriteNotIntoOneFile) {
  std::vector<std::shared_ptr<void>> open;
  for (int program = 0; program < 20; ++program)
    open.push_back(sessions(SessionFiles::Limits())(std::make_shared<NoteRing>(NoteRingOptions())));
  open.clear();
  std::size_t files = 0;
  for (const auto& file : fs::directory_iterator(folder_.file(""))) {
    std::ifstream in(file.path());
    std::string error;
    EXPECT_TRUE(readRecording(in, error)) << file.path() << ": " << error;
    ++files;
  }
  EXPECT_EQ(files, 20U);
  write("20260101-080000-page-1-2.vemorec", 10, minutes(1));
  sessions({.sessions = 0, .bytes = 0})(ring_);
  EXPECT_FALSE(has("20260101-080000-page-1-2.vemorec")) << "it is one of them";
}

}  // namespace
}  // namespace vemo::test
