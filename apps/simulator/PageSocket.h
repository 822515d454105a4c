#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace vemo {

/// The server's end of one page's WebSocket. Any thread; a socket whose page is gone
/// swallows what it is given.
class PageSocket {
 public:
  virtual ~PageSocket() = default;

  /// Sends one text frame and returns at once; frames given by one thread arrive in
  /// the order in which it gave them. A page that doesn't read is dropped.
  virtual void send(std::string text) = 0;

  /// As send, for what comes again and again: while more than kSlowBytes wait, a frame of the same
  /// `what` that waits too is left out, and this takes its place behind all others.
  virtual void sendLatest(std::string_view what, std::string text) = 0;

  /// When so much waits to be sent, the page is slow.
  static constexpr std::size_t kSlowBytes = std::size_t{1} << 20U;

  /// How many bytes were given and are not sent yet.
  virtual std::size_t unsentBytes() const = 0;
};

/// Whoever talks with one page. Made, called and destroyed on the server's thread;
/// destroyed once the page is gone.
class PageListener {
 public:
  virtual ~PageListener() = default;

  /// One text frame of the page, valid UTF-8.
  virtual void onText(std::string_view text) = 0;

  /// The operator should know what the page did, such as "sent a binary frame; ignored".
  virtual void onTrouble(std::string_view what) = 0;
};

/// Makes the listener of a page that has just connected.
using PageListenerFactory =
    std::function<std::unique_ptr<PageListener>(std::shared_ptr<PageSocket> page)>;

}  // namespace vemo
