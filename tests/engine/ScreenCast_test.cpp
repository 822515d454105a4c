#include "engine/ScreenCast.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "FakePortal.h"
#include "Folder.h"
#include "bridge/EngineCodes.h"
#include "engine/JanusEngine.h"
#include "platform/PrivateBus.h"
#include "testing/RecordingDelegate.h"

namespace vemo {
namespace {

using namespace std::chrono_literals;
using Trouble = FakePortal::Trouble;

/// Somebody who shares the screen by the portal, in no room.
class Sharer {
 public:
  explicit Sharer(const std::string& bus, std::chrono::milliseconds answerTimeout = 60s,
                  std::chrono::milliseconds choiceTimeout = 60s) {
    EngineOptions options;
    options.screen = {kScreenPortal};
    options.sessionBus = bus;
    options.answerTimeout = answerTimeout;
    options.choiceTimeout = choiceTimeout;
    class_ = std::make_unique<JanusEngineClass>(std::move(options));
    class_->setLogDirPath(folder_.file("log"));
    engine_ = class_->sharedInstance();
    engine_->setDelegate(told);
    share();
  }
  void share() const {
    told->clear();
    engine_->startScreenCaptureInApp({});
  }
  /// The engine is dropped; whether it was gone at once, which is far less than the half minute
  /// that a source may wait for PipeWire.
  bool leaves() {
    told->clear();
    engine_.reset();
    class_->destroySharedIntance();
    return class_->settle(15s);
  }
  KOBUCloud* operator->() const { return engine_.get(); }
  /// Waits for the end; the warning that came with it, or "".
  std::string ending() const {
    told->waitFor("onScreenCaptureStoped 0");
    const auto warnings = told->events("onWarning");
    return warnings.empty() ? "" : warnings[0].line;
  }
  std::string log() const { return textOf(folder_.file("log/engine.log")); }

  const std::shared_ptr<RecordingDelegate> told = std::make_shared<RecordingDelegate>();

 private:
  const Folder folder_;
  std::unique_ptr<JanusEngineClass> class_;
  std::shared_ptr<KOBUCloud> engine_;
};

/// A PipeWire that takes a client's words and answers nothing.
class SilentRemote {
 public:
  SilentRemote() {
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends_.data()), 0);
    EXPECT_EQ(::fstat(ends_[0], &client_), 0);
  }
  ~SilentRemote() { die(); }
  SilentRemote(const SilentRemote&) = delete;
  SilentRemote& operator=(const SilentRemote&) = delete;
  /// The caller's.
  int clientEnd() const { return ends_[0]; }
  /// How many descriptors of this process are the client's end.
  int heldByClient() const {
    int count = 0;
    for (const auto& open : std::filesystem::directory_iterator("/proc/self/fd")) {
      struct stat other {};
      count += ::stat(open.path().c_str(), &other) == 0 && other.st_dev == client_.st_dev &&
               other.st_ino == client_.st_ino;
    }
    return count;
  }
  /// Waits for the next words; whether there were any before the client went.
  bool hears() const {
    pollfd end{ends_[1], POLLIN, 0};
    EXPECT_EQ(::poll(&end, 1, kPatience), 1) << "nothing is heard";
    std::array<char, 4096> words{};
    return end.revents != 0 && ::read(ends_[1], words.data(), words.size()) > 0;
  }
  void hearToEnd() const {
    while (hears()) {
    }
  }
  void die() {
    if (ends_[1] >= 0) ::close(std::exchange(ends_[1], -1));
  }

 private:
  static constexpr int kPatience = 15'000;  // milliseconds

  std::array<int, 2> ends_{-1, -1};
  struct stat client_ {};
};

const std::string kCant =
    "onWarning " + std::to_string(kWarnDevice) + " The screen can't be captured: ";

