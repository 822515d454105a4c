#pragma once

#include <gtest/gtest.h>

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "Folder.h"
#include "simulator/WebServer.h"

// A server with folders of its own, and what its visitors do.

namespace vemo::test {
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

inline constexpr std::chrono::seconds kPatience{20};

class WebServerTest : public testing::Test {
 public:
  ~WebServerTest() override {
    server_->stop();
    thread_.join();
  }

 protected:
  static constexpr const char* kToken = "0123456789abcdef0123456789abcdef";
  /// Where pages connect.
  static std::string phoneTarget(const std::string& token = kToken) {
    return "/phone?token=" + token;
  }
  /// For requests that are meant to take their time.
  static constexpr std::chrono::seconds kNever{600};

  explicit WebServerTest(std::chrono::milliseconds requestTimeout = kNever,
                         ByteRate pageRate = {std::size_t{1} << 40U, 0}) {
    folder_.write("shell/index.html", "<p>index</p>");
    folder_.write("shell/app.js", "let a;");
    folder_.write("shell/vemo-client.js", "let c;");
    folder_.write("shell/sub/style.css", "p {}");
    folder_.write("shell/.hidden", "secret");
    std::filesystem::create_symlink(".hidden", folder_.file("shell/shown.txt"));
    folder_.write("page/index.html", "<p>own</p>");
    folder_.write("page/more of it/index.html", "<p>more</p>");
    folder_.write("page/more of it/größe.mjs", "let g;");
    const auto secret = folder_.write("secret.txt", "secret");
    for (const auto* link : {"shell/link.txt", "page/link.txt"})
      std::filesystem::create_symlink(secret, folder_.file(link));

    WebServerOptions options;
    options.shellFolder = folder_.file("shell");
    options.pageFolder = folder_.file("page");
    options.token = kToken;
    options.maxFrameBytes = 50'000;
    options.maxUnsentBytes = 20'000'000;
    options.maxPages = 3;
    options.maxVisitors = 8;
    options.requestTimeout = requestTimeout;
    options.pageRate = pageRate;
    options.note = [this](std::string_view line) { notes_.add(line); };
    start(options);
  }

  void start(const WebServerOptions& options) {
    std::string error;
    server_ = WebServer::open(options, error);
    ASSERT_TRUE(server_) << error;
    host_ = "127.0.0.1:" + std::to_string(server_->port());
    thread_ = std::thread([this] {
      server_->run([this](std::shared_ptr<PageSocket> page) {
        return std::make_unique<Echo>(std::move(page), events_, troubles_);
      });
    });
  }

  tcp::socket connected() {
    tcp::socket socket(io_);
    socket.connect({asio::ip::address_v4::loopback(), server_->port()});
    return socket;
  }

  http::response<http::string_body> get(const std::string& target,
                                        http::verb verb = http::verb::get,
                                        const std::string& host = "",
                                        const std::string& range = "") {
    http::request<http::string_body> request(verb, target, 11);
    request.set(http::field::host, host.empty() ? host_ : host);
    if (!range.empty()) request.set(http::field::range, range);
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
                                                      const std::string& host = "",
                                                      const std::string& target = phoneTarget()) {
    auto stream = std::make_unique<Page>(connected());
    stream->set_option(websocket::stream_base::decorator([&](websocket::request_type& request) {
      if (!origin.empty()) request.set(http::field::origin, origin);
    }));
    websocket::response_type response;
    beast::error_code problem;
    stream->handshake(response, host.empty() ? host_ : host, target, problem);
    if (problem) stream.reset();
    return {std::move(stream), response.result()};
  }
  std::unique_ptr<Page> ownPage() { return page("http://" + host_).first; }

  static std::string read(Page& page) {
    beast::flat_buffer buffer;
    page.read(buffer);
    return beast::buffers_to_string(buffer.data());
  }

  const Folder folder_;
  Lines troubles_;
  Lines notes_;
  Lines events_;
  std::unique_ptr<WebServer> server_;
  std::string host_;
  std::thread thread_;
  asio::io_context io_;
};

}  // namespace vemo::test
