#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "platform/ByteBudget.h"
#include "simulator/PageSocket.h"
#include "simulator/WebServerState.h"

namespace vemo {

/// Tells how many bytes came, whatever they are, and limits nothing.
class ReadBytes final : public boost::beast::unlimited_rate_policy {
 public:
  explicit ReadBytes(std::function<void(std::size_t bytes)> tell) : tell_(std::move(tell)) {}

 private:
  friend class boost::beast::rate_policy_access;
  void transfer_read_bytes(std::size_t bytes) const {  // as the library calls it
    if (bytes > 0) tell_(bytes);
  }

  std::function<void(std::size_t bytes)> tell_;
};

using CountedStream =
    boost::beast::basic_stream<boost::asio::ip::tcp, boost::asio::any_io_executor, ReadBytes>;

/// A page's connection: what was read beyond its request comes first.
class PageStream final
    : public boost::beast::buffered_read_stream<CountedStream, boost::beast::flat_buffer> {
 public:
  PageStream(ReadBytes count, boost::asio::ip::tcp::socket socket,
             boost::beast::flat_buffer received)
      : buffered_read_stream(std::move(count), std::move(socket)) {
    buffer() = std::move(received);
  }
};

// How the WebSocket ends the connection below it; the server does so asynchronously alone.
template <class Handler>
void async_teardown(boost::beast::role_type role, PageStream& stream, Handler&& handler) {
  using boost::beast::websocket::async_teardown;
  async_teardown(role, stream.next_layer(), std::forward<Handler>(handler));
}

/// A page that is connected: reads its frames and writes what it is sent. The server's thread.
class PageConnection final : public std::enable_shared_from_this<PageConnection> {
 public:
  /// `received`: what was read behind the request.
  PageConnection(WebServerState& state, boost::asio::ip::tcp::socket socket,
                 boost::beast::flat_buffer received);
  ~PageConnection();
  PageConnection(const PageConnection&) = delete;
  PageConnection& operator=(const PageConnection&) = delete;

  /// Shakes hands as `request` asks for, and goes on until the page leaves.
  void start(const boost::beast::http::request<boost::beast::http::string_body>& request);

  void sayGoodbye();

  /// The page is gone: nothing of it is left when this returns.
  void finish();

 private:
  struct Frame {
    std::string what;  // of which only the latest counts, when the page is slow
    std::string text;
  };
  class Outbox;

  void read();
  void onBytes(std::size_t bytes);
  void onControl(std::size_t bytes);
  void cutOffSoon();
  void onRead(boost::beast::error_code problem);
  void flush();
  void write();
  void cutOff(const char* why);
  void drop(std::string_view why);
  void hangUp();

  WebServerState& state_;
  boost::beast::websocket::stream<PageStream, /*deflateSupported=*/false> stream_;
  boost::beast::flat_buffer buffer_;
  ByteBudget budget_;
  /// Bytes that came and are no text of a message; less than none where they were counted before.
  std::ptrdiff_t beside_ = 0;
  std::shared_ptr<Outbox> outbox_;
  std::unique_ptr<PageListener> listener_;
  std::deque<Frame> unsent_;
  bool writing_ = false;
  bool closing_ = false;  // a last word is on its way
  bool finished_ = false;
};

}  // namespace vemo
