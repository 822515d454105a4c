#include "MediaServer.h"

#include <sched.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>

namespace vemo {
namespace {

constexpr const char* kSecret = "a-secret-for-tests-alone";
constexpr std::uint32_t kApp = 1'400'000'001;

/// Gives this process a network of its own, before it has threads; why it could not.
std::string enterOwnNetwork() {
  const auto uid = geteuid();
  if (unshare(uid == 0 ? CLONE_NEWNET : CLONE_NEWUSER | CLONE_NEWNET) != 0) {
    return std::string("no network of its own can be made here: ") + std::strerror(errno);
  }
  if (uid != 0) {
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << "0 " << uid << " 1";
  }
  const auto commands = std::string(
                            "ip link set lo up && ip link add v0 type veth peer name v1 && "
                            "ip link set v0 up && ip link set v1 up && ip addr add ") +
                        kAddress + "/24 dev v0";
  if (system(commands.c_str()) != 0) return "the network could not be set up by ip";
  if (system("command -v janus >/dev/null") != 0) return "janus is not installed";
  return "";
}

class Surroundings final : public ::testing::Environment {
 public:
  explicit Surroundings(std::string trouble) : trouble_(std::move(trouble)) {}
  void SetUp() override {
    if (trouble_.empty()) return;
    std::cout << "[  SKIPPED ] " << trouble_ << '\n';  // by which ctest knows
    GTEST_SKIP() << trouble_;
  }

 private:
  const std::string trouble_;
};

}  // namespace

MediaServer::MediaServer(std::vector<std::string> options) : options_(std::move(options)) {
  std::string folder = (std::filesystem::temp_directory_path() / "vemo-server-XXXXXX").string();
  folder_ = mkdtemp(folder.data());
  std::ofstream(folder_ + "/secret") << kSecret << '\n';
  start();
}

MediaServer::~MediaServer() {
  stop();
  std::filesystem::remove_all(folder_);
}

void MediaServer::start() {
  const auto ready = folder_ + "/ready";
  ASSERT_EQ(mkfifo(ready.c_str(), 0600), 0);
  // It goes with this process, however that ends.
  std::vector<std::string> arguments{
      "setpriv",           "--pdeathsig", "TERM",   VEMO_SERVER, "--secret-file",
      folder_ + "/secret", "--address",   kAddress, "--ready",   ready};
  arguments.insert(arguments.end(), options_.begin(), options_.end());
  std::vector<char*> pointers;
  for (auto& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  ASSERT_EQ(posix_spawnp(&process_, "setpriv", nullptr, nullptr, pointers.data(), environ), 0);
  std::string address;
  std::ifstream(ready) >> address;  // waits for the writer
  EXPECT_EQ(address, url());
  unlink(ready.c_str());
}

void MediaServer::stop() {
  if (process_ == 0) return;
  kill(process_, SIGTERM);
  int status = 0;
  waitpid(process_, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the server ended with " << status;
  process_ = 0;
}

double MediaServer::secondsUsed() const {
  // The server is a child of the script that started it.
  const auto own = "/proc/" + std::to_string(process_);
  std::ifstream children(own + "/task/" + std::to_string(process_) + "/children");
  double ticks = 0;
  for (int child = 0; children >> child;) {
    std::ifstream stat("/proc/" + std::to_string(child) + "/stat");
    std::string field;
    for (int number = 1; number <= 15 && stat >> field; ++number) {
      if (number >= 14) ticks += std::stod(field);  // in user mode, in the kernel
    }
  }
  return ticks / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

std::string MediaServer::url() const {
  const bool isSecure = std::ranges::find(options_, "--certificate") != options_.end();
  return std::string(isSecure ? "wss://" : "ws://") + kAddress + ":8188";
}

std::string MediaServer::signature(std::uint32_t room, std::chrono::seconds lasts) {
  const auto now = static_cast<std::int64_t>(std::time(nullptr));
  return signRoom(kSecret, now + lasts.count(), kApp, room).text();
}

KOBUParams MediaServer::params(const std::string& user, std::uint32_t room) {
  KOBUParams params;
  params.sdkAppId = kApp;
  params.userId = user;
  params.userSig = signature(room);
  params.roomId = room;
  return params;
}

EngineOptions testOptions(const std::string& server) {
  EngineOptions options;
  options.servers = {server};
  options.frontCamera = {
      "videotestsrc is-live=true pattern=red ! "
      "video/x-raw,width=320,height=180,framerate=15/1"};
  options.backCamera = {
      "videotestsrc is-live=true pattern=blue ! "
      "video/x-raw,width=320,height=180,framerate=15/1"};
  options.screen = {
      "videotestsrc is-live=true pattern=green ! "
      "video/x-raw,width=320,height=180,framerate=10/1"};
  options.microphone = {"audiotestsrc is-live=true freq=440 volume=0.5 samplesperbuffer=480"};
  options.speaker = "fakesink sync=true";
  return options;
}

}  // namespace vemo

int main(int count, char** arguments) {
  ::testing::InitGoogleTest(&count, arguments);
  // GoogleTest owns what it is given here.
  ::testing::AddGlobalTestEnvironment(new vemo::Surroundings(vemo::enterOwnNetwork()));
  return RUN_ALL_TESTS();
}
