#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <string>

namespace vemo {

/// A D-Bus session bus of the test's own, gone with it. It can die and come back at the
/// same address, and stop as if it hung.
class PrivateBus {
 public:
  PrivateBus() {
    EXPECT_NE(::mkdtemp(folder_.data()), nullptr);
    start();
  }
  /// Whether it refuses those who ask for signals; from the next start on.
  void refuseSubscriptions(bool refuse) { refuses_ = refuse; }
  ~PrivateBus() {
    stop();
    std::filesystem::remove_all(folder_);
  }
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

  /// As the bus itself names it, with the id that it has until it ends.
  const std::string& address() const { return address_; }

  /// Starts the bus, at the same place as before; it is there upon the return.
  void start() {
    // It goes with the test, however that ends.
    std::array<std::string, 8> words{"setpriv",
                                     "--pdeathsig",
                                     "KILL",
                                     "dbus-daemon",
                                     refuses_ ? "--config-file=" + grudging() : "--session",
                                     "--nofork",
                                     "--address=unix:path=" + socket(),
                                     "--print-address"};
    std::array<char*, 9> arguments{};
    for (std::size_t i = 0; i < words.size(); ++i) arguments[i] = words[i].data();
    std::array<int, 2> out{};
    EXPECT_EQ(::pipe2(out.data(), O_CLOEXEC), 0);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    // The bus complains there about limits of the machine.
    ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    EXPECT_EQ(
        ::posix_spawnp(&process_, words[0].c_str(), &actions, nullptr, arguments.data(), environ),
        0)
        << "setpriv can't be started";
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(out[1]);
    address_.clear();
    char letter = 0;
    while (::read(out[0], &letter, 1) == 1 && letter != '\n') address_ += letter;
    ::close(out[0]);
    EXPECT_FALSE(address_.empty()) << "there is no bus";
  }

  /// Ends the bus under whoever is connected; it is gone upon the return.
  void stop() {
    if (process_ < 0) return;
    ::kill(process_, SIGKILL);
    EXPECT_EQ(::waitpid(process_, nullptr, 0), process_);
    process_ = -1;
    std::filesystem::remove(socket());
  }

  /// Stops the bus without ending it; connections stay, and it answers nothing.
  void hang() {
    ::kill(process_, SIGSTOP);
    EXPECT_EQ(::waitpid(process_, nullptr, WUNTRACED), process_);
  }
  void goOn() { ::kill(process_, SIGCONT); }

 private:
  std::string socket() const { return folder_ + "/bus"; }

  /// The configuration of a bus that does what any does, but takes no subscription.
  std::string grudging() const {
    const auto file = folder_ + "/grudging.conf";
    std::ofstream(file) << "<busconfig><type>session</type><listen>unix:path=" << socket()
                        << "</listen><policy context='default'><allow send_destination='*'/>"
                           "<allow receive_sender='*'/><allow own='*'/></policy>"
                           "<limit name='max_match_rules_per_connection'>0</limit></busconfig>";
    return file;
  }

  std::string folder_ = "/tmp/vemo-bus-XXXXXX";
  std::string address_;
  bool refuses_ = false;
  pid_t process_ = -1;
};

}  // namespace vemo
