#include "platform/CurlDownloadService.h"

#include <curl/curl.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "HttpServer.h"
#include "testing/Arrivals.h"
#include "testing/contracts/DownloadService_contract.h"

namespace vemo {
namespace {

// The server is on this machine, whatever proxy the environment names for others.
const int noProxy = ::setenv("no_proxy", "*", 1);

constexpr std::size_t kMaxBytes = 100'000;

std::string content(std::size_t size) {
  std::string bytes;
  for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(i * i);
  return bytes;
}

/// What the test's server answers: the number at a target's end is a size or a count.
std::optional<std::string> answer(const std::string& target) {
  const auto slash = target.rfind('/');
  const auto kind = target.substr(0, slash);
  const auto number = std::stoul("0" + target.substr(slash + 1));
  if (kind == "/file") return HttpServer::ok(content(number));
  if (kind == "/unsized") return "HTTP/1.1 200 OK\r\n\r\n" + content(number);
  if (kind == "/cut") return "HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\nonly this";
  if (kind == "/redirects" && number > 0) {
    return HttpServer::redirect("/redirects/" + std::to_string(number - 1));
  }
  if (kind == "/redirects") return HttpServer::ok("arrived");
  if (kind == "/local") return HttpServer::redirect("file:///etc/hostname");
  if (kind == "/silent") return std::nullopt;
  return "HTTP/1.1 404 Not Found\r\nContent-Length: 2\r\n\r\nno";
}

struct CurlDownloadServiceMaker {
  DownloadService& downloads() { return service_; }
  std::string servedUrl() { return server_.url("/file/5000"); }
  std::string content() { return vemo::content(5000); }
  std::string failingUrl() { return server_.url("/missing/"); }
  void settle() {}

  HttpServer server_{answer};
  CurlDownloadService service_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(CurlDownloadService, DownloadServiceContract,
                               CurlDownloadServiceMaker);

struct CurlDownloadServiceTest : ::testing::Test {
  static CurlDownloadOptions options() {
    CurlDownloadOptions options;
    options.maxBytes = kMaxBytes;
    return options;
  }

  DownloadResult fetched(const std::string& url) { return fetched(url, service); }
  DownloadResult fetched(const std::string& url, CurlDownloadService& by) {
    by.download(url, [this](DownloadResult result) { results.add(std::move(result)); });
    return results.next().value_or(DownloadResult{});
  }

  /// Expects that `url` fails with `code`; the text that came with it.
  std::string expectError(const std::string& url, CURLcode code) {
    return expectError(url, code, service);
  }
  std::string expectError(const std::string& url, CURLcode code, CurlDownloadService& by) {
    const auto result = fetched(url, by);
    EXPECT_EQ(result.file, nullptr) << url;
    if (!result.error) {
      ADD_FAILURE() << url << " did not fail";
      return "";
    }
    EXPECT_EQ(result.error->code, code) << url << ": " << result.error->description.value_or("");
    return result.error->description.value_or("");
  }

