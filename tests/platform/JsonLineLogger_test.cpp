#include "platform/JsonLineLogger.h"

#include <gtest/gtest.h>
#include <spdlog/details/log_msg.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/sink.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <regex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "Folder.h"
#include "platform/ForwardingPlatform.h"
#include "platform/LineQueue.h"
#include "platform/RotatingFile.h"
#include "platform/StreamSystemLog.h"
#include "testing/Arrivals.h"
#include "testing/contracts/VEMOLogger_contract.h"

namespace vemo {
namespace {

std::vector<boost::json::object> objectsOf(const std::vector<std::string>& lines) {
  std::vector<boost::json::object> objects;
  for (const auto& line : lines) objects.push_back(boost::json::parse(line).as_object());
  return objects;
}

struct JsonLineLoggerMaker {
  VEMOLogger& logger() { return *logger_; }
  std::vector<boost::json::object> records() {
    logger_.reset();
    return objectsOf(linesOf(folder_.file("log.jsonl")));
  }

  Folder folder_;
  std::unique_ptr<JsonLineLogger> logger_ =
      JsonLineLogger::create({.file = folder_.file("log.jsonl")});
};
INSTANTIATE_TYPED_TEST_SUITE_P(JsonLineLogger, VEMOLoggerContract, JsonLineLoggerMaker);

struct ForwardedJsonLineLoggerMaker : JsonLineLoggerMaker {
  VEMOLogger& logger() { return forwarder_; }

