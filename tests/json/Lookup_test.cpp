#include "json/Lookup.h"

#include <gtest/gtest.h>

#include <boost/json/parse.hpp>
#include <optional>
#include <string>
#include <string_view>

#include "bridge/Text.h"

namespace vemo {
namespace {

class Lookup : public testing::Test {
 protected:
  const boost::json::value json_ = boost::json::parse(
      R"({"int":3,"double":1.5,"bool":true,"text":"t\u0000t","empty":"","digits":"12",
          "null":null,"array":[1,2],"none":[],"object":{"int":1}})");
  const boost::json::object* dictionary_ = &json_.as_object();
};

TEST_F(Lookup, FindsNumbersAndBooleans) {
  EXPECT_EQ(vemo_safeNSNumberForKey(dictionary_, "int")->int32(), 3);
  EXPECT_EQ(vemo_safeNSNumberForKey(dictionary_, "double")->as<double>(), 1.5);
  EXPECT_EQ(vemo_safeNSNumberForKey(dictionary_, "bool")->int32(), 1);
}

TEST_F(Lookup, TakesNothingElseForANumber) {
  for (const auto* key :
       {"text", "empty", "digits", "null", "array", "none", "object", "missing", "INT", ""}) {
    EXPECT_FALSE(vemo_safeNSNumberForKey(dictionary_, key)) << key;
  }
}

TEST_F(Lookup, FindsTexts) {
  EXPECT_EQ(vemo_safeNSStringForKey(dictionary_, "text"), std::string_view("t\0t", 3));
  EXPECT_EQ(vemo_safeNSStringForKey(dictionary_, "empty"), std::string_view(""));
}

TEST_F(Lookup, TakesNothingElseForAText) {
  for (const auto* key : {"int", "double", "bool", "null", "array", "object", "missing", "Text"}) {
    EXPECT_FALSE(vemo_safeNSStringForKey(dictionary_, key)) << key;
  }
}

TEST_F(Lookup, FindsArrays) {
  ASSERT_NE(vemo_safeNSArrayForKey(dictionary_, "array"), nullptr);
  EXPECT_EQ(vemo_safeNSArrayForKey(dictionary_, "array")->size(), 2U);
  ASSERT_NE(vemo_safeNSArrayForKey(dictionary_, "none"), nullptr);
  EXPECT_TRUE(vemo_safeNSArrayForKey(dictionary_, "none")->empty());
}

TEST_F(Lookup, TakesNothingElseForAnArray) {
  for (const auto* key : {"int", "bool", "text", "null", "object", "missing"}) {
    EXPECT_EQ(vemo_safeNSArrayForKey(dictionary_, key), nullptr) << key;
  }
}

TEST_F(Lookup, FindsNothingInADictionaryThatIsAbsent) {
  EXPECT_FALSE(vemo_safeNSNumberForKey(nullptr, "int"));
  EXPECT_FALSE(vemo_safeNSStringForKey(nullptr, "text"));
  EXPECT_EQ(vemo_safeNSArrayForKey(nullptr, "array"), nullptr);
}

TEST(SafeSetter, SetsAndReplaces) {
  boost::json::object dictionary;
  vemo_setSafeObject(dictionary, Text("a"), "key");
  EXPECT_EQ(dictionary.at("key"), "a");
  vemo_setSafeObject(dictionary, Text(""), "key");
  EXPECT_EQ(dictionary.at("key"), "");
  vemo_setSafeObject(dictionary, std::optional<int>(0), "number");
  EXPECT_EQ(dictionary.at("number"), 0);
}

TEST(SafeSetter, LeavesTheDictionaryAloneForAnAbsentValue) {
  boost::json::object dictionary{{"key", 1}};
  vemo_setSafeObject(dictionary, Text(), "key");
  vemo_setSafeObject(dictionary, Text(), "other");
  EXPECT_EQ(dictionary, (boost::json::object{{"key", 1}}));
}

}  // namespace
}  // namespace vemo
