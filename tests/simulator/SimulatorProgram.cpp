#include "SimulatorProgram.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <boost/asio/connect.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/websocket.hpp>
#include <boost/json/parse.hpp>
#include <cstdint>
#include <fstream>
#include <stdexcept>

namespace vemo::test {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace websocket = beast::websocket;
using asio::ip::tcp;

Simulator::Simulator(std::vector<std::string> options, const Variables& variables) {
  std::string pattern = (std::filesystem::temp_directory_path() / "vemo-XXXXXX").string();
  folder_ = ::mkdtemp(pattern.data());
  std::ofstream(folder_ / "index.html") << "<p>page</p>";
  options.insert(options.begin(), {VEMO_SIMULATOR, "--port", "0", "--shell", folder_.string()});
  std::vector<char*> arguments;
  arguments.reserve(options.size() + 1);
  for (auto& option : options) arguments.push_back(option.data());
  arguments.push_back(nullptr);
  std::array<int, 2> out{};
  std::array<int, 2> err{};
  EXPECT_EQ(::pipe(out.data()), 0);
  EXPECT_EQ(::pipe(err.data()), 0);
  process_ = ::fork();
  if (process_ == 0) {
    // The token of whoever runs the tests is not touched.
    ::setenv("XDG_STATE_HOME", (folder_ / "state").c_str(), 1);
    for (const auto& [name, value] : variables) ::setenv(name.c_str(), value.c_str(), 1);
    ::dup2(out[1], STDOUT_FILENO);
    ::dup2(err[1], STDERR_FILENO);
    for (const int end : {out[0], out[1], err[0], err[1]}) ::close(end);
    ::execv(arguments[0], arguments.data());
    ::_exit(127);
  }
  ::close(out[1]);
  ::close(err[1]);
  standardError_ = err[0];
  std::string address;
  for (char c = 0; ::read(out[0], &c, 1) == 1 && c != '\n';) address += c;
  ::close(out[0]);
  constexpr std::string_view kScheme = "http://";
  constexpr std::string_view kToken = "/?token=";
  const auto slash = address.find(kToken);
  if (!address.starts_with(kScheme) || slash == std::string::npos) return;
  host_ = address.substr(kScheme.size(), slash - kScheme.size());
  token_ = address.substr(slash + kToken.size());
}

Simulator::~Simulator() {
  if (process_ > 0) end();
  ::close(standardError_);
  std::filesystem::remove_all(folder_);
}

int Simulator::end(int signal) {
  ::kill(process_, signal);
  int status = -1;
  ::waitpid(process_, &status, 0);
  process_ = -1;
  return status;
}

std::string Simulator::standardError() const {
  std::string text;
  std::array<char, 4096> bytes{};
  for (ssize_t count = 0; (count = ::read(standardError_, bytes.data(), bytes.size())) > 0;)
    text.append(bytes.data(), static_cast<std::size_t>(count));
  return text;
}

struct Page::Connection {
  explicit Connection(std::chrono::milliseconds within) : patience(within), stream(io) {}

  template <class Begin>
  beast::error_code wait(Begin begin) {
    beast::error_code ended = asio::error::would_block;
    beast::get_lowest_layer(stream).expires_after(patience);
    begin([&ended](beast::error_code result) { ended = result; });
    io.restart();
    io.run();
    return ended;
  }
  template <class Begin>
  void mustEnd(Begin begin) {
    if (const auto problem = wait(std::move(begin))) throw beast::system_error(problem);
  }

  const std::chrono::milliseconds patience;
  asio::io_context io;
  websocket::stream<beast::tcp_stream> stream;
  beast::error_code lastProblem;
};

Page::Page(const Simulator& simulator, std::chrono::milliseconds patience)
    : connection_(std::make_unique<Connection>(patience)) {
  auto& stream = connection_->stream;
  if (!simulator.started()) throw std::runtime_error("the simulator has not started");
  const auto colon = simulator.host().find(':');
  const tcp::endpoint address(
      asio::ip::address_v4::loopback(),
      static_cast<std::uint16_t>(std::stoi(simulator.host().substr(colon + 1))));
  stream.set_option(websocket::stream_base::decorator([&](websocket::request_type& request) {
    request.set(beast::http::field::origin, "http://" + simulator.host());
  }));
  connection_->mustEnd(
      [&](auto done) { beast::get_lowest_layer(stream).async_connect(address, std::move(done)); });
  connection_->mustEnd([&](auto done) {
    stream.async_handshake(simulator.host(), "/phone?token=" + simulator.token(), std::move(done));
  });
}

Page::~Page() = default;

void Page::send(std::string_view text) { connection_->stream.write(asio::buffer(text)); }

std::optional<object> Page::hear(std::string_view kind) {
  for (;;) {
    beast::flat_buffer buffer;
    connection_->lastProblem = connection_->wait([&](auto done) {
      connection_->stream.async_read(
          buffer, [done](beast::error_code result, std::size_t) { done(result); });
    });
    if (connection_->lastProblem) return std::nullopt;
    auto frame = boost::json::parse(beast::buffers_to_string(buffer.data())).as_object();
    if (frame.at("kind").as_string() == kind) return frame;
  }
}

object Page::next(std::string_view kind) {
  auto frame = hear(kind);
  if (frame) return std::move(*frame);
  ADD_FAILURE() << "no frame \"" << kind << "\": " << connection_->lastProblem.message();
  return {};
}

}  // namespace vemo::test