  Arrivals<DownloadResult> results;
  HttpServer server{answer};
  CurlDownloadService service{options()};
};

TEST_F(CurlDownloadServiceTest, RefusesOtherSchemes) {
  for (const auto* url : {"file:///etc/hostname", "ftp://127.0.0.1/a", "data:,x", "gopher://h/",
                          "dict://h/", "unknown:rest", "FILE:/etc/hostname"}) {
    EXPECT_TRUE(service.isUrl(url)) << url;
    EXPECT_FALSE(expectError(url, CURLE_UNSUPPORTED_PROTOCOL).empty());
  }
}

TEST_F(CurlDownloadServiceTest, RefusesWhatIsNoUrl) {
  for (const auto* url : {"", "127.0.0.1/file", "http:", "http://a b/"}) {
    EXPECT_EQ(expectError(url, CURLE_URL_MALFORMAT), curl_easy_strerror(CURLE_URL_MALFORMAT));
  }
}

TEST_F(CurlDownloadServiceTest, TellsTheStatusOfARefusedRequest) {
  const auto text = expectError(server.url("/missing/"), CURLE_HTTP_RETURNED_ERROR);
  EXPECT_NE(text.find("404"), std::string::npos) << text;
}

TEST_F(CurlDownloadServiceTest, FetchesFilesUpToTheLimit) {
  for (const auto* kind : {"/file/", "/unsized/"}) {
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, kMaxBytes}) {
      const auto result = fetched(server.url(kind + std::to_string(size)));
      ASSERT_NE(result.file, nullptr) << kind << size;
      EXPECT_EQ(result.file->readAll(), content(size));
    }
  }
}

TEST_F(CurlDownloadServiceTest, RefusesLongerOnesWhetherTheirSizeIsToldOrNot) {
  for (const auto* kind : {"/file/", "/unsized/"}) {
    for (const std::size_t size : {kMaxBytes + 1, 10 * kMaxBytes}) {
      EXPECT_FALSE(
          expectError(server.url(kind + std::to_string(size)), CURLE_FILESIZE_EXCEEDED).empty());
    }
  }
}

TEST_F(CurlDownloadServiceTest, FollowsSomeRedirects) {
  const auto result = fetched(server.url("/redirects/5"));
  ASSERT_NE(result.file, nullptr);
  EXPECT_EQ(result.file->readAll(), "arrived");
  expectError(server.url("/redirects/6"), CURLE_TOO_MANY_REDIRECTS);
}

TEST_F(CurlDownloadServiceTest, FollowsNoRedirectToAnotherScheme) {
  expectError(server.url("/local/"), CURLE_UNSUPPORTED_PROTOCOL);
}

TEST_F(CurlDownloadServiceTest, GivesUpAfterTheTimeLimit) {
  auto hasty = options();
  hasty.timeLimit = std::chrono::milliseconds(50);
  CurlDownloadService impatient(hasty);
  expectError(server.url("/silent/"), CURLE_OPERATION_TIMEDOUT, impatient);
}

TEST_F(CurlDownloadServiceTest, TellsAFileThatWasCutShort) {
  expectError(server.url("/cut/"), CURLE_PARTIAL_FILE);
}

TEST_F(CurlDownloadServiceTest, TellsWhenNobodyListens) {
  std::string url;
  { url = HttpServer(answer).url("/file/1"); }
  EXPECT_FALSE(expectError(url, CURLE_COULDNT_CONNECT).empty());
}

TEST_F(CurlDownloadServiceTest, TellsWhenTheFileCannotBeWritten) {
  auto nowhere = options();
  nowhere.folder = "/nonexistent/folder";
  CurlDownloadService homeless(nowhere);
  expectError(server.url("/file/1"), CURLE_WRITE_ERROR, homeless);
}

TEST_F(CurlDownloadServiceTest, LeavesNoNamesInTheFolder) {
  std::string name = (std::filesystem::temp_directory_path() / "vemo-XXXXXX").string();
  ASSERT_NE(::mkdtemp(name.data()), nullptr);
  auto here = options();
  here.folder = name;
  CurlDownloadService tidy(here);
  const auto result = fetched(server.url("/file/1000"), tidy);
  EXPECT_TRUE(std::filesystem::is_empty(name));
  ASSERT_NE(result.file, nullptr);
  EXPECT_EQ(result.file->readAll(), content(1000));
  std::filesystem::remove(name);
}

TEST_F(CurlDownloadServiceTest, ADownloadThatHangsHoldsUpNoOther) {
  Arrivals<DownloadResult> hanging;
  CurlDownloadService busy(options());
  for (int i = 0; i < 3; ++i) {
    busy.download(server.url("/silent/"),
                  [&](DownloadResult result) { hanging.add(std::move(result)); });
  }
  EXPECT_NE(fetched(server.url("/file/10"), busy).file, nullptr);
  EXPECT_EQ(hanging.count(), 0U);
}

TEST_F(CurlDownloadServiceTest, RunsManyAtOnce) {
  constexpr std::size_t kCount = 60;
  for (std::size_t i = 0; i < kCount; ++i) {
    service.download(server.url("/file/" + std::to_string(i)),
                     [this](DownloadResult result) { results.add(std::move(result)); });
  }
  std::size_t bytes = 0;
  for (const auto& result : results.next(kCount)) {
    ASSERT_NE(result.file, nullptr);
    bytes += result.file->readAll().value_or("").size();
  }
  EXPECT_EQ(bytes, kCount * (kCount - 1) / 2);
}

TEST_F(CurlDownloadServiceTest, EndsWhatIsUnderWayWhenItDies) {
  auto dying = std::make_unique<CurlDownloadService>(options());
  for (int i = 0; i < 3; ++i) {
    dying->download(server.url("/silent/"),
                    [this](DownloadResult result) { results.add(std::move(result)); });
  }
  dying.reset();
  ASSERT_EQ(results.count(), 3U);
  for (const auto& result : results.next(3)) {
    ASSERT_TRUE(result.error);
    EXPECT_EQ(result.error->code, CURLE_ABORTED_BY_CALLBACK);
  }
}

TEST_F(CurlDownloadServiceTest, MayBeDestroyedByACallback) {
  auto dying = std::make_unique<CurlDownloadService>(options());
  dying->download(server.url("/silent/"),
                  [this](DownloadResult result) { results.add(std::move(result)); });
  dying->download(server.url("/file/1"), [&](DownloadResult) { dying.reset(); });
  const auto result = results.next();
  ASSERT_TRUE(result && result->error);
  EXPECT_EQ(result->error->code, CURLE_ABORTED_BY_CALLBACK);
}

TEST_F(CurlDownloadServiceTest, ACallbackMayStartAnother) {
  service.download(server.url("/file/1"), [this](DownloadResult) {
    service.download(server.url("/file/2"),
                     [this](DownloadResult result) { results.add(std::move(result)); });
  });
  const auto result = results.next();
  ASSERT_TRUE(result && result->file);
  EXPECT_EQ(result->file->readAll(), content(2));
}

TEST_F(CurlDownloadServiceTest, AFileOutlivesTheService) {
  auto gone = std::make_unique<CurlDownloadService>(options());
  const auto result = fetched(server.url("/file/100"), *gone);
  gone.reset();
  ASSERT_NE(result.file, nullptr);
  EXPECT_EQ(result.file->readAll(), content(100));
}

}  // namespace
}  // namespace vemo
