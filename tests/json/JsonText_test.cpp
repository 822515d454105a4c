#include "json/JsonText.h"

#include <gtest/gtest.h>

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <numbers>
#include <string>
#include <string_view>

namespace vemo {
namespace {

using namespace std::string_view_literals;

std::string quoted(std::string_view text) {
  std::string out;
  appendJsonString(out, text);
  return out;
}

std::string numberText(double number) { return jsonText(boost::json::value(number)); }

TEST(JsonText, WritesCompactTextInInsertionOrder) {
  boost::json::object object;
  object["z"] = 1;
  object["a"] = {true, false, nullptr, "x"};
  object["m"] = boost::json::object{{"k", boost::json::array{}}, {"e", boost::json::object{}}};
  EXPECT_EQ(jsonText(object), R"({"z":1,"a":[true,false,null,"x"],"m":{"k":[],"e":{}}})");
}

TEST(JsonText, WritesEmptyObjectAndArray) {
  EXPECT_EQ(jsonText(boost::json::object{}), "{}");
  EXPECT_EQ(jsonText(boost::json::array{}), "[]");
}

TEST(JsonText, AppendsToWhatIsThere) {
  std::string out = "f(";
  appendJsonText(out, boost::json::array{1, 2});
  EXPECT_EQ(out, "f([1,2]");
}

TEST(JsonText, EscapesWhatAStringMayNotHold) {
  EXPECT_EQ(quoted("\"\\\b\f\n\r\t"), R"("\"\\\b\f\n\r\t")");
  EXPECT_EQ(quoted("\x01\x1f"), R"("\u0001\u001f")");
  EXPECT_EQ(quoted("a\0b"sv), R"("a\u0000b")");
}

TEST(JsonText, LeavesSlashDeleteAndOtherAlphabetsAsTheyAre) {
  EXPECT_EQ(quoted("a/b\x7f"), "\"a/b\x7f\"");
  EXPECT_EQ(quoted("老师 é 😀"), "\"老师 é 😀\"");
}

TEST(JsonText, EscapesTheTwoLineSeparators) {
  EXPECT_EQ(quoted("a\u2028b\u2029c"), R"("a\u2028b\u2029c")");
  // NOLINTNEXTLINE(misc-misleading-bidirectional): the neighbours of the two are the point
  EXPECT_EQ(quoted("\u2027\u202A"), "\"\u2027\u202A\"");
}

TEST(JsonText, EscapesKeysToo) {
  EXPECT_EQ(jsonText(boost::json::object{{"a\"\n\u2028", 1}}), R"({"a\"\n\u2028":1})");
}

TEST(JsonText, ReplacesBytesThatAreNoUtf8) {
  EXPECT_EQ(quoted("a\x80z"), "\"a\uFFFDz\"");                            // a continuation alone
  EXPECT_EQ(quoted("\xC0\xAF"), "\"\uFFFD\uFFFD\"");                      // overlong
  EXPECT_EQ(quoted("\xE0\x80\x80"), "\"\uFFFD\uFFFD\uFFFD\"");            // overlong
  EXPECT_EQ(quoted("\xED\xA0\x80"), "\"\uFFFD\uFFFD\uFFFD\"");            // a surrogate
  EXPECT_EQ(quoted("\xF4\x90\x80\x80"), "\"\uFFFD\uFFFD\uFFFD\uFFFD\"");  // above U+10FFFF
  EXPECT_EQ(quoted("\xFF"), "\"\uFFFD\"");
}

TEST(JsonText, ReplacesATruncatedSequenceOnceAndKeepsWhatFollows) {
  EXPECT_EQ(quoted("\xE8\x80"), "\"\uFFFD\"");
  EXPECT_EQ(quoted("\xE8\x80\"x"), "\"\uFFFD\\\"x\"");
  EXPECT_EQ(quoted("\xF0\x9F\x98"), "\"\uFFFD\"");
  EXPECT_EQ(quoted("\xC3\n"), "\"\uFFFD\\n\"");
}

TEST(JsonText, KeepsTheFirstAndLastCharacterOfEachLength) {
  for (const auto* text :
       {"\u0080", "\u07FF", "\u0800", "\uD7FF", "\uE000", "\uFFFF", "\U00010000", "\U0010FFFF"}) {
    EXPECT_EQ(quoted(text), "\"" + std::string(text) + "\"");
  }
}

TEST(JsonText, WritesIntegersOfBothSigns) {
  EXPECT_EQ(jsonText(boost::json::value(std::numeric_limits<std::int64_t>::min())),
            "-9223372036854775808");
  EXPECT_EQ(jsonText(boost::json::value(std::numeric_limits<std::uint64_t>::max())),
            "18446744073709551615");
  EXPECT_EQ(jsonText(boost::json::value(0)), "0");
}

// The expected texts are what JSON.stringify gives in a page.
TEST(JsonText, WritesFloatingNumbersAsAPageDoes) {
  EXPECT_EQ(numberText(1.5), "1.5");
  EXPECT_EQ(numberText(100.0), "100");
  EXPECT_EQ(numberText(-0.1), "-0.1");
  EXPECT_EQ(numberText(4.35), "4.35");
  EXPECT_EQ(numberText(0.0), "0");
  EXPECT_EQ(numberText(-0.0), "0");
  EXPECT_EQ(numberText(-123456.789e3), "-123456789");
  EXPECT_EQ(numberText(0.000001), "0.000001");
  EXPECT_EQ(numberText(0.00000123), "0.00000123");
  EXPECT_EQ(numberText(1e-7), "1e-7");
  EXPECT_EQ(numberText(-1.5e-7), "-1.5e-7");
  EXPECT_EQ(numberText(1e20), "100000000000000000000");
  EXPECT_EQ(numberText(123456789012345680000.0), "123456789012345680000");
  EXPECT_EQ(numberText(18446744073709551616.0), "18446744073709552000");
  EXPECT_EQ(numberText(9007199254740993.0), "9007199254740992");
  EXPECT_EQ(numberText(1e21), "1e+21");
  EXPECT_EQ(numberText(1180591620717411303424.0), "1.1805916207174113e+21");
  EXPECT_EQ(numberText(std::numeric_limits<double>::max()), "1.7976931348623157e+308");
  EXPECT_EQ(numberText(std::numeric_limits<double>::denorm_min()), "5e-324");
}

TEST(JsonText, WritesNullForWhatIsNotFinite) {
  EXPECT_EQ(numberText(std::numeric_limits<double>::infinity()), "null");
  EXPECT_EQ(numberText(-std::numeric_limits<double>::infinity()), "null");
  EXPECT_EQ(numberText(std::nan("")), "null");
}

TEST(JsonText, ReadsBackAsTheSameValue) {
  const auto value = boost::json::parse(
      R"({"a":[1,-2,3.25,1e300,18446744073709551615],"b":{"c":"\u2028\"老\u0000"},"d":null})");
  EXPECT_EQ(boost::json::parse(jsonText(value)), value);
}

TEST(JsonText, ReadsBackEveryFloatingNumberExactly) {
  // A walk over the exponents with changing digits.
  double number = 1.2345678901234567e-300;
  int checked = 0;
  while (number < 1e300) {
    const auto text = numberText(number);
    EXPECT_EQ(std::strtod(text.c_str(), nullptr), number) << text;
    number *= std::numbers::sqrt3;
    ++checked;
  }
  EXPECT_GT(checked, 2000);
}

TEST(ValidUtf8, LeavesValidTextAlone) {
  EXPECT_EQ(validUtf8(""), "");
  EXPECT_EQ(validUtf8("a\"\n\u2028老😀"), "a\"\n\u2028老😀");
}

TEST(ValidUtf8, ReplacesWhatIsNotValid) {
  EXPECT_EQ(validUtf8("a\xFF\xE8\x80z"), "a\uFFFD\uFFFDz");
  EXPECT_EQ(validUtf8("\xE8"), "\uFFFD");
}

}  // namespace
}  // namespace vemo
