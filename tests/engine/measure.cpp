// Measures the engine in a network and with a media server of its own, and prints a table.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "Classroom.h"
#include "EveryCall.h"
#include "MediaServer.h"
#include "Memory.h"
#include "Senses.h"

namespace vemo {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

void print(const std::string& what, const std::string& value) {
  std::printf("| %-62s | %s\n", what.c_str(), value.c_str());
}
std::string text(double value, const char* unit) {
  std::ostringstream out;
  out.precision(3);
  out << value << ' ' << unit;
  return out.str();
}

TEST(Measure, FromStartingTheCameraToTheOthersFirstPicture) {
  const MediaServer server;
  Person alice("alice", testOptions(server.url()));
  Person bob("bob", testOptions(server.url()));
  alice.enter().entered();
  bob.enter().entered();
  bob->startRemoteView("alice", kKOBUStreamTypeMain, std::make_shared<SeenView>());
  std::vector<double> taken;
  for (int i = 0; i < 21; ++i) {
    const auto begun = Clock::now();
    alice->startLocalPreview(true, nullptr);
    bob.told->waitFor("onFirstVideoFrame alice");
    taken.push_back(Milliseconds(Clock::now() - begun).count());
    alice->stopLocalPreview();
    bob.told->waitFor("onUserVideoAvailable alice 0");
    bob.told->clear();
  }
  std::ranges::sort(taken);
  print("camera started to the other's first picture, median of 21", text(taken[10], "ms"));
  print("the same, longest", text(taken.back(), "ms"));
}

TEST(Measure, HowLongCallsKeepTheirCaller) {
  const MediaServer server;
  Person bob("bob", testOptions(server.url()));
  bob.enterSending();
  bob.entered();
  double longest = 0;
  std::string which;
  std::vector<double> all;
  for (int i = 0; i < 20; ++i) {
    Person alice("alice", testOptions(server.url()));
    alice.enter();
    alice.told->waitFor("onFirstVideoFrame bob");
    makeEveryCall(*alice.operator->(), std::make_shared<SeenView>(),
                  [&](const char* name, const auto& call) {
                    const auto begun = Clock::now();
                    call();
                    const auto took = Milliseconds(Clock::now() - begun).count();
                    all.push_back(took);
                    if (took > longest) which = name;
                    longest = std::max(longest, took);
                  });
    alice.told->waitFor("onExitRoom");
  }
  std::ranges::sort(all);
  print("a call of the engine, median of " + std::to_string(all.size()),
        text(all[all.size() / 2] * 1000, "us"));
  print("the longest, " + which, text(longest, "ms"));
}

double secondsUsed() {
  rusage used{};
  getrusage(RUSAGE_SELF, &used);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(used.ru_utime) + seconds(used.ru_stime);
}

TEST(Measure, AClassOfFour) {
  const MediaServer server;
  std::vector<std::unique_ptr<Person>> people;
  for (const char* name : {"alice", "bob", "carol", "dave"}) {
    people.push_back(std::make_unique<Person>(name, testOptions(server.url())));
    auto& person = *people.back();
    person.enter();
    person->startLocalPreview(true, std::make_shared<SeenView>());
    person->startLocalAudio(2);
  }
  for (auto& one : people) {
    for (auto& other : people) {
      if (one == other) continue;
      (*one)->startRemoteView(other->name(), kKOBUStreamTypeMain, std::make_shared<SeenView>());
      one->told->waitFor("onFirstVideoFrame " + other->name());
      one->told->waitFor("onFirstAudioFrame " + other->name());
    }
  }
  constexpr std::chrono::seconds kLong{10};
  const auto before = secondsUsed();
  std::this_thread::sleep_for(kLong);
  const auto used = (secondsUsed() - before) / static_cast<double>(kLong.count());
  print("a class of four, each 640x360 at 15/s and sound: of a core, each",
        text(used * 100 / static_cast<double>(people.size()), "%"));
}

/// Of all that goes to and from the server; in the network of this process's own that is all.
double megabitsSent() {
  std::ifstream devices("/proc/net/dev");
  for (std::string line; std::getline(devices, line);) {
    const auto name = line.find("lo:");
    if (name != std::string::npos) return std::stod(line.substr(name + 3)) * 8 / 1e6;
  }
  return 0;
}

/// `senders` and `watchers` are in a room, and each sees and hears all who send.
void measureServer(int senders, int watchers) {
  const MediaServer server;
  auto options = testOptions(server.url());
  // Pictures that fill the bit rate, as those of a camera do.
  options.frontCamera = {
      "videotestsrc is-live=true pattern=snow ! "
      "video/x-raw,width=320,height=180,framerate=15/1"};
  std::vector<std::unique_ptr<Person>> people;
  for (int i = 0; i < senders + watchers; ++i) {
    people.push_back(std::make_unique<Person>("person " + std::to_string(i), options));
    auto& person = *people.back();
    KOBUVideoEncParam encoding;
    encoding.width = 320;
    encoding.height = 180;
    encoding.bitrate = 600;
    person->setVideoEncoderParam(encoding);
    if (i < senders) {
      person.enterSending();
    } else {
      person.enter(kKOBURoleAudience);
    }
    person.entered();
  }
  for (auto& one : people) {
    for (int i = 0; i < senders; ++i) {
      const auto& other = *people[static_cast<std::size_t>(i)];
      if (one->name() == other.name()) continue;
      (*one)->startRemoteView(other.name(), kKOBUStreamTypeMain, std::make_shared<SeenView>());
      one->told->waitFor("onFirstVideoFrame " + other.name());
    }
  }
  constexpr std::chrono::seconds kLong{10};
  const auto usedBefore = server.secondsUsed();
  const auto sentBefore = megabitsSent();
  std::this_thread::sleep_for(kLong);
  const auto seconds = static_cast<double>(kLong.count());
  print("the server, of a core: " + std::to_string(senders) + " send, " + std::to_string(watchers) +
            " only watch",
        text((server.secondsUsed() - usedBefore) / seconds * 100, "%") + " for " +
            text((megabitsSent() - sentBefore) / seconds, "Mbit/s"));
}

TEST(Measure, WhatAServerCarries) {
  for (const int watchers : {1, 8, 16}) measureServer(1, watchers);
  for (const int senders : {2, 4, 6}) measureServer(senders, 0);
}

TEST(Measure, MemoryOfVisits) {
  const MediaServer server;
  const auto options = testOptions(server.url());
  Person bob("bob", options);
  bob.enterSending();
  bob.entered();
  Person alice("alice", options);
  const auto resident = [] {
    std::ifstream file("/proc/self/statm");
    long pages = 0;
    file >> pages >> pages;
    return pages * 4;
  };
  for (int i = 1; i <= 220; ++i) {
    alice.enterSending();
    alice.told->waitFor("onFirstVideoFrame bob");
    alice->exitRoom();
    alice.told->waitFor("onExitRoom");
    alice.told->clear();
    bob.told->clear();
    if (i == 20 || i == 120 || i == 220) {
      print("heap after " + std::to_string(i) + " enters and leaves (resident)",
            std::to_string(usedKiB()) + " KiB (" + std::to_string(resident()) + " KiB)");
    }
  }
}

}  // namespace
}  // namespace vemo
