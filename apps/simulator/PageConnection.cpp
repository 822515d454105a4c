#include "simulator/PageConnection.h"

#include <algorithm>
#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <chrono>
#include <cstddef>
#include <mutex>

namespace vemo {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
namespace websocket = beast::websocket;

namespace {

/// More than a frame has beside its text. Of a message that comes in parts, which may be empty, so
/// many bytes that are no text count as a frame.
constexpr std::ptrdiff_t kHeaderBytes = 64;
/// What may come beside the text of one message.
constexpr std::size_t kMostBeside = std::size_t{64} << 10U;
/// For a page to hear why it is cut off.
constexpr std::chrono::seconds kLastWord{1};
constexpr const char* kTooMuch = "it sent more than a page may";

}  // namespace

/// What is to be sent to one page. Handed out to any thread, so it knows when the
/// connection, and with it the server's loop, is no longer there.
class PageConnection::Outbox final : public PageSocket {
 public:
  Outbox(asio::io_context& io, std::size_t limit) : io_(io), limit_(limit) {}

  void attach(std::weak_ptr<PageConnection> connection) { connection_ = std::move(connection); }

  void send(std::string text) override { add({}, std::move(text)); }
  void sendLatest(std::string_view what, std::string text) override { add(what, std::move(text)); }

  std::size_t unsentBytes() const override {
    const std::lock_guard lock(mutex_);
    return unsent_;
  }

  /// Whether the page reads too slowly.
  bool overflows() const { return unsentBytes() > limit_; }
  /// The frames that wait, oldest first.
  std::deque<Frame> take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(frames_, {});
  }
  /// The connection looks from now on for what was added before.
  void wasScheduled() {
    const std::lock_guard lock(mutex_);
    scheduled_ = false;
  }

  void wasSent(std::size_t bytes) {
    const std::lock_guard lock(mutex_);
    unsent_ -= bytes;
  }

  void close() {
    std::deque<Frame> unsent;  // freed without the lock
    const std::lock_guard lock(mutex_);
    closed_ = true;
    unsent.swap(frames_);
  }

 private:
  void add(std::string_view what, std::string text) {
    const std::lock_guard lock(mutex_);
    if (closed_ || unsent_ > limit_) return;
    if (!what.empty() && unsent_ > kSlowBytes) {
      const auto former = std::ranges::find(frames_, what, &Frame::what);
      if (former != frames_.end()) {
        unsent_ -= former->text.size();
        frames_.erase(former);
      }
    }
    unsent_ += text.size();
    frames_.push_back({std::string(what), std::move(text)});
    if (std::exchange(scheduled_, true)) return;
    // Under the lock, so that close() returns only when no one uses the loop any more.
    asio::post(io_, [connection = connection_] {
      if (const auto page = connection.lock()) page->flush();
    });
  }

  asio::io_context& io_;
  const std::size_t limit_;
  std::weak_ptr<PageConnection> connection_;
  mutable std::mutex mutex_;
  std::deque<Frame> frames_;
  std::size_t unsent_ = 0;
  bool scheduled_ = false;
  bool closed_ = false;
};

PageConnection::PageConnection(WebServerState& state, asio::ip::tcp::socket socket,
                               beast::flat_buffer received)
    : state_(state),
      stream_(ReadBytes([this](std::size_t bytes) { onBytes(bytes); }), std::move(socket),
              std::move(received)),
      budget_(state.options.pageRate, std::chrono::steady_clock::now()),
      outbox_(std::make_shared<Outbox>(state.io, state.options.maxUnsentBytes)) {
  ++state_.pageCount;
}

PageConnection::~PageConnection() { finish(); }

void PageConnection::start(const http::request<http::string_body>& request) {
  outbox_->attach(weak_from_this());
  state_.pages.push_back(weak_from_this());
  stream_.set_option(websocket::stream_base::timeout{
      std::chrono::seconds(10), std::chrono::seconds(60), /*keep_alive_pings=*/true});
  stream_.read_message_max(state_.options.maxFrameBytes);
  stream_.text(true);
  stream_.control_callback(
      [this](websocket::frame_type, beast::string_view text) { onControl(text.size()); });
  stream_.async_accept(request, [self = shared_from_this()](beast::error_code problem) {
    if (problem || self->finished_) return self->finish();
    self->listener_ = self->state_.makeListener(self->outbox_);
    self->read();
  });
}

