#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "simulator/PageAddress.h"
#include "simulator/PageSocket.h"

namespace vemo {

struct WebServerOptions {
  std::uint16_t port = 0;             ///< 0: any free one
  std::filesystem::path shellFolder;  ///< what is served, subfolders included
  /// Served at "/page/", if not empty, for the phones; and at "/" where the shell has no such file.
  std::filesystem::path pageFolder;
  std::optional<PageAddress> page;  ///< for the phones, where another server has their page
  /// Longer frames of a page end its connection. A page message travels quoted in a
  /// frame, which can make it longer by half or more.
  std::size_t maxFrameBytes = std::size_t{4} << 20U;
  /// A page for which more than this waits to be sent is dropped.
  std::size_t maxUnsentBytes = std::size_t{16} << 20U;
  /// How many pages are served at once; one more is refused with status 503.
  std::size_t maxPages = 100;
  /// How many other connections there may be: one more ends the one whose request has
  /// been waited for longest.
  std::size_t maxVisitors = 256;
  /// Until a request must have come whole, from when the connection was made or, for a
  /// later one, from the end of the answer before it.
  std::chrono::milliseconds requestTimeout{5'000};
  /// Takes a line for the operator that is about no page. Server's thread; returns at once.
  std::function<void(std::string_view line)> note = [](std::string_view) {};
};

struct WebServerState;

/// An HTTP server on the loopback interface: files of the shell and of a page, and a WebSocket at
/// "/phone" for pages of its own. Requests that name another host, and WebSockets of
/// pages that came from elsewhere, are refused, so no foreign page can reach it. Its
/// connections are limited in number and time, so that no client can shut others out.
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
