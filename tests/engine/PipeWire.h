#pragma once

#include <gst/gst.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "Folder.h"
#include "engine/Gst.h"

namespace vemo {

/// A PipeWire of the test's own, which makes screens of one colour. A shell stands for a session
/// manager: it links whatever wants to see a screen to the last one.
class PipeWire {
 public:
  PipeWire() {
    folder_.write("pipewire.conf",
                  "context.properties = { core.daemon = true core.name = pipewire-0\n"
                  "  support.dbus = false mem.allow-mlock = false }\n"
                  "context.spa-libs = { support.* = support/libspa-support }\n"
                  "context.modules = [\n"
                  "  { name = libpipewire-module-protocol-native }\n"
                  "  { name = libpipewire-module-client-node }\n"
                  "  { name = libpipewire-module-adapter }\n"
                  "  { name = libpipewire-module-link-factory }\n"
                  "  { name = libpipewire-module-access } ]\n");
    spawn("exec pipewire -c '" + folder_.file("pipewire.conf") + "'");
    spawn(std::string("while :; do timeout 5 pw-dump | grep -q \"\\\"node.target\\\": $(") +
          kScreenNumber +
          "),\" && timeout 5 pw-link \"$(cat screen):out_0\" "
          "\"$(timeout 5 pw-link -i | grep -m1 :in_0)\"; sleep 0.1; done");
    janus::initialiseGStreamer();
  }
  ~PipeWire() {
    endScreen();
    stop();
  }
  PipeWire(const PipeWire&) = delete;
  PipeWire& operator=(const PipeWire&) = delete;

  /// What screens show: "green" as long as nothing else is said.
  void show(const char* colour) {
    const std::lock_guard lock(mutex_);
    colour_ = colour;
    if (screen_) {
      gst_util_set_object_arg(G_OBJECT(janus::elementOf(screen_.get(), "screen").get()), "pattern",
                              colour);
    }
  }
  /// A connection to it, once it is there. The caller's.
  int connect() const {
    const int made = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    folder_.file("pipewire-0").copy(static_cast<char*>(address.sun_path), sizeof address.sun_path);
    const auto until = std::chrono::steady_clock::now() + kPatience;
    while (::connect(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
      if (std::chrono::steady_clock::now() > until) {
        ADD_FAILURE() << "there is no PipeWire";
        break;
      }
      ::poll(nullptr, 0, 20);
    }
    return made;
  }
  /// The number of a new screen, once it is there, as a portal makes one for each who asks: what
  /// gives a screen's pictures can wait for ever for one that was taken and not given back. Of the
  /// screen before while it stands still.
  unsigned screen() {
    const std::lock_guard lock(mutex_);
    if (hangs_) return number_;
    endScreen();
    const auto name = "screen" + std::to_string(++screens_);
    folder_.write("screen", name);
    sink_ = connect();
    std::string why;
    screen_ = janus::parsePipeline(
        "videotestsrc name=screen is-live=true pattern=" + colour_ +
            " ! video/x-raw,format=BGRx,width=320,height=180,framerate=10/1 ! pipewiresink "
            "mode=provide stream-properties=\"p,media.class=Video/Source,node.name=" +
            name + "\" fd=" + std::to_string(sink_),
        why);
    EXPECT_EQ(why, "");
    gst_element_set_state(screen_.get(), GST_STATE_PLAYING);

    const auto command = "exec 2>/dev/null; cd '" + folder_.file("") +
                         "'; export PIPEWIRE_RUNTIME_DIR=$PWD; for i in $(seq 300); do " +
                         kScreenNumber + " | grep . && break; sleep 0.1; done";
    const std::unique_ptr<FILE, int (*)(FILE*)> out(::popen(command.c_str(), "r"), ::pclose);
    EXPECT_EQ(std::fscanf(out.get(), "%u", &number_), 1) << "there is no screen";
    return number_;
  }
  /// Has it stand still, and go on; connections stay.
  void hang() {
    const std::lock_guard lock(mutex_);
    hangs_ = true;
    ::kill(processes_.front(), SIGSTOP);
    EXPECT_EQ(::waitpid(processes_.front(), nullptr, WUNTRACED), processes_.front());
  }
  void goOn() {
    const std::lock_guard lock(mutex_);
    hangs_ = false;
    ::kill(processes_.front(), SIGCONT);
  }
  /// Ends it under whoever is connected.
  void stop() {
    for (const int process : processes_) {
      ::kill(process, SIGKILL);
      EXPECT_EQ(::waitpid(process, nullptr, 0), process);
    }
    processes_.clear();
  }

 private:
  static constexpr std::chrono::seconds kPatience{30};
  /// Says the last screen's number, for a shell.
  static constexpr const char* kScreenNumber =
      "timeout 5 pw-dump | awk -v name=\"$(cat screen)\" "
      "'/^    \"id\":/ {id = $2 + 0} $0 ~ \"\\\"node.name\\\": \\\"\" name \"\\\"\" {print id}'";

  void endScreen() {
    if (screen_) gst_element_set_state(screen_.get(), GST_STATE_NULL);
    screen_.reset();
    if (sink_ >= 0) ::close(std::exchange(sink_, -1));
  }
  void spawn(const std::string& script) {
    // They go with the test, however that ends.
    std::vector<std::string> words{"setpriv",
                                   "--pdeathsig",
                                   "KILL",
                                   "env",
                                   "PIPEWIRE_RUNTIME_DIR=" + folder_.file(""),
                                   "sh",
                                   "-c",
                                   "exec 2>/dev/null; cd '" + folder_.file("") + "'; " + script};
    std::vector<char*> arguments;
    for (auto& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    int process = 0;
    EXPECT_EQ(::posix_spawnp(&process, "setpriv", nullptr, nullptr, arguments.data(), environ), 0);
    processes_.push_back(process);
  }

  const Folder folder_;
  std::vector<int> processes_;
  std::mutex mutex_;
  // Under mutex_.
  bool hangs_ = false;
  std::string colour_ = "green";
  int screens_ = 0;
  unsigned number_ = 0;
  int sink_ = -1;
  janus::GstRef<GstElement> screen_;
};

}  // namespace vemo
