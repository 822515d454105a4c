#pragma once

#include <gtest/gtest.h>

#include <array>
#include <boost/json/object.hpp>
#include <boost/json/value.hpp>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "bridge/ActionNames.h"
#include "bridge/VEMOJSMsgRouter.h"

namespace vemo {

/// What every VEMOJSMsgRouter promises. A Maker has:
///   VEMOJSMsgRouter& router();                 with a web view
///   std::shared_ptr<VEMOWebView> webView();    that web view
///   void command(const std::string& action, std::optional<boost::json::object> params,
///                bool withWebView);            delivers a command on this thread
///   std::size_t replies();                     how many replies were delivered so far
///   void destroy();                            destroys the router
template <class Maker>
class VEMOJSMsgRouterContract : public ::testing::Test {
 protected:
  using ItemPtr = std::shared_ptr<VEMOJSMsgItem>;
  using WebViewPtr = std::shared_ptr<VEMOWebView>;

  static constexpr std::array<std::string_view, 2> kNames{"mute", "ask"};
  static constexpr ActionNames kActions{kNames};

  VEMOJSMsgRouter& router() { return maker_.router(); }

  Maker maker_;
};

TYPED_TEST_SUITE_P(VEMOJSMsgRouterContract);

TYPED_TEST_P(VEMOJSMsgRouterContract, CallsTheWrapperOfTheAction) {
  int calls = 0;
  const auto thread = std::this_thread::get_id();
  this->router().setMethod("mute", [&](const auto& item, const auto& webView) {
    ++calls;
    EXPECT_EQ(std::this_thread::get_id(), thread);
    EXPECT_EQ(webView, this->maker_.webView());
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->head().action, "mute");
    const auto* params = item->params();
    ASSERT_NE(params, nullptr);
    EXPECT_EQ(*params, (boost::json::object{{"on", true}}));
    EXPECT_FALSE(item->isAsyncTask());
    EXPECT_TRUE(item->printLog());
    EXPECT_FALSE(item->msgError());
    EXPECT_FALSE(item->msgRetval());
  });
  this->router().setMethod("other", [&](const auto&, const auto&) { ADD_FAILURE(); });
  this->maker_.command("mute", boost::json::object{{"on", true}}, true);
  EXPECT_EQ(calls, 1);
}

TYPED_TEST_P(VEMOJSMsgRouterContract, PassesAbsentParamsAndWebViewAsNull) {
  int calls = 0;
  this->router().setMethod("mute", [&](const auto& item, const auto& webView) {
    ++calls;
    EXPECT_EQ(item->params(), nullptr);
    EXPECT_EQ(webView, nullptr);
  });
  this->maker_.command("mute", std::nullopt, false);
  EXPECT_EQ(calls, 1);
}

TYPED_TEST_P(VEMOJSMsgRouterContract, ReplacesTheWrapperOfANameRegisteredAgain) {
  const auto token = std::make_shared<int>();
  int calls = 0;
  this->router().setMethod("mute", [token](const auto&, const auto&) { ADD_FAILURE(); });
  this->router().setMethod("mute", [&](const auto&, const auto&) { ++calls; });
  EXPECT_EQ(token.use_count(), 1) << "the earlier wrapper is kept";
  this->maker_.command("mute", std::nullopt, true);
  EXPECT_EQ(calls, 1);
}

TYPED_TEST_P(VEMOJSMsgRouterContract, RepliesWhenASynchronousHandlerReturns) {
  this->router().setMethod("ask", [&](const auto& item, const auto&) {
    item->setMsgRetval({{"version", "1"}});
    EXPECT_EQ(this->maker_.replies(), 0U);
  });
  this->maker_.command("ask", std::nullopt, true);
  EXPECT_EQ(this->maker_.replies(), 1U);
}

