#include "simulator/WebServer.h"

#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <boost/beast/websocket.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>
#include <chrono>
#include <csignal>
#include <deque>
#include <list>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "simulator/Descriptors.h"
#include "simulator/StaticFiles.h"

namespace vemo {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = beast::http;
namespace websocket = beast::websocket;
using asio::ip::tcp;
using Request = http::request<http::string_body>;
using Response = http::response<http::string_body>;

namespace {

constexpr std::size_t kMaxHeaderBytes = 16'384;
constexpr std::uint64_t kMaxBodyBytes = 1024;  // nothing here reads a body
constexpr auto kAnswerTimeout = std::chrono::seconds(30);
constexpr auto kFarewell = std::chrono::milliseconds(500);
constexpr std::string_view kPagePath = "/page/";
constexpr std::string_view kPolicyField = "Content-Security-Policy";

class HttpConnection;
class PageConnection;

/// What is to be sent to one page. Handed out to any thread, so it knows when the
/// connection, and with it the server's loop, is no longer there.
class Outbox final : public PageSocket {
 public:
  Outbox(asio::io_context& io, std::size_t limit) : io_(io), limit_(limit) {}

  void attach(std::weak_ptr<PageConnection> connection) { connection_ = std::move(connection); }

  void send(std::string text) override { add({}, std::move(text)); }
  void sendLatest(std::string_view what, std::string text) override { add(what, std::move(text)); }

  std::size_t unsentBytes() const override {
    const std::lock_guard lock(mutex_);
    return unsent_;
  }

  struct Frame {
    std::string what;  // of which only the latest counts, when the page is slow
    std::string text;
  };

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
  void add(std::string_view what, std::string text);

  asio::io_context& io_;
  const std::size_t limit_;
  std::weak_ptr<PageConnection> connection_;
  mutable std::mutex mutex_;
  std::deque<Frame> frames_;
  std::size_t unsent_ = 0;
  bool scheduled_ = false;
  bool closed_ = false;
};

/// A page's connection: what was read beyond its request comes first.
class PageStream final : public beast::buffered_read_stream<beast::tcp_stream, beast::flat_buffer> {
 public:
  PageStream(tcp::socket socket, beast::flat_buffer received)
      : buffered_read_stream(std::move(socket)) {
    buffer() = std::move(received);
  }
};

// How the WebSocket ends the connection below it; the server does so asynchronously alone.
template <class Handler>
void async_teardown(beast::role_type role, PageStream& stream, Handler&& handler) {
  using websocket::async_teardown;
  async_teardown(role, stream.next_layer(), std::forward<Handler>(handler));
}

std::string_view view(beast::string_view text) { return {text.data(), text.size()}; }

}  // namespace

struct WebServerState {
  explicit WebServerState(WebServerOptions given) : options(std::move(given)) {}

  WebServerOptions options;
  std::list<HttpConnection*> visitors;  // the one that was last heard of longest ago first
  asio::io_context io{1};
  tcp::acceptor acceptor{io};
  asio::signal_set signals{io};
  asio::steady_timer pause{io};
  asio::steady_timer farewell{io};
  std::vector<std::string> hosts;  // the names by which the server may be called
  PageListenerFactory makeListener;
  std::vector<std::weak_ptr<PageConnection>> pages;
  std::size_t pageCount = 0;
  bool stopping = false;
  SpareDescriptor spare;
  bool inTrouble = false;  // with accepting, of which the operator was told

  void accept();
  void admit(tcp::socket socket);
  /// Ends the visitor that was last heard of longest ago; false when there is none.
  bool dropVisitor();
  /// Turns a newcomer away for whom there is no descriptor; false when that is impossible.
  bool turnAway();
  void stop();
  void pageLeft() {
    --pageCount;
    std::erase_if(pages, [](const auto& page) { return page.expired(); });
    if (stopping && pageCount == 0) io.stop();
  }

