#pragma once

#include <signal.h>
#include <sys/types.h>

#include <boost/json/object.hpp>
#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// The simulator as a program, and a page that talks to it.

namespace vemo::test {

using boost::json::object;

/// A simulator with a page of its own to serve, and a standard error that is read only
/// when a test reads it.
class Simulator {
 public:
  using Variables = std::vector<std::pair<std::string, std::string>>;

  /// With `options`, and with these variables in its environment.
  explicit Simulator(std::vector<std::string> options = {}, const Variables& variables = {});
  ~Simulator();
  Simulator(const Simulator&) = delete;
  Simulator& operator=(const Simulator&) = delete;

  /// Whether it has told its address, which it does when pages can come.
  bool started() const { return !host_.empty(); }
  const std::string& host() const { return host_; }
  const std::string& token() const { return token_; }
  std::string file(const std::string& name) const { return (folder_ / name).string(); }

  /// Asks it to end, or ends it by another signal; its exit status.
  int end(int signal = SIGTERM);

  /// What it wrote to standard error, once it has ended.
  std::string standardError() const;

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
                std::chrono::milliseconds patience = std::chrono::seconds(20));
  ~Page();
  Page(const Page&) = delete;
  Page& operator=(const Page&) = delete;

  void send(std::string_view text);

  /// The next frame of this kind; nothing when none comes any more.
  std::optional<object> hear(std::string_view kind);

  /// The next frame of this kind, which fails the test when it does not come.
  object next(std::string_view kind);

 private:
  struct Connection;
  const std::unique_ptr<Connection> connection_;
};

}  // namespace vemo::test
