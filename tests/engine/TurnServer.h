#pragma once

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "Folder.h"
#include "LogLines.h"
#include "MediaServer.h"

namespace vemo {

/// A TURN server that is set up as server/turnserver.conf says, at the address of the test's
/// network and at 127.0.0.1.
class TurnServer {
 public:
  static bool isInstalled() { return std::system("command -v turnserver >/dev/null") == 0; }

  /// Waits until it is ready. `password` is that of the user "class".
  explicit TurnServer(const std::string& password) {
    std::string settings;
    for (auto line : linesOf(VEMO_TURN_SETTINGS)) {
      replace(line, "192.0.2.7", kAddress);
      replace(line, "CHANGE-ME", password);
      settings += line + '\n';
    }
    settings += "listening-ip=127.0.0.1\nverbose\nsimple-log\nlog-file=stdout\npidfile=" +
                folder_.file("pid") + "\nuserdb=" + folder_.file("users") + '\n';
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    const auto path = folder_.file("ready");
    path.copy(static_cast<char*>(address.sun_path), sizeof address.sun_path - 1);
    const int ready = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(::bind(ready, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    const auto command = "exec turnserver -c '" + folder_.write("settings", settings) + "' >'" +
                         folder_.file("log") + "' 2>/dev/null";
    // It goes with this process, however that ends.
    std::vector<std::string> words{"setpriv", "--pdeathsig", "KILL", "env", "NOTIFY_SOCKET=" + path,
                                   "sh",      "-c",          command};
    std::vector<char*> arguments;
    for (auto& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    EXPECT_EQ(::posix_spawnp(&process_, "setpriv", nullptr, nullptr, arguments.data(), environ), 0);
    constexpr int kPatienceMs = 60'000;
    pollfd arrives{ready, POLLIN, 0};
    std::array<char, 64> said{};
    EXPECT_EQ(::poll(&arrives, 1, kPatienceMs), 1) << "the relay does not start";
    EXPECT_GT(::recv(ready, said.data(), said.size() - 1, MSG_DONTWAIT), 0);
    EXPECT_EQ(std::string(said.data()), "READY=1");
    ::close(ready);
  }
  ~TurnServer() { stop(); }
  TurnServer(const TurnServer&) = delete;
  TurnServer& operator=(const TurnServer&) = delete;

  void stop() {
    if (process_ == 0) return;
    ::kill(process_, SIGTERM);
    ::waitpid(process_, nullptr, 0);
    process_ = 0;
  }
  LogLines& log() { return log_; }

 private:
  static void replace(std::string& line, const std::string& from, const std::string& to) {
    if (const auto at = line.find(from); at != std::string::npos) line.replace(at, from.size(), to);
  }

  const Folder folder_;
  LogLines log_{folder_.file("log")};
  pid_t process_ = 0;
};

/// The test's network, of which parts can be closed.
class NarrowNetwork {
 public:
  NarrowNetwork() {
    // The engine's own ports are apart from those of media server and relay.
    std::ofstream("/proc/sys/net/ipv4/ip_local_port_range") << "50000 60999";
    works_ = run("add table inet narrow") &&
             run("add chain inet narrow out '{ type filter hook output priority 0; }'");
  }
  ~NarrowNetwork() {
    if (works_) run("delete table inet narrow");
  }
  NarrowNetwork(const NarrowNetwork&) = delete;
  NarrowNetwork& operator=(const NarrowNetwork&) = delete;

  bool works() const { return works_; }

  /// No UDP goes between engines and the media server; what relays send to it does.
  void closeDirectWay() {
    add("udp dport 20000-40000 udp sport != 41000-48999 drop");
    add("udp sport 20000-40000 udp dport != 41000-48999 drop");
  }
  /// No UDP goes to the relay, and none comes from it.
  void closeUdpToRelay() {
    add("udp dport 3478 drop");
    add("udp sport 3478 drop");
  }
  void open() { EXPECT_TRUE(run("flush chain inet narrow out")); }

  /// Those who ask the relay over UDP look to it as if they were at `address`.
  bool translateTo(const std::string& address) {
    return run("add chain inet narrow translated '{ type nat hook postrouting priority 100; }'") &&
           run("add rule inet narrow translated udp dport 3478 snat ip to " + address) &&
           std::system(("ip route add local " + address + " dev lo").c_str()) == 0;
  }

 private:
  static bool run(const std::string& what) {
    return std::system(("nft " + what + " 2>/dev/null").c_str()) == 0;
  }
  static void add(const std::string& rule) {
    EXPECT_TRUE(run("add rule inet narrow out " + rule)) << rule;
  }

  bool works_ = false;
};

}  // namespace vemo
