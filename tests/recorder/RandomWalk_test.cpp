#include <gtest/gtest.h>

#include <algorithm>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Setting.h"
#include "json/JsonText.h"
#include "platform/MainThreadQueue.h"
#include "platform/SecretMask.h"
#include "recorder/NoteStream.h"
#include "recorder/Recorded.h"
#include "replay/Replay.h"
#include "simulation/ClassroomCloud.h"
#include "simulator/PageSocket.h"
#include "simulator/Phone.h"
#include "testing/NullPlatform.h"
#include "webview/protocol.h"

namespace vemo::test {
namespace {

using boost::json::array;
using boost::json::object;
using std::chrono::milliseconds;

/// A file that can be read or not, as it comes.
class Download final : public DownloadedFile {
 public:
  explicit Download(bool readable) : readable_(readable) {}
  std::optional<std::string> readAll() const override {
    return readable_ ? std::optional<std::string>("bytes") : std::nullopt;
  }

 private:
  const bool readable_;
};

/// Downloads and images that end when the walk says so, in any order.
struct Later {
  std::vector<std::function<void()>> work;
};

class LateDownloads final : public DownloadService {
 public:
  LateDownloads(Later& later, std::mt19937_64& dice) : later_(later), dice_(dice) {}
  bool isUrl(const std::string& text) const override { return text.find(':') != std::string::npos; }
  void download(const std::string&, std::function<void(DownloadResult)> done) override {
    const auto how = dice_() % 3;
    later_.work.emplace_back([how, done = std::move(done)] {
      if (how == 0) return done({DownloadError{-1009, "offline"}, nullptr});
      done({std::nullopt, std::make_shared<Download>(how == 1)});
    });
  }

 private:
  Later& later_;
  std::mt19937_64& dice_;
};

class LateImages final : public ImageDecoder {
 public:
  LateImages(Later& later, std::mt19937_64& dice) : later_(later), dice_(dice) {}
  void decode(std::string, Done done) override {
    later_.work.emplace_back([isImage = dice_() % 2 == 0, done = std::move(done)] {
      done(isImage ? std::make_shared<Image>() : nullptr);
    });
  }

 private:
  class Image final : public VEMOImage {};
  Later& later_;
  std::mt19937_64& dice_;
};

/// A page that keeps which alerts it was shown, and what was saved last.
class Page final : public PageSocket {
 public:
  void send(std::string text) override {
    if (text.starts_with(R"({"kind":"alert")")) ++alerts;
    if (text.starts_with(R"({"kind":"saved")")) saved = std::move(text);
  }
  void sendLatest(std::string_view, std::string text) override { send(std::move(text)); }
  std::size_t unsentBytes() const override { return 0; }

  std::string saved;
  int alerts = 0;
};

/// Phones in one room, and somebody who does with them whatever comes to his mind.
class Walk {
 public:
  explicit Walk(std::uint64_t seed, int phones = 2) : dice_(seed) {
    for (int i = 0; i < phones; ++i) {
      pages_.push_back(std::make_shared<Page>());
      phones_.push_back(std::make_unique<Phone>(environment_, pages_.back()));
    }
  }

  void step() {
    const auto which = dice_() % phones_.size();
    auto& phone = *phones_[which];
    switch (dice_() % 12) {
      case 0: pass(milliseconds(dice_() % 3000)); break;
      case 1: pass(milliseconds(dice_() % 50)); break;
      case 2: answer(phone); break;
      case 3: press(phone, *pages_[which]); break;
      case 4: settings(phone); break;
      case 5: work(); break;
      case 6: network(phone); break;
      case 7: broadcast(phone); break;
      default: command(phone); break;
    }
    if (dice_() % 4 != 0) drain();
    // Nobody waits here, as people do: the ring would be full before the stream has its turn.
    if (++steps_ % 1000 == 0) {
      for (auto* stream : streams_) stream->flush();
    }
  }

  /// All that went on at the phone.
  const std::string& session(std::size_t which) {
    streams_[which]->flush();
    return *sessions_[which];
  }

  /// What the phone's last minutes are, as its frame gets them.
  std::string saved(std::size_t which) {
    frame(*phones_[which], {{"kind", "save"}});
    return std::string(boost::json::parse(pages_[which]->saved).at("text").as_string());
  }

 private:
  static void frame(Phone& phone, const object& frame) { phone.onText(jsonText(frame)); }

