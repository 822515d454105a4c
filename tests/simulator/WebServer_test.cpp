#include "simulator/WebServer.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>
#include <condition_variable>
#include <fstream>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace vemo::test {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
namespace websocket = beast::websocket;
using asio::ip::tcp;

/// Lines, or anything else, that one thread adds and another waits for.
class Lines {
 public:
  void add(std::string_view line) {
    const std::lock_guard lock(mutex_);
    lines_.emplace_back(line);
    changed_.notify_all();
  }
  /// Waits until there are `count` lines.
  std::vector<std::string> wait(std::size_t count) {
    std::unique_lock lock(mutex_);
    EXPECT_TRUE(
        changed_.wait_for(lock, std::chrono::seconds(20), [&] { return lines_.size() >= count; }));
    return lines_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<std::string> lines_;
};

constexpr auto* kPolicy = "Content-Security-Policy";

/// Answers each frame by itself, "flood" and "much" by many of them and "hush" not at all.
class Echo final : public PageListener {
 public:
  Echo(std::shared_ptr<PageSocket> page, Lines& events, Lines& troubles)
      : page_(std::move(page)), events_(events), troubles_(troubles) {
    events_.add("came");
  }
  ~Echo() override { events_.add("left"); }

  void onText(std::string_view text) override {
    if (text == "flood") {
      for (int i = 0; i < 4000; ++i) page_->send(std::string(10'000, 'f'));
    } else if (text == "much") {
      for (int i = 0; i < 1900; ++i) page_->send(std::string(10'000, 'm'));
    } else if (text.starts_with("latest ")) {
      page_->sendLatest(text.substr(0, text.find(':')), std::string(text));
      events_.add("sent");
    } else if (text != "hush") {
      page_->send(std::string(text));
    }
  }
  void onTrouble(std::string_view what) override { troubles_.add(what); }

 private:
  std::shared_ptr<PageSocket> page_;
  Lines& events_;
  Lines& troubles_;
};

constexpr std::chrono::seconds kPatience{20};

class WebServerTest : public testing::Test {
 public:
  ~WebServerTest() override {
    server_->stop();
    thread_.join();
    std::filesystem::remove_all(folder_);
  }

 protected:
  /// For requests that are meant to take their time.
  static constexpr std::chrono::seconds kNever{600};

  explicit WebServerTest(std::chrono::milliseconds requestTimeout = kNever,
                         ByteRate pageRate = {std::size_t{1} << 40U, 0}) {
    std::filesystem::create_directories(folder_ / "shell" / "sub");
    std::filesystem::create_directories(folder_ / "page" / "more of it");
    write("shell/index.html", "<p>index</p>");
    write("shell/app.js", "let a;");
    write("shell/vemo-client.js", "let c;");
    write("shell/sub/style.css", "p {}");
    write("shell/.hidden", "secret");
    std::filesystem::create_symlink(".hidden", folder_ / "shell" / "shown.txt");
    write("page/index.html", "<p>own</p>");
    write("page/more of it/index.html", "<p>more</p>");
    write("page/more of it/größe.mjs", "let g;");
    write("secret.txt", "secret");
    for (const auto* served : {"shell", "page"})
      std::filesystem::create_symlink(folder_ / "secret.txt", folder_ / served / "link.txt");

    WebServerOptions options;
    options.shellFolder = folder_ / "shell";
    options.pageFolder = folder_ / "page";
    options.maxFrameBytes = 50'000;
    options.maxUnsentBytes = 20'000'000;
    options.maxPages = 3;
    options.maxVisitors = 8;
    options.requestTimeout = requestTimeout;
    options.pageRate = pageRate;
    options.note = [this](std::string_view line) { notes_.add(line); };
    std::string error;
    server_ = WebServer::open(options, error);
    EXPECT_TRUE(server_) << error;
    host_ = "127.0.0.1:" + std::to_string(server_->port());
    thread_ = std::thread([this] {
      server_->run([this](std::shared_ptr<PageSocket> page) {
        return std::make_unique<Echo>(std::move(page), events_, troubles_);
      });
    });
  }

  void write(const std::string& name, std::string_view text) const {
    std::ofstream(folder_ / name) << text;
  }

  tcp::socket connected() {
    tcp::socket socket(io_);
    socket.connect({asio::ip::address_v4::loopback(), server_->port()});
    return socket;
  }

  http::response<http::string_body> get(const std::string& target,
                                        http::verb verb = http::verb::get,
                                        const std::string& host = "") {
    http::request<http::string_body> request(verb, target, 11);
    request.set(http::field::host, host.empty() ? host_ : host);
    auto socket = connected();
    http::write(socket, request);
    beast::flat_buffer buffer;
    http::response_parser<http::string_body> parser;
    parser.skip(verb == http::verb::head);
    http::read(socket, buffer, parser);
    return parser.release();
  }

  /// The answer to bytes that need be no request.
  http::response<http::string_body> answerTo(const std::string& bytes) {
    auto socket = connected();
    asio::write(socket, asio::buffer(bytes));
    beast::flat_buffer buffer;
    http::response<http::string_body> response;
    http::read(socket, buffer, response);
    return response;
  }

  /// Whether the server ends this connection, or does so `within` some time.
  bool ends(tcp::socket& socket, std::chrono::milliseconds within = kPatience) {
    bool ended = false;
    char byte = 0;
    socket.async_read_some(asio::buffer(&byte, 1), [&](beast::error_code problem, std::size_t) {
      ended = problem && problem != asio::error::operation_aborted;
    });
    io_.restart();
    io_.run_for(within);
    if (!ended) {
      socket.cancel();
      io_.restart();
      io_.run();
    }
    return ended;
  }

  /// Sends `request` a byte at a time for as long as the server takes it.
  bool endsWhileTrickling(const std::string& request) {
    auto socket = connected();
    beast::error_code gone;
    for (const auto letter : request) {
      asio::write(socket, asio::buffer(&letter, 1), gone);
      if (gone || ends(socket, std::chrono::milliseconds(10))) return true;
    }
    return false;
  }

  using Page = websocket::stream<tcp::socket>;

  /// A page of `origin` that has shaken hands, or the refusal's status.
  std::pair<std::unique_ptr<Page>, http::status> page(const std::string& origin,
                                                      const std::string& host = "") {
    auto stream = std::make_unique<Page>(connected());
    stream->set_option(websocket::stream_base::decorator([&](websocket::request_type& request) {
      if (!origin.empty()) request.set(http::field::origin, origin);
    }));
    websocket::response_type response;
    beast::error_code problem;
    stream->handshake(response, host.empty() ? host_ : host, "/phone", problem);
    if (problem) stream.reset();
    return {std::move(stream), response.result()};
  }
  std::unique_ptr<Page> ownPage() { return page("http://" + host_).first; }

  static std::string read(Page& page) {
    beast::flat_buffer buffer;
    page.read(buffer);
    return beast::buffers_to_string(buffer.data());
  }

  const std::filesystem::path folder_ =
      std::filesystem::temp_directory_path() /
      ("vemo-web-" + std::to_string(getpid()) + "-" +
       testing::UnitTest::GetInstance()->current_test_info()->name());
  Lines troubles_;
  Lines notes_;
  Lines events_;
  std::unique_ptr<WebServer> server_;
  std::string host_;
  std::thread thread_;
  asio::io_context io_;
};

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

TEST_F(WebServerTest, ServesAPageOfItsOwnFolder) {
  EXPECT_EQ(get("/page/").body(), "<p>own</p>");
  EXPECT_EQ(get("/page/more%20of%20it/?a=b").body(), "<p>more</p>");
  const auto script = get("/page/more%20of%20it/gr%C3%B6%c3%9Fe.mjs");
  EXPECT_EQ(script.body(), "let g;");
  EXPECT_EQ(script[http::field::content_type], "text/javascript; charset=utf-8");
  EXPECT_EQ(get("/page.json").body(), R"({"page":"/page/"})");
  EXPECT_EQ(get("/page.json?x").body(), R"({"page":"/page/"})");
  // A page may do what it does elsewhere; the shell may not.
  EXPECT_EQ(get("/page/")[kPolicy], "frame-ancestors 'self'");
  EXPECT_NE(get("/")[kPolicy].find("default-src 'self'"), std::string::npos);
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
  write("page/film.mp4", "");
  std::filesystem::resize_file(folder_ / "page/film.mp4", kFilmBytes);
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

/// The socket of this process that is connected to `other`, or -1.
int peerOf(tcp::socket& other) {
  for (int descriptor = 0; descriptor < 1024; ++descriptor) {
    sockaddr_in peer{};
    socklen_t size = sizeof peer;
    if (getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) == 0 &&
        ntohs(peer.sin_port) == other.local_endpoint().port())
      return descriptor;
  }
  return -1;
}

TEST_F(WebServerTest, AFrameWaitsForNoAcknowledgementOfTheOneBefore) {
  const auto mine = ownPage();
  ASSERT_TRUE(mine);
  int noDelay = 0;
  socklen_t size = sizeof noDelay;
  getsockopt(peerOf(mine->next_layer()), IPPROTO_TCP, TCP_NODELAY, &noDelay, &size);
  EXPECT_NE(noDelay, 0);
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
  EXPECT_EQ(get("/phone").result(), http::status::upgrade_required);
}

TEST_F(WebServerTest, RefusesWhatIsNoProperRequest) {
  EXPECT_EQ(answerTo("what is this?\r\n\r\n").result(), http::status::bad_request);
  EXPECT_EQ(answerTo("GET / HTTP/1.1\r\nX: " + std::string(20'000, 'x')).result(),
            http::status::request_header_fields_too_large);
  EXPECT_EQ(answerTo("POST / HTTP/1.1\r\nContent-Length: 99999999\r\n\r\n").result(),
            http::status::payload_too_large);
  EXPECT_EQ(get("/").result(), http::status::ok);
}

TEST_F(WebServerTest, AnswersOnlyToItsOwnName) {
  EXPECT_EQ(get("/", http::verb::get, "evil.example").result(), http::status::misdirected_request);
  EXPECT_EQ(get("/", http::verb::get, "127.0.0.1:1").result(), http::status::misdirected_request);
  const auto port = host_.substr(host_.find(':'));
  EXPECT_EQ(get("/", http::verb::get, "localhost" + port).result(), http::status::ok);
}

TEST_F(WebServerTest, LetsOnlyItsOwnPagesConnect) {
  const auto port = host_.substr(host_.find(':'));
  EXPECT_EQ(page("http://evil.example").second, http::status::forbidden);
  EXPECT_EQ(page("https://" + host_).second, http::status::forbidden);
  EXPECT_EQ(page("null").second, http::status::forbidden);
  EXPECT_EQ(page("").second, http::status::forbidden);
  EXPECT_EQ(page("http://evil.example" + port, "evil.example" + port).second,
            http::status::forbidden);
  EXPECT_TRUE(page("http://" + host_).first);
  EXPECT_TRUE(page("http://localhost" + port, "localhost" + port).first);
}

TEST_F(WebServerTest, RefusesAPageOfTwoOrigins) {
  for (const auto* second : {"http://elsewhere.example", "http://127.0.0.1:1"}) {
    const auto answer = answerTo(
        "GET /phone HTTP/1.1\r\nHost: " + host_ + "\r\nOrigin: http://" + host_ +
        "\r\nOrigin: " + second +
        "\r\nConnection: Upgrade\r\nUpgrade: websocket\r\n"
        "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: AAAAAAAAAAAAAAAAAAAAAA==\r\n\r\n");
    EXPECT_EQ(answer.result(), http::status::forbidden) << second;
  }
}

TEST_F(WebServerTest, CarriesFramesInOrder) {
  const auto mine = ownPage();
  ASSERT_TRUE(mine);
  for (const auto* text : {"one", "two", "three"}) mine->write(asio::buffer(std::string(text)));
  EXPECT_EQ(read(*mine), "one");
  EXPECT_EQ(read(*mine), "two");
  EXPECT_EQ(read(*mine), "three");
}

TEST_F(WebServerTest, AListenerGoesWithItsPage) {
  auto mine = ownPage();
  ASSERT_TRUE(mine);
  EXPECT_EQ(events_.wait(1).back(), "came");
  mine->close(websocket::close_code::normal);
  EXPECT_EQ(events_.wait(2).back(), "left");

  auto torn = ownPage();
  events_.wait(3);
  torn->next_layer().close();
  EXPECT_EQ(events_.wait(4).back(), "left");
}

TEST_F(WebServerTest, IgnoresBinaryFramesAndEndsOnTooLongOnes) {
  const auto mine = ownPage();
  ASSERT_TRUE(mine);
  mine->binary(true);
  mine->write(asio::buffer(std::string("bits")));
  mine->text(true);
  mine->write(asio::buffer(std::string("still here")));
  EXPECT_EQ(read(*mine), "still here");
  EXPECT_EQ(troubles_.wait(1).back(), "sent a binary frame; ignored");

  beast::error_code problem;
  mine->write(asio::buffer(std::string(60'000, 'x')), problem);
  EXPECT_EQ(events_.wait(2).back(), "left");
  EXPECT_EQ(troubles_.wait(2).back(), "was dropped: it sent a frame that is too long");
}

TEST_F(WebServerTest, EndsOnBrokenText) {
  const auto mine = ownPage();
  ASSERT_TRUE(mine);
  beast::error_code problem;
  mine->write(asio::buffer(std::string("\xff\xfe")), problem);
  beast::flat_buffer buffer;
  mine->read(buffer, problem);
  EXPECT_EQ(problem, websocket::error::closed);
  EXPECT_EQ(mine->reason().code, websocket::close_code::bad_payload);
  EXPECT_EQ(events_.wait(2).back(), "left");
}

TEST_F(WebServerTest, DropsAPageThatDoesNotRead) {
  const auto slow = ownPage();
  ASSERT_TRUE(slow);
  slow->write(asio::buffer(std::string("flood")));
  EXPECT_EQ(troubles_.wait(1).back(), "was dropped: it doesn't read what it is sent");
  EXPECT_EQ(events_.wait(2).back(), "left");

  const auto other = ownPage();
  other->write(asio::buffer(std::string("hello")));
  EXPECT_EQ(read(*other), "hello");
}

TEST_F(WebServerTest, OfWhatComesAgainASlowPageGetsTheLatest) {
  const auto slow = ownPage();
  ASSERT_TRUE(slow);
  slow->write(asio::buffer(std::string("latest a:1")));
  slow->write(asio::buffer(std::string("latest a:2")));
  EXPECT_EQ(read(*slow), "latest a:1") << "it is not slow yet";
  EXPECT_EQ(read(*slow), "latest a:2");
  events_.wait(3);

  slow->write(asio::buffer(std::string("much")));
  for (const auto* text : {"latest a:3", "latest b:1", "one", "latest a:4", "two", "latest a:5"})
    slow->write(asio::buffer(std::string(text)));
  events_.wait(7);  // all that is sent waits behind what is not read
  for (int i = 0; i < 1900; ++i) ASSERT_EQ(read(*slow).size(), 10'000U);
  for (const auto* text : {"latest b:1", "one", "two", "latest a:5"}) EXPECT_EQ(read(*slow), text);
  slow->write(asio::buffer(std::string("latest a:6")));
  EXPECT_EQ(read(*slow), "latest a:6");
}

TEST_F(WebServerTest, HearsFramesThatCameWithTheHandshake) {
  auto socket = connected();
  const std::string request = "GET /phone HTTP/1.1\r\nHost: " + host_ + "\r\nOrigin: http://" +
                              host_ +
                              "\r\nConnection: Upgrade\r\nUpgrade: websocket\r\n"
                              "Sec-WebSocket-Version: 13\r\n"
                              "Sec-WebSocket-Key: AAAAAAAAAAAAAAAAAAAAAA==\r\n\r\n";
  const std::string mask(4, '\0');
  const auto frame = [&](const std::string& text) {
    return "\x81" + std::string(1, static_cast<char>(0x80U | text.size())) + mask + text;
  };
  const auto second = frame("second");
  asio::write(socket, asio::buffer(request + frame("first") + second.substr(0, 3)));
  asio::write(socket, asio::buffer(second.substr(3) + frame("third")));
  std::string answer;
  asio::read_until(socket, asio::dynamic_buffer(answer), "\x81\x05third");
  EXPECT_EQ(answer.substr(answer.find("\r\n\r\n") + 4),
            "\x81\x05"
            "first\x81\x06second\x81\x05third");
}

TEST_F(WebServerTest, APageThatFloodsItDoesNotHoldUpTheOthers) {
  const auto flooding = ownPage();
  const auto mine = ownPage();
  ASSERT_TRUE(flooding && mine);
  std::atomic<bool> enough = false;
  std::atomic<std::size_t> sent = 0;
  std::thread flood([&] {
    beast::error_code problem;
    while (!enough && !problem) {
      flooding->write(asio::buffer("hush", 4), problem);
      ++sent;
    }
    EXPECT_FALSE(problem) << problem.message();
  });
  while (sent < 1000) std::this_thread::yield();
  for (int round = 0; round < 50; ++round) {
    mine->write(asio::buffer(std::to_string(round)));
    EXPECT_EQ(read(*mine), std::to_string(round));
  }
  enough = true;
  flood.join();
}

class StrictWebServerTest : public WebServerTest {
 protected:
  static constexpr int kFrames = 20;

  StrictWebServerTest() : WebServerTest(kNever, {kFrames * WebServerOptions::kFrameBytes, 0}) {}
};

TEST_F(StrictWebServerTest, APageThatSendsTooMuchIsCutOffAndToldSo) {
  for (const auto& [frame, taken] :
       {std::pair(std::string(), kFrames),
        {std::string(WebServerOptions::kFrameBytes, 'x'), kFrames / 2}}) {
    const auto flooding = ownPage();
    ASSERT_TRUE(flooding);
    for (int i = 0; i < taken; ++i) {
      flooding->write(asio::buffer(frame));
      EXPECT_EQ(read(*flooding), frame);
    }
    flooding->write(asio::buffer(frame));
    beast::flat_buffer buffer;
    beast::error_code problem;
    flooding->read(buffer, problem);
    EXPECT_EQ(problem, websocket::error::closed);
    EXPECT_EQ(flooding->reason().code, websocket::close_code::policy_error);
    EXPECT_EQ(flooding->reason().reason, "it sent more than a page may");
  }
  EXPECT_EQ(troubles_.wait(2).back(), "was cut off: it sent more than a page may");
  EXPECT_EQ(events_.wait(4).back(), "left");
}

TEST_F(StrictWebServerTest, APageThatFloodsAndDoesNotReadIsCutOffAndTheOthersGoOn) {
  const auto mine = ownPage();
  const auto flooding = ownPage();
  ASSERT_TRUE(mine && flooding);
  flooding->write(asio::buffer(std::string("flood")));  // answers that nobody reads
  beast::error_code gone;
  for (int i = 0; i < 10 * kFrames && !gone; ++i) flooding->write(asio::buffer("hush", 4), gone);
  EXPECT_TRUE(troubles_.wait(1).back().starts_with("was "));
  EXPECT_EQ(events_.wait(3).back(), "left");
  mine->write(asio::buffer(std::string("still here")));
  EXPECT_EQ(read(*mine), "still here");
}

TEST_F(WebServerTest, TakesOnlySoManyPages) {
  std::vector<std::unique_ptr<Page>> pages;
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(pages.emplace_back(ownPage()));
  events_.wait(3);
  http::request<http::empty_body> request(http::verb::get, "/phone", 11);
  request.set(http::field::host, host_);
  request.set(http::field::origin, "http://" + host_);
  request.set(http::field::connection, "Upgrade");
  request.set(http::field::upgrade, "websocket");
  request.set(http::field::sec_websocket_version, "13");
  request.set(http::field::sec_websocket_key, "AAAAAAAAAAAAAAAAAAAAAA==");
  auto socket = connected();
  http::write(socket, request);
  beast::flat_buffer buffer;
  http::response<http::string_body> response;
  http::read(socket, buffer, response);
  EXPECT_EQ(response.result(), http::status::service_unavailable);
  EXPECT_EQ(response.body(), "There are as many pages as this server takes; close one first.\n");
  EXPECT_EQ(get("/").result(), http::status::ok);

  pages.back()->close(websocket::close_code::normal);
  EXPECT_EQ(events_.wait(4).back(), "left");
  EXPECT_TRUE(ownPage());
}

TEST_F(WebServerTest, HalfOpenConnectionsShutNobodyOut) {
  std::vector<tcp::socket> halfOpen;
  for (int i = 0; i < 200; ++i) {
    auto& socket = halfOpen.emplace_back(connected());
    beast::error_code ended;
    asio::write(socket, asio::buffer(std::string("GET / HT")), ended);
  }
  EXPECT_EQ(get("/").result(), http::status::ok);
  EXPECT_TRUE(ends(halfOpen.front())) << "the oldest makes room";
  EXPECT_FALSE(ends(halfOpen.back(), std::chrono::milliseconds(1)));
}

class HastyWebServerTest : public WebServerTest {
 protected:
  HastyWebServerTest() : WebServerTest(std::chrono::milliseconds(200)) {}
};

TEST_F(HastyWebServerTest, EndsConnectionsWhoseRequestTakesTooLong) {
  auto silent = connected();
  EXPECT_TRUE(ends(silent));
  EXPECT_TRUE(endsWhileTrickling("GET / HTTP/1.1\r\nX: " + std::string(10'000, 'x')));
  EXPECT_TRUE(endsWhileTrickling("POST / HTTP/1.1\r\nContent-Length: 1000\r\n\r\n" +
                                 std::string(999, 'x')));
}

TEST_F(HastyWebServerTest, LetsPagesBeSilent) {
  const auto mine = ownPage();
  ASSERT_TRUE(mine);
  auto silent = connected();
  EXPECT_TRUE(ends(silent));  // so the time is over for the page too
  mine->write(asio::buffer(std::string("still here")));
  EXPECT_EQ(read(*mine), "still here");
}

/// Takes all the file descriptors that the process may have, but for a given number.
class NoDescriptors {
 public:
  NoDescriptors() {
    getrlimit(RLIMIT_NOFILE, &former_);
    const int next = open("/dev/null", O_RDONLY);
    taken_.push_back(next);
    auto limit = former_;
    limit.rlim_cur = static_cast<rlim_t>(next) + 50;
    setrlimit(RLIMIT_NOFILE, &limit);
    for (int taken = 0; (taken = open("/dev/null", O_RDONLY)) >= 0;) taken_.push_back(taken);
  }
  ~NoDescriptors() {
    for (const int descriptor : taken_) ::close(descriptor);
    setrlimit(RLIMIT_NOFILE, &former_);
  }
  NoDescriptors(const NoDescriptors&) = delete;
  NoDescriptors& operator=(const NoDescriptors&) = delete;

 private:
  rlimit former_{};
  std::vector<int> taken_;
};

class WebServerWithoutDescriptorsTest : public WebServerTest {
 protected:
  void SetUp() override {
#ifdef __SANITIZE_ADDRESS__
    // Without a descriptor left, the sanitizer here reports objects that every other build
    // finds in order.
    GTEST_SKIP() << "with no descriptor left, the sanitizer reports sound objects as broken";
#endif
  }
};

TEST_F(WebServerWithoutDescriptorsTest, TurnsNewcomersAway) {
  const tcp::endpoint address(asio::ip::address_v4::loopback(), server_->port());
  const auto mine = ownPage();
  ASSERT_TRUE(mine);
  std::vector<tcp::socket> newcomers;
  for (int i = 0; i < 5; ++i) newcomers.emplace_back(io_).open(tcp::v4());
  {
    const NoDescriptors none;
    for (auto& newcomer : newcomers) {
      newcomer.connect(address);
      EXPECT_TRUE(ends(newcomer));
    }
    mine->write(asio::buffer(std::string("still here")));
    EXPECT_EQ(read(*mine), "still here");
  }
  EXPECT_EQ(get("/").result(), http::status::ok);
  EXPECT_EQ(notes_.wait(1),
            std::vector<std::string>{"can't accept a connection: Too many open files"});
}

TEST_F(WebServerWithoutDescriptorsTest, AConnectionThatIdlesMakesRoom) {
  const tcp::endpoint address(asio::ip::address_v4::loopback(), server_->port());
  tcp::socket idle = connected();
  asio::write(idle, asio::buffer(std::string("POST / HTTP/1.1\r\n\r\n")));
  beast::flat_buffer buffer;
  http::response<http::string_body> response;
  http::read(idle, buffer, response);  // the server has it

  tcp::socket newcomer(io_);
  newcomer.open(tcp::v4());
  {
    const NoDescriptors none;
    newcomer.connect(address);
    asio::write(newcomer, asio::buffer("POST / HTTP/1.1\r\nHost: " + host_ + "\r\n\r\n"));
    http::response<http::string_body> answer;
    http::read(newcomer, buffer, answer);
    EXPECT_EQ(answer.result(), http::status::method_not_allowed);
  }
  EXPECT_TRUE(ends(idle));
}

TEST_F(WebServerTest, SaysGoodbyeWhenItStops) {
  const auto mine = ownPage();
  ASSERT_TRUE(mine);
  events_.wait(1);  // the server knows too that it is connected
  server_->stop();
  beast::flat_buffer buffer;
  beast::error_code problem;
  mine->read(buffer, problem);
  EXPECT_EQ(problem, websocket::error::closed);
  EXPECT_EQ(mine->reason().code, websocket::close_code::going_away);
  EXPECT_EQ(events_.wait(2).back(), "left");
}

TEST_F(WebServerTest, TasksRunOnItsThreadInOrder) {
  Lines done;
  for (const auto* name : {"a", "b", "c"}) {
    server_->post([&done, name, this] {
      EXPECT_EQ(std::this_thread::get_id(), thread_.get_id());
      done.add(name);
    });
  }
  EXPECT_EQ(done.wait(3), (std::vector<std::string>{"a", "b", "c"}));
}

TEST_F(WebServerTest, LetsOnlyTheNamedOriginIntoItsFrames) {
  WebServerOptions options;
  options.shellFolder = folder_ / "shell";
  options.page = pageAddressFrom("http://localhost:5173/lesson?a=b");
  server_->stop();
  thread_.join();
  std::string error;
  server_.reset();
  server_ = WebServer::open(options, error);
  ASSERT_TRUE(server_) << error;
  host_ = "127.0.0.1:" + std::to_string(server_->port());
  thread_ = std::thread([this] {
    server_->run([this](std::shared_ptr<PageSocket> page) {
      return std::make_unique<Echo>(std::move(page), events_, troubles_);
    });
  });
  EXPECT_EQ(get("/page.json").body(), R"({"page":"http://localhost:5173/lesson?a=b"})");
  const std::string policy = get("/")[kPolicy];
  EXPECT_NE(policy.find("frame-src 'self' http://localhost:5173;"), std::string::npos) << policy;
  EXPECT_NE(policy.find("connect-src 'self' http://localhost:5173;"), std::string::npos) << policy;
  EXPECT_EQ(get("/page/").result(), http::status::not_found);
}

TEST_F(WebServerTest, SaysWhyItCannotOpen) {
  std::string error;
  WebServerOptions busy;
  busy.port = server_->port();
  busy.shellFolder = folder_ / "shell";
  EXPECT_FALSE(WebServer::open(busy, error));
  EXPECT_EQ(error, "Port " + std::to_string(busy.port) + " is in use by another program.");

  WebServerOptions missing;
  missing.shellFolder = folder_ / "nowhere";
  EXPECT_FALSE(WebServer::open(missing, error));
  EXPECT_EQ(error,
            "There is no built shell in " + missing.shellFolder.string() + " (no index.html).");
}

}  // namespace
}  // namespace vemo::test
