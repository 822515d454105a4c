#include "simulator/PhoneSettings.h"

#include <gtest/gtest.h>

#include <boost/json/parse.hpp>

namespace vemo::test {
namespace {

std::string applied(std::string_view changes, PhoneSettings& settings) {
  return apply(boost::json::parse({changes.data(), changes.size()}).as_object(), settings);
}

TEST(PhoneSettings, AreWrittenAsTheyAreRead) {
  PhoneSettings settings;
  const std::string_view changes =
      R"({"os":"11.4.0","camera":"denied","microphone":"restricted",)"
      R"("bundle":{"CFBundleName":"Lesson"},"canOpenSettings":false,"appGroup":"group"})";
  EXPECT_EQ(applied(changes, settings), "");
  EXPECT_EQ(jsonOf(settings), boost::json::parse({changes.data(), changes.size()}).as_object());
}

TEST(PhoneSettings, OneBadKeyChangesNothing) {
  for (const auto* changes :
       {R"({"camera":"denied","nose":true})", R"({"camera":"denied","os":"1.2.3.4"})",
        R"({"camera":"denied","os":""})", R"({"camera":"denied","os":"1."})",
        R"({"camera":"denied","os":"-1"})", R"({"camera":"denied","microphone":3})",
        R"({"camera":"denied","microphone":"yes"})", R"({"camera":"denied","bundle":{"a":1}})",
        R"({"camera":"denied","bundle":[]})", R"({"camera":"denied","canOpenSettings":1})",
        R"({"camera":"denied","appGroup":null})"}) {
    PhoneSettings settings;
    EXPECT_NE(applied(changes, settings), "") << changes;
    EXPECT_EQ(settings.camera, AuthorizationStatus::notDetermined) << changes;
  }
}

TEST(PhoneSettings, TextsOfTheBundleChangeOneByOne) {
  PhoneSettings settings;
  EXPECT_EQ(applied(R"({"bundle":{"a":"1","b":"2","c":""}})", settings), "");
  EXPECT_EQ(applied(R"({"texts":{"b":"3","d":"4"}})", settings), "");
  EXPECT_EQ(applied(R"({"texts":{"a":null,"none":null}})", settings), "");
  EXPECT_EQ(jsonOf(settings).at("bundle"), boost::json::parse(R"({"b":"3","c":"","d":"4"})"));
  EXPECT_EQ(applied(R"({"texts":{"b":5}})", settings), "the phone has no such setting: texts");
  EXPECT_EQ(applied(R"({"texts":"b"})", settings), "the phone has no such setting: texts");
  EXPECT_EQ(settings.bundle.at("b"), "3");
}

TEST(PhoneSettings, TextsAreOnlySoLong) {
  const std::string text(1024, 'x');
  PhoneSettings settings;
  EXPECT_EQ(applied(R"({"appGroup":")" + text + R"("})", settings), "");
  EXPECT_EQ(applied(R"({"appGroup":"x)" + text + R"("})", settings),
            "the phone has no such setting: appGroup");
  EXPECT_EQ(settings.appGroup, text);

  boost::json::object bundle;
  for (int i = 0; i < 63; ++i) bundle[std::to_string(i)] = text;
  EXPECT_EQ(apply({{"bundle", bundle}}, settings), "");
  EXPECT_EQ(settings.bundle.size(), 63U);
  for (int i = 63; i < 100; ++i) bundle[std::to_string(i)] = text;
  EXPECT_EQ(apply({{"bundle", bundle}}, settings), "the phone has no such setting: bundle");
  EXPECT_EQ(settings.bundle.size(), 63U);
  for (int i = 63; i < 100; ++i) apply({{"texts", {{std::to_string(i), text}}}}, settings);
  EXPECT_EQ(settings.bundle.size(), 63U) << "nor is it longer one by one";
  EXPECT_LT(apply({{std::string(100'000, 'x'), 1}}, settings).size(), 200U);
}

TEST(PhoneSettings, VersionsCompareByTheirParts) {
  EXPECT_TRUE(isAtLeast("13.0.0", 13, 0, 0));
  EXPECT_TRUE(isAtLeast("13", 12, 9, 9));
  EXPECT_TRUE(isAtLeast("11.4", 11, 4, 0));
  EXPECT_FALSE(isAtLeast("11.4", 11, 4, 1));
  EXPECT_FALSE(isAtLeast("9.9.9", 10, 0, 0));
}

}  // namespace
}  // namespace vemo::test
