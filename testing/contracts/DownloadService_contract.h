#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "bridge/DownloadService.h"
#include "testing/Arrivals.h"

namespace vemo {

/// What every DownloadService promises. A Maker has:
///   DownloadService& downloads();
///   std::string servedUrl();   can be fetched, and holds content()
///   std::string content();
///   std::string failingUrl();  ends with an error
///   std::optional<std::string> refusedUrl(int status);
///                              is answered with this HTTP status and some content; nothing
///                              where there is no HTTP
///   void settle();             lets downloads end, now or soon, on another thread than
///                              the test's
template <class Maker>
class DownloadServiceContract : public ::testing::Test {
 protected:
  DownloadService& downloads() { return maker_.downloads(); }

  DownloadResult fetched(const std::string& url) {
    downloads().download(url, [this, caller = std::this_thread::get_id()](DownloadResult result) {
      EXPECT_NE(std::this_thread::get_id(), caller);
      results_.add(std::move(result));
    });
    maker_.settle();
    return results_.next().value_or(DownloadResult{});
  }

  Arrivals<DownloadResult> results_;
  Maker maker_;  // goes first: it may still call back
};

TYPED_TEST_SUITE_P(DownloadServiceContract);

TYPED_TEST_P(DownloadServiceContract, KnowsAnAbsoluteUrl) {
  for (const auto* text : {"http://host/a.png", "https://host:8443/a?b=c&d=%20#e", "file:///a.png",
                           "ftp://host/", "data:,x", "x-y+z.1:rest", "HTTP://HOST", "http:/"}) {
    EXPECT_TRUE(this->downloads().isUrl(text)) << text;
  }
  for (const auto* text :
       {"", ":", "http:", "://host", "a.png", "/a.png", "//host/a.png", "1http://host/", "-a:b",
        "ht tp://host/", "http://host/a b", " http://host/", "http://host/ ", "http://host/\n",
        "http://host/\t", "http://host/\x7F", "http://host/\x01", "hé:x"}) {
    EXPECT_FALSE(this->downloads().isUrl(text)) << text;
  }
  EXPECT_FALSE(this->downloads().isUrl(std::string("http://host/\0a", 14)));
}

TYPED_TEST_P(DownloadServiceContract, BringsTheFile) {
  const auto result = this->fetched(this->maker_.servedUrl());
  EXPECT_FALSE(result.error);
  ASSERT_NE(result.file, nullptr);
  EXPECT_EQ(result.file->readAll(), this->maker_.content());
  EXPECT_EQ(result.file->readAll(), this->maker_.content()) << "a file can be read again";
}

TYPED_TEST_P(DownloadServiceContract, SaysWhyItFailed) {
  const auto result = this->fetched(this->maker_.failingUrl());
  EXPECT_EQ(result.file, nullptr);
  ASSERT_TRUE(result.error);
  EXPECT_NE(result.error->code, 0);
  EXPECT_TRUE(result.error->description);
}

TYPED_TEST_P(DownloadServiceContract, EndsEachDownloadOnceAndLetsGo) {
  constexpr std::int64_t kLast = -1'000'000;
  Arrivals<bool> letGo;
  std::shared_ptr<void> token(nullptr, [&](void*) { letGo.add(true); });
  for (int i = 0; i < 3; ++i) {
    this->downloads().download(this->maker_.servedUrl(), [this, token](DownloadResult result) {
      this->results_.add(std::move(result));
    });
  }
  token.reset();
  for (int i = 0; i < 3; ++i) this->maker_.settle();
  EXPECT_EQ(letGo.next(), true);
  // After this nothing can come.
  this->results_.add({DownloadError{kLast, "last"}, nullptr});
  const auto results = this->results_.next(4);
  ASSERT_EQ(results.size(), 4U);
  ASSERT_TRUE(results[3].error);
  EXPECT_EQ(results[3].error->code, kLast);
}

TYPED_TEST_P(DownloadServiceContract, AnHttpStatusOf400OrMoreIsAnError) {
  for (const int status : {400, 404, 429, 500, 503, 599}) {
    const auto url = this->maker_.refusedUrl(status);
    if (!url) GTEST_SKIP() << "no HTTP";
    const auto result = this->fetched(*url);
    EXPECT_EQ(result.file, nullptr) << status;
    EXPECT_TRUE(result.error) << status;
  }
}

REGISTER_TYPED_TEST_SUITE_P(DownloadServiceContract, KnowsAnAbsoluteUrl, BringsTheFile,
                            SaysWhyItFailed, EndsEachDownloadOnceAndLetsGo,
                            AnHttpStatusOf400OrMoreIsAnError);

}  // namespace vemo
