#include "json/Number.h"

#include <gtest/gtest.h>

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <cstdint>
#include <limits>
#include <string_view>

namespace vemo {
namespace {

/// The number that a page message holds as `json`.
Number number(std::string_view json) { return Number::from(boost::json::parse(json)).value(); }

TEST(Number, IsANumberOrABoolean) {
  for (const auto* json : {"0", "-1", "1.5", "18446744073709551615", "true", "false"}) {
    EXPECT_TRUE(Number::from(boost::json::parse(json))) << json;
  }
  for (const auto* json : {"null", "\"1\"", "\"\"", "[]", "[1]", "{}"}) {
    EXPECT_FALSE(Number::from(boost::json::parse(json))) << json;
  }
}

TEST(Number, BooleansCountAsZeroAndOne) {
  EXPECT_EQ(number("true").int32(), 1);
  EXPECT_EQ(number("false").int32(), 0);
  EXPECT_EQ(number("true").as<std::uint64_t>(), 1U);
  EXPECT_EQ(number("true").as<float>(), 1.0F);
  EXPECT_EQ(number("false").as<double>(), 0.0);
}

TEST(Number, IntegersNarrowByDroppingTheHighBits) {
  EXPECT_EQ(number("4294967295").int32(), -1);
  EXPECT_EQ(number("4294967296").int32(), 0);
  EXPECT_EQ(number("2147483648").int32(), std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(number("-2147483649").int32(), std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(number("-1").as<std::uint32_t>(), 4294967295U);
  EXPECT_EQ(number("-1").as<std::uint64_t>(), std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(number("9223372036854775808").as<std::int64_t>(),
            std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(number("18446744073709551615").int32(), -1);
}

TEST(Number, FloatingNumbersTruncateTowardZero) {
  EXPECT_EQ(number("1.9").int32(), 1);
  EXPECT_EQ(number("-1.9").int32(), -1);
  EXPECT_EQ(number("0.99").as<std::uint32_t>(), 0U);
  EXPECT_EQ(number("-0.99").as<std::uint32_t>(), 0U);
  EXPECT_EQ(number("1e2").int32(), 100);
  EXPECT_EQ(number("2147483646.9").int32(), 2147483646);
}

TEST(Number, FloatingNumbersStopAtTheLimits) {
  EXPECT_EQ(number("1e10").int32(), std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(number("-1e10").int32(), std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(number("2147483647.5").int32(), std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(number("-2147483648.5").int32(), std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(number("-5.5").as<std::uint32_t>(), 0U);
  EXPECT_EQ(number("4294967295.5").as<std::uint32_t>(), 4294967295U);
  EXPECT_EQ(number("9223372036854775808.0").as<std::int64_t>(),
            std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(number("-9223372036854775808.0").as<std::int64_t>(),
            std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(number("1e300").as<std::uint64_t>(), std::numeric_limits<std::uint64_t>::max());
}

TEST(Number, IntegersBeyond64BitsAreFloating) {
  EXPECT_EQ(number("18446744073709551616").int32(), std::numeric_limits<std::int32_t>::max());
  EXPECT_EQ(number("-9223372036854775809").int32(), std::numeric_limits<std::int32_t>::min());
  EXPECT_EQ(number("100000000000000000000000").as<std::uint64_t>(),
            std::numeric_limits<std::uint64_t>::max());
}

TEST(Number, NoNumberIsOutOfReach) {
  // More than a double holds: no message can make the conversion undefined.
  boost::json::error_code problem;
  const auto huge = boost::json::parse("1e999", problem);
  ASSERT_FALSE(problem);
  EXPECT_EQ(Number::from(huge)->int32(), std::numeric_limits<std::int32_t>::max());
  const Number notANumber =
      Number::from(boost::json::value(std::numeric_limits<double>::quiet_NaN())).value();
  EXPECT_EQ(notANumber.int32(), 0);
}

TEST(Number, AnythingButZeroIsTrue) {
  for (const auto* json :
       {"1", "-1", "0.1", "-0.5", "4294967296", "18446744073709551615", "true"}) {
    EXPECT_TRUE(number(json).boolean()) << json;
  }
  for (const auto* json : {"0", "-0", "0.0", "-0.0", "false"}) {
    EXPECT_FALSE(number(json).boolean()) << json;
  }
}

TEST(Number, FloatIsTheNearestSingle) {
  EXPECT_EQ(number("0.1").as<float>(), 0.1F);
  EXPECT_EQ(number("16777217").as<float>(), 16777216.0F);
  EXPECT_EQ(number("18446744073709551615").as<float>(), 18446744073709551616.0F);
  EXPECT_EQ(number("-3").as<double>(), -3.0);
}

TEST(Number, FloatOfWhatNoSingleHoldsIsInfinite) {
  EXPECT_EQ(number("1e300").as<float>(), std::numeric_limits<float>::infinity());
  EXPECT_EQ(number("-1e300").as<float>(), -std::numeric_limits<float>::infinity());
}

TEST(Number, OutlivesTheValueItWasReadFrom) {
  boost::json::value value(7);
  const auto held = Number::from(value);
  value = "something else";
  EXPECT_EQ(held->int32(), 7);
}

TEST(Number, BeyondTheLargestSingleIsInfinite) {
  EXPECT_EQ(Number::from(boost::json::value(1e300))->as<float>(),
            std::numeric_limits<float>::infinity());
  EXPECT_EQ(Number::from(boost::json::value(-1e300))->as<float>(),
            -std::numeric_limits<float>::infinity());
  EXPECT_EQ(Number::from(boost::json::value(0.1))->as<float>(), 0.1F);
  // How the largest single is often printed: a little above it.
  EXPECT_EQ(Number::from(boost::json::value(3.4028235e38))->as<float>(),
            std::numeric_limits<float>::max());
  EXPECT_EQ(Number::from(boost::json::value(-3.4028235e38))->as<float>(),
            -std::numeric_limits<float>::max());
  EXPECT_EQ(Number::from(boost::json::value(3.4028236e38))->as<float>(),
            std::numeric_limits<float>::infinity());
}

}  // namespace
}  // namespace vemo
