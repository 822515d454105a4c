#include <gtest/gtest.h>
#include <spdlog/details/log_msg.h>
#include <spdlog/sinks/base_sink.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Folder.h"
#include "LoggedLines.h"
#include "platform/JsonLineLogger.h"
#include "platform/LineQueue.h"
#include "platform/RotatingFile.h"
#include "platform/StreamSystemLog.h"

// The logger when its disk or its reader gives trouble.

namespace vemo {
namespace {

/// Keeps lines, and writes none until it is opened: a disk that is stuck.
class StuckSink final : public spdlog::sinks::base_sink<std::mutex> {
 public:
  void waitUntilStuck() {
    std::unique_lock lock(gate_);
    changed_.wait(lock, [this] { return stuck_; });
  }
  void open() {
    const std::lock_guard lock(gate_);
    open_ = true;
    changed_.notify_all();
  }
  std::vector<std::string> lines;  // once the logger is gone

 protected:
  void sink_it_(const spdlog::details::log_msg& message) override {
    std::unique_lock lock(gate_);
    stuck_ = true;
    changed_.notify_all();
    changed_.wait(lock, [this] { return open_; });
    lines.emplace_back(message.payload.data(), message.payload.size());
  }
  void flush_() override {}

 private:
  std::mutex gate_;
  std::condition_variable changed_;
  bool stuck_ = false;
  bool open_ = false;
};

TEST(JsonLineLogger, AFullQueueDropsTheOldestAndSaysHowMany) {
  const auto sink = std::make_shared<StuckSink>();
  auto logger = std::make_unique<JsonLineLogger>(sink, JsonLineLoggerOptions{.queuedLines = 4});
  logger->log(named("n0"));
  sink->waitUntilStuck();  // n0 is being written; nothing more can be
  for (int i = 1; i <= 10; ++i) logger->log(named("n" + std::to_string(i)));
  sink->open();
  logger.reset();
  std::vector<std::string> seen;
  for (const auto& line : objectsOf(sink->lines)) {
    const auto name = std::string(line.at("actionName").as_string());
    if (name == "dropped") {
      EXPECT_EQ(line.at("module"), "JsonLineLogger");
      EXPECT_EQ(line.at("level"), 4);
      EXPECT_TRUE(line.contains("time"));
      seen.push_back("dropped " + std::to_string(line.at("dropped").to_number<int>()));
    } else {
      seen.push_back(name);
    }
  }
  EXPECT_EQ(seen, (std::vector<std::string>{"n0", "dropped 6", "n7", "n8", "n9", "n10"}));
}

TEST(JsonLineLogger, AQueueIsFullByTheBytesOfItsLinesToo) {
  const auto sink = std::make_shared<StuckSink>();
  auto logger = std::make_unique<JsonLineLogger>(sink, JsonLineLoggerOptions{});
  logger->log(named("first"));
  sink->waitUntilStuck();
  const std::string text(100'000, 'x');
  constexpr std::size_t kGiven = 400;  // of which a third finds room
  for (std::size_t i = 0; i < kGiven; ++i) logger->log(named(text));
  sink->open();
  logger.reset();
  std::size_t bytes = 0;
  std::size_t written = 0;
  std::size_t dropped = 0;
  for (const auto& line : sink->lines) {
    const auto object = boost::json::parse(line).as_object();
    if (object.contains("dropped")) {
      dropped += object.at("dropped").to_number<std::size_t>();
    } else {
      bytes += line.size();
      ++written;
    }
  }
  EXPECT_EQ(written + dropped, kGiven + 1);
  EXPECT_LT(bytes, LineQueue::kMaxBytes + 1000);
  EXPECT_GT(bytes, LineQueue::kMaxBytes / 2);
}

TEST(JsonLineLogger, CallersNeverWaitForAStuckDisk) {
  const auto sink = std::make_shared<StuckSink>();
  auto logger = std::make_unique<JsonLineLogger>(sink, JsonLineLoggerOptions{.queuedLines = 16});
  logger->log(named("first"));
  sink->waitUntilStuck();
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 500; ++i) logger->log(named("more"));
    });
  }
  for (auto& thread : threads) thread.join();  // would hang if they waited
  sink->open();
  logger.reset();
  std::size_t written = 0;
  std::int64_t dropped = 0;
  for (const auto& line : objectsOf(sink->lines)) {
    if (line.at("actionName") == "dropped") {
      dropped += line.at("dropped").to_number<std::int64_t>();
    } else {
      ++written;
    }
  }
  EXPECT_EQ(static_cast<std::int64_t>(written) + dropped, 2001);
  EXPECT_EQ(written, 17U);
}

TEST(JsonLineLogger, ASinkThatFailsIsCountedAndSaid) {
  const auto sink = std::make_shared<FailingSink>();
  const auto watched = std::make_shared<WatchedSink>(sink);
  auto logger = std::make_unique<JsonLineLogger>(watched, JsonLineLoggerOptions{});
  logger->log(named("before"));
  EXPECT_EQ(watched->written.next(), true);
  sink->fails = true;
  for (int i = 0; i < 10; ++i) {
    logger->log(named("lost"));
    EXPECT_EQ(watched->written.next(), false);
  }
  sink->fails = false;
  logger->log(named("after"));
  logger.reset();
  const auto lines = objectsOf(sink->lines);
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[0].at("actionName"), "before");
  EXPECT_EQ(lines[1].at("actionName"), "notWritten");
  EXPECT_EQ(lines[1].at("notWritten"), 10);
  EXPECT_EQ(lines[1].at("errorDesc"), "no \x1b way");
  EXPECT_EQ(lines[1].at("module"), "JsonLineLogger");
  EXPECT_EQ(lines[1].at("level"), 4);
  EXPECT_EQ(sink->lines[1].find('\x1b'), std::string::npos);
  EXPECT_EQ(lines[2].at("actionName"), "after");
}