  /// Whether the phones have another page than the shell's own.
  bool hasPage() const { return options.page || !options.pageFolder.empty(); }
  /// What tells the shell where that page is.
  std::string pageJson() const {
    const auto url = options.page ? options.page->url : std::string(kPagePath);
    return serialize(boost::json::object{{"page", url}});
  }
  /// What pages of the shell's origin may do: only the page's own origin is framed beside theirs.
  std::string policy() const {
    const auto page = options.page ? " " + options.page->origin : "";
    return "default-src 'self'; img-src 'self' data: blob:; connect-src 'self'" + page +
           "; frame-src 'self'" + page +
           "; frame-ancestors 'self'; base-uri 'none'; form-action 'none'";
  }

  bool knowsHost(std::string_view host) const {
    return std::ranges::find(hosts, host) != hosts.end();
  }
  bool knowsOrigin(std::string_view origin) const {
    constexpr std::string_view kScheme = "http://";
    return origin.starts_with(kScheme) && knowsHost(origin.substr(kScheme.size()));
  }
};

namespace {

/// One page: reads its frames and writes what its outbox holds.
class PageConnection final : public std::enable_shared_from_this<PageConnection> {
 public:
  PageConnection(WebServerState& state, tcp::socket socket, beast::flat_buffer received)
      : state_(state),
        stream_(std::move(socket), std::move(received)),
        budget_(state.options.pageRate, std::chrono::steady_clock::now()),
        outbox_(std::make_shared<Outbox>(state.io, state.options.maxUnsentBytes)) {
    ++state_.pageCount;
  }
  ~PageConnection() { finish(); }
  PageConnection(const PageConnection&) = delete;
  PageConnection& operator=(const PageConnection&) = delete;

  void start(const Request& request) {
    outbox_->attach(weak_from_this());
    state_.pages.push_back(weak_from_this());
    stream_.set_option(websocket::stream_base::timeout{
        std::chrono::seconds(10), std::chrono::seconds(60), /*keep_alive_pings=*/true});
    stream_.read_message_max(state_.options.maxFrameBytes);
    stream_.text(true);
    stream_.async_accept(request, [self = shared_from_this()](beast::error_code problem) {
      if (problem || self->finished_) return self->finish();
      self->listener_ = self->state_.makeListener(self->outbox_);
      self->read();
    });
  }

  /// Writes what the outbox holds, unless a write is under way that will: what waits there may
  /// still be left out.
  void flush() {
    outbox_->wasScheduled();
    if (finished_ || !listener_) return;
    if (outbox_->overflows()) return drop("it doesn't read what it is sent");
    if (writing_) return;
    unsent_ = outbox_->take();
    write();
  }

  void sayGoodbye() {
    if (!listener_ || closing_) return hangUp();  // nor may the handshake be interrupted
    closing_ = true;
    stream_.async_close(websocket::close_code::going_away,
                        [self = shared_from_this()](beast::error_code) { self->finish(); });
  }

  /// The page is gone: nothing of it is left when this returns.
  void finish() {
    if (std::exchange(finished_, true)) return;
    outbox_->close();
    listener_.reset();
    state_.pageLeft();
  }

 private:
  void read() {
    stream_.async_read(buffer_,
                       [self = shared_from_this()](beast::error_code problem, std::size_t) {
                         self->onRead(problem);
                       });
  }

  void onRead(beast::error_code problem) {
    if (finished_) return;
    if (problem == websocket::error::message_too_big ||
        problem == websocket::error::buffer_overflow)
      return drop("it sent a frame that is too long");
    if (problem) return finish();
    if (!budget_.take(buffer_.size() + WebServerOptions::kFrameBytes,
                      std::chrono::steady_clock::now()))
      return cutOff("it sent more than a page may");
    if (stream_.got_text()) {
      const auto bytes = buffer_.cdata();
      listener_->onText({static_cast<const char*>(bytes.data()), bytes.size()});
    } else {
      listener_->onTrouble("sent a binary frame; ignored");
    }
    buffer_.consume(buffer_.size());
    if (!finished_) read();
  }

