#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "bridge/VEMOWebView.h"

namespace vemo {

/// What every VEMOWebView promises. A Maker has:
///   std::shared_ptr<VEMOWebView> webView();
///   std::vector<std::string> scripts();  those that the page has run, in order, once it
///                                        has run all that it was given
///   void endPage();                      takes the page away
template <class Maker>
class VEMOWebViewContract : public ::testing::Test {
 protected:
  Maker maker_;
};

TYPED_TEST_SUITE_P(VEMOWebViewContract);

TYPED_TEST_P(VEMOWebViewContract, RunsScriptsAsTheyAreInOrder) {
  const auto webView = this->maker_.webView();
  ASSERT_NE(webView, nullptr);
  const std::vector<std::string> scripts{"page.a({\"b\":\"\\\"é\\u2028\"})", "", "page.c()"};
  webView->loadJs(scripts[0], true);
  webView->loadJs(scripts[1], false);
  webView->loadJs(scripts[2], true);
  EXPECT_EQ(this->maker_.scripts(), scripts);
}

TYPED_TEST_P(VEMOWebViewContract, KeepsTheOrderOfEachThread) {
  constexpr std::size_t kScripts = 100;
  const auto webView = this->maker_.webView();
  const auto load = [&](const std::string& name) {
    for (std::size_t i = 0; i < kScripts; ++i) {
      webView->loadJs(name + std::to_string(1000 + i) + "()", i % 2 == 0);
    }
  };
  std::thread other(load, "b");
  load("a");
  other.join();
  std::vector<std::string> ofA;
  std::vector<std::string> ofB;
  for (const auto& script : this->maker_.scripts()) {
    (script.starts_with('a') ? ofA : ofB).push_back(script);
  }
  for (const auto& scripts : {ofA, ofB}) {
    EXPECT_EQ(scripts.size(), kScripts);
    EXPECT_TRUE(std::is_sorted(scripts.begin(), scripts.end()));
  }
}

TYPED_TEST_P(VEMOWebViewContract, APageThatIsGoneSwallowsScripts) {
  const auto webView = this->maker_.webView();
  webView->loadJs("page.a()", true);
  const auto before = this->maker_.scripts();
  this->maker_.endPage();
  webView->loadJs("page.b()", true);
  std::thread([&] { webView->loadJs("page.c()", false); }).join();
  EXPECT_EQ(this->maker_.scripts(), before);
}

REGISTER_TYPED_TEST_SUITE_P(VEMOWebViewContract, RunsScriptsAsTheyAreInOrder,
                            KeepsTheOrderOfEachThread, APageThatIsGoneSwallowsScripts);

}  // namespace vemo