TEST(JsonLineLogger, WhatWasLostIsSaidAtTheEndToo) {
  const auto sink = std::make_shared<FailingSink>();
  const auto watched = std::make_shared<WatchedSink>(sink);
  auto logger = std::make_unique<JsonLineLogger>(watched, JsonLineLoggerOptions{});
  sink->fails = true;
  logger->log(named("lost"));
  EXPECT_EQ(watched->written.next(), false);
  sink->fails = false;
  logger.reset();
  ASSERT_EQ(sink->lines.size(), 1U);
  EXPECT_EQ(objectsOf(sink->lines)[0].at("notWritten"), 1);
}

TEST(JsonLineLogger, AFullDiskIsSaidWhenThereIsRoomAgain) {
  const SmallDisk disk;
  if (!disk.isThere()) GTEST_SKIP() << "needs the right to mount a small disk";
  const auto file = disk.file("log.jsonl");
  const auto sink =
      std::make_shared<WatchedSink>(std::make_shared<RotatingFile>(file, 1'000'000, 3));
  auto logger = std::make_unique<JsonLineLogger>(sink, JsonLineLoggerOptions{});
  logger->log(named("before"));
  EXPECT_EQ(sink->written.next(), true);
  disk.fill();
  std::size_t written = 1;
  for (int i = 0; i < 200; ++i) logger->log(named(std::string(100, 'x')));
  for (int i = 0; i < 200; ++i)
    if (sink->written.next() == true) ++written;
  disk.clear();
  logger->log(named("after"));
  logger.reset();
  const auto lines = objectsOf(linesOf(file));  // none is spliced onto half of another
  ASSERT_EQ(lines.size(), written + 2);
  const auto& said = lines[written];
  EXPECT_EQ(said.at("notWritten").to_number<std::size_t>(), 201 - written);
  EXPECT_EQ(said.at("errorDesc"), "No space left on device");
  EXPECT_EQ(lines.back().at("actionName"), "after");
}

TEST(JsonLineLogger, NoSignalOfWritingEndsTheProcess) {
  const Folder folder;
  const auto inAChild = [&] {
    const rlimit limit{5000, 5000};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    auto logger = JsonLineLogger::create({.file = folder.file("log.jsonl"), .oldFiles = 50});
    for (int i = 0; i < 300; ++i) logger->log(named("n" + std::to_string(i)));
    logger.reset();
    std::array<int, 2> pipe{};
    if (::pipe(pipe.data()) != 0) ::_exit(1);
    ::dup2(pipe[1], STDERR_FILENO);
    ::close(pipe[0]);  // nobody will ever read standard error
    logger = JsonLineLogger::create({});
    logger->log(named("lost"));
    logger.reset();
    ::_exit(0);
  };
  EXPECT_EXIT(inAChild(), ::testing::ExitedWithCode(0), "");
  std::size_t lines = linesOf(folder.file("log.jsonl")).size();
  for (int age = 1; age <= 50; ++age)
    lines += objectsOf(linesOf(folder.file("log." + std::to_string(age) + ".jsonl"))).size();
  EXPECT_EQ(lines, 300U);
}

TEST(JsonLineLogger, AStandardErrorThatNobodyReadsHoldsNobodyUp) {
  std::array<int, 2> pipe{};
  ASSERT_EQ(::pipe(pipe.data()), 0);
  const int before = ::dup(STDERR_FILENO);
  ::dup2(pipe[1], STDERR_FILENO);
  {
    auto logger = JsonLineLogger::create({});
    StreamSystemLog systemLog;
    for (int i = 0; i < 5000; ++i) {
      logger->log(named("line"));
      systemLog.writeLine("line");
    }
  }  // even the end comes
  ::dup2(before, STDERR_FILENO);
  ::close(before);
  ::close(pipe[1]);
  std::array<char, 10> bytes{};
  EXPECT_EQ(::read(pipe[0], bytes.data(), bytes.size()), 10) << "what fitted in was written";
  ::close(pipe[0]);
}

TEST(JsonLineLogger, GoesOnInANewFileWhenItsOwnIsRenamed) {
  const Folder folder;
  const auto file = folder.file("log.jsonl");
  const auto sink = std::make_shared<WatchedSink>(std::make_shared<RotatingFile>(file, 10'000, 3));
  auto logger = std::make_unique<JsonLineLogger>(sink, JsonLineLoggerOptions{});
  logger->log(named("one"));
  EXPECT_EQ(sink->written.next(), true);
  std::filesystem::rename(file, folder.file("yesterday"));
  logger->log(named("two"));
  EXPECT_EQ(sink->written.next(), true);
  std::filesystem::remove(file);
  logger->log(named("three"));
  logger.reset();
  EXPECT_EQ(objectsOf(linesOf(folder.file("yesterday")))[0].at("actionName"), "one");
  ASSERT_EQ(linesOf(file).size(), 1U);
  EXPECT_EQ(objectsOf(linesOf(file))[0].at("actionName"), "three");
}

}  // namespace
}  // namespace vemo
