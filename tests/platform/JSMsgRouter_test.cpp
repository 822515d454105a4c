#include "platform/JSMsgRouter.h"

#include <gtest/gtest.h>

#include <array>
#include <boost/json/parse.hpp>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "Recorders.h"
#include "json/JsonText.h"
#include "platform/ForwardingPlatform.h"
#include "platform/MainThreadQueue.h"
#include "platform/ReplyDelivery.h"
#include "testing/contracts/VEMOJSMsgRouter_contract.h"

namespace vemo {
namespace {

/// Keeps the replies: the JSON text and the cbid, absent ones included.
class RecordingDelivery final : public ReplyDelivery {
 public:
  struct Reply {
    std::string action;
    std::optional<VEMOJSError> error;
    Text cbid;
    std::shared_ptr<VEMOWebView> webView;
  };

  void deliver(const VEMOJSMsgItem& item, const Text& cbid,
               const std::shared_ptr<VEMOWebView>& webView) override {
    replies.push_back({item.head().action, item.msgError(), cbid, webView});
  }

  std::vector<Reply> replies;
};

struct JSMsgRouterMaker {
  VEMOJSMsgRouter& router() { return *router_; }
  std::shared_ptr<VEMOWebView> webView() { return webView_; }
  void command(const std::string& action, std::optional<boost::json::object> params,
               bool withWebView) {
    router_->dispatch(router_->makeItem({"kobu", action}, std::move(params), "", std::nullopt),
                      withWebView ? webView_ : nullptr);
  }
  std::size_t replies() { return delivery_->replies.size(); }
  void destroy() { router_.reset(); }

  RecordingLogger logger_;
  std::shared_ptr<RecordingDelivery> delivery_ = std::make_shared<RecordingDelivery>();
  std::shared_ptr<VEMOWebView> webView_ = std::make_shared<RecordingWebView>();
  std::unique_ptr<JSMsgRouter> router_ =
      std::make_unique<JSMsgRouter>(logger_, delivery_, webView_);
};
INSTANTIATE_TYPED_TEST_SUITE_P(JSMsgRouter, VEMOJSMsgRouterContract, JSMsgRouterMaker);

struct ForwardedJSMsgRouterMaker : JSMsgRouterMaker {
  VEMOJSMsgRouter& router() { return forwarder_; }

  ForwardingVEMOJSMsgRouter forwarder_{*router_};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Forwarding, VEMOJSMsgRouterContract, ForwardedJSMsgRouterMaker);

/// The params of an item that is expected to have some.
const boost::json::object& paramsOf(const VEMOJSMsgItem& item) {
  static const boost::json::object none;
  const auto* params = item.params();
  EXPECT_NE(params, nullptr);
  return params ? *params : none;
}

struct JSMsgRouterTest : ::testing::Test {
  RecordingLogger logger;
  std::shared_ptr<RecordingDelivery> delivery = std::make_shared<RecordingDelivery>();
  std::shared_ptr<RecordingWebView> webView = std::make_shared<RecordingWebView>();
  JSMsgRouter router{logger, delivery, webView};
  const VEMOJSError badMessage{"JS", -1, "bad message"};

