#include <boost/asio/io_context.hpp>
#include <boost/asio/read_until.hpp>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "WebServerTest.h"

// What the server serves, and nothing else.

namespace vemo::test {
namespace {

constexpr auto* kPolicy = "Content-Security-Policy";

TEST_F(WebServerTest, ServesTheFilesOfItsFolder) {
  const auto index = get("/");
  EXPECT_EQ(index.result(), http::status::ok);
  EXPECT_EQ(index.body(), "<p>index</p>");
  EXPECT_EQ(index[http::field::content_type], "text/html; charset=utf-8");
  EXPECT_EQ(get("/app.js?v=1")[http::field::content_type], "text/javascript; charset=utf-8");
  EXPECT_EQ(get("/sub/style.css")[http::field::content_type], "text/css; charset=utf-8");
  const auto head = get("/app.js", http::verb::head);
  EXPECT_EQ(head[http::field::content_length], "6");
  EXPECT_EQ(head.body(), "");
}

TEST_F(WebServerTest, ServesAPartOfAFile) {
  folder_.write("page/film.mp4", "0123456789");
  folder_.write("page/empty.mp4", "");
  const auto part = [this](const std::string& range, http::verb verb = http::verb::get,
                           const std::string& file = "film") {
    return get("/page/" + file + ".mp4", verb, "", range);
  };
  struct Asked {
    std::string range, told, bytes;
  };
  for (const auto& [range, told, bytes] :
       {Asked{"bytes=2-4", "2-4", "234"}, Asked{"bytes=0-0", "0-0", "0"},
        Asked{"bytes=7-", "7-9", "789"}, Asked{"bytes=-3", "7-9", "789"},
        Asked{"bytes=-30", "0-9", "0123456789"}, Asked{"Bytes=8-99", "8-9", "89"},
        Asked{"bytes=9-99999999999999999999999", "9-9", "9"}}) {
    const auto response = part(range);
    EXPECT_EQ(response.result(), http::status::partial_content) << range;
    EXPECT_EQ(response[http::field::content_range], "bytes " + told + "/10") << range;
    EXPECT_EQ(response[http::field::content_length], std::to_string(bytes.size())) << range;
    EXPECT_EQ(response[http::field::content_type], "video/mp4") << range;
    EXPECT_EQ(response[kPolicy], "frame-ancestors 'self'") << range;
    EXPECT_EQ(response.body(), bytes) << range;
  }
  for (const auto* range :
       {"bytes=10-", "bytes=10-11", "bytes=99999999999999999999999-", "bytes=-0"}) {
    const auto response = part(range);
    EXPECT_EQ(response.result(), http::status::range_not_satisfiable) << range;
    EXPECT_EQ(response[http::field::content_range], "bytes */10") << range;
  }
  EXPECT_EQ(part("bytes=0-", http::verb::get, "empty").result(),
            http::status::range_not_satisfiable);

  // All of it, where the field is malformed, of another unit or asks for more than one part.
  for (const auto* range :
       {"bytes", "bytes=", "bytes=-", "bytes=4-2", "bytes=a-4", "bytes=2-b", "bytes=2-4 ,",
        "bytes=+2-4", "bytes=0x2-4", "bytes=2-4,6-7", "bytes=--4", "lines=2-4"}) {
    const auto response = part(range);
    EXPECT_EQ(response.result(), http::status::ok) << range;
    EXPECT_EQ(response.body(), "0123456789") << range;
    EXPECT_EQ(response[http::field::accept_ranges], "bytes") << range;
    EXPECT_EQ(response.count(http::field::content_range), 0U) << range;
  }
  for (const auto* more : {"If-Range: \"a\"\r\n", "Range: bytes=5-6\r\n"}) {
    const auto response = answerTo("GET /page/film.mp4 HTTP/1.1\r\nHost: " + host_ +
                                   "\r\nRange: bytes=2-4\r\n" + more + "\r\n");
    EXPECT_EQ(response.body(), "0123456789") << more;
  }
  EXPECT_EQ(part("bytes=-5", http::verb::get, "empty").result(), http::status::ok);
  const auto head = part("bytes=2-4", http::verb::head);
  EXPECT_EQ(head.result(), http::status::ok);
  EXPECT_EQ(head[http::field::content_length], "10");
  EXPECT_EQ(head[http::field::accept_ranges], "bytes");
}

TEST_F(WebServerTest, ServesAPageOfItsOwnFolder) {
  EXPECT_EQ(get("/page/").body(), "<p>own</p>");
  EXPECT_EQ(get("/page/more%20of%20it/?a=b").body(), "<p>more</p>");
  const auto script = get("/page/more%20of%20it/gr%C3%B6%c3%9Fe.mjs");
  EXPECT_EQ(script.body(), "let g;");
  EXPECT_EQ(script[http::field::content_type], "text/javascript; charset=utf-8");
  EXPECT_EQ(get("/page.json").body(), R"({"page":"/page/"})");
  EXPECT_EQ(get("/page.json?x").body(), R"({"page":"/page/"})");
  // What the page names from the root of its own server.
  EXPECT_EQ(get("/more%20of%20it/").body(), "<p>more</p>");
  EXPECT_EQ(get("/more%20of%20it/")[kPolicy], "frame-ancestors 'self'");
  EXPECT_EQ(get("/").body(), "<p>index</p>") << "the shell's own goes first";
  EXPECT_EQ(get("/none.js").result(), http::status::not_found);
  // A page may do what it does elsewhere; the shell may not.
  EXPECT_EQ(get("/page/")[kPolicy], "frame-ancestors 'self'");
  EXPECT_NE(get("/")[kPolicy].find("default-src 'self'"), std::string::npos);
}

TEST_F(WebServerTest, TheClientAloneIsForOtherOrigins) {
  EXPECT_EQ(get("/vemo-client.js")[http::field::access_control_allow_origin], "*");
  EXPECT_EQ(get("/vemo-client.js?v=1")["Cross-Origin-Resource-Policy"], "cross-origin");
  for (const auto* target : {"/", "/app.js", "/page/", "/page.json", "/none"}) {
    EXPECT_EQ(get(target).count(http::field::access_control_allow_origin), 0U) << target;
    EXPECT_EQ(get(target).count("Cross-Origin-Resource-Policy"), 0U) << target;
  }
}

TEST_F(WebServerTest, ServesNothingElse) {
  for (const auto* target : {"/none.txt",
                             "/../secret.txt",
                             "/sub/../../secret.txt",
                             "/..%2fsecret.txt",
                             "/%2e%2e/secret.txt",
                             "/..\\secret.txt",
                             "//etc/passwd",
                             "/.hidden",
                             "/link.txt",
                             "/shown.txt",
                             "/sub",
                             "/sub/",
                             "/index.html/",
                             "/index.html%00.js",
                             "etc/passwd",
                             "/page/link.txt",
                             "/page",
                             "/page/none.js",
                             "/page/../secret.txt",
                             "/page/%2e%2e/secret.txt",
                             "/page/index%2",
                             "/page/%",
                             "/page/index%zz",
                             "/page/more%20of%20it%2findex.html",
                             "/page//"}) {
    const auto response = get(target);
    EXPECT_EQ(response.result(), http::status::not_found) << target;
    EXPECT_EQ(response.body().find("secret"), std::string::npos) << target;
  }
  EXPECT_EQ(get("/", http::verb::post).result(), http::status::method_not_allowed);
  EXPECT_EQ(get(phoneTarget()).result(), http::status::upgrade_required);
}

TEST_F(WebServerTest, LetsOnlyTheNamedOriginIntoItsFrames) {
  WebServerOptions options;
  options.shellFolder = folder_.file("shell");
  options.page = pageAddressFrom("http://localhost:5173/lesson?a=b");
  server_->stop();
  thread_.join();
  start(options);
  EXPECT_EQ(get("/page.json").body(), R"({"page":"http://localhost:5173/lesson?a=b"})");
  const std::string policy = get("/")[kPolicy];
  EXPECT_NE(policy.find("frame-src 'self' http://localhost:5173;"), std::string::npos) << policy;
  EXPECT_NE(policy.find("connect-src 'self' http://localhost:5173;"), std::string::npos) << policy;
  EXPECT_EQ(get("/page/").result(), http::status::not_found);
}

TEST_F(WebServerTest, TellsWhetherThePagesServerTakesConnections) {
  EXPECT_EQ(get("/page-server.json").result(), http::status::not_found) << "no other has the page";
  asio::io_context context;
  tcp::acceptor pages(context, {asio::ip::address_v4::loopback(), 0});
  WebServerOptions options;
  options.shellFolder = folder_.file("shell");
  options.page =
      pageAddressFrom("http://localhost:" + std::to_string(pages.local_endpoint().port()));
  server_->stop();
  thread_.join();
  start(options);
  EXPECT_EQ(get("/page-server.json").body(), R"({"listens":true})");
  pages.close();
  EXPECT_EQ(get("/page-server.json").body(), R"({"listens":false})");
}

/// What the process has in memory, in KiB.
long residentMemory() {
  std::ifstream status("/proc/self/status");
  std::string word;
  while (status >> word && word != "VmRSS:") {
  }
  long size = 0;
  status >> size;
  return size;
}

TEST_F(WebServerTest, FilesThatAreReadSlowlyTakeLittleMemory) {
  constexpr std::size_t kFilmBytes = std::size_t{30} << 20U;
  std::filesystem::resize_file(folder_.write("page/film.mp4", ""), kFilmBytes);
  const auto before = residentMemory();
  std::vector<tcp::socket> readers;
  std::string head;
  for (int i = 0; i < 4; ++i) {
    auto& reader = readers.emplace_back(connected());
    asio::write(reader, asio::buffer("GET /page/film.mp4 HTTP/1.1\r\nHost: " + host_ + "\r\n\r\n"));
    head.clear();
    asio::read_until(reader, asio::dynamic_buffer(head), "\r\n\r\n");
  }
  EXPECT_LT(residentMemory() - before, 64 << 10);

  ASSERT_NE(head.find("\r\nContent-Length: " + std::to_string(kFilmBytes) + "\r\n"),
            std::string::npos)
      << head;
  auto received = head.size() - head.find("\r\n\r\n") - 4;
  for (std::vector<char> bytes(1U << 16U); received < kFilmBytes;)
    received += readers.back().read_some(asio::buffer(bytes));
  EXPECT_EQ(received, kFilmBytes);
}

}  // namespace
}  // namespace vemo::test