TEST(ScreenCastTest, TheUserIsAskedAndWhatIsPickedIsOpened) {
  const PrivateBus bus;
  const SilentRemote remote;
  FakePortal portal(bus.address(), {.openRemote = [&] { return remote.clientEnd(); }});
  const Sharer sharer(bus.address());
  EXPECT_EQ(portal.calls.next(4),
            (std::vector<std::string>{"CreateSession", "SelectSources of 3, pointer 2", "Start",
                                      "OpenPipeWireRemote"}));
  EXPECT_TRUE(remote.hears());
}

TEST(ScreenCastTest, APipeWireThatSaysNothingKeepsNobodyWaiting) {
  const PrivateBus bus;
  const std::array<SilentRemote, 2> remotes;
  std::size_t opened = 0;
  FakePortal portal(bus.address(),
                    {.openRemote = [&] { return remotes.at(opened++).clientEnd(); }});
  Sharer sharer(bus.address());
  for (const auto& remote : remotes) {
    EXPECT_TRUE(remote.hears());
    EXPECT_EQ(sharer->stopScreenCapture(), 0);
    EXPECT_EQ(portal.calls.next(5).back(), "close session");
    EXPECT_EQ(sharer.ending(), "");
    remote.hearToEnd();
    if (&remote != &remotes.back()) sharer.share();
  }
  // Its source still waits, and knows the connection by the number of our descriptor: another share
  // with that number would get this connection.
  EXPECT_GT(remotes.front().heldByClient(), 0);
  EXPECT_TRUE(sharer.leaves());
}

TEST(ScreenCastTest, AnEngineThatGoesWhilePipeWireIsAskedIsGoneAtOnce) {
  const PrivateBus bus;
  const SilentRemote remote;
  FakePortal portal(bus.address(), {.openRemote = [&] { return remote.clientEnd(); }});
  Sharer sharer(bus.address());
  EXPECT_TRUE(remote.hears());
  EXPECT_TRUE(sharer.leaves());
  EXPECT_EQ(portal.calls.next(5).back(), "close session");
  remote.hearToEnd();
}

TEST(ScreenCastTest, APipeWireThatDiesWhileItIsAskedEndsIt) {
  const PrivateBus bus;
  SilentRemote remote;
  const FakePortal portal(bus.address(), {.openRemote = [&] { return remote.clientEnd(); }});
  Sharer sharer(bus.address());
  EXPECT_TRUE(remote.hears());
  remote.die();
  EXPECT_EQ(sharer.ending(), kCant + "PipeWire went away");
  EXPECT_TRUE(sharer.leaves());
}

TEST(ScreenCastTest, WhatThePortalRefusesEndsInASentence) {
  struct Case {
    const char* method;
    Trouble trouble;
    const char* sentence;
  };
  for (const auto& [method, trouble, sentence] :
       {Case{"Start", Trouble::cancelled, "the user did not allow it"},
        Case{"Start", Trouble::ended, "the screencast portal ended the request"},
        Case{"Start", Trouble::empty, "the screencast portal shares nothing"},
        Case{"CreateSession", Trouble::empty, "the screencast portal names no session"},
        Case{"CreateSession", Trouble::error, "the screencast portal refuses: there was trouble"},
        Case{"SelectSources", Trouble::error, "the screencast portal refuses: there was trouble"},
        Case{"OpenPipeWireRemote", Trouble::error,
             "the screencast portal refuses: there was trouble"},
        Case{"OpenPipeWireRemote", Trouble::empty,
             "the screencast portal opens no way to its pictures"}}) {
    const PrivateBus bus;
    const FakePortal portal(bus.address(), {.method = method, .trouble = trouble});
    const Sharer sharer(bus.address());
    EXPECT_EQ(sharer.ending(), kCant + sentence) << method;
    EXPECT_EQ(sharer->stopScreenCapture(), kNotCapturing);
    EXPECT_NE(sharer.log().find(sentence), std::string::npos);
  }
}

