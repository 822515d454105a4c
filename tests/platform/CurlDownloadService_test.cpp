#include "platform/CurlDownloadService.h"

#include <curl/curl.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <future>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "HttpServer.h"
#include "platform/ForwardingPlatform.h"
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
  if (kind == "/unsized") return HttpServer::answer("200 OK", "", content(number));
  if (kind == "/cut") {
    return HttpServer::answer("200 OK", "Content-Length: 1000\r\n", "only this");
  }
  if (kind == "/more")
    return HttpServer::answer("200 OK", "Content-Length: 4\r\n", "four and more");
  if (kind == "/absurd") {
    return HttpServer::answer("200 OK", "Content-Length: 99999999999999999999\r\n", "x");
  }
  if (kind == "/loop") return HttpServer::redirect("/loop/");
  if (kind == "/redirects" && number > 0) {
    return HttpServer::redirect("/redirects/" + std::to_string(number - 1));
  }
  if (kind == "/redirects") return HttpServer::ok("arrived");
  if (kind == "/local") return HttpServer::redirect("file:///etc/hostname");
  if (kind == "/silent") return std::nullopt;
  if (kind == "/status") return HttpServer::sized(std::to_string(number) + " No", "no");
  if (kind == "/trailers") {
    std::string lines;
    for (std::size_t i = 0; i < number; ++i) lines += "T: " + std::string(1000, 't') + "\r\n";
    return HttpServer::answer("200 OK", "Transfer-Encoding: chunked\r\n",
                              "1\r\nx\r\n0\r\n" + lines + "\r\n");
  }
  if (kind == "/elsewhere") {
    return HttpServer::redirect("http://127.0.0.1:" + std::to_string(number) + "/file/1");
  }
  return HttpServer::sized("404 Not Found", "no");
}

/// With which the test's server can be reached.
CurlDownloadOptions reaching(const HttpServer& server) {
  CurlDownloadOptions options;
  options.maxBytes = kMaxBytes;
  options.loopbackPorts = {server.port()};
  return options;
}

struct CurlDownloadServiceMaker {
  DownloadService& downloads() { return service_; }
  std::string servedUrl() { return server_.url("/file/5000"); }
  std::string content() { return vemo::content(5000); }
  std::string failingUrl() { return server_.url("/missing/"); }
  std::optional<std::string> refusedUrl(int status) {
    return server_.url("/status/" + std::to_string(status));
  }
  void settle() {}

  HttpServer server_{answer};
  CurlDownloadService service_{reaching(server_)};
};
INSTANTIATE_TYPED_TEST_SUITE_P(CurlDownloadService, DownloadServiceContract,
                               CurlDownloadServiceMaker);

struct ForwardedCurlDownloadServiceMaker : CurlDownloadServiceMaker {
  DownloadService& downloads() { return forwarder_; }

  ForwardingDownloadService forwarder_{service_};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Forwarding, DownloadServiceContract,
                               ForwardedCurlDownloadServiceMaker);

struct CurlDownloadServiceTest : ::testing::Test {
  CurlDownloadOptions options() const { return reaching(server); }

  DownloadResult fetched(const std::string& url) { return fetched(url, service); }
  static DownloadResult fetched(const std::string& url, DownloadService& by) {
    const auto fetched = std::make_shared<Arrivals<DownloadResult>>();  // it may come too late
    by.download(url, [fetched](DownloadResult result) { fetched->add(std::move(result)); });
    return fetched->next().value_or(DownloadResult{});
  }