  void write() {
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
  void cutOff(const char* why) {
    listener_->onTrouble(std::string("was cut off: ") + why);
    if (std::exchange(closing_, true)) return hangUp();
    listener_.reset();
    outbox_->close();
    if (unsent_.size() > 1) unsent_.resize(1);  // which may be on its way
    stream_.async_close({websocket::close_code::policy_error, why},
                        [self = shared_from_this()](beast::error_code) { self->hangUp(); });
  }

  void drop(std::string_view why) {
    if (listener_) listener_->onTrouble("was dropped: " + std::string(why));
    hangUp();
  }

  void hangUp() {
    finish();
    beast::get_lowest_layer(stream_).close();
  }

  WebServerState& state_;
  websocket::stream<PageStream, /*deflateSupported=*/false> stream_;
  beast::flat_buffer buffer_;
  ByteBudget budget_;
  std::shared_ptr<Outbox> outbox_;
  std::unique_ptr<PageListener> listener_;
  std::deque<Outbox::Frame> unsent_;
  bool writing_ = false;
  bool closing_ = false;  // a last word is on its way
  bool finished_ = false;
};

void Outbox::add(std::string_view what, std::string text) {
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

/// One HTTP connection, until it ends or becomes a page's WebSocket.
class HttpConnection final : public std::enable_shared_from_this<HttpConnection> {
 public:
  HttpConnection(WebServerState& state, tcp::socket socket)
      : state_(state),
        stream_(std::move(socket)),
        place_(state.visitors.insert(state.visitors.end(), this)) {}
  ~HttpConnection() { leave(); }
  HttpConnection(const HttpConnection&) = delete;
  HttpConnection& operator=(const HttpConnection&) = delete;

  void read() {
    if (hasLeft_) return;
    state_.visitors.splice(state_.visitors.end(), state_.visitors, place_);
    parser_.emplace();
    parser_->header_limit(kMaxHeaderBytes);
    parser_->body_limit(kMaxBodyBytes);
    stream_.expires_after(state_.options.requestTimeout);
    http::async_read(stream_, buffer_, *parser_,
                     [self = shared_from_this()](beast::error_code problem, std::size_t) {
                       self->onRead(problem);
                     });
  }

  void drop() {
    leave();
    stream_.close();
  }

 private:
  void leave() {
    if (!std::exchange(hasLeft_, true)) state_.visitors.erase(place_);
  }

  void onRead(beast::error_code problem) {
    if (hasLeft_) return;
    if (problem == http::error::header_limit)
      return refuse(http::status::request_header_fields_too_large, "The header is too long.");
    if (problem == http::error::body_limit)
      return refuse(http::status::payload_too_large, "The body is too long.");
    if (problem && problem.category() == make_error_code(http::error::end_of_stream).category() &&
        problem != http::error::end_of_stream && problem != http::error::partial_message)
      return refuse(http::status::bad_request, "This is no HTTP request.");
    if (problem) return;  // the client has gone or is idle

    auto request = parser_->release();
    if (websocket::is_upgrade(request) && request.target() == "/phone") {
      const auto why = refusal(request);
      if (!why.empty()) return refuse(http::status::forbidden, why);
      if (state_.pageCount >= state_.options.maxPages)
        return refuse(http::status::service_unavailable,
                      "There are as many pages as this server takes; close one first.");
      stream_.expires_never();
      auto page =
          std::make_shared<PageConnection>(state_, stream_.release_socket(), std::move(buffer_));
      return page->start(request);
    }
    answer(request);
  }

  // A page of another origin may connect to any address of this machine and give its
  // own name the address 127.0.0.1; the Host and the Origin it then sends give it away.
  std::string_view refusal(const Request& request) const {
    if (!state_.knowsHost(view(request[http::field::host])))
      return "This server answers only to its own address.";
    if (request.count(http::field::origin) != 1 ||
        !state_.knowsOrigin(view(request[http::field::origin])))
      return "Only pages of this server may connect.";
    return {};
  }

  void answer(const Request& request) {
    const bool keepAlive = request.keep_alive();
    if (!state_.knowsHost(view(request[http::field::host])))
      return respond(
          text(http::status::misdirected_request, "This server answers only to its own address."),
          keepAlive);
    if (request.method() != http::verb::get && request.method() != http::verb::head) {
      auto response = text(http::status::method_not_allowed, "Only GET and HEAD are served.");
      response.set(http::field::allow, "GET, HEAD");
      return respond(std::move(response), keepAlive);
    }
    if (request.target() == "/phone")
      return respond(text(http::status::upgrade_required, "This is the address of a WebSocket."),
                     keepAlive);
    const auto target = view(request.target());
    const auto path = target.substr(0, target.find('?'));
    if (path == "/page.json" && state_.hasPage())
      return give(request, found<http::string_body>("application/json", state_.pageJson()));
    giveFile(request, path);
  }

  /// A file is read while it is sent: however many are sent slowly, little of them is in memory.
  void giveFile(const Request& request, std::string_view path) {
    const auto& options = state_.options;
    const bool isOfPage = !options.pageFolder.empty() && path.starts_with(kPagePath);
    const auto file = isOfPage ? fileFor(options.pageFolder, path.substr(kPagePath.size() - 1))
                               : fileFor(options.shellFolder, path);
    if (!file)
      return respond(text(http::status::not_found, "There is no such file."), request.keep_alive());
    http::file_body::value_type content;
    beast::error_code problem;
    content.open(file->c_str(), beast::file_mode::scan, problem);
    if (problem)
      return respond(text(http::status::internal_server_error, "The file can't be read."),
                     request.keep_alive());

    auto response = found<http::file_body>(contentType(*file), std::move(content));
    if (isOfPage) response.set(kPolicyField, "frame-ancestors 'self'");
    if (path == "/vemo-client.js") {  // for pages of other origins too
      response.set(http::field::access_control_allow_origin, "*");
      response.set("Cross-Origin-Resource-Policy", "cross-origin");
    }
    give(request, std::move(response));
  }

  template <class Body>
  static http::response<Body> found(std::string_view type, typename Body::value_type content) {
    http::response<Body> response(http::status::ok, 11);
    response.set(http::field::content_type, type);
    response.body() = std::move(content);
    response.prepare_payload();
    return response;
  }

  static Response text(http::status status, std::string_view sentence) {
    Response response(status, 11);
    response.set(http::field::content_type, "text/plain; charset=utf-8");
    response.body() = std::string(sentence) + "\n";
    response.prepare_payload();
    return response;
  }

  void refuse(http::status status, std::string_view sentence) {
    respond(text(status, sentence), /*keepAlive=*/false);
  }

  /// The response, or its head where only that was asked for.
  template <class Body>
  void give(const Request& request, http::response<Body> response) {
    if (request.method() == http::verb::get)
      return respond(std::move(response), request.keep_alive());
    respond(http::response<http::empty_body>(response.base()), request.keep_alive());
  }

  template <class Body>
  void respond(http::response<Body> response, bool keepAlive) {
    response.set(http::field::server, "vemo-simulator");
    response.set(http::field::cache_control, "no-cache");
    response.set("X-Content-Type-Options", "nosniff");
    if (response.find(kPolicyField) == response.end()) response.set(kPolicyField, state_.policy());
    response.keep_alive(keepAlive);
    stream_.expires_after(kAnswerTimeout);
    beast::async_write(
        stream_, http::message_generator(std::move(response)),
        [self = shared_from_this(), keepAlive](beast::error_code problem, std::size_t) {
          if (problem) return;
          if (keepAlive) return self->read();
          beast::error_code ignored;
          self->stream_.socket().shutdown(tcp::socket::shutdown_send, ignored);
        });
  }

  WebServerState& state_;
  beast::tcp_stream stream_;
  beast::flat_buffer buffer_{kMaxHeaderBytes + kMaxBodyBytes};
  std::optional<http::request_parser<http::string_body>> parser_;
  const std::list<HttpConnection*>::iterator place_;
  bool hasLeft_ = false;
};

}  // namespace

// Accepts only when somebody has come: without a free descriptor the system would refuse
// even when nobody has.
void WebServerState::accept() {
  acceptor.async_wait(tcp::acceptor::wait_read, [this](beast::error_code problem) {
    if (problem || stopping) return;
    auto socket = acceptor.accept(problem);
    if (problem == asio::error::would_block) return accept();
    if (!problem) {
      inTrouble = false;
      admit(std::move(socket));
      return accept();
    }
    if (!std::exchange(inTrouble, true))
      options.note("can't accept a connection: " + problem.message());
    if (problem == asio::error::no_descriptors && (dropVisitor() || turnAway())) return accept();
    pause.expires_after(std::chrono::milliseconds(100));
    pause.async_wait([this](beast::error_code stopped) {
      if (stopped) return;
      spare.keep();
      accept();
    });
  });
}

void WebServerState::admit(tcp::socket socket) {
  // Else each frame waits until the page has acknowledged the one before, which it may put off.
  beast::error_code ignored;
  socket.set_option(tcp::no_delay(true), ignored);
  if (visitors.size() >= options.maxVisitors) dropVisitor();
  std::make_shared<HttpConnection>(*this, std::move(socket))->read();
}

bool WebServerState::dropVisitor() {
  if (visitors.empty()) return false;
  visitors.front()->drop();
  return true;
}

bool WebServerState::turnAway() {
  if (!spare.giveUp()) return false;
  beast::error_code nobody;
  acceptor.accept(nobody);  // and lets go of the connection at once
  return spare.keep();
}

void WebServerState::stop() {
  if (std::exchange(stopping, true)) return;
  beast::error_code ignored;
  acceptor.close(ignored);
  pause.cancel();
  signals.cancel(ignored);
  if (pageCount == 0) return io.stop();
  for (const auto& page : std::vector(pages))
    if (const auto alive = page.lock()) alive->sayGoodbye();
  farewell.expires_after(kFarewell);  // a page that doesn't answer is left behind
  farewell.async_wait([this](beast::error_code) { io.stop(); });
}

std::unique_ptr<WebServer> WebServer::open(WebServerOptions options, std::string& error) {
  std::error_code missing;
  if (!std::filesystem::is_regular_file(options.shellFolder / "index.html", missing)) {
    error = "There is no built shell in " + options.shellFolder.string() + " (no index.html).";
    return nullptr;
  }
  auto state = std::make_unique<WebServerState>(std::move(options));
  const tcp::endpoint address(asio::ip::address_v4::loopback(), state->options.port);
  beast::error_code problem;
  auto& acceptor = state->acceptor;
  acceptor.open(address.protocol(), problem);
  if (!problem) acceptor.set_option(asio::socket_base::reuse_address(true), problem);
  if (!problem) acceptor.bind(address, problem);
  if (!problem) acceptor.listen(asio::socket_base::max_listen_connections, problem);
  if (!problem) acceptor.non_blocking(true, problem);
  if (problem) {
    const auto port = std::to_string(state->options.port);
    error = problem == asio::error::address_in_use
                ? "Port " + port + " is in use by another program."
                : "Can't listen on port " + port + ": " + problem.message() + ".";
    return nullptr;
  }
  const auto port = std::to_string(acceptor.local_endpoint().port());
  state->hosts = {"127.0.0.1:" + port, "localhost:" + port};
  if (port == "80") state->hosts.insert(state->hosts.end(), {"127.0.0.1", "localhost"});
  return std::unique_ptr<WebServer>(new WebServer(std::move(state)));
}

WebServer::WebServer(std::unique_ptr<WebServerState> state) : state_(std::move(state)) {}

WebServer::~WebServer() = default;

std::uint16_t WebServer::port() const { return state_->acceptor.local_endpoint().port(); }

void WebServer::run(PageListenerFactory makeListener) {
  state_->makeListener = std::move(makeListener);
  state_->accept();
  state_->io.run();
  for (const auto& page : std::vector(state_->pages))
    if (const auto alive = page.lock()) alive->finish();
  state_->makeListener = nullptr;
}

void WebServer::post(std::function<void()> task) { asio::post(state_->io, std::move(task)); }

void WebServer::stop() {
  asio::post(state_->io, [this] { state_->stop(); });
}

void WebServer::stopOnSignals() {
  state_->signals.add(SIGINT);
  state_->signals.add(SIGTERM);
  state_->signals.async_wait([this](beast::error_code problem, int) {
    if (!problem) state_->stop();
  });
}

}  // namespace vemo
