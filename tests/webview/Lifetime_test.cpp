#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bridge/ScreenKitNotifications.h"
#include "testing/FakePlatform.h"
#include "testing/NullPlatform.h"
#include "webview/VEMOKOBUMsgRouter.h"
#include "webview/protocol.h"

// When things happen: on which thread a command runs, what a completion finds, whom a late
// answer reaches, and in which order the router is made and ends.

namespace vemo {
namespace {

using Notes = std::vector<std::string>;

/// Writes down that it died.
struct Mark {
  Mark(Notes& to, std::string what) : notes(to), text(std::move(what)) {}
  ~Mark() { notes.push_back(text); }
  Mark(const Mark&) = delete;
  Mark& operator=(const Mark&) = delete;

  Notes& notes;
  const std::string text;
};

class NotingEngine final : public FakeEngine {
 public:
  explicit NotingEngine(Notes& notes) : gone_(notes, "engine gone") {}

  void setDelegate(std::shared_ptr<KOBUCloudDelegate> delegate) override {
    note(delegate ? "delegate set" : "delegate taken away");
    FakeEngine::setDelegate(std::move(delegate));
  }
  void enterRoom(const KOBUParams&, std::int64_t) override { note("enterRoom"); }
  void exitRoom() override { note("exitRoom"); }
  void setAudioRoute(std::int32_t) override { note("setAudioRoute"); }
  void muteAllRemoteAudio(bool) override { note("muteAllRemoteAudio"); }
  void startScreenCaptureInApp(const KOBUVideoEncParam&) override { note("startScreenCapture"); }
  void enableAudioVolumeEvaluation(std::int32_t) override { note("volume evaluation"); }

  std::vector<std::thread::id> threads;

 private:
  void note(const char* text) {
    gone_.notes.emplace_back(text);
    threads.push_back(std::this_thread::get_id());
  }

  Mark gone_;
};

class NotingEngineClass final : public FakeClassOf<NotingEngine> {
 public:
  explicit NotingEngineClass(Notes& notes)
      : FakeClassOf([&notes] { return std::make_shared<NotingEngine>(notes); }), notes_(notes) {}

  void destroySharedIntance() override {
    notes_.emplace_back("destroySharedIntance");
    FakeClassOf::destroySharedIntance();
  }

 private:
  Notes& notes_;
};

/// Keeps the callbacks, also those that were taken back.
class KeepingCenter final : public NullCrossProcessNotificationCenter {
 public:
  explicit KeepingCenter(Notes& notes) : notes_(notes) {}

  void addObserver(const void*, const std::string& name, Callback callback) override {
    callbacks.emplace_back(name, std::move(callback));
  }
  void removeEveryObserver(const void*) override { notes_.emplace_back("unsubscribed"); }

  std::vector<std::pair<std::string, Callback>> callbacks;

 private:
  Notes& notes_;
};

using Methods = std::vector<std::pair<std::string, VEMOJSMsgRouter::Wrapper>>;

/// Gives the wrappers away, which so outlive it.
class KeepingRouter final : public NullVEMOJSMsgRouter {
 public:
  explicit KeepingRouter(Methods& methods) : methods_(methods) {}

  void setMethod(const std::string& action, Wrapper wrapper) override {
    methods_.emplace_back(action, std::move(wrapper));
  }

 private:
  Methods& methods_;
};

/// An item that writes down when it is let go.
class MarkedItem final : public VEMOJSMsgItem {
 public:
  MarkedItem(Notes& notes, const std::string& action) : gone_(notes, action + " dropped") {}

 private:
  Mark gone_;
};

class LifetimeTest : public testing::Test {
 protected:
  std::shared_ptr<VEMOKOBUMsgRouter> makeRouter() {
    const auto fake = platform.pieces();
    return VEMOKOBUMsgRouter::create(
        std::make_unique<KeepingRouter>(methods),
        {engineClass, fake.logger, fake.systemLog, fake.mainQueue, fake.notifications, center,
         fake.captureAuthorization, fake.alerts, fake.application, fake.downloads, fake.images,
         fake.system, fake.extensionLauncher, fake.appGroup});
  }

