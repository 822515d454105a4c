// The program vemo-broadcast and the launcher that starts it, over a bus, from one
// process to another.

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "PrivateBus.h"
#include "platform/DBusNotificationCenter.h"
#include "platform/ForwardingPlatform.h"
#include "platform/ProcessExtensionLauncher.h"
#include "platform/StreamSystemLog.h"
#include "testing/Arrivals.h"
#include "testing/contracts/VEMOExtensionLauncher_contract.h"

namespace vemo {
namespace {

const std::string kProgram = VEMO_BROADCAST;

/// A bus on which this process hears the notifications of a broadcast, by their middle word.
class Listener {
 public:
  Listener() {
    for (const std::string word : {"Started", "Paused", "Resumed", "Finished"}) {
      center_->addObserver(this, "VEMOScreenKit_" + word + "_Notify",
                           [this, word](const std::string&) { heard.add(word); });
    }
  }

  PrivateBus bus;
  Arrivals<std::string> heard;

 private:
  std::unique_ptr<DBusNotificationCenter> center_ = DBusNotificationCenter::create({bus.address()});
};

struct Ended {
  int status = -1;
  std::string said;  // on both outputs
};

Ended run(const std::string& shellCommand) {
  Ended ended;
  auto* const pipe = ::popen((shellCommand + " 2>&1").c_str(), "r");
  for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) ended.said += static_cast<char>(c);
  const int status = ::pclose(pipe);
  if (WIFEXITED(status)) ended.status = WEXITSTATUS(status);
  return ended;
}

std::string on(const PrivateBus& bus) {
  return "DBUS_SESSION_BUS_ADDRESS='" + bus.address() + "' ";
}

TEST(Broadcast, PostsWhatItsArgumentsName) {
  Listener listener;
  const auto ended = run(on(listener.bus) + kProgram + " started paused resumed finished started");
  EXPECT_EQ(ended.status, 0);
  EXPECT_EQ(ended.said, "");
  EXPECT_EQ(listener.heard.next(5),
            (std::vector<std::string>{"Started", "Paused", "Resumed", "Finished", "Started"}));
}

TEST(Broadcast, PostsWhatTheLinesOfItsInputName) {
  Listener listener;
  const auto ended =
      run("printf 'finished\\n\\nstarted\\r\\npaused' | " + on(listener.bus) + kProgram);
  EXPECT_EQ(ended.status, 0);
  EXPECT_EQ(listener.heard.next(3), (std::vector<std::string>{"Finished", "Started", "Paused"}));
}

TEST(Broadcast, PostsNothingWhenAnArgumentIsUnknown) {
  Listener listener;
  const auto ended = run(on(listener.bus) + kProgram + " started Started");
  EXPECT_EQ(ended.status, 2);
  EXPECT_NE(ended.said.find("\"Started\""), std::string::npos) << ended.said;
  run(on(listener.bus) + kProgram + " finished");
  EXPECT_EQ(listener.heard.next(), "Finished");
}

TEST(Broadcast, StopsAtALineThatItDoesNotKnow) {
  Listener listener;
  const auto ended = run("printf 'started\\nstart\\npaused\\n' | " + on(listener.bus) + kProgram);
  EXPECT_EQ(ended.status, 2);
  EXPECT_NE(ended.said.find("line 2"), std::string::npos) << ended.said;
  EXPECT_NE(ended.said.find("\"start\""), std::string::npos) << ended.said;
  run(on(listener.bus) + kProgram + " finished");  // comes after what would be posted
  EXPECT_EQ(listener.heard.next(2), (std::vector<std::string>{"Started", "Finished"}));
}

TEST(Broadcast, SaysWhyItsInputCannotBeRead) {
  const PrivateBus bus;
  const auto said = [&](const std::string& input) {
    const auto ended = run(on(bus) + kProgram + input);
    EXPECT_EQ(ended.status, 2) << input;
    return ended.said;
  };
  const std::string cannot = "vemo-broadcast: standard input can't be read: ";
  EXPECT_EQ(said(" </"), cannot + "Is a directory\n");
  EXPECT_EQ(said(" <&-"), cannot + "Bad file descriptor\n");
  EXPECT_EQ(said(" </dev/zero"), "vemo-broadcast: line 1 is longer than 1024 bytes\n");
  EXPECT_EQ(run("printf 'started\\0\\n' | " + on(bus) + kProgram).status, 2);
}

TEST(Broadcast, SaysThatThereIsNoBus) {
  const auto ended =
      run("DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent " + kProgram + " started");
  EXPECT_EQ(ended.status, 2);
  EXPECT_NE(ended.said.find("no session bus"), std::string::npos) << ended.said;
}

TEST(Broadcast, ExplainsItself) {
  const auto ended = run(kProgram + " --help");
  EXPECT_EQ(ended.status, 0);
  EXPECT_NE(ended.said.find("Usage: vemo-broadcast"), std::string::npos);
}

/// Launches the program, and hears from it.
struct ProcessExtensionLauncherMaker {
  ProcessExtensionLauncherMaker() {
    ::setenv("DBUS_SESSION_BUS_ADDRESS", listener_.bus.address().c_str(), 1);
  }
  ~ProcessExtensionLauncherMaker() { ::unsetenv("DBUS_SESSION_BUS_ADDRESS"); }
  ProcessExtensionLauncherMaker(const ProcessExtensionLauncherMaker&) = delete;
  ProcessExtensionLauncherMaker& operator=(const ProcessExtensionLauncherMaker&) = delete;