TYPED_TEST_P(VEMOJSMsgRouterContract, RepliesEachTimeAnAsynchronousItemIsAnswered) {
  typename TestFixture::ItemPtr open;
  this->router().setMethod("ask", [&](const auto& item, const auto&) {
    item->setIsAsyncTask(true);
    open = item;
  });
  this->maker_.command("ask", std::nullopt, true);
  EXPECT_EQ(this->maker_.replies(), 0U);
  ASSERT_NE(open, nullptr);
  open->setMsgError({"KOBU", 0, std::nullopt});
  open->executeJSCallbackIn(this->maker_.webView());
  EXPECT_EQ(this->maker_.replies(), 1U);
  open->executeJSCallbackIn(this->maker_.webView());
  EXPECT_EQ(this->maker_.replies(), 2U);
}

TYPED_TEST_P(VEMOJSMsgRouterContract, GivesItsWebViewToAnyThread) {
  typename TestFixture::WebViewPtr seen;
  std::thread([&] { seen = this->router().webView(); }).join();
  EXPECT_EQ(seen, this->maker_.webView());
}

TYPED_TEST_P(VEMOJSMsgRouterContract, LetsGoOfWrappersWhenItDies) {
  const auto token = std::make_shared<int>();
  this->router().setMethod("mute", [token](const auto&, const auto&) {});
  EXPECT_EQ(token.use_count(), 2);
  this->maker_.destroy();
  EXPECT_EQ(token.use_count(), 1);
}

TYPED_TEST_P(VEMOJSMsgRouterContract, CallsTheWrapperOfAllWithThePlaceOfTheName) {
  std::vector<std::size_t> places;
  this->router().setMethods(TestFixture::kActions,
                            [&](std::size_t place, const auto& item, const auto& webView) {
                              places.push_back(place);
                              EXPECT_EQ(item->head().action, TestFixture::kActions.all()[place]);
                              EXPECT_EQ(webView, this->maker_.webView());
                            });
  this->maker_.command("ask", std::nullopt, true);
  this->maker_.command("mute", std::nullopt, true);
  EXPECT_EQ(places, (std::vector<std::size_t>{1, 0}));
  this->maker_.command("other", std::nullopt, true);
  EXPECT_EQ(places.size(), 2U);
  EXPECT_EQ(this->maker_.replies(), 3U);
}

TYPED_TEST_P(VEMOJSMsgRouterContract, ReplacesAWrapperByThatOfAllAndTheOtherWayRound) {
  const auto token = std::make_shared<int>();
  std::vector<std::string> calls;
  const auto noting = [&](const char* who) {
    return [&calls, who](std::size_t, const auto&, const auto&) { calls.emplace_back(who); };
  };
  this->router().setMethod("mute", [token](const auto&, const auto&) { ADD_FAILURE(); });
  this->router().setMethods(TestFixture::kActions,
                            [token](std::size_t, const auto&, const auto&) { ADD_FAILURE(); });
  this->router().setMethods(TestFixture::kActions, noting("all"));
  EXPECT_EQ(token.use_count(), 1) << "the earlier wrappers are kept";
  this->maker_.command("mute", std::nullopt, true);
  this->router().setMethod("mute", [&](const auto&, const auto&) { calls.emplace_back("one"); });
  this->maker_.command("mute", std::nullopt, true);
  this->maker_.command("ask", std::nullopt, true);
  this->router().setMethods(TestFixture::kActions, noting("again"));
  this->maker_.command("mute", std::nullopt, true);
  EXPECT_EQ(calls, (std::vector<std::string>{"all", "one", "all", "again"}));
}

REGISTER_TYPED_TEST_SUITE_P(VEMOJSMsgRouterContract, CallsTheWrapperOfTheAction,
                            PassesAbsentParamsAndWebViewAsNull,
                            ReplacesTheWrapperOfANameRegisteredAgain,
                            RepliesWhenASynchronousHandlerReturns,
                            RepliesEachTimeAnAsynchronousItemIsAnswered, GivesItsWebViewToAnyThread,
                            LetsGoOfWrappersWhenItDies, CallsTheWrapperOfAllWithThePlaceOfTheName,
                            ReplacesAWrapperByThatOfAllAndTheOtherWayRound);

}  // namespace vemo
