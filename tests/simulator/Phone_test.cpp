#include "simulator/Phone.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <initializer_list>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "json/JsonText.h"
#include "platform/JSMsgRouter.h"
#include "platform/MainThreadQueue.h"
#include "platform/PixbufImageDecoder.h"
#include "recorder/Recording.h"
#include "bridge/EngineCodes.h"
#include "simulator/FakePage.h"
#include "simulator/PhoneScreen.h"
#include "simulator/PhoneServices.h"
#include "testing/Arrivals.h"
#include "testing/NullPlatform.h"

namespace vemo::test {
namespace {

using boost::json::object;
using std::chrono::milliseconds;
using std::chrono::seconds;

/// Keeps the notes; the records of the router are not looked at here.
class NoteLogger final : public NullVEMOLogger {
 public:
  explicit NoteLogger(std::vector<std::string>& notes) : notes_(notes) {}

  void log(const DUNLogParam& record) override {
    if (record.actionName == "note") notes_.emplace_back(*record.actionParam);
  }

 private:
  std::vector<std::string>& notes_;
};

/// Downloads that end at once with these bytes.
class Bytes final : public DownloadService, public DownloadedFile {
 public:
  explicit Bytes(std::string bytes) : bytes_(std::move(bytes)) {}
  bool isUrl(const std::string& text) const override { return !text.empty(); }
  void download(const std::string&, std::function<void(DownloadResult)> done) override {
    done({std::nullopt, std::make_shared<Bytes>(bytes_)});
  }
  std::optional<std::string> readAll() const override { return bytes_; }

 private:
  std::string bytes_;
};

/// The real decoder, waited for.
class PatientDecoder final : public ImageDecoder {
 public:
  explicit PatientDecoder(PixbufImageDecoder& decoder) : decoder_(decoder.forRequester()) {}
  void decode(std::string bytes, Done done) override {
    Arrivals<std::shared_ptr<VEMOImage>> images;
    decoder_->decode(std::move(bytes),
                     [&](std::shared_ptr<VEMOImage> image) { images.add(std::move(image)); });
    done(images.next().value_or(nullptr));
  }

 private:
  const std::unique_ptr<ImageDecoder> decoder_;
};

/// Decodes everything to one image of 600 by 300 pixels, the first ones ever redder, which it
/// does not keep.
class Panorama final : public ImageDecoder {
 public:
  explicit Panorama(std::weak_ptr<VEMOImage>& made) : made_(made) {}
  void decode(std::string, Done done) override {
    std::vector<std::uint8_t> rgba(std::size_t{600} * 300 * 4);
    for (std::uint8_t x = 0; x < 100; ++x) rgba[std::size_t{4} * x] = x;
    std::shared_ptr<VEMOImage> image = std::make_shared<DecodedImage>(600, 300, std::move(rgba));
    made_ = image;
    done(std::move(image));
  }

 private:
  std::weak_ptr<VEMOImage>& made_;
};

/// A bitmap of one white pixel.
std::string whitePixel() {
  std::string bytes(58, '\0');
  bytes.replace(0, 3, {'B', 'M', 58});
  bytes[10] = 54;
  bytes[14] = 40;
  bytes[18] = bytes[22] = bytes[26] = 1;
  bytes[28] = 24;
  bytes.replace(54, 3, "\xff\xff\xff");
  return bytes;
}

CloudOptions cloudOptions(std::shared_ptr<Clock> clock) {
  CloudOptions options;
  options.clock = std::move(clock);
  options.roomCapacity = 2;
  return options;
}

/// Phones in a cloud whose clock the test drives, each with a page that remembers.
class PhoneTest : public testing::Test {
 protected:
  /// Somebody with a page and its phone.
  struct User {
    std::shared_ptr<FakePage> page = std::make_shared<FakePage>();
    std::unique_ptr<Phone> phone;

    object reply(std::string_view cbid) const {
      const auto found = page->reply(cbid);
      EXPECT_TRUE(found) << "no reply to " << cbid;
      return found.value_or(object());
    }
    std::int64_t code(std::string_view cbid) const {
      const auto found = reply(cbid);
      return found.contains("error") ? found.at("error").at("errcode").as_int64() : 0;
    }
    std::string problem() const {
      const auto problems = page->frames("problem");
      return problems.empty() ? "" : std::string(problems.back().at("text").as_string());
    }
  };

  User connect() {
    User user;
    user.phone = std::make_unique<Phone>(environment_, user.page);
    return user;
  }

