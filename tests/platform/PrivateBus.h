#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <string>

namespace vemo {

/// A D-Bus session bus of the test's own, gone with it.
class PrivateBus {
 public:
  PrivateBus() {
    // The session lasts as long as its standard input.
    std::array<std::string, 5> words{"dbus-run-session", "--", "sh", "-c",
                                     "echo \"$DBUS_SESSION_BUS_ADDRESS\"; cat"};
    std::array<char*, 6> arguments{words[0].data(), words[1].data(), words[2].data(),
                                   words[3].data(), words[4].data(), nullptr};
    std::array<int, 2> in{};
    std::array<int, 2> out{};
    EXPECT_EQ(::pipe2(in.data(), O_CLOEXEC), 0);
    EXPECT_EQ(::pipe2(out.data(), O_CLOEXEC), 0);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    // The bus complains there about limits of the machine.
    ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    EXPECT_EQ(
        ::posix_spawnp(&process_, words[0].c_str(), &actions, nullptr, arguments.data(), environ),
        0)
        << "dbus-run-session can't be started";
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(in[0]);
    ::close(out[1]);
    input_ = in[1];
    char letter = 0;
    while (::read(out[0], &letter, 1) == 1 && letter != '\n') address_ += letter;
    ::close(out[0]);
    EXPECT_FALSE(address_.empty()) << "there is no bus";
  }
  ~PrivateBus() { stop(); }
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

  const std::string& address() const { return address_; }

  /// Ends the bus, under whoever is connected.
  void stop() {
    if (input_ < 0) return;
    ::close(input_);
    input_ = -1;
    ::waitpid(process_, nullptr, 0);
  }

 private:
  std::string address_;
  int input_ = -1;
  pid_t process_ = -1;
};

}  // namespace vemo
