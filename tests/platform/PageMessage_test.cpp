#include "platform/PageMessage.h"

#include <gtest/gtest.h>

#include <string>

#include "json/JsonText.h"

namespace vemo {
namespace {

TEST(PageMessage, AnEmptyActionIsOneWhateverElseIsWrong) {
  const std::string message = R"({"head":{"action":""},"params":)";
  EXPECT_EQ(readPageMessage(message + "{}}").address.action, "");
  for (const std::string params : {"1}", R"({"a":"\ud83d"}})", "{\"a\":\"\xFF\"}}"})
    EXPECT_EQ(readPageMessage(message + params).address.action, "") << params;
  EXPECT_EQ(readPageMessage(message + std::string(40, '[')).address.action, "");
  EXPECT_EQ(readPageMessage(message + "{}").address.action, std::nullopt) << "no JSON";
}

TEST(PageMessage, HasContentWhenItCanBeUsed) {
  const auto content = [](const std::string& text) {
    const auto message = readPageMessage(text);
    return message.content ? jsonText(*message.content) : "none";
  };
  const std::string whole = R"({"cbid":1,"head":{"action":"a"},"params":null})";
  EXPECT_EQ(content(whole), whole);
  EXPECT_EQ(content(R"({"head":{"action":"\ud83d"}})"), "{\"head\":{\"action\":\"\uFFFD\"}}");
  EXPECT_EQ(content(R"({"head":{"action":"a"},"params":[]})"), "none");
  EXPECT_EQ(content(R"({"head":{"action":7},"params":{}})"), "none");
  EXPECT_EQ(content("{\"head\":{\"action\":\"a\"},\"x\":\"\xFF\"}"), "none");
}

}  // namespace
}  // namespace vemo
