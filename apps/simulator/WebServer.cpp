#include "simulator/WebServer.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <boost/beast/core.hpp>
#include <chrono>
#include <csignal>
#include <utility>
#include <vector>

#include "simulator/HttpConnection.h"
#include "simulator/PageConnection.h"
#include "simulator/WebServerState.h"

namespace vemo {

namespace asio = boost::asio;
namespace beast = boost::beast;
using asio::ip::tcp;

void WebServerState::pageLeft() {
  --pageCount;
  std::erase_if(pages, [](const auto& page) { return page.expired(); });
  if (stopping && pageCount == 0) io.stop();
}

bool WebServerState::knowsHost(std::string_view host) const {
  return std::ranges::find(hosts, host) != hosts.end();
}

bool WebServerState::knowsOrigin(std::string_view origin) const {
  constexpr std::string_view kScheme = "http://";
  return origin.starts_with(kScheme) && knowsHost(origin.substr(kScheme.size()));
}

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
  constexpr auto kFarewell = std::chrono::milliseconds(500);
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
