#include "platform/RotatingFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spdlog/details/log_msg.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "Folder.h"

namespace vemo {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

void add(RotatingFile& file, std::string_view line) {
  file.log({"", spdlog::level::info, {line.data(), line.size()}});
}

constexpr std::size_t kLong = 1'000'000;

TEST(RotatingFile, AppendsToWhatIsThereAndMakesItsFolders) {
  const Folder folder;
  const auto name = folder.file("a/b/log.txt");
  for (const auto* line : {"one", "two"}) {
    RotatingFile file(name, kLong, 1);
    add(file, line);
  }
  EXPECT_EQ(linesOf(name), (Lines{"one", "two"}));
}

TEST(RotatingFile, BeginsALineAfterOneThatWasLeftUnended) {
  const Folder folder;
  std::ofstream(folder.file("log.txt")) << "whole\nha";
  RotatingFile file(folder.file("log.txt"), kLong, 1);
  add(file, "next");
  add(file, "last");
  EXPECT_EQ(linesOf(folder.file("log.txt")), (Lines{"whole", "ha", "next", "last"}));
}

TEST(RotatingFile, RotatesWithoutLosingALine) {
  const Folder folder;
  RotatingFile file(folder.file("log.txt"), 100, 1000);
  Lines given;
  for (int i = 0; i < 500; ++i) {
    given.push_back("line " + std::to_string(i));
    add(file, given.back());
  }
  Lines found;
  for (int age = 1000; age > 0; --age)
    for (const auto& line : linesOf(folder.file("log." + std::to_string(age) + ".txt")))
      found.push_back(line);
  for (const auto& line : linesOf(folder.file("log.txt"))) found.push_back(line);
  EXPECT_EQ(found, given);
  EXPECT_EQ(fs::file_size(folder.file("log.1.txt")), 99U);
}

TEST(RotatingFile, KeepsAsManyAsAskedAndALineOfAnyLength) {
  const Folder folder;
  RotatingFile file(folder.file("log"), 10, 2);
  for (const auto* line : {"first", "second", "third", "a line that is too long", "fifth"})
    add(file, line);
  EXPECT_EQ(linesOf(folder.file("log")), Lines{"fifth"});
  EXPECT_EQ(linesOf(folder.file("log.1")), Lines{"a line that is too long"});
  EXPECT_EQ(linesOf(folder.file("log.2")), Lines{"third"});
  EXPECT_FALSE(fs::exists(folder.file("log.3")));
  EXPECT_FALSE(fs::exists(folder.file("log.0")));
}

TEST(RotatingFile, WithoutOldFilesBeginsAnew) {
  const Folder folder;
  RotatingFile file(folder.file("log.txt"), 12, 0);
  for (const auto* line : {"first", "second", "third"}) add(file, line);
  EXPECT_EQ(linesOf(folder.file("log.txt")), Lines{"third"});
}

TEST(RotatingFile, GrowsOnWhereItCannotRotate) {
  const Folder folder;
  fs::create_directories(folder.file("log.0.txt/in the way"));
  RotatingFile file(folder.file("log.txt"), 10, 2);
  for (const auto* line : {"first", "second", "third"}) add(file, line);
  EXPECT_EQ(linesOf(folder.file("log.txt")), (Lines{"first", "second", "third"}));
}

TEST(RotatingFile, FollowsItsName) {
  const Folder folder;
  const auto name = folder.file("sub/log.txt");
  RotatingFile file(name, kLong, 1);
  add(file, "one");
  fs::rename(name, folder.file("moved"));
  add(file, "two");
  fs::remove(name);
  add(file, "three");
  EXPECT_EQ(linesOf(name), Lines{"three"});
  std::ofstream(folder.file("other")) << "another's\n";
  fs::rename(folder.file("other"), name);
  add(file, "four");
  EXPECT_EQ(linesOf(name), (Lines{"another's", "four"}));
  std::ofstream(name).close();  // emptied in its place
  add(file, "five");
  EXPECT_EQ(linesOf(name), Lines{"five"});
  fs::remove_all(folder.file("sub"));
  add(file, "six");
  EXPECT_EQ(linesOf(name), Lines{"six"});
  EXPECT_EQ(linesOf(folder.file("moved")), Lines{"one"});
}

TEST(RotatingFile, WhereNoNewFileCanBeMadeARenamedOneTakesTheLines) {
  const Folder folder;
  const auto name = folder.file("log.txt");
  RotatingFile file(name, kLong, 1);
  add(file, "one");
  fs::rename(name, folder.file("moved"));
  fs::create_directory(name);
  add(file, "two");
  EXPECT_EQ(linesOf(folder.file("moved")), (Lines{"one", "two"}));
  fs::remove(folder.file("moved"));
  EXPECT_THROW(add(file, "lost"), std::system_error) << "nobody would find it";
  fs::remove(name);
  add(file, "three");
  EXPECT_EQ(linesOf(name), Lines{"three"});
}

TEST(RotatingFile, SaysThatADiskIsFull) {
  RotatingFile file("/dev/full", kLong, 1);
  try {
    add(file, "lost");
    FAIL() << "a full disk took a line";
  } catch (const std::system_error& problem) {
    EXPECT_EQ(problem.code(), std::errc::no_space_on_device);
  }
}

TEST(RotatingFile, WhatADiskTookOfALineIsTakenBack) {
  const SmallDisk disk;
  if (!disk.isThere()) GTEST_SKIP() << "needs the right to mount a small disk";
  RotatingFile file(disk.file("log.txt"), kLong, 1);
  Lines written;
  const auto attempt = [&](const std::string& line) {
    try {
      add(file, line);
      written.push_back(line);
      return true;
    } catch (const std::system_error&) {
      return false;
    }
  };
  EXPECT_TRUE(attempt(std::string(300, 'a')));
  disk.fill();
  int lost = 0;
  for (int i = 0; i < 100; ++i)
    if (!attempt(std::to_string(i) + std::string(300, 'b'))) ++lost;
  EXPECT_GT(lost, 50);
  EXPECT_GT(written.size(), 1U) << "the page that was there had room";
  disk.clear();
  EXPECT_TRUE(attempt("after"));
  EXPECT_EQ(linesOf(disk.file("log.txt")), written);
}

TEST(RotatingFile, RotatesAFileThatTheSystemLetsGrowNoMore) {
  const Folder folder;
  const auto inAChild = [&] {
    std::signal(SIGXFSZ, SIG_IGN);  // LineQueue sees to that for its thread
    const rlimit limit{2000, 2000};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    RotatingFile file(folder.file("log.txt"), kLong, 100);
    for (int i = 0; i < 100; ++i) add(file, "line " + std::to_string(i) + std::string(90, '.'));
    ::_exit(0);
  };
  EXPECT_EXIT(inAChild(), ::testing::ExitedWithCode(0), "");
  std::size_t lines = linesOf(folder.file("log.txt")).size();
  for (int age = 1; age <= 100; ++age)
    lines += linesOf(folder.file("log." + std::to_string(age) + ".txt")).size();
  EXPECT_EQ(lines, 100U);
}

TEST(RotatingFile, APipeThatNobodyReadsIsGivenUpInTheEnd) {
  const Folder folder;
  ASSERT_EQ(::mkfifo(folder.file("pipe").c_str(), 0600), 0);
  EXPECT_THROW(RotatingFile(folder.file("pipe"), kLong, 1), std::system_error) << "no reader";
  const int reader = ::open(folder.file("pipe").c_str(), O_RDONLY | O_NONBLOCK);
  RotatingFile file(folder.file("pipe"), kLong, 1);
  file.hurry();
  EXPECT_THROW(add(file, std::string(1'000'000, 'a')), std::system_error);
  EXPECT_THROW(add(file, "lost"), std::system_error);
  std::string read;
  const auto readAll = [&] {
    std::string bytes(100'000, '\0');
    read.clear();
    for (ssize_t count = 0; (count = ::read(reader, bytes.data(), bytes.size())) > 0;)
      read.append(bytes, 0, static_cast<std::size_t>(count));
  };
  readAll();
  EXPECT_EQ(read, std::string(read.size(), 'a'));
  add(file, "next");
  readAll();
  EXPECT_EQ(read, "\nnext\n") << "half a line is ended before the next";
  ::close(reader);
}

}  // namespace
}  // namespace vemo