  /// A phone that has entered room 7 as `userId`, on stage, with its events registered.
  User entered(const std::string& userId) {
    auto user = connect();
    boost::json::array callbacks;
    for (const auto* name : {"onRemoteUserEnterRoom", "onRemoteUserLeaveRoom", "onConnectionLost",
                             "onStatistics", "onConnectionRecovery", "onUserVideoAvailable"})
      callbacks.push_back({{"sdkcbName", name}, {"jsRecvcbName", "on"}});
    command(user, "registCallBacks", {{"callbacks", std::move(callbacks)}}, "callbacks");
    command(user, "initSDK", {}, "init");
    command(user, "enterRoom", enterParams(userId, "good"), "enter");
    EXPECT_EQ(user.code("enter"), 0);
    return user;
  }

  static object enterParams(const std::string& userId, const std::string& signature) {
    return {{"sdkAppId", 1}, {"userId", userId}, {"userSig", signature},
            {"roomId", 7},   {"appScene", 1},    {"role", 20}};
  }

  void frame(const User& user, const object& frame) {
    user.phone->onText(jsonText(frame));
    pass(milliseconds(0));
  }
  void message(const User& user, const std::string& text) {
    frame(user, {{"kind", "message"}, {"text", text}});
  }
  void command(const User& user, std::string_view action, object params, std::string_view cbid,
               milliseconds wait = seconds(1)) {
    message(user, jsonText(object{{"head", {{"module", "kobu"}, {"action", action}}},
                                  {"params", std::move(params)},
                                  {"cbid", cbid}}));
    pass(wait);
  }

  /// Lets time pass in the cloud, and the main thread do its work.
  void pass(milliseconds time) {
    clock_->advance(time);
    while (mainQueue_.drain() > 0) clock_->advance(milliseconds(0));
  }