  /// Expects that `message` is refused, answered to `cbid` and logged, and that the
  /// next message works.
  void expectRefused(const std::string& message, const std::string& action, const Text& cbid) {
    SCOPED_TRACE(message.substr(0, 100));
    const auto records = logger.records().size();
    delivery->replies.clear();
    int calls = 0;
    router.setMethod("works", [&](const auto&, const auto&) { ++calls; });
    router.setMethod("refused", [&](const auto&, const auto&) { ADD_FAILURE() << "was called"; });
    router.receive(message);
    ASSERT_EQ(delivery->replies.size(), 1U);
    EXPECT_EQ(delivery->replies[0].error, badMessage);
    EXPECT_EQ(delivery->replies[0].action, action);
    EXPECT_EQ(delivery->replies[0].cbid, cbid);
    EXPECT_EQ(delivery->replies[0].webView, webView);
    EXPECT_EQ(logger.records().size(), records + 1);
    router.receive(R"({"head":{"action":"works"}})");
    EXPECT_EQ(calls, 1);
  }
};

TEST_F(JSMsgRouterTest, DecodesAWholeMessage) {
  const auto item = router.decode(
      R"({"head":{"module":"kobu","action":"switchRole"},"params":{"role":20,"deep":{"a":[1,"b"]}},)"
      R"("cbid":"12","nativecb":"native"})");
  EXPECT_EQ(item->head().module, "kobu");
  EXPECT_EQ(item->head().action, "switchRole");
  EXPECT_EQ(item->nativecb(), "native");
  EXPECT_EQ(jsonText(paramsOf(*item)), R"({"role":20,"deep":{"a":[1,"b"]}})");
  EXPECT_FALSE(item->msgError());
  EXPECT_FALSE(item->isAsyncTask());
  EXPECT_TRUE(item->printLog());
  item->executeJSCallbackIn(webView);
  ASSERT_EQ(delivery->replies.size(), 1U);
  EXPECT_EQ(delivery->replies[0].cbid, "12");
  EXPECT_TRUE(logger.records().empty());
}

TEST_F(JSMsgRouterTest, ParamsLiveInTheItemsArena) {
  const auto item = router.decode(R"({"params":{"deep":{"a":[1]}},"head":{"action":"a"}})");
  const auto& params = paramsOf(*item);
  EXPECT_EQ(*params.storage(), *item->arena());
  EXPECT_EQ(*params.at("deep").storage(), *item->arena());
}

TEST_F(JSMsgRouterTest, ParamsMayBeAbsentNullOrEmpty) {
  EXPECT_EQ(router.decode(R"({"head":{"action":"a"}})")->params(), nullptr);
  EXPECT_EQ(router.decode(R"({"head":{"action":"a"},"params":null})")->params(), nullptr);
  const auto empty = router.decode(R"({"head":{"action":"a"},"params":{}})");
  EXPECT_TRUE(paramsOf(*empty).empty());
  EXPECT_TRUE(logger.records().empty());
}

TEST_F(JSMsgRouterTest, TheModuleIsNotChecked) {
  for (const auto* head : {R"({"action":"a"})", R"({"action":"a","module":"other"})",
                           R"({"action":"a","module":7})", R"({"action":"a","module":null})"}) {
    const auto item = router.decode(std::string(R"({"head":)") + head + "}");
    EXPECT_FALSE(item->msgError()) << head;
    EXPECT_EQ(item->head().action, "a");
  }
}

TEST_F(JSMsgRouterTest, ACallbackThatIsNoTextCountsAsAbsent) {
  for (const auto* value : {"1", "true", "null", "{}", "[\"a\"]", "1.5"}) {
    delivery->replies.clear();
    const auto item = router.decode(std::string(R"({"head":{"action":"a"},"cbid":)") + value +
                                    R"(,"nativecb":)" + value + "}");
    EXPECT_FALSE(item->msgError()) << value;
    EXPECT_EQ(item->nativecb(), "");
    item->executeJSCallbackIn(webView);
    ASSERT_EQ(delivery->replies.size(), 1U);
    EXPECT_EQ(delivery->replies[0].cbid, std::nullopt) << value;
  }
}

TEST_F(JSMsgRouterTest, AnEmptyCbidIsOne) {
  router.receive(R"({"head":{"action":"a"},"cbid":""})");
  ASSERT_EQ(delivery->replies.size(), 1U);
  EXPECT_EQ(delivery->replies[0].cbid, "");
}

TEST_F(JSMsgRouterTest, RefusesWhatIsNoJson) {
  for (const auto* message :
       {"", " ", "{", "hello", "{\"head\":{\"action\":\"refused\"}",
        "{'head':{'action':'refused'}}", "{\"head\":{\"action\":\"refused\"}} x",
        "{\"head\":{\"action\":\"refused\"},}", "{\"head\":{\"action\":\"refused\"}}{}",
        "// no\n{\"head\":{\"action\":\"refused\"}}",
        "{\"head\":{\"action\":\"refused\"},\"params\":{\"n\":NaN}}",
        "{\"head\":{\"action\":\"ref\nused\"}}",
        "\xEF\xBB\xBF{\"head\":{\"action\":\"refused\"}}"}) {
    expectRefused(message, "", std::nullopt);
  }
  expectRefused(std::string("\0", 1), "", std::nullopt);
}

TEST_F(JSMsgRouterTest, RefusesWhatIsNoObject) {
  for (const auto* message : {"null", "true", "1", "\"text\"", "[]", "[{\"head\":{}}]"}) {
    expectRefused(message, "", std::nullopt);
  }
}

TEST_F(JSMsgRouterTest, RefusesAMessageWithoutATextAction) {
  for (const auto* head : {"null", "1", "\"refused\"", "[\"action\"]", "{}", R"({"action":null})",
                           R"({"action":1})", R"({"action":true})", R"({"action":["refused"]})",
                           R"({"action":{}})", R"({"Action":"refused"})"}) {
    expectRefused(std::string(R"({"head":)") + head + R"(,"cbid":"5"})", "", "5");
  }
  expectRefused(R"({"cbid":"5"})", "", "5");
  expectRefused("{}", "", std::nullopt);
}

TEST_F(JSMsgRouterTest, RefusesParamsThatAreNoObjectAndNamesTheAction) {
  for (const auto* params : {"1", "true", "false", "\"text\"", "[]", "[{}]", "0.5"}) {
    expectRefused(
        std::string(R"({"head":{"action":"refused"},"cbid":"5","params":)") + params + "}",
        "refused", "5");
  }
}

TEST_F(JSMsgRouterTest, RefusesBrokenUtf8AndAnswersItsSender) {
  for (const auto* bytes : {"\xFF", "\xC3", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80"}) {
    expectRefused(std::string(R"({"head":{"action":"refused"},"params":{"a":")") + bytes +
                      R"("},"cbid":"5"})",
                  "refused", "5");
  }
}

