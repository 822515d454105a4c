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

TEST(PageMessage, IsUsableWithTextActionAndObjectForParams) {
  const auto params = [](const std::string& text) {
    const auto message = readPageMessage(text);
    if (!message.isUsable) return std::string("unusable");
    return message.params ? jsonText(*message.params) : "none";
  };
  EXPECT_EQ(params(R"({"head":{"action":"a"}})"), "none");
  EXPECT_EQ(params(R"({"cbid":1,"head":{"action":"a"},"params":null})"), "none");
  EXPECT_EQ(params(R"({"head":{"action":"a"},"params":{"b":[{"c":1.5}],"head":{"action":7}}})"),
            R"({"b":[{"c":1.5}],"head":{"action":7}})");
  EXPECT_EQ(params(R"({"head":{"action":"a"},"params":{"b":"\ud83d"}})"), "{\"b\":\"\uFFFD\"}");
  EXPECT_EQ(params(R"({"head":{"action":"a"},"params":[]})"), "unusable");
  EXPECT_EQ(params(R"({"head":{"action":"a"},"params":"b"})"), "unusable");
  EXPECT_EQ(params(R"({"head":{"action":7},"params":{}})"), "unusable");
  EXPECT_EQ(params(R"({"head":{"action":["a"]}})"), "unusable");
  EXPECT_EQ(params(R"({"head":{"action":{"action":"a"}}})"), "unusable");
  EXPECT_EQ(params(R"({"head":[{"action":"a"}]})"), "unusable");
  EXPECT_EQ(params(R"({"more":{"action":"a"}})"), "unusable");
  EXPECT_EQ(params(R"([{"action":"a"}])"), "unusable");
  EXPECT_EQ(params("{\"head\":{\"action\":\"a\"},\"x\":\"\xFF\"}"), "unusable");
}

TEST(PageMessage, OfTwoMembersOfOneNameTheLastCounts) {
  const auto message = readPageMessage(
      R"({"cbid":"1","nativecb":"n","params":{"a":1},"head":{"action":"a","module":"m","action":"b"},)"
      R"("cbid":"2","nativecb":7,"params":{"b":2}})");
  ASSERT_TRUE(message.isUsable);
  EXPECT_EQ(message.address.action, "b");
  EXPECT_EQ(message.address.cbid, "2");
  EXPECT_EQ(message.nativecb, std::nullopt);
  EXPECT_EQ(jsonText(*message.params), R"({"b":2})");
  EXPECT_FALSE(readPageMessage(R"({"head":{"action":"a"},"head":{}})").isUsable);
  EXPECT_FALSE(readPageMessage(R"({"head":{"action":"a"},"head":7})").isUsable);
  EXPECT_FALSE(readPageMessage(R"({"head":{"action":"a"},"params":[],"params":1})").isUsable);
  EXPECT_TRUE(readPageMessage(R"({"head":{"action":"a"},"params":[],"params":null})").isUsable);
}

TEST(PageMessage, NamesAndTextsMayBeEscaped) {
  const auto message = readPageMessage(
      R"({"h\u0065ad":{"\u0061ction":"s\u0065t\nRole","module":"\u006b"},"\u0063bid":"\u0031\"",)"
      R"("p\u0061rams":{"r\u006fle":"\u0061b"},"nativecb":"x\ty"})");
  ASSERT_TRUE(message.isUsable);
  EXPECT_EQ(message.address.module, "k");
  EXPECT_EQ(message.address.action, "set\nRole");
  EXPECT_EQ(message.address.cbid, "1\"");
  EXPECT_EQ(message.nativecb, "x\ty");
  EXPECT_EQ(jsonText(*message.params), R"({"role":"ab"})");
  EXPECT_FALSE(message.hasMore);
}

TEST(PageMessage, KnowsWhetherThereIsMore) {
  const auto hasMore = [](const std::string& members) {
    return readPageMessage(R"({"head":{"action":"a","at":1})" + members + "}").hasMore;
  };
  EXPECT_FALSE(hasMore(R"(,"cbid":1,"params":null,"nativecb":"n")"));
  EXPECT_TRUE(hasMore(R"(,"at":1)"));
  EXPECT_TRUE(hasMore(R"(,"at":{"params":1})"));
  EXPECT_TRUE(hasMore(R"(,"nativecb":1)"));
}

}  // namespace
}  // namespace vemo
