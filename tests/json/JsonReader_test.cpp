#include "json/JsonReader.h"

#include <gtest/gtest.h>

#include <boost/json/parse.hpp>
#include <boost/json/static_resource.hpp>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>

#include "json/JsonText.h"

namespace vemo {
namespace {

boost::json::value read(std::string_view text, std::size_t maxDepth = 32) {
  JsonProblem problem;
  auto value = readJson(text, maxDepth, problem);
  EXPECT_FALSE(problem.code) << text << ": " << problem.code.message();
  return value;
}

JsonProblem problemOf(std::string_view text, std::size_t maxDepth = 32) {
  JsonProblem problem;
  EXPECT_TRUE(readJson(text, maxDepth, problem).is_null()) << text;
  return problem;
}

TEST(JsonReader, ReadsWhatTheLibraryReads) {
  const std::string longText(10'000, 'x');
  for (const auto& text :
       {std::string("null"), std::string(" [ ] "), std::string(R"({"a":{},"b":[true,false,null]})"),
        std::string(R"([0,-1,9223372036854775807,18446744073709551615,-9223372036854775808])"),
        std::string(R"({"a":"A\u00e9\ud83d\ude00\n\"/","A":1,"a":2})"),
        std::string(R"([1.5,-0.25,1e3,100.0])"),
        std::string(R"({")").append(longText).append(R"(":")").append(longText).append(R"("})")}) {
    EXPECT_EQ(read(text), boost::json::parse(text)) << text.substr(0, 60);
  }
}

TEST(JsonReader, FloatingNumbersAreTheNearest) {
  // The library takes the neighbour of the first three.
  for (const auto* text : {"918642.1489559305", "-399842.23907447932", "123456789012345678901",
                           "0.30000000000000004", "1e23", "2.2250738585072014e-308", "5e-324",
                           "1.7976931348623157e308", "9007199254740993.0", "0.1"}) {
    EXPECT_EQ(read(text).as_double(), std::strtod(text, nullptr)) << text;
  }
}

TEST(JsonReader, AnyNumberWrittenAndReadIsItself) {
  std::mt19937_64 random(7);
  std::uniform_real_distribution<double> numbers(-1e6, 1e6);
  for (int i = 0; i < 20'000; ++i) {
    const boost::json::value number(numbers(random));
    const auto text = jsonText(number);
    ASSERT_EQ(read(text).to_number<double>(), number.get_double()) << text;
  }
}

TEST(JsonReader, NumbersBeyondTheRangeAreInfiniteOrZero) {
  EXPECT_EQ(read("1e400").as_double(), std::numeric_limits<double>::infinity());
  EXPECT_EQ(read("-1e400").as_double(), -std::numeric_limits<double>::infinity());
  EXPECT_EQ(read("1e-400").as_double(), 0.0);
}

TEST(JsonReader, SaysWhatIsWrongAndWhere) {
  EXPECT_EQ(problemOf("").code, boost::json::error::incomplete);
  EXPECT_EQ(problemOf(R"({"a":)").code, boost::json::error::incomplete);
  const auto syntax = problemOf(R"({"a":})");
  EXPECT_EQ(syntax.code, boost::json::error::syntax);
  EXPECT_EQ(syntax.at, 5U);
  const auto extra = problemOf("[] x");
  EXPECT_EQ(extra.code, boost::json::error::extra_data);
  EXPECT_EQ(extra.at, 3U);
}

TEST(JsonReader, GoesAsDeepAsItMay) {
  EXPECT_TRUE(read("[[[]]]", 3).is_array());
  EXPECT_EQ(problemOf("[[[]]]", 2).code, boost::json::error::too_deep);
}

TEST(JsonReader, TakesItsMemoryFromTheStorage) {
  alignas(8) std::array<unsigned char, 1024> memory;
  boost::json::static_resource resource(memory.data(), memory.size());
  JsonProblem problem;
  const auto value = readJson(R"({"a":["b"]})", 32, problem, &resource);
  EXPECT_EQ(value.storage().get(), &resource);
  EXPECT_EQ(value.at("a").storage().get(), &resource);
}

}  // namespace
}  // namespace vemo
