#include "platform/JsonLineLogger.h"

#include <gtest/gtest.h>

#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <filesystem>
#include <fstream>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include "Folder.h"
#include "LoggedLines.h"
#include "platform/ForwardingPlatform.h"
#include "testing/contracts/VEMOLogger_contract.h"

namespace vemo {
namespace {

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
  // Whole: a stand-in may by chance hold what it stands for.
  const std::regex masked(R"(\{"userId":"\*{3}[0-9a-f]{8}","userSig":"s","roomId":1000[0-9]{6}\})");
  EXPECT_TRUE(std::regex_match(param, masked)) << param;
}

}  // namespace
}  // namespace vemo