  VEMOExtensionLauncher& launcher() { return launcher_; }
  bool launched(int times) {
    while (heard_ < times && listener_.heard.next() == "Started") ++heard_;
    return heard_ == times && listener_.heard.count() == 0 && log_.str().empty();
  }

  Listener listener_;
  int heard_ = 0;
  std::ostringstream log_;
  StreamSystemLog systemLog_{log_};
  ProcessExtensionLauncher launcher_{systemLog_, {kProgram, "started"}};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Process, VEMOExtensionLauncherContract,
                               ProcessExtensionLauncherMaker);

struct ForwardedProcessExtensionLauncherMaker : ProcessExtensionLauncherMaker {
  VEMOExtensionLauncher& launcher() { return forwarder_; }

  ForwardingVEMOExtensionLauncher forwarder_{launcher_};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Forwarding, VEMOExtensionLauncherContract,
                               ForwardedProcessExtensionLauncherMaker);

/// A program that says its process id and lives until it is told to end.
class LivingProgram {
 public:
  LivingProgram() {
    EXPECT_NE(::mkdtemp(folder_.data()), nullptr);
    EXPECT_EQ(::mkfifo((folder_ + "/id").c_str(), 0600), 0);
    EXPECT_EQ(::mkfifo((folder_ + "/end").c_str(), 0600), 0);
  }
  ~LivingProgram() { std::filesystem::remove_all(folder_); }
  LivingProgram(const LivingProgram&) = delete;
  LivingProgram& operator=(const LivingProgram&) = delete;

  std::vector<std::string> command() const {
    return {"sh", "-c", "cd " + folder_ + " && echo $$ >id && read -r word <end"};
  }
  /// The id of the program that was started; waits for it.
  std::string id() const {
    std::string id;
    std::ifstream(folder_ + "/id") >> id;
    return id;
  }
  void end() const { std::ofstream(folder_ + "/end") << "end\n"; }

 private:
  std::string folder_ = "/tmp/vemo-program-XXXXXX";
};

/// The state of a process as the system shows it, such as 'S' or 'Z'; 0 when there is none.
char stateOf(const std::string& id) {
  std::ifstream file("/proc/" + id + "/stat");
  std::string text;
  std::getline(file, text);  // stays empty when the process goes meanwhile
  const auto name = text.rfind(") ");
  return name == std::string::npos ? '\0' : text[name + 2];
}

/// Whether the process goes altogether, not even as a zombie being left of it.
bool vanishes(const std::string& id) {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (stateOf(id) != '\0') {
    if (std::chrono::steady_clock::now() > limit) return false;
    std::this_thread::yield();
  }
  return true;
}

TEST(ProcessExtensionLauncher, LeavesNoZombie) {
  std::ostringstream log;
  StreamSystemLog systemLog(log);
  const LivingProgram program;
  ProcessExtensionLauncher launcher(systemLog, program.command());
  launcher.launch();
  const auto id = program.id();
  program.end();
  EXPECT_TRUE(vanishes(id)) << stateOf(id);
  EXPECT_EQ(log.str(), "");
}

TEST(ProcessExtensionLauncher, LeavesNoZombieOfAProgramThatOutlivesIt) {
  std::ostringstream log;
  StreamSystemLog systemLog(log);
  const LivingProgram program;
  std::string id;
  {
    ProcessExtensionLauncher launcher(systemLog, program.command());
    launcher.launch();
    id = program.id();
  }
  const auto state = stateOf(id);
  EXPECT_TRUE(state != '\0' && state != 'Z') << "the program did not live on";
  program.end();  // it would wait for ever for a program that is gone
  EXPECT_TRUE(vanishes(id)) << stateOf(id);
}

TEST(ProcessExtensionLauncher, TellsTheSystemLogWhatCannotBeStarted) {
  std::ostringstream log;
  {
    StreamSystemLog systemLog(log);  // its end waits for its writing
    ProcessExtensionLauncher launcher(systemLog, {"/nonexistent/extension"});
    launcher.launch();
  }
  EXPECT_EQ(log.str(),
            "can't start the broadcast extension /nonexistent/extension: "
            "No such file or directory\n");
}

}  // namespace
}  // namespace vemo