std::string nested(std::size_t levels) {
  const auto arrays = levels - 2;  // the message and its params are levels too
  return R"({"head":{"action":"refused"},"params":{"a":)" + std::string(arrays, '[') +
         std::string(arrays, ']') + R"(},"cbid":"5"})";
}

TEST_F(JSMsgRouterTest, HalfASurrogatePairIsAReplacementCharacter) {
  const auto item = router.decode(
      R"({"head":{"action":"enterRoom"},"params":{"cut":"a\ud83d","low":"\uDE00b","whole":"\ud83d\ude00",)"
      R"("twice":"\ud83d\ud83d\ude00","text":"\\ud83d"}})");
  EXPECT_FALSE(item->msgError());
  EXPECT_EQ(jsonText(paramsOf(*item)),
            R"({"cut":"a�","low":"�b","whole":"😀","twice":"�😀","text":"\\ud83d"})");
}

TEST_F(JSMsgRouterTest, AcceptsThirtyTwoLevels) {
  const auto item = router.decode(nested(32));
  EXPECT_FALSE(item->msgError());
  EXPECT_NE(item->params(), nullptr);
}

TEST_F(JSMsgRouterTest, RefusesDeeperMessagesAndAnswersTheirSender) {
  expectRefused(nested(33), "refused", "5");
  expectRefused(nested(200), "refused", "5");
}