  void pass(milliseconds time) { clock_->advance(time); }
  void drain() { mainQueue_.drain(); }

  bool chance(unsigned in) { return dice_() % in == 0; }

  void command(Phone& phone) {
    static const auto commands = protocol().at("commands").as_array();
    const auto& one = commands[dice_() % commands.size()].as_object();
    std::string name(one.at("name").as_string());
    // What makes the rest do something comes often.
    if (chance(3)) {
      static const std::vector<std::string> often{
          "initSDK",         "initSDK",           "enterRoom",
          "enterRoom",       "registCallBacks",   "startLocalPreview",
          "startLocalAudio", "setVideoMuteImage", "startScreenCapture"};
      name = often[dice_() % often.size()];
    }
    if (name == "uninitSDK" && !chance(4)) return;
    frame(phone, {{"kind", "message"},
                  {"text", jsonText(object{{"head", {{"module", "kobu"}, {"action", name}}},
                                           {"params", params(name)},
                                           {"cbid", "c"}})}});
  }

  object params(const std::string& name) {
    if (name == "registCallBacks") {
      static const auto events = protocol().at("events").as_array();
      array callbacks;
      for (const auto& event : events) {
        if (chance(2)) {
          callbacks.push_back(
              {{"sdkcbName", event.as_object().at("name")}, {"jsRecvcbName", "on"}});
        }
      }
      return {{"callbacks", std::move(callbacks)}};
    }
    object params{{"sdkAppId", 1},
                  {"userId", chance(2) ? "ada" : "ben"},
                  {"userSig", "verysecret"},
                  {"roomId", 7},
                  {"appScene", 1},
                  {"role", chance(2) ? 20 : 21},
                  {"mute", chance(2)},
                  {"route", 1},
                  {"volume", 50},
                  {"capture", true},
                  {"playout", true},
                  {"streamType", static_cast<int>(dice_() % 3)},
                  {"imgUrl", "http://127.0.0.1/picture.png"},
                  {"fps", 5},
                  {"mode", static_cast<int>(dice_() % 3)},
                  {"quality", 2},
                  {"audioId", static_cast<int>(dice_() % 3)},
                  {"musicParam", {{"ID", 1}, {"path", "song.mp3"}, {"publish", true}}},
                  {"onStart", true},
                  {"onProgress", chance(2)},
                  {"onComplete", true},
                  {"top", 0.5},
                  {"reportFunc", "report"},
                  {"width", 640},
                  {"height", 360}};
    while (chance(2) && !params.empty()) params.erase(params.begin() + (dice_() % params.size()));
    return params;
  }

  void answer(Phone& phone) {
    frame(phone, {{"kind", "answer"},
                  {"media", chance(4) ? "microphone" : "camera"},
                  {"granted", chance(2)}});
  }

  void press(Phone& phone, Page& page) {
    if (page.alerts == 0) return;
    frame(phone, {{"kind", "press"},
                  {"alert", page.alerts - static_cast<int>(dice_() % 3)},
                  {"button", static_cast<int>(dice_() % 2)}});
  }

  void settings(Phone& phone) {
    static const std::vector<object> changes{{{"camera", "denied"}},
                                             {{"camera", "authorized"}},
                                             {{"camera", "notDetermined"}},
                                             {{"microphone", "denied"}},
                                             {{"microphone", "authorized"}},
                                             {{"microphone", "notDetermined"}},
                                             {{"canOpenSettings", false}},
                                             {{"canOpenSettings", true}},
                                             {{"appGroup", "group.other"}},
                                             {{"os", "10.3.0"}},
                                             {{"os", "11.4.0"}},
                                             {{"os", "12.0.1"}},
                                             {{"os", "17.0.0"}},
                                             {{"bundle", {{"CFBundleName", "Other"}}}},
                                             {{"bundle", object()}}};
    frame(phone, {{"kind", "settings"}, {"settings", changes[dice_() % changes.size()]}});
  }

  void work() {
    if (later_.work.empty()) return;
    const auto which = static_cast<std::ptrdiff_t>(dice_() % later_.work.size());
    const auto work = std::move(later_.work[static_cast<std::size_t>(which)]);
    later_.work.erase(later_.work.begin() + which);
    work();
  }

  void network(Phone& phone) { frame(phone, {{"kind", "network"}, {"drop", chance(3)}}); }