  std::shared_ptr<ManualClock> clock_ = std::make_shared<ManualClock>();
  NullSystemLog systemLog_;
  MainThreadQueue mainQueue_;
  std::vector<std::string> notes_;
  ClassroomCloud cloud_{cloudOptions(clock_)};
  PixbufImageDecoder images_;
  PhoneEnvironment environment_{
      .cloud = cloud_,
      .makeLogger = [this] { return std::make_unique<NoteLogger>(notes_); },
      .systemLog = systemLog_,
      .mainQueue = mainQueue_,
      .makeDownloads = [] { return std::make_unique<Bytes>(whitePixel()); },
      .makeImages = [this] { return std::make_unique<PatientDecoder>(images_); }};
};

TEST_F(PhoneTest, ShowsItsSettingsAtOnce) {
  const auto user = connect();
  const auto settings = user.page->frames("settings");
  ASSERT_EQ(settings.size(), 1U);
  EXPECT_EQ(settings[0].at("settings").at("camera"), "notDetermined");
}

TEST_F(PhoneTest, TwoPhonesMeetInARoomAndPart) {
  const auto ada = entered("ada");
  auto ben = entered("ben");
  ASSERT_EQ(ada.page->events("onRemoteUserEnterRoom").size(), 1U);
  EXPECT_EQ(ada.page->events("onRemoteUserEnterRoom")[0].at("remoteUserId"), "ben");

  command(ben, "exitRoom", {}, "exit");
  EXPECT_EQ(ben.code("exit"), 0);
  ASSERT_EQ(ada.page->events("onRemoteUserLeaveRoom").size(), 1U);
  EXPECT_EQ(ada.page->events("onRemoteUserLeaveRoom")[0].at("reason"), 0);
}

TEST_F(PhoneTest, FailedEntersAreAnsweredWithTheEnginesCode) {
  const auto ada = entered("ada");
  const auto ben = connect();
  command(ben, "initSDK", {}, "init");
  command(ben, "enterRoom", enterParams("ben", "bad"), "bad signature");
  EXPECT_EQ(ben.code("bad signature"), kEnterBadSignature);
  const auto eve = entered("eve");
  command(ben, "enterRoom", enterParams("ben", "good"), "full");
  EXPECT_EQ(ben.code("full"), kEnterRoomFull);
}

TEST_F(PhoneTest, APageThatGoesFreesItsRouterAndHearsNothingMore) {
  const auto ada = entered("ada");
  auto ben = entered("ben");
  message(ben, R"({"head":{"module":"kobu","action":"exitRoom"},"cbid":"late"})");
  const auto heard = ben.page->count();
  ben.phone.reset();
  pass(seconds(1));
  EXPECT_EQ(ben.page->count(), heard) << "the reply of a page that has gone was sent";
  EXPECT_EQ(ben.page.use_count(), 1) << "something of the phone still lives";
  EXPECT_EQ(ada.page->events("onRemoteUserLeaveRoom").size(), 1U);
  ASSERT_EQ(cloud_.rooms().size(), 1U);
  EXPECT_EQ(cloud_.rooms()[0].users, std::vector<std::string>{"ada"});
}

TEST_F(PhoneTest, APageThatGoesWhileEnteringLeavesNothingBehind) {
  auto ada = connect();
  message(ada, R"({"head":{"module":"kobu","action":"initSDK"}})");
  message(ada, jsonText(object{{"head", {{"module", "kobu"}, {"action", "enterRoom"}}},
                               {"params", enterParams("ada", "good")},
                               {"cbid", "enter"}}));
  ada.phone.reset();
  pass(seconds(5));
  EXPECT_FALSE(ada.page->reply("enter"));
  EXPECT_EQ(ada.page.use_count(), 1);
  EXPECT_TRUE(cloud_.rooms().empty());
}

TEST(PhoneScreen, KeepsNoView) {
  PhoneScreen screen;
  std::weak_ptr<NativeView> view;
  {
    const auto made = screen.renderViewOf("ada", ViewType::camera);
    ASSERT_NE(made, nullptr);
    view = made;
  }
  EXPECT_TRUE(view.expired());
  EXPECT_EQ(screen.renderViewOf("", ViewType::camera), nullptr);
  EXPECT_EQ(screen.renderViewOf(std::nullopt, ViewType::camera), nullptr);
}

TEST_F(PhoneTest, BadMessagesAreAnsweredAndTheNextOneWorks) {
  const auto user = connect();
  const std::string deep(JSMsgRouter::kMaxMessageDepth + 1, '[');
  for (const std::string& text :
       {std::string(), std::string("{"), std::string("[]"), std::string("42"), deep,
        std::string(R"({"head":{}})"), std::string(R"({"head":{"action":1},"cbid":"x"})"),
        std::string(JSMsgRouter::kMaxMessageBytes + 1, ' ')})
    message(user, text);
  EXPECT_EQ(user.reply("x").at("error").at("errmsg"), "bad message");

  std::string tooLong =
      R"({"head":{"module":"kobu","action":"initSDK"},"cbid":"long","params":{"a":")";
  tooLong.append(JSMsgRouter::kMaxMessageBytes, 'a').append("\"}}");
  message(user, tooLong);
  EXPECT_EQ(user.reply("long").at("error").at("errmsg"), "bad message");
  command(user, "noSuchCommand", {}, "unknown");
  EXPECT_EQ(user.reply("unknown").at("error").at("errmsg"), "unknown action");
  command(user, "initSDK", {}, "init");
  EXPECT_EQ(user.code("init"), 0);
  EXPECT_TRUE(notes_.empty());
}

TEST_F(PhoneTest, FramesThatCannotBeUsedAreToldOf) {
  const auto user = connect();
  const std::vector<std::pair<std::string, std::string>> bad{
      {"", "this is no JSON object"},
      {"[]", "this is no JSON object"},
      {"{}", "its kind is unknown"},
      {R"({"kind":7})", "its kind is unknown"},
      {R"({"kind":"message"})", "a message has no text"},
      {R"({"kind":"network"})", "it doesn't say how the network is to be"},
      {R"({"kind":"broadcast","event":"x"})", "the broadcast has no such event"},
      {R"({"kind":"settings"})", "there are no settings in it"},
      {R"({"kind":"settings","settings":{"os":"new"}})", "the phone has no such setting: os"},
      {R"({"kind":"answer","media":"camera"})", "an answer says not whether access is granted"},
      {R"({"kind":"answer","media":"camera","granted":true})", "nobody asked for the camera"},
      {R"({"kind":"answer","media":"nose","granted":true})", "nobody asked for the nose"},
      {R"({"kind":"note"})", "a note says not whether it is on"},
      {R"({"kind":"press","alert":1})", "a press names no alert and button"},
      {R"({"kind":"press","alert":1,"button":0})", "there is no such alert or button"},
      {R"({"kind":"fire","event":"onEnterRoom"})", "a fired event has no name or no arguments"},
      {R"({"kind":"fire","event":"onDoor","args":[]})", "unknown event \"onDoor\""},
      {R"({"kind":"fire","event":"onEnterRoom","args":[]})",
       "onEnterRoom takes 1 arguments, not 0"},
      {R"({"kind":"fire","event":"onEnterRoom","args":["x"]})",
       "argument 1 of onEnterRoom must be an integer of 64 bits"},
      {R"({"kind":"fire","event":"onEnterRoom","args":[1],"times":0})",
       "an event can be fired 1 to 1000 times"},
      {R"({"kind":"fire","event":"onEnterRoom","args":[1],"times":"2"})",
       "an event can be fired 1 to 1000 times"},
      {R"({"kind":"fire","event":"onEnterRoom","args":[")" + std::string(16'384, 'x') + R"("]})",
       "the arguments of a fired event are longer than 16384 bytes"},
      {R"({"kind":"fire","event":"onEnterRoom","args":[1]})",
       "there is no engine before \"initSDK\""},
      {R"({"kind":"downloads"})", "it doesn't say how downloads end"},
      {R"({"kind":"downloads","error":{}})", "the error of downloads has no code"}};
  for (const auto& [text, wrong] : bad) {
    user.phone->onText(text);
    EXPECT_EQ(user.problem(), wrong) << text;
  }
  ASSERT_EQ(notes_.size(), bad.size());
  for (std::size_t i = 0; i < bad.size(); ++i)
    EXPECT_EQ(notes_[i], "sent a frame that can't be used: " + bad[i].second);

  const auto problems = user.page->frames("problem");
  EXPECT_FALSE(problems[2].contains("frame"));
  EXPECT_EQ(problems.back().at("frame"), "downloads");

  const std::string longMedia(10'000, 'x');
  user.phone->onText(jsonText(object{{"kind", "answer"}, {"media", longMedia}, {"granted", 1}}));
  EXPECT_LE(notes_.back().size(), 200U);
  command(user, "initSDK", {}, "init");
  EXPECT_EQ(user.code("init"), 0);
}

TEST_F(PhoneTest, TellsWhatGoesInAndComesOutWhileTheFrameWantsToKnow) {
  const auto ada = connect();
  command(ada, "getSDKVersion", {}, "unheard");
  frame(ada, {{"kind", "note"}, {"on", true}});
  command(ada, "initSDK", {}, "init");
  command(ada, "enterRoom", enterParams("ada", "good"), "enter");
  frame(ada, {{"kind", "note"}, {"on", false}});
  command(ada, "getSDKVersion", {}, "unheard");

  // What each frame is about: a command, an event, a call, the item of a reply.
  std::vector<std::string> about;
  std::vector<std::string> threads;
  for (const auto& noted : ada.page->frames("noted")) {
    EXPECT_GT(noted.at("at").as_int64(), 1'600'000'000'000) << "milliseconds since the epoch";
    if (noted.contains("queuedBy")) continue;
    const auto* const step = noted.if_contains("step");
    const auto& what = noted.at(step ? "step" : "effect").as_object();
    for (const auto* key : {"command", "event", "call", "item"})
      if (what.contains(key)) about.emplace_back(what.at(key).as_string());
    if (what.contains("event")) threads.emplace_back(noted.at("thread").as_string());
    if (what.contains("command")) threads.emplace_back(noted.at("thread").as_string());
  }
  about.resize(std::min<std::size_t>(about.size(), 10));
  EXPECT_EQ(about,
            (std::vector<std::string>{"initSDK", "KOBUCloud.sharedInstance", "setDelegate", "m2",
                                      "enterRoom", "setDefaultStreamRecvMode", "enterRoom",
                                      "onEnterRoom", "enableAudioVolumeEvaluation", "m3"}));
  EXPECT_EQ(threads, (std::vector<std::string>{"main", "main", "engine"}));
}

TEST_F(PhoneTest, TellsByNumbersWhatCameOfWhat) {
  const auto ada = connect();
  frame(ada, {{"kind", "note"}, {"on", true}});
  command(ada, "initSDK", {}, "init");
  command(ada, "enterRoom", enterParams("ada", "good"), "enter");
  pass(seconds(10));

  const std::set<std::string> kPeriodic{"onStatistics", "onNetworkQuality", "onUserVoiceVolume"};
  // The steps by number; a task stands for the step that it comes of.
  std::map<std::int64_t, std::string> steps;
  std::set<std::string> causes;
  bool periodic = false;
  for (const auto& noted : ada.page->frames("noted")) {
    const auto number = noted.at("number").as_int64();
    const auto* const step = noted.if_contains("step");
    if (const auto* queuedBy = noted.if_contains("queuedBy")) {
      ASSERT_TRUE(steps.contains(queuedBy->as_int64())) << jsonText(noted);
      steps[number] = steps[queuedBy->as_int64()];
    } else if (!step) {
      ASSERT_TRUE(steps.contains(number)) << jsonText(noted);
      const auto& effect = noted.at("effect").as_object();
      const auto& name = effect.at("effect").as_string();
      causes.insert(steps[number] + " > " +
                    (name == "script" ? jsonText(effect.at("argument").at("head").at("action"))
                                      : std::string(name)));
    } else if (!step->as_object().contains("device")) {
      EXPECT_FALSE(steps.contains(number)) << jsonText(noted);
      for (const auto* key : {"command", "event"})
        if (step->as_object().contains(key)) steps[number] = step->at(key).as_string();
      EXPECT_EQ(noted.contains("periodic"), kPeriodic.contains(steps[number])) << jsonText(noted);
      periodic = periodic || noted.contains("periodic");
    }
  }
  EXPECT_TRUE(causes.contains("initSDK > reply"));
  EXPECT_TRUE(causes.contains("onEnterRoom > reply"));
  EXPECT_TRUE(periodic);
}

TEST_F(PhoneTest, AFrameThatReadsSlowlyMissesOnlyWhatComesAgainAndAgain) {
  const auto ada = entered("ada");
  frame(ada, {{"kind", "note"}, {"on", true}});
  const auto told = [&](std::string_view key, std::string_view value) {
    return std::ranges::count_if(ada.page->frames("noted"), [&](const object& noted) {
      const auto* const step = noted.if_contains("step");
      return step && step->as_object().contains(key) && step->at(key).as_string() == value;
    });
  };
  ada.page->unsent = std::size_t{2} << 20U;
  pass(seconds(10));
  command(ada, "getAudioVolume", {{"capture", true}}, "volume");
  EXPECT_EQ(told("command", "getAudioVolume"), 1);
  EXPECT_EQ(told("event", "onStatistics"), 0);
  ada.page->unsent = 0;
  pass(seconds(10));
  EXPECT_GE(told("event", "onStatistics"), 1);
  std::int64_t lost = 0;
  for (const auto& noted : ada.page->frames("noted"))
    if (const auto* count = noted.if_contains("lost")) lost += count->as_int64();
  EXPECT_GE(lost, 10) << "statistics, qualities and volumes of ten seconds";
}

TEST_F(PhoneTest, NotesHoldNoSignature) {
  const auto ada = connect();
  frame(ada, {{"kind", "note"}, {"on", true}});
  command(ada, "initSDK", {}, "init");
  command(ada, "enterRoom", enterParams("ada", "verysecret"), "enter");
  command(ada, "startSpeedTest", {{"sdkAppId", 1}, {"userId", "ada"}, {"userSig", "verysecret"}},
          "test");
  bool speedTest = false;
  for (const auto& noted : ada.page->frames("noted")) {
    const auto text = jsonText(noted);
    EXPECT_EQ(text.find("verysecret"), std::string::npos) << text;
    const auto* const effect = noted.if_contains("effect");
    if (!effect || !effect->as_object().contains("call")) continue;
    if (effect->at("call") != "startSpeedTest") continue;
    speedTest = true;
    EXPECT_TRUE(effect->at("args").at(2).as_string().starts_with("***")) << text;
  }
  EXPECT_TRUE(speedTest);
}

TEST_F(PhoneTest, GivesTheRecordingOfItsLastMinutes) {
  const auto ada = entered("ada");
  frame(ada, {{"kind", "save"}});
  ASSERT_EQ(ada.page->frames("saved").size(), 1U);
  const std::string text(ada.page->frames("saved")[0].at("text").as_string());
  std::istringstream in(text);
  std::string error;
  const auto recording = readRecording(in, error);
  ASSERT_TRUE(recording) << error;
  EXPECT_TRUE(recording->whole);
  const auto is = [](const RecordedNote& note, std::string_view key, std::string_view value) {
    const auto* const member = note.what.if_contains(key);
    return member && member->is_string() && member->as_string() == value;
  };
  EXPECT_EQ(
      std::ranges::count_if(recording->notes,
                            [&](const auto& note) { return is(note, "event", "onEnterRoom"); }),
      1);
  EXPECT_EQ(std::ranges::count_if(recording->notes,
                                  [&](const auto& note) { return is(note, "call", "enterRoom"); }),
            1);
}

TEST_F(PhoneTest, TheNetworkCanBeCutAndRestored) {
  const auto ada = entered("ada");
  frame(ada, {{"kind", "network"}, {"drop", true}});
  pass(seconds(10));
  EXPECT_EQ(ada.page->events("onConnectionLost").size(), 1U);
  frame(ada, {{"kind", "network"}, {"drop", false}});
  pass(seconds(10));
  EXPECT_EQ(ada.page->events("onConnectionRecovery").size(), 1U);
}

TEST_F(PhoneTest, TheNetworkIsKeptWithinWhatNetworksDo) {
  const auto ada = entered("ada");
  const auto measured = [&] {
    pass(seconds(2));
    return ada.page->events("onStatistics").back().at("statistics").as_object();
  };
  frame(ada, {{"kind", "network"}, {"delay", 9e9}, {"upLoss", -3}, {"downLoss", 10}});
  EXPECT_EQ(ada.problem(), "");
  const auto slow = measured();
  EXPECT_GE(slow.at("rtt").as_int64(), 10'000) << "5 s a way";
  EXPECT_LE(slow.at("rtt").as_int64(), 11'000) << "and up to a fifth of that";
  EXPECT_EQ(slow.at("upLoss").as_int64(), 0);
  EXPECT_EQ(slow.at("downLoss").as_int64(), 10);

  frame(ada, {{"kind", "network"}, {"delay", -1}, {"upLoss", 101}, {"downLoss", 1e300}});
  EXPECT_EQ(ada.problem(), "");
  const auto lossy = measured();
  EXPECT_EQ(lossy.at("rtt").as_int64(), 0);
  EXPECT_EQ(lossy.at("upLoss").as_int64(), 100);
  EXPECT_EQ(lossy.at("downLoss").as_int64(), 100);
}

TEST_F(PhoneTest, ThePictureOfAPhoneThatIsCutOffStandsStill) {
  const auto ada = entered("ada");
  const auto ben = entered("ben");
  frame(ada, {{"kind", "settings"}, {"settings", {{"camera", "authorized"}}}});
  command(ada, "startLocalPreview", {}, "camera");
  pass(seconds(2));
  command(ben, "startRemoteView", {{"userId", "ada"}}, "view");
  const auto fps = [&] {
    frame(ben, {{"kind", "pictures"}});
    const auto pictures = ben.page->frames("pictures").back().at("pictures").as_array();
    return pictures.size() == 1 ? pictures[0].at("fps").as_int64() : -1;
  };
  EXPECT_EQ(fps(), 15);
  frame(ada, {{"kind", "network"}, {"drop", true}});
  EXPECT_EQ(fps(), 0);
  frame(ada, {{"kind", "network"}, {"drop", false}});
  pass(seconds(1));
  EXPECT_EQ(fps(), 15);
}

TEST_F(PhoneTest, AGrantedCameraStartsAndTheOthersSeeIt) {
  const auto ada = entered("ada");
  const auto ben = entered("ben");
  command(ada, "startLocalPreview", {}, "camera");
  ASSERT_EQ(ada.page->frames("prompt").size(), 1U);
  EXPECT_EQ(ada.page->frames("prompt")[0].at("media"), "camera");
  EXPECT_FALSE(ada.page->reply("camera"));

  frame(ada, {{"kind", "answer"}, {"media", "camera"}, {"granted", true}});
  EXPECT_EQ(ada.code("camera"), 0);
  EXPECT_EQ(ada.page->frames("settings").back().at("settings").at("camera"), "authorized");
  pass(seconds(2));
  ASSERT_FALSE(ben.page->events("onUserVideoAvailable").empty());

  command(ben, "startRemoteView", {{"userId", "ada"}}, "view");
  EXPECT_EQ(ben.code("view"), 0);
  frame(ben, {{"kind", "pictures"}});
  const auto pictures = ben.page->frames("pictures").back().at("pictures").as_array();
  ASSERT_EQ(pictures.size(), 1U);
  EXPECT_EQ(pictures[0].at("userId"), "ada");
  EXPECT_EQ(pictures[0].at("own"), false);
}

TEST_F(PhoneTest, AMuteImageIsSentOnceAndShownByItsNumber) {
  const auto ada = entered("ada");
  frame(ada, {{"kind", "settings"}, {"settings", {{"camera", "authorized"}}}});
  command(ada, "setVideoMuteImage", {{"imgUrl", "http://somewhere/image"}}, "image");
  command(ada, "startLocalPreview", {}, "camera");
  command(ada, "muteLocalVideo", {{"mute", true}}, "mute");
  EXPECT_EQ(ada.code("image"), 0);
  frame(ada, {{"kind", "pictures"}});
  frame(ada, {{"kind", "pictures"}});
  const auto images = ada.page->frames("image");
  ASSERT_EQ(images.size(), 1U);
  EXPECT_EQ(images[0].at("rgba"), "ffffffff");
  const auto pictures = ada.page->frames("pictures").back().at("pictures").as_array();
  ASSERT_EQ(pictures.size(), 1U);
  EXPECT_EQ(pictures[0].at("muteImage"), images[0].at("id"));
}

TEST_F(PhoneTest, OfALargeMuteImageOnlyASmallCopyIsKept) {
  std::weak_ptr<VEMOImage> large;
  environment_.makeImages = [&] { return std::make_unique<Panorama>(large); };
  const auto ada = entered("ada");
  frame(ada, {{"kind", "settings"}, {"settings", {{"camera", "authorized"}}}});
  command(ada, "setVideoMuteImage", {{"imgUrl", "http://somewhere/image"}}, "image");
  command(ada, "startLocalPreview", {}, "camera");
  command(ada, "muteLocalVideo", {{"mute", true}}, "mute");
  EXPECT_EQ(ada.code("image"), 0);
  EXPECT_TRUE(large.expired());
  frame(ada, {{"kind", "pictures"}});
  const auto images = ada.page->frames("image");
  ASSERT_EQ(images.size(), 1U);
  EXPECT_EQ(images[0].at("width"), 200);
  EXPECT_EQ(images[0].at("height"), 100);
  EXPECT_TRUE(std::string(images[0].at("rgba").as_string()).starts_with("000000000300000006"))
      << "every third pixel";
}

TEST_F(PhoneTest, AFiredEventComesAsOneOfTheEngine) {
  const auto ada = entered("ada");
  const auto ben = entered("ben");
  frame(ada, {{"kind", "fire"},
              {"event", "onUserVideoAvailable"},
              {"args", {"ghost", true}},
              {"times", 3}});
  const auto events = ada.page->events("onUserVideoAvailable");
  ASSERT_EQ(events.size(), 3U);
  EXPECT_EQ(events[2].at("availableUserId"), "ghost");
  EXPECT_TRUE(ben.page->events("onUserVideoAvailable").empty());
  EXPECT_TRUE(notes_.empty());
}

TEST_F(PhoneTest, SoManyEventsAreUnderWayAtOnceAndNoMore) {
  const auto ada = entered("ada");
  const object burst{{"kind", "fire"},
                     {"event", "onConnectionLost"},
                     {"args", boost::json::array()},
                     {"times", 600}};
  ada.phone->onText(jsonText(burst));
  ada.phone->onText(jsonText(burst));
  EXPECT_EQ(ada.problem(), "too many fired events are under way; try again when they have come");
  pass(milliseconds(0));
  EXPECT_EQ(ada.page->events("onConnectionLost").size(), 600U);
  frame(ada, burst);
  EXPECT_EQ(ada.page->events("onConnectionLost").size(), 1200U);
}

TEST_F(PhoneTest, EventsThatAnEngineTookAlongCountNoMore) {
  const auto ada = entered("ada");
  const object burst{{"kind", "fire"},
                     {"event", "onConnectionLost"},
                     {"args", boost::json::array()},
                     {"times", 1000}};
  ada.phone->onText(jsonText(burst));
  command(ada, "uninitSDK", {}, "uninit");
  command(ada, "initSDK", {}, "init");
  frame(ada, burst);
  EXPECT_EQ(ada.problem(), "");
}

TEST_F(PhoneTest, DownloadsFailAsChosenUntilThatIsOver) {
  const auto ada = entered("ada");
  const object image{{"imgUrl", "http://somewhere/image"}};
  frame(ada, {{"kind", "downloads"}, {"error", {{"code", -1009}, {"text", "offline"}}}});
  command(ada, "setVideoMuteImage", image, "failing");
  EXPECT_EQ(ada.code("failing"), -1009);
  EXPECT_EQ(ada.reply("failing").at("error").at("errmsg"), "offline");
  frame(ada, {{"kind", "downloads"}, {"error", nullptr}});
  command(ada, "setVideoMuteImage", image, "good");
  EXPECT_EQ(ada.code("good"), 0);
}

TEST_F(PhoneTest, OnePromptServesAllWhoWaitForIt) {
  const auto ada = entered("ada");
  command(ada, "startLocalPreview", {}, "first");
  command(ada, "startLocalPreview", {}, "second");
  EXPECT_EQ(ada.page->frames("prompt").size(), 1U);
  frame(ada, {{"kind", "answer"}, {"media", "camera"}, {"granted", false}});
  EXPECT_EQ(ada.code("first"), -1314);
  EXPECT_EQ(ada.code("second"), -1314);
  EXPECT_EQ(ada.page->frames("settings").back().at("settings").at("camera"), "denied");
}

TEST_F(PhoneTest, APromptHasRoomForSoManyWhoWait) {
  const auto ada = entered("ada");
  for (std::size_t i = 0; i < PhoneServices::kMostWaiting; ++i)
    command(ada, "startLocalPreview", {}, std::to_string(i), milliseconds(0));
  EXPECT_TRUE(notes_.empty());
  command(ada, "startLocalPreview", {}, "too many");
  EXPECT_EQ(ada.code("too many"), -1314);
  EXPECT_EQ(notes_, std::vector<std::string>{"asked for the camera too often; refused"});
  EXPECT_FALSE(ada.page->reply("0")) << "the prompt is still open";

  frame(ada, {{"kind", "answer"}, {"media", "camera"}, {"granted", true}});
  for (std::size_t i = 0; i < PhoneServices::kMostWaiting; ++i)
    EXPECT_EQ(ada.code(std::to_string(i)), 0);
  command(ada, "startLocalPreview", {}, "later");
  EXPECT_EQ(ada.code("later"), 0);
}

TEST_F(PhoneTest, AlertsBeyondABoundAreAnsweredUnseen) {
  const auto ada = entered("ada");
  frame(ada, {{"kind", "settings"}, {"settings", {{"camera", "denied"}}}});
  for (std::size_t i = 0; i <= PhoneServices::kMostAlerts; ++i)
    command(ada, "startLocalPreview", {}, std::to_string(i), milliseconds(0));
  const auto alerts = ada.page->frames("alert");
  ASSERT_EQ(alerts.size(), PhoneServices::kMostAlerts);
  EXPECT_EQ(notes_, std::vector<std::string>{"too many alerts are open; one was not shown"});
  EXPECT_EQ(ada.reply(std::to_string(PhoneServices::kMostAlerts)).at("error").at("errmsg"),
            "user don't goto setting set camera auth");
  EXPECT_FALSE(ada.page->reply("0")) << "the first alert is still open";

  frame(ada, {{"kind", "press"}, {"alert", alerts[0].at("id")}, {"button", 0}});
  EXPECT_EQ(ada.code("0"), -1314);
  command(ada, "startLocalPreview", {}, "later");
  EXPECT_EQ(ada.page->frames("alert").size(), PhoneServices::kMostAlerts + 1);
}

TEST_F(PhoneTest, ARefusedCameraRaisesAnAlertThatLeadsToTheSettings) {
  const auto ada = entered("ada");
  frame(ada, {{"kind", "settings"}, {"settings", {{"camera", "denied"}}}});
  command(ada, "startLocalPreview", {}, "camera");
  const auto alerts = ada.page->frames("alert");
  ASSERT_EQ(alerts.size(), 1U);
  EXPECT_EQ(alerts[0].at("title"), "“Classroom”想访问您的相机");
  EXPECT_EQ(alerts[0].at("message"), "因相机权限受限，无法正常访问相机，请前往设置相机访问权限。");
  const auto& buttons = alerts[0].at("buttons").as_array();
  ASSERT_EQ(buttons.size(), 2U);
  EXPECT_EQ(buttons[0], (object{{"title", "不允许"}, {"destructive", false}}));
  EXPECT_EQ(buttons[1], (object{{"title", "前往设置"}, {"destructive", true}}));

  const auto id = alerts[0].at("id");
  frame(ada, {{"kind", "press"}, {"alert", id}, {"button", 2}});
  EXPECT_EQ(ada.problem(), "there is no such alert or button");
  frame(ada, {{"kind", "press"}, {"alert", id}, {"button", 1}});
  EXPECT_EQ(ada.code("camera"), -1314);
  EXPECT_EQ(ada.page->frames("openSettings").size(), 1U);
  frame(ada, {{"kind", "press"}, {"alert", id}, {"button", 1}});
  EXPECT_EQ(ada.page->frames("openSettings").size(), 1U) << "an alert was pressed twice";
}

TEST_F(PhoneTest, AnAnswerToAPageThatHasGoneIsHarmless) {
  auto ada = entered("ada");
  frame(ada, {{"kind", "settings"}, {"settings", {{"microphone", "restricted"}}}});
  command(ada, "startLocalPreview", {}, "camera");
  command(ada, "startLocalAudio", {}, "microphone");
  ASSERT_EQ(ada.page->frames("alert").size(), 1U);
  ada.phone.reset();
  pass(seconds(1));
  EXPECT_EQ(ada.page.use_count(), 1) << "a prompt or an alert keeps the phone alive";
}

}  // namespace
}  // namespace vemo::test
