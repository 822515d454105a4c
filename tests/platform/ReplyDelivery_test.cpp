#include "platform/ReplyDelivery.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "Recorders.h"
#include "platform/MainThreadQueue.h"

namespace vemo {
namespace {

std::string reply(const VEMOJSMsgItem& item, std::string_view cbid = "7") {
  std::string text;
  appendReplyJson(text, item, cbid);
  return text;
}

TEST(ReplyJson, AnEmptyReplyIsItsHead) {
  EXPECT_EQ(reply(VEMOJSMsgItem({"kobu", "muteLocalAudio"})),
            R"({"head":{"module":"kobu","action":"muteLocalAudio","cbid":"7"}})");
}

TEST(ReplyJson, CarriesErrorAndValueWhenSet) {
  VEMOJSMsgItem item({"kobu", "enterRoom"});
  item.setMsgRetval({{"userId", "ann"}, {"elapsed", 215}});
  EXPECT_EQ(reply(item), R"({"head":{"module":"kobu","action":"enterRoom","cbid":"7"},)"
                         R"("retval":{"userId":"ann","elapsed":215}})");
  item.setMsgError({"KOBU", 0, "ok"});
  EXPECT_EQ(reply(item), R"({"head":{"module":"kobu","action":"enterRoom","cbid":"7"},)"
                         R"("error":{"module":"KOBU","errcode":0,"errmsg":"ok"},)"
                         R"("retval":{"userId":"ann","elapsed":215}})");
}

TEST(ReplyJson, AnAbsentMessageIsEmptyText) {
  VEMOJSMsgItem item({"kobu", "exitRoom"});
  item.setMsgError({"KOBU", std::numeric_limits<std::int64_t>::min(), std::nullopt});
  EXPECT_EQ(reply(item),
            R"({"head":{"module":"kobu","action":"exitRoom","cbid":"7"},)"
            R"("error":{"module":"KOBU","errcode":-9223372036854775808,"errmsg":""}})");
}

TEST(ReplyJson, AnEmptyValueIsWritten) {
  VEMOJSMsgItem item({"kobu", "a"});
  item.setMsgRetval({});
  EXPECT_EQ(reply(item), R"({"head":{"module":"kobu","action":"a","cbid":"7"},"retval":{}})");
}

TEST(ReplyJson, TheHeadIsTheReplysOwnNotTheMessages) {
  EXPECT_EQ(reply(VEMOJSMsgItem({"other", "a"})),
            R"({"head":{"module":"kobu","action":"a","cbid":"7"}})");
  EXPECT_EQ(reply(VEMOJSMsgItem({"other", ""})), R"({"head":{"module":"kobu","cbid":"7"}})");
}

TEST(ReplyJson, TextsAreEscapedForAScript) {
  VEMOJSMsgItem item({"kobu", "a\"b"});
  item.setMsgError({"JS", -1, "line\u2028end"});
  EXPECT_EQ(reply(item, "</script>\n"),
            R"({"head":{"module":"kobu","action":"a\"b","cbid":"</script>\n"},)"
            R"("error":{"module":"JS","errcode":-1,"errmsg":"line\u2028end"}})");
}

TEST(ReplyJson, IsAppended) {
  std::string text = "before ";
  appendReplyJson(text, VEMOJSMsgItem({"kobu", "a"}), "");
  EXPECT_EQ(text, R"(before {"head":{"module":"kobu","action":"a","cbid":""}})");
}

struct MainThreadReplyDeliveryTest : ::testing::Test {
  MainThreadQueue queue;
  MainThreadReplyDelivery delivery{queue, "page.reply"};
  std::shared_ptr<RecordingWebView> webView = std::make_shared<RecordingWebView>();
  VEMOJSMsgItem item{{"kobu", "a"}};
};

TEST_F(MainThreadReplyDeliveryTest, RunsTheScriptAtOnceOnTheMainThread) {
  item.setPrintLog(false);
  delivery.deliver(item, "1", webView);
  const auto scripts = webView->scripts();
  ASSERT_EQ(scripts.size(), 1U);
  EXPECT_EQ(scripts[0].first, R"(page.reply({"head":{"module":"kobu","action":"a","cbid":"1"}}))");
  EXPECT_FALSE(scripts[0].second);
}

TEST_F(MainThreadReplyDeliveryTest, QueuesTheScriptFromAnotherThreadWithTheFieldsOfThatMoment) {
  std::thread([&] {
    item.setMsgRetval({{"n", 1}});
    delivery.deliver(item, "1", webView);
    item.setMsgRetval({{"n", 2}});
    delivery.deliver(item, "1", webView);
    item.setMsgRetval({{"n", 3}});
  }).join();
  EXPECT_TRUE(webView->scripts().empty());
  queue.drain();
  const auto scripts = webView->scripts();
  ASSERT_EQ(scripts.size(), 2U);
  EXPECT_EQ(scripts[0].first,
            R"(page.reply({"head":{"module":"kobu","action":"a","cbid":"1"},"retval":{"n":1}}))");
  EXPECT_EQ(scripts[1].first,
            R"(page.reply({"head":{"module":"kobu","action":"a","cbid":"1"},"retval":{"n":2}}))");
  EXPECT_TRUE(scripts[0].second);
}

TEST_F(MainThreadReplyDeliveryTest, DeliversNothingWithoutCbidOrWebView) {
  delivery.deliver(item, std::nullopt, webView);
  delivery.deliver(item, "1", nullptr);
  std::thread([&] {
    delivery.deliver(item, std::nullopt, webView);
    delivery.deliver(item, "1", nullptr);
  }).join();
  EXPECT_EQ(queue.drain(), 0U);
  EXPECT_TRUE(webView->scripts().empty());
}

TEST_F(MainThreadReplyDeliveryTest, AQueuedScriptKeepsItsWebViewAndDropsItOnTheMainThread) {
  const std::weak_ptr<RecordingWebView> held = webView;
  std::thread([&] { delivery.deliver(item, "1", webView); }).join();
  webView.reset();
  EXPECT_FALSE(held.expired());
  queue.drain();
  EXPECT_TRUE(held.expired());
}

}  // namespace
}  // namespace vemo