TEST(ScreenCastTest, WithoutAPortalOrABusThereIsASentence) {
  const PrivateBus bus;
  EXPECT_TRUE(
      Sharer(bus.address()).ending().starts_with(kCant + "the desktop has no screencast portal: "));
  EXPECT_TRUE(Sharer("unix:path=/nowhere/bus")
                  .ending()
                  .starts_with(kCant + "the session bus can't be reached: "));
}

TEST(ScreenCastTest, NobodyIsWaitedForForever) {
  PrivateBus bus;
  {
    FakePortal portal(bus.address(), {.method = "CreateSession", .trouble = Trouble::silent});
    EXPECT_EQ(Sharer(bus.address(), 1s).ending(), kCant + "the screencast portal does not answer");
  }
  FakePortal portal(bus.address(), {.method = "Start", .trouble = Trouble::silent});
  EXPECT_EQ(Sharer(bus.address(), 60s, 50ms).ending(),
            kCant + "the user did not choose what to share");
  bus.hang();
  EXPECT_EQ(Sharer(bus.address(), 50ms).ending(), kCant + "the session bus does not answer");
  bus.goOn();
}

TEST(ScreenCastTest, WhoStopsWhileTheUserIsAskedTakesTheDialogAway) {
  const PrivateBus bus;
  FakePortal portal(bus.address(), {.method = "Start", .trouble = Trouble::silent});
  const Sharer sharer(bus.address());
  EXPECT_EQ(portal.calls.next(3).back(), "Start");
  EXPECT_EQ(sharer->stopScreenCapture(), 0);
  EXPECT_EQ(portal.calls.next(2), (std::vector<std::string>{"close request", "close session"}));
  EXPECT_EQ(sharer.ending(), "");
}

TEST(ScreenCastTest, WhatTheUserEndsAtTheDesktopIsOver) {
  const PrivateBus bus;
  const SilentRemote remote;
  FakePortal portal(bus.address(), {.openRemote = [&] { return remote.clientEnd(); }});
  const Sharer sharer(bus.address());
  EXPECT_TRUE(remote.hears());
  portal.closeSession();
  EXPECT_EQ(sharer.ending(), "");
  EXPECT_NE(sharer.log().find("the sharing of the screen was ended at the desktop"),
            std::string::npos);
  EXPECT_EQ(sharer->stopScreenCapture(), kNotCapturing);
}

TEST(ScreenCastTest, APortalOrABusThatDiesEndsIt) {
  PrivateBus bus;
  const SilentRemote first;
  FakePortal portal(bus.address(), {.openRemote = [&] { return first.clientEnd(); }});
  const Sharer sharer(bus.address());
  EXPECT_TRUE(first.hears());
  portal.die();
  EXPECT_EQ(sharer.ending(), kCant + "the screencast portal went away");

  const SilentRemote second;
  FakePortal again(bus.address(), {.openRemote = [&] { return second.clientEnd(); }});
  const Sharer other(bus.address());
  EXPECT_TRUE(second.hears());
  bus.stop();
  EXPECT_EQ(other.ending(), kCant + "the session bus went away");
}

TEST(ScreenCastTest, IsWhatAScreenIsCapturedByUnlessThereIsX11Alone) {
  const auto under = [](const char* x11, const char* wayland) {
    setenv("DISPLAY", x11, 1);
    setenv("WAYLAND_DISPLAY", wayland, 1);
    return screenOfSession();
  };
  const char* former = getenv("DISPLAY");
  const std::string display = former ? former : "";
  EXPECT_EQ(under(":0", ""), "ximagesrc use-damage=false");
  EXPECT_EQ(under(":0", "wayland-0"), kScreenPortal);
  EXPECT_EQ(under("", "wayland-0"), kScreenPortal);
  EXPECT_EQ(under("", ""), kScreenPortal);
  unsetenv("WAYLAND_DISPLAY");
  setenv("DISPLAY", display.c_str(), 1);
}

}  // namespace
}  // namespace vemo
