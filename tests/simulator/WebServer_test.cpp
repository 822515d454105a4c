#include "simulator/WebServer.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <vector>

#include "WebServerTest.h"

// The server as a program among others: requests, connections, time and descriptors.

namespace vemo::test {
namespace {

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
  const auto two = "GET / HTTP/1.1\r\nHost: " + host_ + "\r\nHost: evil.example\r\n\r\n";
  EXPECT_EQ(answerTo(two).result(), http::status::misdirected_request);
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
#ifdef VEMO_SANITIZES_UNDEFINED
    GTEST_SKIP() << "the sanitizer looks at objects through a pipe, for which nothing is left";
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

TEST_F(WebServerTest, SaysWhyItCannotOpen) {
  std::string error;
  WebServerOptions busy;
  busy.port = server_->port();
  busy.shellFolder = folder_.file("shell");
  EXPECT_FALSE(WebServer::open(busy, error));
  EXPECT_EQ(error, "Port " + std::to_string(busy.port) + " is in use by another program.");

  WebServerOptions missing;
  missing.shellFolder = folder_.file("nowhere");
  EXPECT_FALSE(WebServer::open(missing, error));
  EXPECT_EQ(error,
            "There is no built shell in " + missing.shellFolder.string() + " (no index.html).");
}

}  // namespace
}  // namespace vemo::test