  void broadcast(Phone& phone) {
    static const std::vector<std::string> events{"Started", "Paused", "Resumed", "Finished"};
    frame(phone, {{"kind", "broadcast"}, {"event", events[dice_() % events.size()]}});
  }

  std::mt19937_64 dice_;
  std::uint64_t steps_ = 0;
  std::vector<std::shared_ptr<std::string>> sessions_;
  std::vector<NoteStream*> streams_;  // the phones'
  Later later_;
  std::shared_ptr<ManualClock> clock_ = std::make_shared<ManualClock>();
  NullSystemLog systemLog_;
  MainThreadQueue mainQueue_;
  ClassroomCloud cloud_{[this] {
    CloudOptions options;
    options.clock = clock_;
    return options;
  }()};
  PhoneEnvironment environment_{
      .cloud = cloud_,
      .makeLogger = [] { return std::make_unique<NullVEMOLogger>(); },
      .systemLog = systemLog_,
      .mainQueue = mainQueue_,
      .makeDownloads = [this] { return std::make_unique<LateDownloads>(later_, dice_); },
      .makeImages = [this] { return std::make_unique<LateImages>(later_, dice_); },
      .streamSession =
          [this](std::shared_ptr<NoteRing> ring) {
            auto& text = sessions_.emplace_back(std::make_shared<std::string>());
            const SecretMask mask;
            auto stream = std::make_shared<NoteStream>(
                std::move(ring),
                [mask](std::string_view line, std::string& buffer) {
                  return mask.masked(line, buffer);
                },
                [text](std::string_view line) { text->append(line).append("\n"); });
            streams_.push_back(stream.get());
            return stream;
          }};
  std::vector<std::shared_ptr<Page>> pages_;
  std::vector<std::unique_ptr<Phone>> phones_;
};

/// Plays `recording` and compares.
void expectReplaysAsRecorded(const std::string& recording, std::ptrdiff_t leastLines = 100) {
  EXPECT_EQ(recording.find("verysecret"), std::string::npos);
  const auto session = sessionOf(recording);
  if (const char* const folder = std::getenv("VEMO_WALK_KEEP")) {
    std::ofstream(std::string(folder) + "/walk.vemorec") << recording;
    std::ofstream(std::string(folder) + "/walk.jsonl") << session;
  }
  std::istringstream in(session);
  std::stringstream out;
  std::ostringstream err;
  const auto status = replay::replay(in, replay::Mode::check, out, err);
  EXPECT_EQ(err.str(), "");
  // Steps that ran at once on two threads are played one after the other, and say so.
  int overlapped = 0;
  std::string last;
  for (std::string line; std::getline(out, line); last = line) {
    if (!line.starts_with("line ")) continue;
    ++overlapped;
    EXPECT_NE(line.find("which overlapped another"), std::string::npos) << line;
  }
  EXPECT_EQ(status, replay::kDone);
  EXPECT_GT(std::ranges::count(session, '\n'), leastLines) << "too little went in";
  std::cout << last << ", " << overlapped << " of them other where steps overlapped\n";
}

/// VEMO_WALK_STEPS and VEMO_WALK_SEED make it longer and another.
TEST(RandomWalk, ReplaysAsItWasRecorded) {
  Walk walk(settingOr("VEMO_WALK_SEED", 1));
  for (auto left = settingOr("VEMO_WALK_STEPS", 1000); left > 0; --left) walk.step();
  for (std::size_t which = 0; which < 2; ++which) expectReplaysAsRecorded(walk.session(which));
  if (!std::getenv("VEMO_WALK_STEPS")) expectReplaysAsRecorded(walk.saved(0));
}

TEST(RandomWalk, OfTenPhonesEachReplaysAsItWasRecorded) {
  Walk walk(settingOr("VEMO_WALK_SEED", 2), 10);
  for (int left = 2000; left > 0; --left) walk.step();
  for (std::size_t which = 0; which < 10; ++which) expectReplaysAsRecorded(walk.session(which), 50);
}

TEST(RandomWalk, WhatBreaksOffReplaysAsFarAsItGoes) {
  Walk walk(settingOr("VEMO_WALK_SEED", 3));
  for (int left = 600; left > 0; --left) walk.step();
  const auto whole = walk.session(0);
  for (int part = 3; part < 10; part += 2)
    expectReplaysAsRecorded(whole.substr(0, whole.size() * static_cast<std::size_t>(part) / 10),
                            10);
}

}  // namespace
}  // namespace vemo::test
