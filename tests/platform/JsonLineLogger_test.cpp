#include "platform/JsonLineLogger.h"

#include <gtest/gtest.h>
#include <spdlog/details/log_msg.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/sink.h>

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
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "testing/contracts/VEMOLogger_contract.h"

namespace vemo {
namespace {

/// A folder of the test's own, deleted at its end.
class Folder {
 public:
  Folder() {
    std::string name = (std::filesystem::temp_directory_path() / "vemo-XXXXXX").string();
    path_ = ::mkdtemp(name.data());
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string file(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

std::vector<std::string> linesOf(const std::string& file) {
  std::ifstream in(file);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

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
  auto logger = std::make_unique<JsonLineLogger>(sink, 4);
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

TEST(JsonLineLogger, CallersNeverWaitForAStuckDisk) {
  const auto sink = std::make_shared<StuckSink>();
  auto logger = std::make_unique<JsonLineLogger>(sink, 16);
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

}  // namespace
}  // namespace vemo
