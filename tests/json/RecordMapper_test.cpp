#include "json/RecordMapper.h"

#include <gtest/gtest.h>

#include <boost/json/monotonic_resource.hpp>
#include <boost/json/parse.hpp>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vemo {
namespace {

struct Inner {
  std::int32_t number = 7;
  Text text;
};

/// One property of each kind.
struct Sample {
  std::int32_t i32 = 1;
  std::uint32_t u32 = 2;
  std::int64_t i64 = 3;
  std::uint64_t u64 = 4;
  float single = 0.5F;
  double floating = 1.5;
  bool flag = false;
  Text text;
  Inner inner;
  std::vector<Inner> list;
};

}  // namespace

template <>
struct Fields<Inner> {
  static constexpr std::string_view name = "Inner";
  static constexpr std::tuple table{Field{"number", &Inner::number}, Field{"text", &Inner::text}};
};
template <>
struct Fields<Sample> {
  static constexpr std::string_view name = "Sample";
  static constexpr std::tuple table{
      Field{"i32", &Sample::i32},       Field{"u32", &Sample::u32},
      Field{"i64", &Sample::i64},       Field{"u64", &Sample::u64},
      Field{"single", &Sample::single}, Field{"floating", &Sample::floating},
      Field{"flag", &Sample::flag},     Field{"text", &Sample::text},
      Field{"inner", &Sample::inner},   Field{"list", &Sample::list}};
};

namespace {

std::optional<Sample> sampleFrom(std::string_view json, MappingError* error = nullptr) {
  const auto value = boost::json::parse(json);
  return recordFrom<Sample>(&value.as_object(), error);
}

/// The record of {"<key>":<json>}.
std::optional<Sample> sampleWith(std::string_view key, std::string_view json) {
  return sampleFrom("{\"" + std::string(key) + "\":" + std::string(json) + "}");
}

/// The text of `sample`, which is that of its dictionary.
std::string textOf(const Sample& sample) {
  std::string text;
  appendRecordText(text, sample);
  EXPECT_EQ(text, jsonText(dictionaryFrom(sample)));
  return text;
}

/// What is wrong with `json`; fails when nothing is.
std::string errorOf(std::string_view json) {
  MappingError error;
  EXPECT_FALSE(sampleFrom(json, &error)) << json;
  return error.text();
}

TEST(RecordMapper, AnEmptyDictionaryGivesTheDefaults) {
  const auto sample = sampleFrom("{}");
  ASSERT_TRUE(sample);
  EXPECT_EQ(jsonText(dictionaryFrom(*sample)), jsonText(dictionaryFrom(Sample{})));
}

TEST(RecordMapper, AnAbsentDictionaryGivesNothing) {
  MappingError error;
  EXPECT_FALSE(recordFrom<Sample>(nullptr, &error));
  EXPECT_EQ(error.text(), "object expected");
}

TEST(RecordMapper, UnknownAndDifferentlyWrittenKeysAreIgnored) {
  const auto sample = sampleFrom(R"({"I32":5,"i32 ":6,"other":{"i32":7}})");
  ASSERT_TRUE(sample);
  EXPECT_EQ(sample->i32, 1);
}

TEST(RecordMapper, NullLeavesEachKindAsItIs) {
  const auto sample = sampleFrom(
      R"({"i32":null,"u32":null,"i64":null,"u64":null,"single":null,"floating":null,"flag":null,
          "text":null,"inner":null,"list":null})");
  ASSERT_TRUE(sample);
  EXPECT_EQ(jsonText(dictionaryFrom(*sample)), jsonText(dictionaryFrom(Sample{})));
}

TEST(RecordMapper, TheLastOfTwoEqualKeysWins) {
  EXPECT_EQ(sampleFrom(R"({"i32":5,"i32":6})")->i32, 6);
}

// Integer properties

