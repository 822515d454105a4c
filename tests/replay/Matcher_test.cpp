#include "replay/Matcher.h"

#include <gtest/gtest.h>

#include <boost/json/parse.hpp>
#include <limits>
#include <string_view>

namespace vemo::replay {
namespace {

bool matches(std::string_view expected, std::string_view actual) {
  const auto value = json::parse(actual);
  return !difference(json::parse(expected), &value);
}

std::string differenceText(std::string_view expected, std::string_view actual) {
  const auto value = json::parse(actual);
  const auto found = difference(json::parse(expected), &value);
  return found ? found->text() : "";
}

std::vector<json::object> effects(std::string_view text) {
  std::vector<json::object> list;
  const auto all = json::parse(text);
  for (const auto& value : all.as_array()) list.push_back(value.as_object());
  return list;
}

std::string mismatchText(std::string_view expected, bool partial, std::string_view actual) {
  return mismatch(json::parse(expected).as_array(), partial, effects(actual)).value_or("");
}

TEST(Matcher, AnObjectNeedsTheExpectedKeysOnly) {
  EXPECT_TRUE(matches(R"({"a":1})", R"({"b":2,"a":1})"));
  EXPECT_TRUE(matches("{}", R"({"a":1})"));
  EXPECT_FALSE(matches(R"({"a":1})", R"({"a":2})"));
  EXPECT_FALSE(matches(R"({"a":1})", R"({"b":1})"));
}

TEST(Matcher, NestedObjectsMatchInTheSameWay) {
  EXPECT_TRUE(matches(R"({"a":{"b":{"c":1}}})", R"({"a":{"b":{"c":1,"d":2},"e":3}})"));
  EXPECT_FALSE(matches(R"({"a":{"b":{"c":1}}})", R"({"a":{"b":{"d":2}}})"));
  EXPECT_TRUE(matches(R"({"a":[{"b":1}]})", R"({"a":[{"b":1,"c":2}]})"));
}

TEST(Matcher, AStarMatchesAnythingThatIsThere) {
  EXPECT_TRUE(matches(R"({"a":"*"})", R"({"a":{"b":[]}})"));
  EXPECT_TRUE(matches(R"({"a":"*"})", R"({"a":null})"));
  EXPECT_TRUE(matches(R"(["*"])", "[7]"));
  EXPECT_FALSE(matches(R"({"a":"*"})", "{}"));
  EXPECT_FALSE(matches(R"(["*"])", "[]"));
  EXPECT_FALSE(matches(R"({"a":"**"})", R"({"a":"b"})"));
}

TEST(Matcher, NullMatchesNullAndWhatIsMissing) {
  EXPECT_TRUE(matches(R"({"a":null})", R"({"a":null})"));
  EXPECT_TRUE(matches(R"({"a":null})", "{}"));
  EXPECT_FALSE(matches(R"({"a":null})", R"({"a":false})"));
  EXPECT_FALSE(matches(R"({"a":null})", R"({"a":""})"));
}

TEST(Matcher, WhatIsNotFiniteIsNullAsInTheTranscript) {
  const json::value infinity(std::numeric_limits<double>::infinity());
  EXPECT_FALSE(difference(nullptr, &infinity));
  EXPECT_TRUE(difference(0, &infinity));
}

TEST(Matcher, ArraysMatchElementByElement) {
  EXPECT_TRUE(matches("[1,2]", "[1,2]"));
  EXPECT_FALSE(matches("[1,2]", "[2,1]"));
  EXPECT_FALSE(matches("[1]", "[1,2]"));
  EXPECT_FALSE(matches("[1,2]", "[1]"));
}

TEST(Matcher, NumbersMatchByValue) {
  EXPECT_TRUE(matches("0", "0.0"));
  EXPECT_TRUE(matches("1e2", "100"));
  EXPECT_TRUE(matches("9007199254740993", "9007199254740993"));
  EXPECT_FALSE(matches("9007199254740993", "9007199254740992"));
  EXPECT_TRUE(matches("18446744073709551615", "18446744073709551615"));
  EXPECT_FALSE(matches("-1", "18446744073709551615"));
  EXPECT_FALSE(matches("1", "1.5"));
  EXPECT_TRUE(matches("1e19", "10000000000000000000"));
  EXPECT_TRUE(matches("-5.0", "-5"));
  // What the transcript writes for 2^63 as a floating number reads back as an integer.
  EXPECT_TRUE(matches("9223372036854776000", "9223372036854775808.0"));
  EXPECT_FALSE(matches("9223372036854779000", "9223372036854775808.0"));
  EXPECT_FALSE(matches("1e300", "0"));
}

TEST(Matcher, KindsAreNotMixed) {
  EXPECT_FALSE(matches("1", "true"));
  EXPECT_FALSE(matches("\"1\"", "1"));
  EXPECT_FALSE(matches("{}", "[]"));
  EXPECT_FALSE(matches("[]", "\"\""));
  EXPECT_TRUE(matches("true", "true"));
  EXPECT_FALSE(matches("\"a\"", "\"A\""));
}

TEST(Matcher, ADifferenceSaysWhere) {
  EXPECT_EQ(differenceText(R"({"record":{"level":4}})", R"({"record":{"level":2}})"),
            "/record/level: expected 4, got 2");
  EXPECT_EQ(differenceText(R"({"args":[1,{"a":2}]})", R"({"args":[1,{}]})"),
            "/args/1/a: expected 2, got nothing");
  EXPECT_EQ(differenceText("1", "2"), "/: expected 1, got 2");
}

TEST(Matcher, AllEffectsMatchInOrder) {
  constexpr std::string_view actual = R"([{"effect":"a"},{"effect":"b"}])";
  EXPECT_EQ(mismatchText(R"([{"effect":"a"},{"effect":"b"}])", false, actual), "");
  EXPECT_NE(mismatchText(R"([{"effect":"b"},{"effect":"a"}])", false, actual), "");
  EXPECT_EQ(mismatchText("[]", false, "[]"), "");
}

TEST(Matcher, WhatIsMissingOrTooMuchIsNamed) {
  constexpr std::string_view three =
      R"([{"effect":"post","name":"x"},{"effect":"reply","action":"initSDK"},{"effect":"alert"}])";
  constexpr std::string_view two = R"([{"effect":"post","name":"x"},{"effect":"alert"}])";
  EXPECT_EQ(mismatchText(three, false, two),
            "reply to initSDK did not come; expected 3 effects, got 2\n"
            "    {\"effect\":\"reply\",\"action\":\"initSDK\"}");
  EXPECT_EQ(mismatchText(two, false, three),
            "reply to initSDK came, and was not expected; expected 2 effects, got 3\n"
            "    {\"effect\":\"reply\",\"action\":\"initSDK\"}");
  EXPECT_EQ(
      mismatchText(R"([{"effect":"post","name":"x"}])", false, three),
      "reply to initSDK came, and was not expected, nor was what follows; expected 1 effects, "
      "got 3\n    {\"effect\":\"reply\",\"action\":\"initSDK\"}\n    "
      "{\"effect\":\"alert\"}");
  EXPECT_EQ(mismatchText(three, false, R"([{"effect":"post","name":"x"}])"),
            "reply to initSDK did not come, nor did what follows; expected 3 effects, got 1\n"
            "    {\"effect\":\"reply\",\"action\":\"initSDK\"}");
  EXPECT_EQ(mismatchText(three, true, two).substr(0, 43),
            "reply to initSDK did not come in its place\n");
}

TEST(Matcher, ADifferenceIsASentence) {
  struct Case {
    std::string_view expected;
    std::string_view actual;
    std::string_view sentence;
  };
  for (
      const auto& [expected, actual, sentence] : {
          Case{R"({"effect":"reply","action":"enterRoom","error":{"errcode":0}})",
               R"({"effect":"reply","action":"enterRoom","error":{"errcode":-1}})",
               "reply to enterRoom has code -1, was 0 (effect 1, /error/errcode)"},
          Case{R"({"effect":"reply","action":"a","error":{"errmsg":"x"}})",
               R"({"effect":"reply","action":"a","error":{}})",
               "reply to a has no message, was \"x\" (effect 1, /error/errmsg)"},
          Case{R"({"effect":"reply","action":"a","retval":{"volume":5}})",
               R"({"effect":"reply","action":"a","retval":{"volume":6}})",
               "reply to a has retval.volume 6, was 5 (effect 1, /retval/volume)"},
          Case{
              R"({"effect":"script","function":"f","argument":{"head":{"action":"onExitRoom"},"retval":{"reason":1}}})",
              R"({"effect":"script","function":"f","argument":{"head":{"action":"onExitRoom"},"retval":{"reason":2}}})",
              "script of onExitRoom has reason 2, was 1 (effect 1, /argument/retval/reason)"},
          Case{R"({"effect":"script","function":"f"})", R"({"effect":"script","function":"g"})",
               "script g has function \"g\", was \"f\" (effect 1, /function)"},
          Case{R"({"effect":"engine","call":"setAudioRoute","args":[1]})",
               R"({"effect":"engine","call":"setAudioRoute","args":[0]})",
               "call of setAudioRoute has argument 1 0, was 1 (effect 1, /args/0)"},
          Case{R"({"effect":"engine","call":"enterRoom","args":[{"roomId":1}]})",
               R"({"effect":"engine","call":"enterRoom","args":[{"roomId":2}]})",
               "call of enterRoom has argument 1.roomId 2, was 1 (effect 1, /args/0/roomId)"},
          Case{R"({"effect":"engine","call":"a"})", R"({"effect":"engine","call":"b"})",
               "call of b came, was call of a (effect 1, /call)"},
          Case{R"({"effect":"log","record":{"actionName":"onError","level":4}})",
               R"({"effect":"log","record":{"actionName":"onError","level":2}})",
               "record of onError has level 2, was 4 (effect 1, /record/level)"},
          Case{R"({"effect":"listener","name":"l","op":"onVEMOExitRoom","args":[1]})",
               R"({"effect":"listener","name":"l","op":"onVEMOExitRoom","args":[1,2]})",
               "call of onVEMOExitRoom at l has argument 2 2, had none (effect 1, /args/1)"},
          Case{R"({"effect":"completion","of":"zebExitRoom","args":[1,0]})",
               R"({"effect":"completion","of":"zebExitRoom","args":[1,5]})",
               "completion of zebExitRoom has argument 2 5, was 0 (effect 1, /args/1)"},
          Case{R"({"effect":"alert","title":"a"})", R"({"effect":"alert","title":"b"})",
               "alert has title \"b\", was \"a\" (effect 1, /title)"},
          Case{R"({"effect":"requestAccess","media":"video"})",
               R"({"effect":"requestAccess","media":"audio"})",
               "requestAccess has media \"audio\", was \"video\" (effect 1, /media)"},
      }) {
    const auto text =
        mismatchText("[" + std::string(expected) + "]", false, "[" + std::string(actual) + "]");
    EXPECT_EQ(text.substr(0, text.find('\n')), sentence);
  }
}

TEST(Matcher, ADifferentEffectNamesTheNearestOne) {
  constexpr std::string_view actual =
      R"([{"effect":"log","record":{"level":2,"line":7}},{"effect":"post","name":"a"},)"
      R"({"effect":"log","record":{"level":4,"line":9}}])";
  EXPECT_TRUE(mismatchText(R"([{"effect":"post","name":"b"}])", false, actual)
                  .starts_with("notification b is not effect 1; nearest: notification a has name "
                               "\"a\", was \"b\" (effect 2, /name)\n"));
  EXPECT_TRUE(mismatchText(R"([{"effect":"log","record":{"level":3,"line":7}}])", false, actual)
                  .starts_with("record has level 2, was 3 (effect 1, /record/level)\n"));
  const auto partial =
      mismatchText(R"([{"effect":"log","record":{"level":4,"line":8}}])", true, actual);
  EXPECT_NE(partial.find("\n  nearest: record has line 9, was 8 (effect 3, /record/line)\n"),
            std::string::npos)
      << partial;
}

TEST(Matcher, AnEffectOutOfItsPlaceIsNamed) {
  constexpr std::string_view actual = R"([{"effect":"a"},{"effect":"b"}])";
  EXPECT_TRUE(mismatchText(R"([{"effect":"b"},{"effect":"a"}])", false, actual)
                  .starts_with("b is not effect 1; nearest: effect 2 matches, but is not in its "
                               "place\n"));
  EXPECT_NE(mismatchText(R"([{"effect":"b"},{"effect":"a"}])", true, actual)
                .find("nearest: effect 1 matches, but is not in its place"),
            std::string::npos);
}

TEST(Matcher, APartialExpectationIsASubsequence) {
  constexpr std::string_view actual = R"([{"effect":"a"},{"effect":"b"},{"effect":"c"}])";
  EXPECT_EQ(mismatchText(R"([{"effect":"a"},{"effect":"c"}])", true, actual), "");
  EXPECT_EQ(mismatchText("[]", true, actual), "");
  EXPECT_NE(mismatchText(R"([{"effect":"c"},{"effect":"a"}])", true, actual), "");
  EXPECT_NE(mismatchText(R"([{"effect":"a"},{"effect":"a"}])", true, actual), "");
}

}  // namespace
}  // namespace vemo::replay