  /// Starts downloads that the server never answers; how they end goes to `results`.
  void hang(DownloadService& by, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      by.download(server.url("/silent/"),
                  [this](DownloadResult result) { results.add(std::move(result)); });
    }
  }

  /// Expects that `url` fails with `code`; the text that came with it.
  std::string expectError(const std::string& url, CURLcode code) {
    return expectError(url, code, service);
  }
  static std::string expectError(const std::string& url, CURLcode code, DownloadService& by) {
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

TEST_F(CurlDownloadServiceTest, KeepsNoEndlessLinesAfterTheFile) {
  const auto result = fetched(server.url("/trailers/400"));
  ASSERT_NE(result.file, nullptr);
  EXPECT_EQ(result.file->readAll(), "x");
  const auto text = expectError(server.url("/trailers/600"), CURLE_RECV_ERROR);
  EXPECT_EQ(text, "the server sends too many header lines");
}

TEST_F(CurlDownloadServiceTest, FollowsSomeRedirects) {
  const auto result = fetched(server.url("/redirects/5"));
  ASSERT_NE(result.file, nullptr);
  EXPECT_EQ(result.file->readAll(), "arrived");
  expectError(server.url("/redirects/6"), CURLE_TOO_MANY_REDIRECTS);
  expectError(server.url("/loop/"), CURLE_TOO_MANY_REDIRECTS);
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

TEST_F(CurlDownloadServiceTest, AFileEndsWhereItsLengthSays) {
  const auto result = fetched(server.url("/more/"));
  ASSERT_NE(result.file, nullptr);
  EXPECT_EQ(result.file->readAll(), "four");
}

TEST_F(CurlDownloadServiceTest, RefusesALengthThatNothingHas) {
  expectError(server.url("/absurd/"), CURLE_FILESIZE_EXCEEDED);
}

TEST_F(CurlDownloadServiceTest, GivesUpOnAServerThatDripsForEver) {
  const HttpServer dripping(answer, std::chrono::milliseconds(5));  // for minutes
  auto hasty = reaching(dripping);
  hasty.silenceLimit = std::chrono::seconds(1);  // which it never is
  hasty.timeLimit = std::chrono::milliseconds(200);
  CurlDownloadService impatient(hasty);
  expectError(dripping.url("/file/50000"), CURLE_OPERATION_TIMEDOUT, impatient);
}

TEST_F(CurlDownloadServiceTest, TellsWhenNobodyListens) {
  auto nobody = options();
  std::string url;
  {
    const HttpServer gone(answer);
    url = gone.url("/file/1");
    nobody.loopbackPorts.insert(gone.port());
  }
  CurlDownloadService lonely(nobody);
  const auto text = expectError(url, CURLE_COULDNT_CONNECT, lonely);
  EXPECT_EQ(text.find("public"), std::string::npos) << text;
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
  hang(service, 3);
  EXPECT_NE(fetched(server.url("/file/10")).file, nullptr);
  EXPECT_EQ(results.count(), 0U);
}

TEST_F(CurlDownloadServiceTest, HangingDownloadsOfOneKeepNoOtherWaiting) {
  std::vector<std::unique_ptr<DownloadService>> hanging;
  for (int i = 0; i < 10; ++i) {
    hanging.push_back(service.forRequester());
    hang(*hanging.back(), 20);
  }
  const auto other = service.forRequester();
  for (int i = 0; i < 5; ++i) {
    EXPECT_NE(fetched(server.url("/file/10"), *other).file, nullptr);
  }
  EXPECT_NE(fetched(server.url("/file/10")).file, nullptr);
  EXPECT_EQ(results.count(), 0U) << "a hanging download has ended already";
}

TEST_F(CurlDownloadServiceTest, WhoHasNoneComesBeforeWhoHasMany) {
  auto few = options();
  few.transfers = 2;
  few.silenceLimit = std::chrono::seconds(1);
  CurlDownloadService scarce(few);
  const auto greedy = scarce.forRequester();
  const auto modest = scarce.forRequester();
  hang(*greedy, 40);  // twenty pairs, one after the other
  EXPECT_NE(fetched(server.url("/file/10"), *modest).file, nullptr);
  EXPECT_LT(results.count(), 30U);
}

TEST_F(CurlDownloadServiceTest, GivesUpServersThatFallSilent) {
  auto hasty = options();
  hasty.silenceLimit = std::chrono::seconds(1);
  hasty.timeLimit = std::chrono::hours(1);
  CurlDownloadService impatient(hasty);
  expectError(server.url("/silent/"), CURLE_OPERATION_TIMEDOUT, impatient);
}

std::size_t openDescriptors() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

TEST_F(CurlDownloadServiceTest, ManyDownloadsAtASilentServerUseFewDescriptors) {
  constexpr std::size_t kCount = 1100;
  const auto own = CurlDownloadOptions();
  const auto refused = kCount - own.transfersOfARequester - own.waitingOfARequester;
  const auto before = openDescriptors();
  hang(service, kCount);
  for (const auto& result : results.next(refused)) {
    ASSERT_TRUE(result.error);
    EXPECT_EQ(result.error->code, CURLE_AGAIN);
    EXPECT_EQ(result.error->description, "too many downloads wait already");
  }
  // Both ends of each connection are here.
  EXPECT_LT(openDescriptors(), before + 40);
  EXPECT_NE(fetched(server.url("/file/10"), *service.forRequester()).file, nullptr);
  EXPECT_EQ(results.count(), 0U);
}

TEST_F(CurlDownloadServiceTest, TheEndOfARequesterEndsItsDownloadsAlone) {
  auto leaving = service.forRequester();
  hang(*leaving, 10);
  hang(service, 1);
  leaving.reset();
  ASSERT_EQ(results.count(), 10U);
  for (const auto& result : results.next(10)) {
    ASSERT_TRUE(result.error);
    EXPECT_EQ(result.error->code, CURLE_ABORTED_BY_CALLBACK);
  }
  EXPECT_NE(fetched(server.url("/file/10")).file, nullptr);
  EXPECT_EQ(results.count(), 0U);
}

TEST_F(CurlDownloadServiceTest, ARequesterMayBeDestroyedByItsCallback) {
  auto leaving = service.forRequester();
  Arrivals<bool> left;
  std::promise<void> go;
  leaving->download(server.url("/file/10"), [&](DownloadResult) {
    go.get_future().wait();
    leaving.reset();
    left.add(true);
  });
  hang(*leaving, 1);
  go.set_value();
  EXPECT_EQ(left.next(), true);
  const auto result = results.next();
  ASSERT_TRUE(result && result->error);
  EXPECT_EQ(result->error->code, CURLE_ABORTED_BY_CALLBACK);
}

TEST_F(CurlDownloadServiceTest, ARequesterMayOutliveTheService) {
  auto dying = std::make_unique<CurlDownloadService>(options());
  const auto requester = dying->forRequester();
  dying.reset();
  expectError(server.url("/file/10"), CURLE_ABORTED_BY_CALLBACK, *requester);
}

TEST_F(CurlDownloadServiceTest, ReachesNoPrivateAddress) {
  CurlDownloadService strict;
  const auto port = std::to_string(server.port());
  for (const auto* host :
       {"127.0.0.1", "localhost", "2130706433", "0x7f.1", "0.0.0.0", "[::1]", "[::ffff:127.0.0.1]",
        "[::]", "10.0.0.1", "169.254.169.254", "192.168.0.1", "[fe80::1]", "[fd00::1]"}) {
    const auto url = std::string("http://") + host + ":" + port + "/file/1";
    EXPECT_EQ(expectError(url, CURLE_COULDNT_CONNECT, strict), "the address is not a public one");
  }
}

TEST_F(CurlDownloadServiceTest, FollowsNoRedirectToAPrivateAddress) {
  const HttpServer secret(answer);
  const auto text =
      expectError(server.url("/elsewhere/" + std::to_string(secret.port())), CURLE_COULDNT_CONNECT);
  EXPECT_EQ(text, "the address is not a public one");

  auto both = options();
  both.loopbackPorts.insert(secret.port());
  CurlDownloadService trusting(both);
  EXPECT_NE(fetched(server.url("/elsewhere/" + std::to_string(secret.port())), trusting).file,
            nullptr);
}

TEST_F(CurlDownloadServiceTest, ReachesPrivateAddressesWhereItMay) {
  CurlDownloadOptions everywhere;
  everywhere.privateAddresses = true;
  CurlDownloadService trusting(everywhere);
  EXPECT_NE(fetched(server.url("/file/10"), trusting).file, nullptr);
}

TEST_F(CurlDownloadServiceTest, AProxyOfTheEnvironmentChoosesNoAddress) {
  HttpServer proxy([](const std::string&) { return HttpServer::ok("by proxy"); });
  ::setenv("no_proxy", "", 1);
  ::setenv("http_proxy", proxy.url("").c_str(), 1);
  auto strict = options();
  strict.loopbackPorts.insert(proxy.port());
  CurlDownloadService direct(strict);
  EXPECT_EQ(expectError("http://10.0.0.1/", CURLE_COULDNT_CONNECT, direct),
            "the address is not a public one");
  strict.privateAddresses = true;
  CurlDownloadService trusting(strict);
  const auto result = fetched("http://10.0.0.1/", trusting);
  ::unsetenv("http_proxy");
  ::setenv("no_proxy", "*", 1);
  ASSERT_NE(result.file, nullptr);
  EXPECT_EQ(result.file->readAll(), "by proxy");
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
  constexpr std::size_t kCount = 20;  // some wait for their turn
  hang(*dying, kCount);
  dying.reset();
  ASSERT_EQ(results.count(), kCount);
  for (const auto& result : results.next(kCount)) {
    ASSERT_TRUE(result.error);
    EXPECT_EQ(result.error->code, CURLE_ABORTED_BY_CALLBACK);
  }
}

TEST_F(CurlDownloadServiceTest, MayBeDestroyedByACallback) {
  auto dying = std::make_unique<CurlDownloadService>(options());
  std::promise<void> go;
  hang(*dying, 1);
  dying->download(server.url("/file/1"), [&](DownloadResult) {
    go.get_future().wait();
    dying.reset();
  });
  go.set_value();
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