TEST(RecordMapper, AnIntegerTakesNumbersAndBooleans) {
  EXPECT_EQ(sampleWith("i32", "-5")->i32, -5);
  EXPECT_EQ(sampleWith("i32", "true")->i32, 1);
  EXPECT_EQ(sampleWith("i32", "false")->i32, 0);
  EXPECT_EQ(sampleWith("i32", "2.9")->i32, 2);
  EXPECT_EQ(sampleWith("i32", "1e99")->i32, std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(sampleWith("i32", "4294967295")->i32, -1);
  EXPECT_EQ(sampleWith("u32", "-1")->u32, 4294967295U);
  EXPECT_EQ(sampleWith("u32", "-1.5")->u32, 0U);
  EXPECT_EQ(sampleWith("i64", "9223372036854775807")->i64,
            std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(sampleWith("u64", "18446744073709551615")->u64,
            std::numeric_limits<std::uint64_t>::max());
}

TEST(RecordMapper, AnIntegerTakesTextThatIsWhollyADecimalIntegerInRange) {
  EXPECT_EQ(sampleWith("i32", R"("12")")->i32, 12);
  EXPECT_EQ(sampleWith("i32", R"("+12")")->i32, 12);
  EXPECT_EQ(sampleWith("i32", R"("-12")")->i32, -12);
  EXPECT_EQ(sampleWith("i32", R"("007")")->i32, 7);
  EXPECT_EQ(sampleWith("i32", R"("-2147483648")")->i32, std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(sampleWith("u32", R"("4294967295")")->u32, 4294967295U);
  EXPECT_EQ(sampleWith("u32", R"("-0")")->u32, 0U);
  EXPECT_EQ(sampleWith("u64", R"("18446744073709551615")")->u64,
            std::numeric_limits<std::uint64_t>::max());
}

TEST(RecordMapper, AnIntegerTakesNothingElse) {
  for (const auto* json : {R"("")", R"(" 1")", R"("1 ")", R"("+")", R"("-")", R"("+-1")",
                           R"("-+1")", R"("--1")", R"("1.0")", R"("1e2")", R"("0x1")",
                           R"("1\u0000")", R"("true")", R"("2147483648")", "[]", "[1]", "{}"}) {
    EXPECT_FALSE(sampleWith("i32", json)) << json;
  }
  EXPECT_FALSE(sampleWith("u32", R"("-1")"));
  EXPECT_FALSE(sampleWith("u32", R"("-")"));
  EXPECT_FALSE(sampleWith("u32", R"("4294967296")"));
  EXPECT_FALSE(sampleWith("u64", R"("18446744073709551616")"));
}

// Floating properties

TEST(RecordMapper, AFloatingPropertyTakesNumbersAndBooleans) {
  EXPECT_EQ(sampleWith("floating", "2.25")->floating, 2.25);
  EXPECT_EQ(sampleWith("floating", "-3")->floating, -3.0);
  EXPECT_EQ(sampleWith("floating", "true")->floating, 1.0);
  EXPECT_EQ(sampleWith("floating", "false")->floating, 0.0);
  EXPECT_EQ(sampleWith("single", "0.1")->single, 0.1F);
}

TEST(RecordMapper, AFloatingPropertyTakesTextThatIsWhollyAJsonNumber) {
  EXPECT_EQ(sampleWith("floating", R"("2.5")")->floating, 2.5);
  EXPECT_EQ(sampleWith("floating", R"("+2.5")")->floating, 2.5);
  EXPECT_EQ(sampleWith("floating", R"("-2.5e-1")")->floating, -0.25);
  EXPECT_EQ(sampleWith("floating", R"("918642.1489559305")")->floating, 918642.1489559305);
  EXPECT_EQ(sampleWith("floating", R"("7")")->floating, 7.0);
  EXPECT_EQ(sampleWith("floating", R"("1E3")")->floating, 1000.0);
}

TEST(RecordMapper, AFloatingPropertyTakesNothingElse) {
  for (const auto* json :
       {R"("")",    R"("+")",    R"("-")",   R"("+-1")", R"("++1")",      R"("--1")",  R"(" 1")",
        R"("1 ")",  R"("- 1")",  R"("\n1")", R"("1,2")", R"("1 2")",      R"("01")",   R"(".5")",
        R"("1.")",  R"("1e")",   R"("inf")", R"("NaN")", R"("Infinity")", R"("true")", R"("null")",
        R"("[1]")", R"("0x10")", "[]",       "{}"}) {
    EXPECT_FALSE(sampleWith("floating", json)) << json;
  }
}

// Boolean properties

TEST(RecordMapper, ABooleanTakesBooleansNumbersAndFourTexts) {
  for (const auto* json :
       {"true", "1", "-1", "0.5", "18446744073709551615", R"("true")", R"("1")"}) {
    ASSERT_TRUE(sampleWith("flag", json)) << json;
    EXPECT_TRUE(sampleWith("flag", json)->flag) << json;
  }
  for (const auto* json : {"false", "0", "0.0", R"("false")", R"("0")"}) {
    const auto sample = sampleFrom(R"({"flag":)" + std::string(json) + "}");
    ASSERT_TRUE(sample) << json;
    EXPECT_FALSE(sample->flag) << json;
  }
}

TEST(RecordMapper, ABooleanTakesNothingElse) {
  for (const auto* json : {R"("")", R"("TRUE")", R"("yes")", R"("2")", R"("1 ")", "[]", "{}"}) {
    EXPECT_FALSE(sampleWith("flag", json)) << json;
  }
}

// Texts

TEST(RecordMapper, ATextTakesTexts) {
  EXPECT_EQ(sampleWith("text", R"("a\n\u0000老")")->text, Text(std::string("a\n\0老", 6)));
  EXPECT_EQ(sampleWith("text", R"("")")->text, Text(""));
}

TEST(RecordMapper, ATextTakesANumberAsItsJsonText) {
  EXPECT_EQ(sampleWith("text", "12")->text, Text("12"));
  EXPECT_EQ(sampleWith("text", "-1.50")->text, Text("-1.5"));
  EXPECT_EQ(sampleWith("text", "100.0")->text, Text("100"));
  EXPECT_EQ(sampleWith("text", "1e21")->text, Text("1e+21"));
  EXPECT_EQ(sampleWith("text", "18446744073709551615")->text, Text("18446744073709551615"));
}

TEST(RecordMapper, ATextTakesNothingElse) {
  for (const auto* json : {"true", "false", "[]", "{}", R"(["a"])"}) {
    EXPECT_FALSE(sampleWith("text", json)) << json;
  }
}

// Records and lists

TEST(RecordMapper, ARecordTakesAnObject) {
  const auto sample = sampleFrom(R"({"inner":{"number":"5","text":6,"other":[]}})");
  ASSERT_TRUE(sample);
  EXPECT_EQ(sample->inner.number, 5);
  EXPECT_EQ(sample->inner.text, Text("6"));
}

TEST(RecordMapper, ARecordTakesNothingElse) {
  for (const auto* json : {"1", "true", R"("{}")", "[]", "[{}]"}) {
    EXPECT_FALSE(sampleWith("inner", json)) << json;
  }
}

TEST(RecordMapper, AListTakesAnArrayOfObjects) {
  const auto sample = sampleFrom(R"({"list":[{"number":1},{},{"text":"x"}]})");
  ASSERT_TRUE(sample);
  ASSERT_EQ(sample->list.size(), 3U);
  EXPECT_EQ(sample->list[0].number, 1);
  EXPECT_EQ(sample->list[1].number, 7);
  EXPECT_EQ(sample->list[2].text, Text("x"));
  EXPECT_TRUE(sampleWith("list", "[]")->list.empty());
}

TEST(RecordMapper, AListTakesNothingElse) {
  for (const auto* json : {"{}", "1", R"("[]")", "true", "[1]", "[null]", "[[]]", R"([{},"x"])"}) {
    EXPECT_FALSE(sampleWith("list", json)) << json;
  }
}

// Errors

TEST(RecordMapper, AnErrorSaysWhereAndWhatWasExpected) {
  EXPECT_EQ(errorOf(R"({"i32":"x"})"), "/i32: integer expected");
  EXPECT_EQ(errorOf(R"({"u64":[]})"), "/u64: integer expected");
  EXPECT_EQ(errorOf(R"({"floating":"x"})"), "/floating: number expected");
  EXPECT_EQ(errorOf(R"({"flag":"x"})"), "/flag: boolean expected");
  EXPECT_EQ(errorOf(R"({"text":true})"), "/text: text expected");
  EXPECT_EQ(errorOf(R"({"inner":1})"), "/inner: object expected");
  EXPECT_EQ(errorOf(R"({"inner":{"number":{}}})"), "/inner/number: integer expected");
  EXPECT_EQ(errorOf(R"({"list":{}})"), "/list: array expected");
  EXPECT_EQ(errorOf(R"({"list":[{},3]})"), "/list/1: object expected");
  EXPECT_EQ(errorOf(R"({"list":[{},{},{"text":[]}]})"), "/list/2/text: text expected");
}

TEST(RecordMapper, TheFirstPropertyInTheTablesOrderIsTheOneNamed) {
  EXPECT_EQ(errorOf(R"({"text":false,"i32":{}})"), "/i32: integer expected");
}

TEST(RecordMapper, AnErrorIsOptionalAndUntouchedBySuccess) {
  EXPECT_FALSE(sampleFrom(R"({"i32":"x"})", nullptr));
  MappingError error{.path = "before", .expected = "nothing"};
  EXPECT_TRUE(sampleFrom("{}", &error));
  EXPECT_EQ(error.path, "before");
}

// Record to dictionary

TEST(RecordMapper, WritesEveryPropertyInTheTablesOrder) {
  Sample sample;
  sample.i32 = -1;
  sample.u32 = 4294967295U;
  sample.i64 = std::numeric_limits<std::int64_t>::min();
  sample.u64 = std::numeric_limits<std::uint64_t>::max();
  sample.single = 0.25F;
  sample.floating = 2.5;
  sample.flag = true;
  sample.text = "t";
  sample.inner.number = 9;
  sample.inner.text = "in";
  sample.list = {{.number = 1, .text = {}}, {.number = 2, .text = ""}};
  EXPECT_EQ(textOf(sample),
            R"({"i32":-1,"u32":4294967295,"i64":-9223372036854775808,"u64":18446744073709551615,)"
            R"("single":0.25,"floating":2.5,"flag":true,"text":"t",)"
            R"("inner":{"number":9,"text":"in"},"list":[{"number":1},{"number":2,"text":""}]})");
}

TEST(RecordMapper, LeavesOutAnAbsentTextAndWritesAnEmptyListAsSuch) {
  EXPECT_EQ(textOf(Sample{}),
            R"({"i32":1,"u32":2,"i64":3,"u64":4,"single":0.5,"floating":1.5,"flag":false,)"
            R"("inner":{"number":7},"list":[]})");
}

TEST(RecordMapper, WritesAListOfRecords) {
  const std::vector<Inner> list{{.number = 1, .text = "a"}, {}};
  EXPECT_EQ(jsonText(arrayFrom(list)), R"([{"number":1,"text":"a"},{"number":7}])");
  EXPECT_EQ(jsonText(arrayFrom(std::vector<Inner>{})), "[]");
}

TEST(RecordMapper, BuildsInTheStorageItIsGiven) {
  boost::json::monotonic_resource arena;
  const boost::json::storage_ptr storage(&arena);
  const auto object = dictionaryFrom(Sample{.text = "t", .inner = {}, .list = {Inner{}}}, storage);
  EXPECT_EQ(*object.storage(), *storage);
  EXPECT_EQ(*object.at("text").storage(), *storage);
  EXPECT_EQ(*object.at("inner").storage(), *storage);
  EXPECT_EQ(*object.at("list").as_array().at(0).storage(), *storage);
}

TEST(RecordMapper, TextThatIsNoJsonObjectGivesNoRecord) {
  for (const char* text : {"", " ", "[]", "1", "null", "{} {}", "{\"text\":", "{\"number\":{}}"}) {
    EXPECT_FALSE(recordFrom<Inner>(std::string_view(text))) << text;
  }
  const auto record = recordFrom<Inner>(std::string_view(R"( {"number":3,"text":"x"} )"));
  ASSERT_TRUE(record);
  EXPECT_EQ(record->number, 3);
  EXPECT_EQ(record->text, "x");
}

TEST(RecordMapper, NumberTooLargeForJsonIsNoText) {
  MappingError error;
  EXPECT_FALSE(recordFrom<Inner>(std::string_view(R"({"text":1e400})"), &error));
  EXPECT_EQ(error.text(), "/text: text expected");
}

TEST(RecordMapper, ReadsBackWhatItWrote) {
  Sample sample;
  sample.text = "\u2028\"";
  sample.inner.number = -1;
  sample.inner.text = "x";
  sample.list.resize(2);
  const auto written = dictionaryFrom(sample);
  const auto text = jsonText(written);
  const auto parsed = boost::json::parse(text);
  const auto back = recordFrom<Sample>(&parsed.as_object());
  ASSERT_TRUE(back);
  EXPECT_EQ(jsonText(dictionaryFrom(*back)), text);
}

}  // namespace
}  // namespace vemo
