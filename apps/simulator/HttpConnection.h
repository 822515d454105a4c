#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <list>
#include <memory>
#include <optional>
#include <string_view>

#include "simulator/WebServerState.h"

namespace vemo {

/// One HTTP connection, until it ends or becomes a page's WebSocket. The server's thread.
class HttpConnection final : public std::enable_shared_from_this<HttpConnection> {
 public:
  HttpConnection(WebServerState& state, boost::asio::ip::tcp::socket socket);
  ~HttpConnection() { leave(); }
  HttpConnection(const HttpConnection&) = delete;
  HttpConnection& operator=(const HttpConnection&) = delete;

  /// Waits for a request, answers it, and so on.
  void read();
  /// Ends the connection.
  void drop();

 private:
  using Request = boost::beast::http::request<boost::beast::http::string_body>;

  void leave();
  void onRead(boost::beast::error_code problem);
  std::string_view refusal(const Request& request) const;
  bool namesThisServer(const Request& request) const;
  bool hasToken(std::string_view target) const;
  bool isFull() const { return state_.pageCount >= state_.options.maxPages; }
  void answer(const Request& request);
  void giveFile(const Request& request, std::string_view path);
  void tellOfPageServer(const Request& request);
  void refuse(boost::beast::http::status status, std::string_view sentence);
  template <class Body>
  void give(const Request& request, boost::beast::http::response<Body> response);
  template <class Body>
  void respond(boost::beast::http::response<Body> response, bool keepAlive);

  WebServerState& state_;
  boost::beast::tcp_stream stream_;
  boost::beast::flat_buffer buffer_;
  std::optional<boost::beast::http::request_parser<boost::beast::http::string_body>> parser_;
  const std::list<HttpConnection*>::iterator place_;
  bool hasLeft_ = false;
};

}  // namespace vemo
