#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cstddef>
#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "simulator/Descriptors.h"
#include "simulator/PageSocket.h"
#include "simulator/WebServerOptions.h"

namespace vemo {

class HttpConnection;
class PageConnection;

/// What a server and its connections share. The server's thread.
struct WebServerState {
  /// Where the page for the phones is served.
  static constexpr std::string_view kPagePath = "/page/";

  explicit WebServerState(WebServerOptions given) : options(std::move(given)) {}

  WebServerOptions options;
  std::list<HttpConnection*> visitors;  // the one that was last heard of longest ago first
  boost::asio::io_context io{1};
  boost::asio::ip::tcp::acceptor acceptor{io};
  boost::asio::signal_set signals{io};
  boost::asio::steady_timer pause{io};
  boost::asio::steady_timer farewell{io};
  std::vector<std::string> hosts;  // the names by which the server may be called
  PageListenerFactory makeListener;
  std::vector<std::weak_ptr<PageConnection>> pages;
  std::size_t pageCount = 0;
  bool stopping = false;
  SpareDescriptor spare;
  bool inTrouble = false;  // with accepting, of which the operator was told

  void accept();
  void admit(boost::asio::ip::tcp::socket socket);
  /// Ends the visitor that was last heard of longest ago; false when there is none.
  bool dropVisitor();
  /// Turns a newcomer away for whom there is no descriptor; false when that is impossible.
  bool turnAway();
  void stop();
  void pageLeft();

  bool knowsHost(std::string_view host) const;
  bool knowsOrigin(std::string_view origin) const;
};

}  // namespace vemo
