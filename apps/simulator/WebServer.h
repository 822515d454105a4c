#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "simulator/PageSocket.h"
#include "simulator/WebServerOptions.h"

namespace vemo {

struct WebServerState;

/// An HTTP server on the loopback interface: files of the shell and of a page, and a WebSocket at
/// "/phone" for pages of its own. Requests that name another host, and WebSockets of
/// pages that came from elsewhere or were not told the token, are refused, so no foreign page and
/// no other user of the machine can reach it. Its connections are limited in number and time, so
/// that no client can shut others out.
///
/// Threads: run makes its caller the server's thread; post and stop from any.
class WebServer {
 public:
  /// A server that listens already; null, with a sentence in `error`, when it can't.
  static std::unique_ptr<WebServer> open(WebServerOptions options, std::string& error);
  ~WebServer();
  WebServer(const WebServer&) = delete;
  WebServer& operator=(const WebServer&) = delete;

  std::uint16_t port() const;

  /// Serves until stop; every listener has been destroyed when it returns.
  void run(PageListenerFactory makeListener);

  /// Runs `task` on the server's thread, in the order of posting.
  void post(std::function<void()> task);

  /// Says goodbye to all pages and ends run. More than once is no harm.
  void stop();

  /// Stops on SIGINT and SIGTERM.
  void stopOnSignals();

 private:
  explicit WebServer(std::unique_ptr<WebServerState> state);
  std::unique_ptr<WebServerState> state_;
};

}  // namespace vemo
