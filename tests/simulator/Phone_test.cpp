#include "simulator/PhoneTest.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>

#include "platform/ForwardingPlatform.h"
#include "webview/protocol.h"

namespace vemo::test {
namespace {

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

TEST_F(PhoneTest, OnlyOfWhatComesAgainTheLatestCounts) {
  const auto ada = entered("ada");
  const auto bob = entered("bob");
  pass(seconds(5));
  EXPECT_FALSE(ada.page->events("onStatistics").empty());
  EXPECT_FALSE(ada.page->events("onRemoteUserEnterRoom").empty());
  EXPECT_EQ(ada.page->latest(), std::set<std::string>{"onStatistics"});
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

TEST_F(PhoneTest, APageThatGoesInTheMiddleOfACommandLeavesNothingBehind) {
  const auto document = protocol();
  int tried = 0;
  for (const auto& value : document.at("commands").as_array()) {
    const auto& row = value.as_object();
    // Others are answered before anything else happens, save this one with a native callback.
    if (row.at("answered").as_string() == "once" && row.at("name").as_string() != "switchRole")
      continue;
    const auto* const example = row.if_contains("example");
    const object message{{"head", {{"module", "kobu"}, {"action", row.at("name")}}},
                         {"params", example ? *example : object()},
                         {"nativecb", "done"},
                         {"cbid", "open"}};
    const auto text = jsonText(object{{"kind", "message"}, {"text", jsonText(message)}});
    for (const int milliseconds : {-1, 0, 30}) {
      SCOPED_TRACE(jsonText(row.at("name")) + " after " + std::to_string(milliseconds));
      auto ada = entered("ada");
      ada.phone->onText(text);
      if (milliseconds >= 0) pass(std::chrono::milliseconds(milliseconds));
      const auto heard = ada.page->count();
      ada.phone.reset();
      pass(seconds(5));
      EXPECT_EQ(ada.page->count(), heard) << "something was sent to a page that has gone";
      EXPECT_EQ(ada.page.use_count(), 1) << "something of the phone still lives";
      EXPECT_TRUE(cloud_.rooms().empty());
    }
    ++tried;
  }
  EXPECT_GE(tried, 10);
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

/// Holds up whoever queues work on another thread, until the phone has gone or a while has passed.
class HoldingQueue final : public ForwardingMainQueue {
 public:
  using ForwardingMainQueue::ForwardingMainQueue;

  void dispatchAsync(std::function<void()> task) override {
    if (!isMainThread()) {
      queueing.set_value();
      sawItGone = gone.get_future().wait_for(milliseconds(300)) == std::future_status::ready;
    }
    ForwardingMainQueue::dispatchAsync(std::move(task));
  }

  std::promise<void> queueing;
  std::promise<void> gone;
  std::atomic<bool> sawItGone = false;
};

TEST_F(PhoneTest, NothingOfAPhoneGoesOnWhenItHasGone) {
  HoldingQueue queue(mainQueue_);
  PhoneEnvironment environment{.cloud = cloud_,
                               .makeLogger = environment_.makeLogger,
                               .systemLog = systemLog_,
                               .mainQueue = queue,
                               .makeDownloads = environment_.makeDownloads,
                               .makeImages = environment_.makeImages};
  auto phone = std::make_unique<Phone>(environment, std::make_shared<FakePage>());
  phone->onText(R"({"kind":"broadcast","event":"started"})");
  queue.queueing.get_future().wait();  // on the thread of notifications
  phone.reset();
  queue.gone.set_value();
  EXPECT_FALSE(queue.sawItGone);
  pass(milliseconds(0));
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