  ForwardingVEMOLogger forwarder_{*logger_};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Forwarding, VEMOLoggerContract, ForwardedJsonLineLoggerMaker);

DUNLogParam named(std::string_view name) {
  DUNLogParam record;
  record.actionName = name;
  return record;
}

TEST(JsonLineLogger, WritesTimeThenTheFieldsInOrderThenTheApplication) {
  const Folder folder;
  auto logger = JsonLineLogger::create({.file = folder.file("log.jsonl")});
  ASSERT_NE(logger, nullptr);
  DUNLogParam record;
  record.needReport = true;
  record.level = DUNLogParam::kFailure;
  record.module = "M";
  record.actionName = "a";
  record.actionParam = "{\"x\":\"/\u2028\"}";
  record.errorCode = -1;
  record.errorDesc = "d";
  record.fileName = "f.cpp";
  record.funcName = "-[M a]";
  record.line = 3;
  logger->log(record);
  logger->updateLogConfig([](DUNLoggerConfig& config) { config.sdkAppId = 4294967295U; });
  logger->log(record);
  logger->updateLogConfig([](DUNLoggerConfig& config) { config.sdkAppId = 0; });
  logger->log({});
  logger.reset();
  const auto lines = linesOf(folder.file("log.jsonl"));
  ASSERT_EQ(lines.size(), 3U);
  const std::string time = R"(\{"time":"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z")";
  const auto fields = [](const std::string& line) { return line.substr(line.find("Z\"") + 2); };
  const std::string all = R"(,"needReport":true,"level":4,"module":"M","actionName":"a",)"
                          R"("actionParam":"{\"x\":\"/\u2028\"}","errorCode":-1,"errorDesc":"d",)"
                          R"("fileName":"f.cpp","funcName":"-[M a]","line":3)";
  for (const auto& line : lines)
    EXPECT_TRUE(std::regex_search(line, std::regex("^" + time))) << line;
  EXPECT_EQ(fields(lines[0]), all + "}");
  EXPECT_EQ(fields(lines[1]), all + ",\"sdkAppId\":4294967295}");
  EXPECT_EQ(fields(lines[2]), "}");
}

TEST(JsonLineLogger, EachLineIsOneJsonObjectWhateverTheTexts) {
  const Folder folder;
  auto logger = JsonLineLogger::create({.file = folder.file("log.jsonl")});
  std::string every;
  for (int c = 0; c < 256; ++c) every += static_cast<char>(c);
  logger->log(named(every));
  logger->log(named("{}\n\r\n%v {} \"quoted\""));
  logger.reset();
  const auto objects = objectsOf(linesOf(folder.file("log.jsonl")));
  ASSERT_EQ(objects.size(), 2U);
  EXPECT_EQ(objects[1].at("actionName"), "{}\n\r\n%v {} \"quoted\"");
}

TEST(JsonLineLogger, AppendsToAFileThatIsThere) {
  const Folder folder;
  JsonLineLogger::create({.file = folder.file("log.jsonl")})->log(named("first"));
  JsonLineLogger::create({.file = folder.file("log.jsonl")})->log(named("second"));
  EXPECT_EQ(linesOf(folder.file("log.jsonl")).size(), 2U);
}

TEST(JsonLineLogger, RotatesFilesAndKeepsAsManyAsAsked) {
  const Folder folder;
  auto logger = JsonLineLogger::create(
      {.file = folder.file("log.jsonl"), .maxFileBytes = 1000, .oldFiles = 2});
  for (int i = 0; i < 100; ++i) logger->log(named("n" + std::to_string(i)));
  logger.reset();
  for (const auto* name : {"log.jsonl", "log.1.jsonl", "log.2.jsonl"}) {
    const auto lines = linesOf(folder.file(name));
    EXPECT_FALSE(lines.empty()) << name;
    EXPECT_LE(std::filesystem::file_size(folder.file(name)), 1000U);
    EXPECT_EQ(objectsOf(lines).size(), lines.size());
  }
  EXPECT_FALSE(std::filesystem::exists(folder.file("log.3.jsonl")));
  EXPECT_EQ(objectsOf(linesOf(folder.file("log.jsonl"))).back().at("actionName"), "n99");
}

TEST(JsonLineLogger, SaysWhyItCannotWrite) {
  const Folder folder;
  std::ofstream(folder.file("file")) << "no folder";
  std::string error;
  EXPECT_EQ(JsonLineLogger::create({.file = folder.file("file/log.jsonl")}, &error), nullptr);
  EXPECT_NE(error.find("file/log.jsonl"), std::string::npos) << error;
  EXPECT_EQ(JsonLineLogger::create({.file = folder.file("file/log.jsonl")}), nullptr);
}

TEST(JsonLineLogger, SaysWhichOptionIsOutOfRange) {
  const Folder folder;
  std::string error;
  EXPECT_EQ(JsonLineLogger::create({.queuedLines = 0}, &error), nullptr);
  EXPECT_NE(error.find("queuedLines"), std::string::npos) << error;
  error.clear();
  EXPECT_EQ(JsonLineLogger::create({.file = folder.file("a"), .maxFileBytes = 0}, &error), nullptr);
  EXPECT_FALSE(error.empty());
}

TEST(JsonLineLogger, WritesToStandardErrorWithoutAFile) {
  ::testing::internal::CaptureStderr();
  {
    auto logger = JsonLineLogger::create({});
    ASSERT_NE(logger, nullptr);
    logger->log(named("seen"));
  }
  const auto text = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(boost::json::parse(text).at("actionName"), "seen");
}

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

TEST(JsonLineLogger, OfALongTextTheBeginningIsWritten) {
  const Folder folder;
  const std::string secret = R"({"userSig":"secret","rest":")";
  auto logger = JsonLineLogger::create({.file = folder.file("log.jsonl")});
  logger->log(named(secret + std::string(1'000'000, 'x') + "\"}"));
  logger.reset();
  const auto lines = objectsOf(linesOf(folder.file("log.jsonl")));
  ASSERT_EQ(lines.size(), 1U);
  const auto& text = lines[0].at("actionName").as_string();
  EXPECT_EQ(text.size(), JsonLineLogger::kMaxTextBytes);
  EXPECT_TRUE(text.starts_with(R"({"userSig":"***)"));
  EXPECT_TRUE(text.ends_with("x…"));
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

/// Hands lines on to another sink, throws where that does, and tells of each.
class WatchedSink final : public spdlog::sinks::sink {
 public:
  explicit WatchedSink(std::shared_ptr<spdlog::sinks::sink> target) : target_(std::move(target)) {}

  void log(const spdlog::details::log_msg& line) override {
    try {
      target_->log(line);
      written.add(true);
    } catch (...) {
      written.add(false);
      throw;
    }
  }
  void flush() override {}
  void set_pattern(const std::string&) override {}
  void set_formatter(std::unique_ptr<spdlog::formatter>) override {}

  Arrivals<bool> written;

 private:
  const std::shared_ptr<spdlog::sinks::sink> target_;
};

/// Keeps lines, and fails while it is told to.
class FailingSink final : public spdlog::sinks::sink {
 public:
  void log(const spdlog::details::log_msg& line) override {
    if (fails) throw std::runtime_error("no \x1b way");
    lines.emplace_back(line.payload.data(), line.payload.size());
  }
  void flush() override {}
  void set_pattern(const std::string&) override {}
  void set_formatter(std::unique_ptr<spdlog::formatter>) override {}

  std::atomic<bool> fails = false;
  std::vector<std::string> lines;  // once the logger is gone
};

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

TEST(JsonLineLogger, OneSessionsFloodLeavesTheLinesOfOthers) {
  const Folder folder;
  auto logger = JsonLineLogger::create(
      {.file = folder.file("log.jsonl"), .maxFileBytes = 100'000, .oldFiles = 1});
  auto quiet = logger->forSession("quiet");
  auto noisy = logger->forSession("noisy", {5000, 1});
  quiet->log(named("first"));
  for (int i = 0; i < 5000; ++i) noisy->log(named("chatter"));
  quiet->log(named("last"));
  noisy.reset();
  quiet.reset();
  logger.reset();
  std::vector<std::string> names;
  std::size_t chatter = 0;
  std::size_t heldBack = 0;
  for (const auto& line : objectsOf(linesOf(folder.file("log.jsonl")))) {
    if (line.at("actionName") == "heldBack") {
      EXPECT_EQ(line.at("session"), "noisy");
      EXPECT_EQ(line.at("module"), "JsonLineLogger");
      heldBack += line.at("heldBack").to_number<std::size_t>();
    } else if (line.at("session") == "noisy") {
      ++chatter;
    } else {
      names.emplace_back(line.at("actionName").as_string());
    }
  }
  EXPECT_EQ(names, (std::vector<std::string>{"first", "last"}));
  EXPECT_GT(chatter, 20U);
  EXPECT_EQ(chatter + heldBack, 5000U);
  EXPECT_FALSE(std::filesystem::exists(folder.file("log.1.jsonl")));
}

TEST(JsonLineLogger, SessionsAfterEachOtherLeaveTheLinesOfOthersToo) {
  const Folder folder;
  auto logger = JsonLineLogger::create({.file = folder.file("log.jsonl")});
  auto quiet = logger->forSession("quiet");
  quiet->log(named("first"));
  const std::string text(100'000, 'x');
  for (int i = 0; i < 250; ++i) {
    const auto fresh = logger->forSession("fresh");
    for (int line = 0; line < 3; ++line) fresh->log(named(text));
  }
  quiet->log(named("last"));
  quiet.reset();
  logger.reset();
  const auto lines = objectsOf(linesOf(folder.file("log.jsonl")));
  EXPECT_EQ(lines.front().at("actionName"), "first");
  EXPECT_EQ(lines.back().at("actionName"), "last");
  EXPECT_FALSE(std::filesystem::exists(folder.file("log.1.jsonl")));
}

TEST(JsonLineLogger, ASessionSaysWhatWasHeldBackOnceItMaySpeakAgain) {
  const auto sink = std::make_shared<FailingSink>();
  const auto watched = std::make_shared<WatchedSink>(sink);
  auto logger = std::make_unique<JsonLineLogger>(watched, JsonLineLoggerOptions{});
  auto session = logger->forSession("s", {1, 100});  // a line, then none for 20 ms
  std::size_t given = 0;
  while (watched->written.count() < 20) {
    session->log(named("line"));
    ++given;
  }
  session.reset();
  logger.reset();
  std::size_t total = 0;
  bool wentOn = false;
  for (const auto& line : objectsOf(sink->lines)) {
    const bool own = line.at("actionName") == "heldBack";
    wentOn = wentOn || (!own && total > 20);
    total += own ? line.at("heldBack").to_number<std::size_t>() : 1;
    EXPECT_EQ(line.at("session"), "s");
  }
  EXPECT_EQ(total, given) << "each line is written or counted";
  EXPECT_TRUE(wentOn) << "no line came after those that were held back";
}

TEST(JsonLineLogger, SessionsHaveConfigurationsOfTheirOwnAndMayOutliveTheLogger) {
  const Folder folder;
  auto logger = JsonLineLogger::create({.file = folder.file("log.jsonl")});
  const auto configure = [](VEMOLogger& which, std::uint32_t application) {
    which.updateLogConfig([&](DUNLoggerConfig& config) { config.sdkAppId = application; });
  };
  auto ada = logger->forSession("ada");
  auto ben = logger->forSession("ben\n\x7f");
  configure(*ada, 7);
  configure(*logger, 9);
  ada->log({});
  ben->log({});
  logger->log({});
  logger.reset();
  ada->log(named("late"));
  ada.reset();
  ben.reset();
  const auto lines = objectsOf(linesOf(folder.file("log.jsonl")));
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[0].at("sdkAppId"), 7);
  EXPECT_EQ(lines[0].at("session"), "ada");
  EXPECT_FALSE(lines[1].contains("sdkAppId"));
  EXPECT_EQ(lines[1].at("session"), "ben\n\x7f");
  EXPECT_EQ(lines[2].at("sdkAppId"), 9);
  EXPECT_FALSE(lines[2].contains("session"));
  EXPECT_EQ(lines[3].at("actionName"), "late");
}

TEST(JsonLineLogger, MasksSecretsAndLetsNoControlCharacterThrough) {
  const auto sink = std::make_shared<FailingSink>();
  auto logger = std::make_unique<JsonLineLogger>(sink, JsonLineLoggerOptions{});
  DUNLogParam record;
  record.actionParam = R"(webview(0x5581) : {"userId":"ada","userSig":"top-secret"})";
  logger->log(record);
  record.actionParam = "{\"userSig\":\"top-sec";  // a bad message is cut
  record.errorDesc = R"(can't use {"userSig":["top-secret"]})";
  logger->log(record);
  record.actionParam = "\x7f\x1b[2J\xC2\x9B\n";
  logger->log(record);
  logger.reset();
  ASSERT_EQ(sink->lines.size(), 3U);
  const auto lines = objectsOf(sink->lines);
  for (const auto& line : sink->lines) {
    EXPECT_EQ(line.find("top-sec"), std::string::npos) << line;
    for (const char c : line) EXPECT_TRUE(c >= 0x20 && c < 0x7F) << line;
  }
  const std::string param(lines[0].at("actionParam").as_string());
  EXPECT_TRUE(param.starts_with(R"(webview(0x5581) : {"userId":"ada","userSig":"***)")) << param;
  EXPECT_EQ(lines[1].at("actionParam"), R"({"userSig":"***)");
  EXPECT_EQ(lines[2].at("actionParam"), "\x7f\x1b[2J\xC2\x9B\n");
}

TEST(JsonLineLogger, MasksTheKeysThatItIsTold) {
  const auto sink = std::make_shared<FailingSink>();
  auto logger = std::make_unique<JsonLineLogger>(
      sink, JsonLineLoggerOptions{.maskedKeys = {"roomId", "userId"}});
  DUNLogParam record;
  record.actionParam = R"({"userId":"ada","userSig":"s","roomId":777})";
  logger->log(record);
  logger.reset();
  const std::string param(objectsOf(sink->lines)[0].at("actionParam").as_string());
  EXPECT_EQ(param.find("ada"), std::string::npos) << param;
  EXPECT_EQ(param.find("777"), std::string::npos) << param;
  EXPECT_NE(param.find(R"("userSig":"s")"), std::string::npos) << param;
}

}  // namespace
}  // namespace vemo
