#pragma once

#include <gtest/gtest.h>

#include <boost/json/object.hpp>
#include <cstddef>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "bridge/VEMOLogger.h"

namespace vemo {

/// What every VEMOLogger promises. A Maker has:
///   VEMOLogger& logger();
///   std::vector<boost::json::object> records();  what was logged, in order: the fields
///       that were set, by name, perhaps among others. May end the logger.
template <class Maker>
class VEMOLoggerContract : public ::testing::Test {
 protected:
  VEMOLogger& logger() { return maker_.logger(); }

  Maker maker_;
};

TYPED_TEST_SUITE_P(VEMOLoggerContract);

TYPED_TEST_P(VEMOLoggerContract, TakesEveryFieldThatIsSet) {
  DUNLogParam record;
  record.needReport = true;
  record.level = DUNLogParam::kFailure;
  record.module = "Module";
  record.actionName = "actFailed";
  record.actionParam = R"({"a":"\"é"})";
  record.errorCode = -1314;
  record.errorDesc = "no";
  record.fileName = "a.cpp";
  record.funcName = "-[Module act:]";
  record.line = 12;
  this->logger().log(record);
  const auto records = this->maker_.records();
  ASSERT_EQ(records.size(), 1U);
  const auto& written = records[0];
  EXPECT_EQ(written.at("needReport"), true);
  EXPECT_EQ(written.at("level"), 4);
  EXPECT_EQ(written.at("module"), "Module");
  EXPECT_EQ(written.at("actionName"), "actFailed");
  EXPECT_EQ(written.at("actionParam"), R"({"a":"\"é"})");
  EXPECT_EQ(written.at("errorCode"), -1314);
  EXPECT_EQ(written.at("errorDesc"), "no");
  EXPECT_EQ(written.at("fileName"), "a.cpp");
  EXPECT_EQ(written.at("funcName"), "-[Module act:]");
  EXPECT_EQ(written.at("line"), 12);
}

TYPED_TEST_P(VEMOLoggerContract, LeavesOutWhatIsNotSet) {
  this->logger().log({});
  DUNLogParam empty;
  empty.needReport = false;
  empty.errorCode = 0;
  empty.errorDesc = "";
  this->logger().log(empty);
  const auto records = this->maker_.records();
  ASSERT_EQ(records.size(), 2U);
  for (const auto* name : {"needReport", "level", "module", "actionName", "actionParam",
                           "errorCode", "errorDesc", "fileName", "funcName", "line"}) {
    EXPECT_FALSE(records[0].contains(name)) << name;
  }
  EXPECT_EQ(records[1].at("needReport"), false);
  EXPECT_EQ(records[1].at("errorCode"), 0);
  EXPECT_EQ(records[1].at("errorDesc"), "");
}

TYPED_TEST_P(VEMOLoggerContract, KeepsNoViewOfTheCallersTexts) {
  std::string text = "as it was when logged";
  DUNLogParam record;
  record.actionParam = text;
  this->logger().log(record);
  text.assign(text.size(), '#');
  const auto records = this->maker_.records();
  ASSERT_EQ(records.size(), 1U);
  EXPECT_EQ(records[0].at("actionParam"), "as it was when logged");
}

TYPED_TEST_P(VEMOLoggerContract, TakesLongAndBrokenTexts) {
  const std::string longText(100'000, 'x');
  DUNLogParam record;
  record.actionParam = longText;
  this->logger().log(record);
  record.actionParam = "broken \xC3( \xFF, lines\r\n, \x01";
  this->logger().log(record);
  record.actionParam = "after";
  this->logger().log(record);
  const auto records = this->maker_.records();
  ASSERT_EQ(records.size(), 3U);
  EXPECT_EQ(records[0].at("actionParam").as_string(), longText);
  EXPECT_TRUE(records[1].contains("actionParam"));
  EXPECT_EQ(records[2].at("actionParam"), "after");
}

TYPED_TEST_P(VEMOLoggerContract, LosesNothingOfSeveralThreads) {
  constexpr int kThreads = 4;
  constexpr int kRecords = 100;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kRecords; ++i) {
        const auto name = std::to_string(t) + "/" + std::to_string(i);
        DUNLogParam record;
        record.actionName = name;
        this->logger().log(record);
        if (i % 10 == 0) {
          this->logger().updateLogConfig([&](DUNLoggerConfig& config) { config.sdkAppId = 7; });
        }
      }
    });
  }
  for (auto& thread : threads) thread.join();
  std::set<std::string> names;
  for (const auto& record : this->maker_.records()) {
    names.insert(std::string(record.at("actionName").as_string()));
  }
  EXPECT_EQ(names.size(), static_cast<std::size_t>(kThreads * kRecords));
}

TYPED_TEST_P(VEMOLoggerContract, UpdatesItsConfigurationInTheCall) {
  int calls = 0;
  this->logger().updateLogConfig([&](DUNLoggerConfig& config) {
    ++calls;
    EXPECT_EQ(config.sdkAppId, 0U);
    config.sdkAppId = 7;
  });
  EXPECT_EQ(calls, 1);
  this->logger().updateLogConfig([&](DUNLoggerConfig& config) {
    ++calls;
    EXPECT_EQ(config.sdkAppId, 7U) << "the former update was lost";
  });
  EXPECT_EQ(calls, 2);
}

REGISTER_TYPED_TEST_SUITE_P(VEMOLoggerContract, TakesEveryFieldThatIsSet, LeavesOutWhatIsNotSet,
                            KeepsNoViewOfTheCallersTexts, TakesLongAndBrokenTexts,
                            LosesNothingOfSeveralThreads, UpdatesItsConfigurationInTheCall);

}  // namespace vemo
