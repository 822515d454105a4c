#include "platform/Version.h"

#include <gtest/gtest.h>

namespace vemo {
namespace {

TEST(Version, WhatIsLeftOutIsZero) {
  EXPECT_EQ(versionFrom("17.4.1"), (Version{17, 4, 1}));
  EXPECT_EQ(versionFrom("11.4"), (Version{11, 4, 0}));
  EXPECT_EQ(versionFrom("9"), (Version{9, 0, 0}));
}

TEST(Version, AnythingElseIsNone) {
  for (const auto* text : {"", ".", "1.", ".1", "1..2", "1.2.3.4", "1.2.3.", "-1", "-0", "1.-2",
                           "+1", " 1", "1 ", "new", "99999999999"}) {
    EXPECT_EQ(versionFrom(text), std::nullopt) << text;
  }
}

TEST(Version, IsComparedNumberByNumber) {
  EXPECT_LT(versionFrom("9.9"), versionFrom("10"));
  EXPECT_LT(versionFrom("11.0.9"), versionFrom("11.1"));
}

}  // namespace
}  // namespace vemo
