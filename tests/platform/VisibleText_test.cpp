#include "platform/VisibleText.h"

#include <gtest/gtest.h>

#include <boost/json/parse.hpp>
#include <boost/json/value.hpp>
#include <string>

#include "json/JsonText.h"

namespace vemo {
namespace {

TEST(VisibleText, LeavesHarmlessTextAsItIs) {
  for (const std::string text : {"", "exitRoom::::::", "100 % é \"quoted\" \\ 课堂 😀"})
    EXPECT_EQ(visibleText(text), text);
}

TEST(VisibleText, EscapesWhatATerminalWouldObey) {
  EXPECT_EQ(visibleText(std::string("\0\t\n\r\x1b[31m\x7f", 10)),
            "\\u0000\\u0009\\u000a\\u000d\\u001b[31m\\u007f");
  EXPECT_EQ(visibleText("\u0080\u009b\u009f\u00a0"), "\\u0080\\u009b\\u009f\u00a0");
  EXPECT_EQ(visibleText("a\u2028\u2029b"), "a\\u2028\\u2029b");
}

TEST(VisibleText, EscapesMarksOfDirection) {
  // NOLINTNEXTLINE(misc-misleading-bidirectional): marks that nothing ends are the point
  EXPECT_EQ(visibleText("\u061c\u200e\u202a\u202e\u2066\u2069 \u2065\u206a"),
            "\\u061c\\u200e\\u202a\\u202e\\u2066\\u2069 \u2065\u206a");
}

TEST(VisibleText, ReplacesWhatIsNoUtf8) {
  EXPECT_EQ(visibleText("a\x9b"
                        "b\xC3"),
            "a\uFFFDb\uFFFD");
}

TEST(VisibleText, JsonKeepsItsValue) {
  std::string every;
  for (int c = 0; c < 0x80; ++c) every += static_cast<char>(c);
  // NOLINTNEXTLINE(misc-misleading-bidirectional)
  every += "\u0085\u009b\u2028\u202e é";
  std::string json;
  appendJsonString(json, every);
  const auto visible = visibleText(json);
  EXPECT_EQ(visible.find('\x7f'), std::string::npos);
  EXPECT_EQ(boost::json::parse(visible), boost::json::string(every));
}

TEST(ShortenedText, IsCutBetweenCharacters) {
  EXPECT_EQ(shortened("abcdef", 6), "abcdef");
  EXPECT_EQ(shortened("abcdefg", 6), "abc…");
  EXPECT_EQ(shortened("aéééé", 6), "aé…");
  EXPECT_EQ(shortened("ééééé", 6), "é…");
  EXPECT_EQ(shortened("abcdefg", 3), "…");
  EXPECT_EQ(shortened("\x80\x80\x80\x80\x80", 4), "…");
}

}  // namespace
}  // namespace vemo