  void deliver(const std::string& action, const std::shared_ptr<VEMOJSMsgItem>& item) {
    for (const auto& [name, wrapper] : methods) {
      if (name == action) wrapper(item, platform.webView);
    }
  }

  void command(const std::string& action, boost::json::object params = {}) {
    const auto item = std::make_shared<MarkedItem>(notes, action);
    item->setParams(std::move(params));
    deliver(action, item);
  }

  void enter() {
    command("initSDK");
    KOBUParams params;
    params.userId = "ann";
    router->vemoEnterRoom(std::make_shared<const KOBUParams>(params), 0, nullptr);
    router->onEnterRoom(1);
    notes.clear();
  }

  Notes notes;
  FakePlatform platform;
  Methods methods;
  NotingEngineClass engineClass{notes};
  KeepingCenter center{notes};
  std::shared_ptr<VEMOKOBUMsgRouter> router = makeRouter();
};

TEST_F(LifetimeTest, CommandsAreRegisteredInTheTablesOrder) {
  std::vector<std::string> table;
  const auto told = protocol();
  for (const auto& command : told.at("commands").as_array()) {
    table.emplace_back(command.at("name").as_string());
  }
  ASSERT_FALSE(table.empty());
  std::vector<std::string> registered;
  for (const auto& [name, wrapper] : methods) registered.push_back(name);
  EXPECT_EQ(registered, table);
}

TEST_F(LifetimeTest, ACommandRunsWhollyOnTheThreadThatBringsIt) {
  command("initSDK");
  notes.clear();
  const auto engine = engineClass.instance();
  engine->threads.clear();
  std::thread::id page;
  std::vector<std::shared_ptr<VEMOJSMsgItem>> items;
  std::thread([&] {
    page = std::this_thread::get_id();
    const auto send = [&](const std::string& action, boost::json::object params) {
      items.push_back(std::make_shared<VEMOJSMsgItem>());
      items.back()->setParams(std::move(params));
      deliver(action, items.back());
    };
    send("setAudioRoute", {{"route", 1}});
    send("setAudioRoute", {});
    send("muteAllRemoteAudio", {{"mute", true}});
    send("enterRoom", {{"appScene", 0}, {"userId", "ann"}, {"roomId", 1}});
    send("startScreenCapture", {{"screenCaptureMode", 1}});
    send("isSupportScreenCapture", {});
  }).join();
  // Before the main queue had its turn, and nowhere else.
  EXPECT_EQ(notes,
            (Notes{"setAudioRoute", "muteAllRemoteAudio", "enterRoom", "startScreenCapture"}));
  EXPECT_EQ(engine->threads, std::vector<std::thread::id>(4, page));
  EXPECT_FALSE(items[0]->msgError());
  ASSERT_TRUE(items[1]->msgError());
  EXPECT_EQ(items[1]->msgError()->errmsg, "no route param");
  EXPECT_TRUE(items[3]->isAsyncTask());
  EXPECT_TRUE(items[4]->isAsyncTask());
  EXPECT_TRUE(items[5]->msgRetval());
  EXPECT_EQ(platform.mainQueue.drain(), 0U);
}

TEST_F(LifetimeTest, AnEnterCompletionRunsInTheRoomAndIsClearedAfterIt) {
  command("initSDK");
  router->onExitRoom(0);
  notes.clear();
  KOBUParams params;
  params.userId = "ann";
  const auto record = std::make_shared<const KOBUParams>(params);
  int again = 0;
  router->vemoEnterRoom(record, 0,
                        [&](VEMOModule, std::int64_t, const Text&, const Text& uid, std::int64_t) {
                          notes.emplace_back("completion of " + uid.value_or(""));
                          EXPECT_TRUE(router->hasEnterRoom());
                          // Cleared with the completion that is running, though it came later.
                          router->vemoEnterRoom(record, 0, [&](auto...) { ++again; });
                        });
  EXPECT_FALSE(router->hasEnterRoom());
  router->onEnterRoom(1);
  EXPECT_EQ(notes, (Notes{"enterRoom", "volume evaluation", "completion of ann", "enterRoom"}));
  router->onEnterRoom(1);
  EXPECT_EQ(again, 0);
  EXPECT_EQ(notes.back(), "volume evaluation");
}

TEST_F(LifetimeTest, AnEnterFailureCallsTheCompletionAndKeepsIt) {
  command("initSDK");
  std::vector<std::int64_t> codes;
  KOBUParams params;
  router->vemoEnterRoom(std::make_shared<const KOBUParams>(params), 0,
                        [&](VEMOModule, std::int64_t code, auto...) { codes.push_back(code); });
  router->onError(-3301, "refused", std::nullopt);
  router->onError(-3301, "refused", std::nullopt);
  router->onEnterRoom(1);
  router->onEnterRoom(1);
  EXPECT_EQ(codes, (std::vector<std::int64_t>{-3301, -3301, 0}));
}

TEST_F(LifetimeTest, AnExitCompletionRunsBeforeTheRoomIsForgottenAndIsClearedAfterIt) {
  struct Listener : VEMOKOBUEventListener {
    explicit Listener(Notes& to) : notes(to) {}
    void onVEMOExitRoom(std::int64_t, const Text& selfId) override {
      notes.emplace_back("listener of " + selfId.value_or(""));
    }
    Notes& notes;
  };
  const auto listener = std::make_shared<Listener>(notes);
  router->addKOBUEventListener(listener);
  enter();
  int again = 0;
  router->zebExitRoom([&](VEMOModule, std::int64_t, const Text&, const Text& uid, std::int64_t) {
    notes.emplace_back("completion of " + uid.value_or(""));
    EXPECT_EQ(router->curEnteredRoomUserId(), "ann");
    router->zebExitRoom([&](auto...) { ++again; });
  });
  router->onExitRoom(0);
  EXPECT_EQ(notes, (Notes{"exitRoom", "completion of ann", "exitRoom", "listener of ann"}));
  EXPECT_EQ(router->enterRoomParams(), nullptr);
  router->onExitRoom(0);
  EXPECT_EQ(again, 0);
  EXPECT_EQ(notes.back(), "listener of ");
}

TEST_F(LifetimeTest, ASwitchCompletionFindsTheFormerRoleAndIsClearedAfterIt) {
  enter();
  const auto role = [&] { return router->enterRoomParams()->role; };
  int again = 0;
  std::int32_t during = 0;
  router->switchToAudienceRole([&](auto...) {
    during = role();
    router->switchToAudienceRole([&](auto...) { ++again; });
  });
  router->onSwitchRole(0, std::nullopt);
  EXPECT_EQ(during, 20);
  EXPECT_EQ(role(), 21);
  router->onSwitchRole(0, std::nullopt);
  EXPECT_EQ(again, 0);
  router->switchToAnchorRole([&](auto...) {
    during = role();
    router->switchToAnchorRole([&](auto...) { ++again; });
  });
  router->onSwitchRole(0, std::nullopt);
  EXPECT_EQ(during, 21);
  EXPECT_EQ(role(), 20);
  router->onSwitchRole(0, std::nullopt);
  EXPECT_EQ(again, 0);
}

TEST_F(LifetimeTest, TheEndTakesItsStepsInOrder) {
  enter();
  const auto mark = [&](const char* text) { return std::make_shared<Mark>(notes, text); };
  KOBUParams params;
  router->vemoEnterRoom(std::make_shared<const KOBUParams>(params), 0,
                        [m = mark("enter dropped")](auto...) { m->notes.emplace_back("called"); });
  router->zebExitRoom([m = mark("exit dropped")](auto...) { m->notes.emplace_back("called"); });
  router->switchToAnchorRole(
      [m = mark("anchor dropped")](auto...) { m->notes.emplace_back("called"); });
  router->switchToAudienceRole(
      [m = mark("audience dropped")](auto...) { m->notes.emplace_back("called"); });
  command("launchScreenKit");
  command("startScreenCapture", {{"screenCaptureMode", 1}});
  notes.clear();
  router.reset();
  EXPECT_EQ(notes,
            (Notes{"enter dropped", "exit dropped", "anchor dropped", "audience dropped",
                   "launchScreenKit dropped", "startScreenCapture dropped", "delegate taken away",
                   "exitRoom", "destroySharedIntance", "engine gone", "unsubscribed"}));
}

TEST_F(LifetimeTest, OutsideARoomTheEndDoesNotLeaveOne) {
  command("initSDK");
  notes.clear();
  router.reset();
  EXPECT_EQ(notes,
            (Notes{"delegate taken away", "destroySharedIntance", "engine gone", "unsubscribed"}));
}

TEST_F(LifetimeTest, NothingThatWasHandedOutReachesAFreedRouter) {
  enter();
  const auto delegate = std::weak_ptr<KOBUCloudDelegate>(engineClass.instance()->delegate());
  router.reset();
  EXPECT_TRUE(delegate.expired());
  notes.clear();
  platform.logger.take();
  const auto wrappers = std::exchange(methods, {});
  ASSERT_EQ(wrappers.size(), protocol().at("commands").as_array().size());
  const auto callbacks = std::exchange(center.callbacks, {});
  ASSERT_EQ(callbacks.size(), kScreenKitNotifications.size());
  for (const auto& [name, wrapper] : wrappers) {
    const auto item = std::make_shared<VEMOJSMsgItem>();
    wrapper(item, platform.webView);
    wrapper(item, nullptr);
    EXPECT_FALSE(item->msgError() || item->msgRetval() || item->isAsyncTask()) << name;
  }
  for (const auto& [name, callback] : callbacks) callback(name);
  platform.mainQueue.drain();
  EXPECT_TRUE(notes.empty());
  EXPECT_TRUE(platform.logger.take().empty());
  EXPECT_TRUE(platform.webView->take().empty());
  EXPECT_EQ(engineClass.instance(), nullptr);

  // The same calls of a router that is there do something.
  router = makeRouter();
  command("initSDK");
  center.callbacks.at(0).second(center.callbacks.at(0).first);
  EXPECT_EQ(platform.logger.take().size(), 3U);
}

/// A command's late answer, through a base router that delivers.
TEST(LateAnswer, GoesToTheWebViewThatTheCommandCameWith) {
  FakePlatform platform;
  const auto router = VEMOKOBUMsgRouter::create(platform.makeBaseRouter(), platform.pieces());
  platform.send("initSDK");
  platform.send("enterRoom", R"({"appScene":0,"userId":"ann","roomId":1})");
  platform.send("startScreenCapture", R"({"screenCaptureMode":1})");
  platform.webView->take();
  const auto next = std::make_shared<FakeWebView>();
  router->setWebView(next);
  std::thread([&] { platform.engineClass.instance()->delegate()->onEnterRoom(7); }).join();
  platform.mainQueue.drain();
  router->onScreenCaptureStarted();
  const auto answers = platform.webView->take();
  ASSERT_EQ(answers.size(), 2U);
  EXPECT_NE(answers[0].find("\"elapsed\":7"), std::string::npos) << answers[0];
  EXPECT_NE(answers[1].find("\"reason\":0"), std::string::npos) << answers[1];
  EXPECT_TRUE(next->take().empty());
  platform.send("getSDKVersion");
  EXPECT_EQ(next->take().size(), 1U);
  EXPECT_TRUE(platform.webView->take().empty());
}

}  // namespace
}  // namespace vemo
