#include "platform/MessageAddress.h"

#include <gtest/gtest.h>

#include <string>

namespace vemo {
namespace {

/// "module|action|cbid" of what is found, "-" for what is not.
std::string found(std::string_view message) {
  const auto address = skimAddress(message);
  return address.module.value_or("-") + "|" + address.action.value_or("-") + "|" +
         address.cbid.value_or("-");
}

TEST(MessageAddress, IsFoundWhereverItStands) {
  EXPECT_EQ(found(R"({"head":{"module":"m","action":"a"},"cbid":"1"})"), "m|a|1");
  EXPECT_EQ(found(R"( { "cbid" : "1" , "params":[{"x":["y"]}],"head":{"action":"a"} } )"), "-|a|1");
  EXPECT_EQ(found(R"({"head":{"x":{"y":[1,{}]},"action":"a","z":[]},"cbid":"1"})"), "-|a|1");
}

TEST(MessageAddress, IsNotTakenFromOtherPlaces) {
  EXPECT_EQ(found(R"({"params":{"cbid":"1","head":{"action":"a"}}})"), "-|-|-");
  EXPECT_EQ(found(R"({"params":"{\"cbid\":\"1\",\"head\":{\"action\":\"a\"}}"})"), "-|-|-");
  EXPECT_EQ(found(R"({"head":{"head":{"action":"a"},"cbid":"1"},"action":"a"})"), "-|-|-");
  EXPECT_EQ(found(R"({"head":["action","a"],"x":{"action":"a"}})"), "-|-|-");
  EXPECT_EQ(found(R"([{"head":{"action":"a"},"cbid":"1"}])"), "-|-|-");
  EXPECT_EQ(found(R"({"x":"cbid","y":"1","z":["cbid","1"]})"), "-|-|-");
  EXPECT_EQ(found(R"({} {"cbid":"1"})"), "-|-|-");
  EXPECT_EQ(found(R"("cbid":"1")"), "-|-|-");
}

TEST(MessageAddress, WhatIsNoTextIsAbsent) {
  EXPECT_EQ(found(R"({"head":{"module":{},"action":["a"]},"cbid":1})"), "-|-|-");
  EXPECT_EQ(found(R"({"head":"action","cbid":{"cbid":"1"}})"), "-|-|-");
  EXPECT_EQ(found(R"({"head":{"module":"","action":""},"cbid":""})"), "||");
}

TEST(MessageAddress, OfSeveralTheLastCounts) {
  EXPECT_EQ(found(R"({"cbid":"1","cbid":"2","head":{"action":"a","action":"b"}})"), "-|b|2");
  EXPECT_EQ(found(R"({"cbid":"1","cbid":2,"head":{"module":"m","action":"a"},"head":{}})"),
            "-|-|-");
  EXPECT_EQ(found(R"({"head":{"module":"m","action":"a"},"head":7})"), "-|-|-");
}

TEST(MessageAddress, EscapesAndBrokenTextAreReadAsInAnyMessage) {
  EXPECT_EQ(found(R"({"h\u0065ad":{"action":"a\"}\\"},"cbid":"\u00e9\ud83d"})"),
            "-|a\"}\\|é\uFFFD");
  EXPECT_EQ(found("{\"cbid\":\"\xFF\"}"), "-|-|\uFFFD");
  EXPECT_EQ(found(R"({"cbid":"\x"})"), "-|-|-");
}

TEST(MessageAddress, ATextThatBreaksOffGivesWhatCameBefore) {
  const std::string whole = R"({"cbid":"1","head":{"action":"a"})";
  EXPECT_EQ(found(whole), "-|a|1");
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const auto cut = found(whole.substr(0, length));
    EXPECT_TRUE(cut == "-|-|-" || cut == "-|-|1" || cut == "-|a|1") << length << ": " << cut;
  }
  for (const auto* text : {"", "}", "]]]", "\"", "{\"", "{\"\\", "{\"cbid", "{\"cbid\":\"1"}) {
    EXPECT_EQ(found(text), "-|-|-") << text;
  }
}

TEST(MessageAddress, TextsBeyondTheLimitAreNotFound) {
  const std::string longest(kMaxSkimmedBytes - 2, 'c');  // its quotes count
  EXPECT_EQ(found(R"({"cbid":")" + longest + R"("})"), "-|-|" + longest);
  EXPECT_EQ(found(R"({"cbid":")" + longest + R"(c"})"), "-|-|-");
}

}  // namespace
}  // namespace vemo
