#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/buffer.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/address_v4.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <utility>

namespace vemo {

/// A web server on this machine, for tests. Each connection gets one answer and is closed,
/// which the answers must say: a client would else send its next request on it.
class HttpServer {
 public:
  /// The raw answer to a GET of `target`; nothing: none is ever given. Called on the
  /// server's thread.
  using Answer = std::function<std::optional<std::string>(const std::string& target)>;

  /// With a `pause`, answers are given byte by byte, and so long after each.
  explicit HttpServer(Answer answer, std::chrono::milliseconds pause = {})
      : answer_(std::move(answer)), pause_(pause) {
    boost::asio::co_spawn(work_, listen(), boost::asio::detached);
    thread_ = std::thread([this] { work_.run(); });  // once there is something to run
  }
  ~HttpServer() {
    work_.stop();
    thread_.join();
  }
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  std::uint16_t port() const { return acceptor_.local_endpoint().port(); }
  std::string url(const std::string& target) const {
    return "http://127.0.0.1:" + std::to_string(port()) + target;
  }

  /// An answer of this status, such as "200 OK", with these header lines.
  static std::string answer(const std::string& status, const std::string& lines,
                            const std::string& content = "") {
    return "HTTP/1.1 " + status + "\r\nConnection: close\r\n" + lines + "\r\n" + content;
  }
  static std::string sized(const std::string& status, const std::string& content) {
    return answer(status, "Content-Length: " + std::to_string(content.size()) + "\r\n", content);
  }
  static std::string ok(const std::string& content) { return sized("200 OK", content); }
  static std::string redirect(const std::string& to) {
    return answer("302 Found", "Content-Length: 0\r\nLocation: " + to + "\r\n");
  }

 private:
  using Socket = boost::asio::ip::tcp::socket;

  boost::asio::awaitable<void> listen() {
    for (;;) {
      auto socket = co_await acceptor_.async_accept(boost::asio::use_awaitable);
      boost::asio::co_spawn(work_, serve(std::move(socket)), boost::asio::detached);
    }
  }

  boost::asio::awaitable<void> serve(Socket socket) {
    std::string request;
    co_await boost::asio::async_read_until(socket, boost::asio::dynamic_buffer(request), "\r\n\r\n",
                                           boost::asio::use_awaitable);
    const auto start = request.find(' ') + 1;
    const auto answer = answer_(request.substr(start, request.find(' ', start) - start));
    if (!answer) {
      boost::asio::steady_timer never(work_, boost::asio::steady_timer::time_point::max());
      co_await never.async_wait(boost::asio::use_awaitable);
    } else if (pause_.count() == 0) {
      co_await boost::asio::async_write(socket, boost::asio::buffer(*answer),
                                        boost::asio::use_awaitable);
    } else {
      boost::asio::steady_timer pause(work_);
      for (const auto& byte : *answer) {
        co_await boost::asio::async_write(socket, boost::asio::buffer(&byte, 1),
                                          boost::asio::use_awaitable);
        pause.expires_after(pause_);
        co_await pause.async_wait(boost::asio::use_awaitable);
      }
    }
  }

  const Answer answer_;
  const std::chrono::milliseconds pause_;
  boost::asio::io_context work_;
  boost::asio::ip::tcp::acceptor acceptor_{work_, {boost::asio::ip::address_v4::loopback(), 0}};
  std::thread thread_;
};

}  // namespace vemo
