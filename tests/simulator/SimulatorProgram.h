#pragma once

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <boost/asio/connect.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/websocket.hpp>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// The simulator as a program, and a page that talks to it.

namespace vemo::test {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace websocket = beast::websocket;
using asio::ip::tcp;
using boost::json::object;

/// A simulator with a page of its own to serve, and a standard error that is read only
/// when a test reads it.
class Simulator {
 public:
  using Variables = std::vector<std::pair<std::string, std::string>>;

  /// With `options`, and with these variables in its environment.
  explicit Simulator(std::vector<std::string> options = {}, const Variables& variables = {}) {
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
  ~Simulator() {
    if (process_ > 0) end();
    ::close(standardError_);
    std::filesystem::remove_all(folder_);
  }
  Simulator(const Simulator&) = delete;
  Simulator& operator=(const Simulator&) = delete;

  /// Whether it has told its address, which it does when pages can come.
  bool started() const { return !host_.empty(); }
  const std::string& host() const { return host_; }
  const std::string& token() const { return token_; }
  std::string file(const std::string& name) const { return (folder_ / name).string(); }

  /// Asks it to end, or ends it by another signal; its exit status.
  int end(int signal = SIGTERM) {
    ::kill(process_, signal);
    int status = -1;
    ::waitpid(process_, &status, 0);
    process_ = -1;
    return status;
  }

  /// What it wrote to standard error, once it has ended.
  std::string standardError() const {
    std::string text;
    std::array<char, 4096> bytes{};
    for (ssize_t count = 0; (count = ::read(standardError_, bytes.data(), bytes.size())) > 0;)
      text.append(bytes.data(), static_cast<std::size_t>(count));
    return text;
  }

 private:
  std::filesystem::path folder_;
  pid_t process_ = -1;
  int standardError_ = -1;
  std::string host_;
  std::string token_;
};

/// A page that gives up when it hears nothing for a long time.
class Page {
 public:
  /// Throws a boost::system::system_error when it can't connect.
  explicit Page(const Simulator& simulator,
                std::chrono::milliseconds patience = std::chrono::seconds(20))
      : patience_(patience), stream_(io_) {
    if (!simulator.started()) throw std::runtime_error("the simulator has not started");
    const auto colon = simulator.host().find(':');
    const tcp::endpoint address(
        asio::ip::address_v4::loopback(),
        static_cast<std::uint16_t>(std::stoi(simulator.host().substr(colon + 1))));
    stream_.set_option(websocket::stream_base::decorator([&](websocket::request_type& request) {
      request.set(beast::http::field::origin, "http://" + simulator.host());
    }));
    mustEnd([&](auto done) {
      beast::get_lowest_layer(stream_).async_connect(address, std::move(done));
    });
    mustEnd([&](auto done) {
      stream_.async_handshake(simulator.host(), "/phone?token=" + simulator.token(),
                              std::move(done));
    });
  }

  void send(std::string_view text) { stream_.write(asio::buffer(text)); }

  /// The next frame of this kind; nothing when none comes any more.
  std::optional<object> hear(std::string_view kind) {
    for (;;) {
      beast::flat_buffer buffer;
      problem_ = wait([&](auto done) {
        stream_.async_read(buffer, [done](beast::error_code result, std::size_t) { done(result); });
      });
      if (problem_) return std::nullopt;
      auto frame = boost::json::parse(beast::buffers_to_string(buffer.data())).as_object();
      if (frame.at("kind").as_string() == kind) return frame;
    }
  }

  /// The next frame of this kind, which fails the test when it does not come.
  object next(std::string_view kind) {
    auto frame = hear(kind);
    if (frame) return std::move(*frame);
    ADD_FAILURE() << "no frame \"" << kind << "\": " << problem_.message();
    return {};
  }

 private:
  template <class Begin>
  beast::error_code wait(Begin begin) {
    beast::error_code ended = asio::error::would_block;
    beast::get_lowest_layer(stream_).expires_after(patience_);
    begin([&ended](beast::error_code result) { ended = result; });
    io_.restart();
    io_.run();
    return ended;
  }
  template <class Begin>
  void mustEnd(Begin begin) {
    if (const auto problem = wait(std::move(begin))) throw beast::system_error(problem);
  }

  const std::chrono::milliseconds patience_;
  asio::io_context io_;
  websocket::stream<beast::tcp_stream> stream_;
  beast::error_code problem_;
};

}  // namespace vemo::test