/// Writes what the outbox holds, unless a write is under way that will: what waits there may
/// still be left out.
void PageConnection::flush() {
  outbox_->wasScheduled();
  if (finished_ || !listener_) return;
  if (outbox_->overflows()) return drop("it doesn't read what it is sent");
  if (writing_) return;
  unsent_ = outbox_->take();
  write();
}

void PageConnection::sayGoodbye() {
  if (!listener_ || closing_) return hangUp();  // nor may the handshake be interrupted
  closing_ = true;
  stream_.async_close(websocket::close_code::going_away,
                      [self = shared_from_this()](beast::error_code) { self->finish(); });
}

void PageConnection::finish() {
  if (std::exchange(finished_, true)) return;
  outbox_->close();
  listener_.reset();
  state_.pageLeft();
}

void PageConnection::read() {
  stream_.async_read(buffer_, [self = shared_from_this()](beast::error_code problem, std::size_t) {
    self->onRead(problem);
  });
}

/// Of the parts of a message only this tells.
void PageConnection::onBytes(std::size_t bytes) {
  beside_ += static_cast<std::ptrdiff_t>(bytes);
  if (beside_ > static_cast<std::ptrdiff_t>(state_.options.maxFrameBytes + kMostBeside))
    cutOffSoon();
}

/// Of a ping, or of an answer to one of the server's.
void PageConnection::onControl(std::size_t bytes) {
  beside_ -= static_cast<std::ptrdiff_t>(bytes);
  if (!budget_.take(bytes + WebServerOptions::kFrameBytes, std::chrono::steady_clock::now()))
    cutOffSoon();
}

/// For what the stream tells in the middle of reading.
void PageConnection::cutOffSoon() {
  asio::post(state_.io, [self = weak_from_this()] {
    const auto page = self.lock();
    if (page && !page->finished_ && page->listener_) page->cutOff(kTooMuch);
  });
}

void PageConnection::onRead(beast::error_code problem) {
  if (finished_) return;
  if (problem == websocket::error::message_too_big || problem == websocket::error::buffer_overflow)
    return drop("it sent a frame that is too long");
  if (problem) return finish();
  if (!listener_) return;  // it is cut off
  beside_ -= static_cast<std::ptrdiff_t>(buffer_.size());
  const auto frames =
      1 + static_cast<std::size_t>(std::max<std::ptrdiff_t>(beside_, 0) / kHeaderBytes);
  beside_ = std::min<std::ptrdiff_t>(beside_, 0);
  if (!budget_.take(buffer_.size() + frames * WebServerOptions::kFrameBytes,
                    std::chrono::steady_clock::now()))
    return cutOff(kTooMuch);
  if (stream_.got_text()) {
    const auto bytes = buffer_.cdata();
    listener_->onText({static_cast<const char*>(bytes.data()), bytes.size()});
  } else {
    listener_->onTrouble("sent a binary frame; ignored");
  }
  buffer_.consume(buffer_.size());
  if (!finished_) read();
}

void PageConnection::write() {
  if (unsent_.empty()) return;
  writing_ = true;
  stream_.async_write(asio::buffer(unsent_.front().text),
                      [self = shared_from_this()](beast::error_code problem, std::size_t bytes) {
                        self->writing_ = false;
                        if (problem) return self->finish();
                        self->outbox_->wasSent(bytes);
                        self->unsent_.pop_front();
                        if (self->unsent_.empty()) return self->flush();
                        self->write();
                      });
}

/// Ends the page, which is told why.
void PageConnection::cutOff(const char* why) {
  listener_->onTrouble(std::string("was cut off: ") + why);
  if (std::exchange(closing_, true)) return hangUp();
  listener_.reset();
  outbox_->close();
  if (unsent_.size() > 1) unsent_.resize(1);  // which may be on its way
  // It may go on sending.
  stream_.set_option(
      websocket::stream_base::timeout{kLastWord, websocket::stream_base::none(), false});
  stream_.async_close({websocket::close_code::policy_error, why},
                      [self = shared_from_this()](beast::error_code) { self->hangUp(); });
}

void PageConnection::drop(std::string_view why) {
  if (listener_) listener_->onTrouble("was dropped: " + std::string(why));
  hangUp();
}

void PageConnection::hangUp() {
  finish();
  beast::get_lowest_layer(stream_).close();
}

}  // namespace vemo
