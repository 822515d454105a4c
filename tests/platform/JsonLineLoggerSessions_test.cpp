#include <gtest/gtest.h>

#include <boost/json/object.hpp>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Folder.h"
#include "LoggedLines.h"
#include "platform/JsonLineLogger.h"

// The logger as several sessions share it.

namespace vemo {
namespace {

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

}  // namespace
}  // namespace vemo