TEST_F(JSMsgRouterTest, RefusesAbsurdNestingAndAnswersItsSender) {
  expectRefused(nested(100'000), "refused", "5");
  expectRefused(std::string(1U << 20U, '['), "", std::nullopt);
  expectRefused(std::string(std::size_t{1} << 24U, '['), "", std::nullopt);
  expectRefused(R"({"cbid":"5","a":)" + std::string(std::size_t{1} << 24U, '['), "", "5");
}

TEST_F(JSMsgRouterTest, ADeepMessageIsAnsweredWhateverElseIsWrongWithIt) {
  const std::string deep(40, '[');
  expectRefused(R"({"head":{"action":"refused"},"cbid":"5","params":)" + deep, "refused", "5");
  expectRefused(R"({"a":"\ud83d","b":)" + deep + std::string(40, ']') +
                    R"(,"cbid":"5","head":{"action":"refused"}})",
                "refused", "5");
  expectRefused("{\"a\":\"\xFF\",\"cbid\":\"5\",\"b\":" + deep, "", "5");
}

std::string sized(std::size_t bytes) {
  std::string message = R"({"head":{"action":"big"},"cbid":"5","params":{"text":""}})";
  message.insert(message.size() - 3, bytes - message.size(), 'x');
  return message;
}

TEST_F(JSMsgRouterTest, AcceptsOneMebibyte) {
  const auto message = sized(JSMsgRouter::kMaxMessageBytes);
  ASSERT_EQ(message.size(), 1048576U);
  const auto item = router.decode(message);
  EXPECT_FALSE(item->msgError());
  EXPECT_GT(paramsOf(*item).at("text").as_string().size(), 1'000'000U);
}

TEST_F(JSMsgRouterTest, RefusesOneByteMore) {
  expectRefused(sized(JSMsgRouter::kMaxMessageBytes + 1), "big", "5");
}

TEST_F(JSMsgRouterTest, ALongMessageIsAnsweredWhereverItsAddressStands) {
  const std::string tail(std::size_t{16} << 20U, 'x');
  expectRefused(R"({"params":{"text":")" + tail + R"("},"cbid":"5","head":{"action":"big"}})",
                "big", "5");
  expectRefused(R"({"cbid":"5","head":{"text":")" + tail + R"(","action":"big"}})", "big", "5");
  expectRefused(R"({"cbid":"5","params":")" + tail, "", "5");
  expectRefused(tail, "", std::nullopt);
}

TEST_F(JSMsgRouterTest, LogsARefusedMessage) {
  router.receive(R"({"head":{}})");
  EXPECT_EQ(logger.records(),
            (std::vector<std::string>{
                R"({"needReport":true,"level":4,"module":"VEMOJSMsgRouter",)"
                R"("actionName":"badMessage","actionParam":"{\"head\":{}}","errorCode":-1,)"
                R"("errorDesc":"bad message"})"}));
}

TEST_F(JSMsgRouterTest, LogsTheFirstTwoHundredBytesAsValidText) {
  router.receive(std::string(300, 'x'));
  router.receive(std::string(199, 'x') + "é");  // cut within the letter
  const auto records = logger.records();
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(boost::json::parse(records[0]).at("actionParam").as_string(), std::string(200, 'x'));
  EXPECT_EQ(boost::json::parse(records[1]).at("actionParam").as_string(),
            std::string(199, 'x') + "\uFFFD");
}

TEST_F(JSMsgRouterTest, HugeNumbersAreNoReasonToRefuse) {
  const auto item = router.decode(
      R"({"head":{"action":"a"},"params":{"a":1e400,"b":-1e400,"c":1e-400,"d":18446744073709551616}})");
  EXPECT_FALSE(item->msgError());
}

TEST_F(JSMsgRouterTest, AnswersAnUnknownCommandAndGoesOn) {
  router.receive(R"({"head":{"action":"fly"},"cbid":"1"})");
  int calls = 0;
  router.setMethod("walk", [&](const auto&, const auto&) { ++calls; });
  router.receive(R"({"head":{"action":"walk"},"cbid":"2"})");
  ASSERT_EQ(delivery->replies.size(), 2U);
  EXPECT_EQ(delivery->replies[0].action, "fly");
  EXPECT_EQ(delivery->replies[0].error, (VEMOJSError{"JS", -1, "unknown action"}));
  EXPECT_EQ(delivery->replies[0].cbid, "1");
  EXPECT_EQ(delivery->replies[1].error, std::nullopt);
  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(logger.records().empty());
}

TEST_F(JSMsgRouterTest, AnEmptyWrapperTakesTheNameAway) {
  router.setMethod("walk", [](const auto&, const auto&) { ADD_FAILURE(); });
  router.setMethod("walk", nullptr);
  router.receive(R"({"head":{"action":"walk"},"cbid":"2"})");
  ASSERT_EQ(delivery->replies.size(), 1U);
  EXPECT_EQ(delivery->replies[0].error, (VEMOJSError{"JS", -1, "unknown action"}));
}

TEST_F(JSMsgRouterTest, AnEmptyWrapperTakesOneNameOfManyAway) {
  static constexpr std::array<std::string_view, 2> names{"walk", "run"};
  static constexpr ActionNames actions(names);
  std::vector<std::size_t> places;
  router.setMethods(actions,
                    [&](std::size_t place, const auto&, const auto&) { places.push_back(place); });
  router.setMethod("walk", nullptr);
  router.receive(R"({"head":{"action":"walk"},"cbid":"1"})");
  router.receive(R"({"head":{"action":"run"},"cbid":"2"})");
  ASSERT_EQ(delivery->replies.size(), 2U);
  EXPECT_EQ(delivery->replies[0].error, (VEMOJSError{"JS", -1, "unknown action"}));
  EXPECT_EQ(delivery->replies[1].error, std::nullopt);
  EXPECT_EQ(places, std::vector<std::size_t>{1});
}

TEST_F(JSMsgRouterTest, OfNamesThatSeveralShareTheLastRegisteredCount) {
  static constexpr std::array<std::string_view, 2> first{"walk", "run"};
  static constexpr std::array<std::string_view, 2> second{"fly", "walk"};
  static constexpr ActionNames firstActions(first);
  static constexpr ActionNames secondActions(second);
  std::string called;
  const auto noting = [&](char who) {
    return [&called, who](std::size_t place, const auto&, const auto&) {
      called += {who, static_cast<char>('0' + place)};
    };
  };
  const auto all = [&] {
    called.clear();
    for (const auto* name : {"walk", "run", "fly"}) {
      router.receive(R"({"head":{"action":")" + std::string(name) + R"("}})");
    }
    return called;
  };
  router.setMethods(firstActions, noting('a'));
  router.setMethods(secondActions, noting('b'));
  EXPECT_EQ(all(), "b1a1b0");
  router.setMethods(firstActions, noting('c'));
  EXPECT_EQ(all(), "c0c1b0");
}

TEST_F(JSMsgRouterTest, CommandsAndRepliesGoToTheWebViewOfTheirMoment) {
  const auto next = std::make_shared<RecordingWebView>();
  router.setMethod("reload", [&](const auto&, const auto&) { router.setWebView(next); });
  router.receive(R"({"head":{"action":"reload"},"cbid":"1"})");
  router.receive(R"({"head":{"action":"other"},"cbid":"2"})");
  router.setWebView(nullptr);
  router.receive(R"({"head":{"action":"other"},"cbid":"3"})");
  ASSERT_EQ(delivery->replies.size(), 3U);
  EXPECT_EQ(delivery->replies[0].webView, webView);
  EXPECT_EQ(delivery->replies[1].webView, next);
  EXPECT_EQ(delivery->replies[2].webView, nullptr);
}

TEST_F(JSMsgRouterTest, AnItemCanBeAnsweredAfterTheRouterIsGone) {
  MainThreadQueue queue;
  std::shared_ptr<VEMOJSMsgItem> open;
  {
    JSMsgRouter shortLived(logger, std::make_shared<MainThreadReplyDelivery>(queue, "reply"),
                           webView);
    shortLived.setMethod("play", [&](const auto& item, const auto&) {
      item->setIsAsyncTask(true);
      open = item;
    });
    shortLived.receive(R"({"head":{"action":"play"},"params":{"id":1},"cbid":"9"})");
  }
  ASSERT_NE(open, nullptr);
  EXPECT_TRUE(webView->scripts().empty());
  EXPECT_EQ(jsonText(paramsOf(*open)), R"({"id":1})");
  open->setMsgRetval({{"n", 1}});
  open->executeJSCallbackIn(webView);
  std::thread([&] {
    open->setMsgRetval({{"n", 2}});
    open->executeJSCallbackIn(webView);
  }).join();
  queue.drain();
  const auto scripts = webView->scripts();
  ASSERT_EQ(scripts.size(), 2U);
  EXPECT_EQ(scripts[0].first,
            R"(reply({"head":{"module":"kobu","action":"play","cbid":"9"},"retval":{"n":1}}))");
  EXPECT_EQ(scripts[1].first,
            R"(reply({"head":{"module":"kobu","action":"play","cbid":"9"},"retval":{"n":2}}))");
}

TEST_F(JSMsgRouterTest, MakesItemsFromTheirParts) {
  boost::json::object params{{"a", 1}};
  const auto* where = &*params.begin();
  const auto item = router.makeItem({"kobu", "act"}, std::move(params), "native", "3");
  EXPECT_EQ(item->head().module, "kobu");
  EXPECT_EQ(item->head().action, "act");
  EXPECT_EQ(item->nativecb(), "native");
  EXPECT_EQ(&*paramsOf(*item).begin(), where) << "params were copied";
  router.dispatch(item, nullptr);
  ASSERT_EQ(delivery->replies.size(), 1U);
  EXPECT_EQ(delivery->replies[0].cbid, "3");
  EXPECT_EQ(delivery->replies[0].webView, nullptr);
}

TEST_F(JSMsgRouterTest, MessagesMayComeOnSeveralThreads) {
  MainThreadQueue queue;
  JSMsgRouter shared(logger, std::make_shared<MainThreadReplyDelivery>(queue, "reply"), webView);
  shared.setMethod("a", [](const auto& item, const auto&) { item->setMsgRetval({{"ok", true}}); });
  const auto send = [&] {
    for (int i = 0; i < 100; ++i) {
      shared.receive(R"({"head":{"action":"a"},"cbid":"1"})");
      shared.receive("broken");
      shared.setWebView(webView);
    }
  };
  std::thread other(send);
  send();
  other.join();
  queue.drain();
  EXPECT_EQ(webView->scripts().size(), 200U);  // broken ones name no cbid
  EXPECT_EQ(logger.records().size(), 200U);
}

}  // namespace
}  // namespace vemo
