#include "simulator/HttpConnection.h"

#include <boost/beast/websocket.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "platform/StaticFiles.h"
#include "simulator/AccessToken.h"
#include "simulator/ByteRange.h"
#include "simulator/FilePart.h"
#include "simulator/PageConnection.h"

namespace vemo {

namespace beast = boost::beast;
namespace http = beast::http;
namespace websocket = beast::websocket;
using boost::asio::ip::tcp;
using Response = http::response<http::string_body>;

namespace {

constexpr std::size_t kMaxHeaderBytes = 16'384;
constexpr std::uint64_t kMaxBodyBytes = 1024;  // nothing here reads a body
constexpr auto kAnswerTimeout = std::chrono::seconds(30);
constexpr auto kConnectTimeout = std::chrono::seconds(2);
constexpr std::string_view kPhonePath = "/phone";
constexpr std::string_view kOtherHost = "This server answers only to its own address.";
constexpr std::string_view kTokenMissing =
    "The address has not the token that the simulator printed.";
constexpr std::string_view kFull = "There are as many pages as this server takes; close one first.";
constexpr std::string_view kPolicyField = "Content-Security-Policy";

std::string_view view(beast::string_view text) { return {text.data(), text.size()}; }

/// What tells the shell where the page for the phones is; empty when the shell has its own alone.
std::string pageJson(const WebServerOptions& options) {
  if (!options.page && options.pageFolder.empty()) return {};
  const auto url = options.page ? options.page->url : std::string(WebServerState::kPagePath);
  return serialize(boost::json::object{{"page", url}});
}

/// What pages of the shell's origin may do: only the page's own origin is framed beside theirs.
std::string policy(const WebServerOptions& options) {
  const auto page = options.page ? " " + options.page->origin : "";
  return "default-src 'self'; img-src 'self' data: blob:; connect-src 'self'" + page +
         "; frame-src 'self'" + page +
         "; frame-ancestors 'self'; base-uri 'none'; form-action 'none'";
}

template <class Body>
http::response<Body> found(std::string_view type, typename Body::value_type content) {
  http::response<Body> response(http::status::ok, 11);
  response.set(http::field::content_type, type);
  response.body() = std::move(content);
  response.prepare_payload();
  return response;
}

Response text(http::status status, std::string_view sentence) {
  Response response(status, 11);
  response.set(http::field::content_type, "text/plain; charset=utf-8");
  response.body() = std::string(sentence) + "\n";
  response.prepare_payload();
  return response;
}

/// The part that is asked for of a file of `size` bytes, if one is.
std::optional<ByteRange> rangeOf(const http::fields& request, std::uint64_t size) {
  // A file has no validator here that If-Range could hold.
  if (request.count(http::field::range) != 1 || request.count(http::field::if_range) > 0)
    return std::nullopt;
  return byteRange(view(request[http::field::range]), size);
}

}  // namespace

HttpConnection::HttpConnection(WebServerState& state, tcp::socket socket)
    : state_(state),
      stream_(std::move(socket)),
      buffer_(kMaxHeaderBytes + kMaxBodyBytes),
      place_(state.visitors.insert(state.visitors.end(), this)) {}

void HttpConnection::read() {
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

void HttpConnection::drop() {
  leave();
  stream_.close();
}

void HttpConnection::leave() {
  if (!std::exchange(hasLeft_, true)) state_.visitors.erase(place_);
}

void HttpConnection::onRead(beast::error_code problem) {
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
  const auto target = view(request.target());
  if (websocket::is_upgrade(request) && target.substr(0, target.find('?')) == kPhonePath) {
    const auto why = refusal(request);
    if (!why.empty()) return refuse(http::status::forbidden, why);
    if (isFull()) return refuse(http::status::service_unavailable, kFull);
    stream_.expires_never();
    auto page =
        std::make_shared<PageConnection>(state_, stream_.release_socket(), std::move(buffer_));
    return page->start(request);
  }
  answer(request);
}

// A page of another origin may connect to any address of this machine and give its
// own name the address 127.0.0.1; the Host and the Origin it then sends give it away.
std::string_view HttpConnection::refusal(const Request& request) const {
  if (!namesThisServer(request)) return kOtherHost;
  if (request.count(http::field::origin) != 1 ||
      !state_.knowsOrigin(view(request[http::field::origin])))
    return "Only pages of this server may connect.";
  if (!hasToken(view(request.target()))) return kTokenMissing;
  return {};
}

bool HttpConnection::namesThisServer(const Request& request) const {
  return request.count(http::field::host) == 1 &&
         state_.knowsHost(view(request[http::field::host]));
}

// Other users of the machine reach this port, with programs that send what they like.
bool HttpConnection::hasToken(std::string_view target) const {
  constexpr std::string_view kBefore = "/phone?token=";
  return target.starts_with(kBefore) &&
         isToken(target.substr(kBefore.size()), state_.options.token);
}

void HttpConnection::answer(const Request& request) {
  const bool keepAlive = request.keep_alive();
  if (!namesThisServer(request))
    return respond(text(http::status::misdirected_request, kOtherHost), keepAlive);
  if (request.method() != http::verb::get && request.method() != http::verb::head) {
    auto response = text(http::status::method_not_allowed, "Only GET and HEAD are served.");
    response.set(http::field::allow, "GET, HEAD");
    return respond(std::move(response), keepAlive);
  }
  const auto target = view(request.target());
  const auto path = target.substr(0, target.find('?'));
  if (path == kPhonePath) {  // the shell asks so why its WebSocket did not open
    if (!hasToken(target)) return respond(text(http::status::forbidden, kTokenMissing), keepAlive);
    if (isFull()) return respond(text(http::status::service_unavailable, kFull), keepAlive);
    return respond(text(http::status::upgrade_required, "This is the address of a WebSocket."),
                   keepAlive);
  }
  if (path == "/page.json") {
    if (auto told = pageJson(state_.options); !told.empty())
      return give(request, found<http::string_body>("application/json", std::move(told)));
  }
  if (path == "/page-server.json" && state_.options.page) return tellOfPageServer(request);
  giveFile(request, path);
}

/// A file is read while it is sent: however many are sent slowly, little of them is in memory.
void HttpConnection::giveFile(const Request& request, std::string_view path) {
  const auto& options = state_.options;
  constexpr auto pagePath = WebServerState::kPagePath;
  bool isOfPage = !options.pageFolder.empty() && path.starts_with(pagePath);
  auto file = isOfPage ? fileFor(options.pageFolder, path.substr(pagePath.size() - 1))
                       : fileFor(options.shellFolder, path);
  // A page that was built for the root of its own server names its files from there.
  if (!file && !isOfPage && !options.pageFolder.empty()) {
    file = fileFor(options.pageFolder, path);
    isOfPage = file.has_value();
  }
  if (!file)
    return respond(text(http::status::not_found, "There is no such file."), request.keep_alive());
  FilePart::value_type content;
  beast::error_code problem;
  content.file.open(file->c_str(), beast::file_mode::scan, problem);
  const auto size = problem ? 0 : content.file.size(problem);
  const auto range =
      request.method() == http::verb::get ? rangeOf(request.base(), size) : std::nullopt;
  const auto part = range.value_or(ByteRange{0, size});
  if (!problem) content.file.seek(part.first, problem);
  if (problem)
    return respond(text(http::status::internal_server_error, "The file can't be read."),
                   request.keep_alive());
  const auto ofSize = "/" + std::to_string(size);
  if (range && part.length == 0) {
    auto refused = text(http::status::range_not_satisfiable, "The file has no such bytes.");
    refused.set(http::field::content_range, "bytes *" + ofSize);
    return respond(std::move(refused), request.keep_alive());
  }

  content.length = part.length;
  auto response = found<FilePart>(contentType(*file), std::move(content));
  response.set(http::field::accept_ranges, "bytes");
  if (range) {
    response.result(http::status::partial_content);
    const auto last = std::to_string(part.first + part.length - 1);
    response.set(http::field::content_range,
                 "bytes " + std::to_string(part.first) + "-" + last + ofSize);
  }
  if (isOfPage) response.set(kPolicyField, "frame-ancestors 'self'");
  if (path == "/vemo-client.js") {  // for pages of other origins too
    response.set(http::field::access_control_allow_origin, "*");
    response.set("Cross-Origin-Resource-Policy", "cross-origin");
  }
  give(request, std::move(response));
}

/// Whether the server of the page takes connections. The shell can't tell by itself: what that
/// server keeps from other origins looks to it as if nothing had answered.
void HttpConnection::tellOfPageServer(const Request& request) {
  struct Look {
    explicit Look(const boost::asio::any_io_executor& executor)
        : resolver(executor), stream(executor) {}
    tcp::resolver resolver;
    beast::tcp_stream stream;
  };
  const auto look = std::make_shared<Look>(stream_.get_executor());
  auto tell = [self = shared_from_this(), look, request](beast::error_code problem) {
    auto listens = serialize(boost::json::object{{"listens", !problem}});
    self->give(request, found<http::string_body>("application/json", std::move(listens)));
  };
  const auto& page = *state_.options.page;
  look->resolver.async_resolve(
      page.host, page.port,
      [look, tell](beast::error_code problem, const tcp::resolver::results_type& addresses) {
        if (problem) return tell(problem);
        look->stream.expires_after(kConnectTimeout);
        look->stream.async_connect(
            addresses, [tell](beast::error_code refused, const tcp::endpoint&) { tell(refused); });
      });
}

void HttpConnection::refuse(http::status status, std::string_view sentence) {
  respond(text(status, sentence), /*keepAlive=*/false);
}

/// The response, or its head where only that was asked for.
template <class Body>
void HttpConnection::give(const Request& request, http::response<Body> response) {
  if (request.method() == http::verb::get)
    return respond(std::move(response), request.keep_alive());
  respond(http::response<http::empty_body>(response.base()), request.keep_alive());
}

template <class Body>
void HttpConnection::respond(http::response<Body> response, bool keepAlive) {
  response.set(http::field::server, "vemo-simulator");
  response.set(http::field::cache_control, "no-cache");
  response.set("X-Content-Type-Options", "nosniff");
  if (response.find(kPolicyField) == response.end())
    response.set(kPolicyField, policy(state_.options));
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

}  // namespace vemo
