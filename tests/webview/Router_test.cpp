#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <set>
#include <thread>

#include "json/JsonText.h"
#include "testing/FakePlatform.h"
#include "testing/NullPlatform.h"
#include "webview/VEMOKOBUMsgRouter.h"
#include "webview/protocol.h"

// What a session written down can't reach: calls that a host makes itself, threads that
// really run side by side, and the places that log records name.

namespace vemo {
namespace {

class RouterTest : public testing::Test {
 protected:
  void TearDown() override {
    router.reset();
    platform.mainQueue.drain();
    EXPECT_TRUE(watched.expired());
  }

  void onOtherThread(auto work) { std::thread(work).join(); }

  FakePlatform platform;
  std::shared_ptr<VEMOKOBUMsgRouter> router =
      VEMOKOBUMsgRouter::create(platform.makeBaseRouter(), platform.pieces());
  std::weak_ptr<VEMOKOBUMsgRouter> watched = router;
};

std::string text(const boost::json::object& object) { return jsonText(object); }

TEST_F(RouterTest, EnvelopeLeavesOutAnEmptyNameAndAnAbsentValue) {
  const boost::json::object value{{"x", 1}};
  EXPECT_EQ(text(VEMOKOBUMsgRouter::callBackCommonJson("onError", value)),
            R"({"head":{"module":"kobucb","action":"onError"},"retval":{"x":1}})");
  EXPECT_EQ(text(VEMOKOBUMsgRouter::callBackCommonJson("", value)), R"({"retval":{"x":1}})");
  EXPECT_EQ(text(VEMOKOBUMsgRouter::callBackCommonJson("onError", std::nullopt)),
            R"({"head":{"module":"kobucb","action":"onError"}})");
  EXPECT_EQ(text(VEMOKOBUMsgRouter::callBackCommonJson("", std::nullopt)), "{}");
}

TEST_F(RouterTest, AnEventIsSentInTheEnvelopeThatHostsMake) {
  platform.send("registCallBacks", R"({"callbacks":[
      {"sdkcbName":"onLesson","jsRecvcbName":"page.f"},
      {"sdkcbName":"a \"name\"\n","jsRecvcbName":"page.f"}]})");
  platform.webView->take();
  const boost::json::object value{{"x", 1}, {"text", "a \u2028 \"b\""}};
  for (const std::string_view name : {"onLesson", "a \"name\"\n"}) {
    for (const auto& given : {std::optional(value), std::optional<boost::json::object>()}) {
      router->callBackToH5(name, given, true);
      router->executeJSCallback("page.f", VEMOKOBUMsgRouter::callBackCommonJson(name, given), true);
      const auto scripts = platform.webView->take();
      ASSERT_EQ(scripts.size(), 2U);
      EXPECT_EQ(scripts[0], scripts[1]);
    }
  }
}

TEST_F(RouterTest, ScriptRunsBeforeTheCallReturnsOnTheMainThread) {
  router->executeJSCallback("page.f", boost::json::object{{"a", 1}}, true);
  EXPECT_EQ(platform.webView->take(), std::vector<std::string>{R"js(page.f({"a":1}))js"});
}

TEST_F(RouterTest, ScriptOfAnotherThreadRunsWhenTheQueueDoes) {
  onOtherThread([&] { router->executeJSCallback("page.f", boost::json::object{}, true); });
  EXPECT_TRUE(platform.webView->take().empty());
  platform.mainQueue.drain();
  EXPECT_EQ(platform.webView->take(), std::vector<std::string>{"page.f({})"});
}

TEST_F(RouterTest, ScriptOfAnotherThreadIsDroppedWithTheRouter) {
  onOtherThread([&] { router->executeJSCallback("page.f", boost::json::object{}, true); });
  router.reset();
  platform.mainQueue.drain();
  EXPECT_TRUE(platform.webView->take().empty());
}

TEST_F(RouterTest, NothingIsSentWithoutAFunctionAnEnvelopeOrAWebView) {
  router->executeJSCallback("", boost::json::object{}, true);
  router->executeJSCallback("page.f", std::nullopt, true);
  router->setWebView(nullptr);
  router->executeJSCallback("page.f", boost::json::object{}, true);
  EXPECT_TRUE(platform.webView->take().empty());
  EXPECT_TRUE(platform.logger.take().empty());
}

TEST_F(RouterTest, EventReportWithoutAWebViewOnlyLogs) {
  platform.send("registReport", R"({"reportfunc":"page.report"})");
  platform.webView->take();
  router->setWebView(nullptr);
  router->reportEvent("enable_mic");
  EXPECT_EQ(platform.logger.take().size(), 1U);
  EXPECT_TRUE(platform.webView->take().empty());
}

TEST_F(RouterTest, AbsentEventIsLoggedAsNullAndNotReported) {
  platform.send("registReport", R"({"reportfunc":"page.report"})");
  platform.webView->take();
  router->reportEvent(std::nullopt);
  EXPECT_EQ(platform.logger.take().at(0).actionParam, R"js({"event":"(null)"})js");
  EXPECT_TRUE(platform.webView->take().empty());
}

TEST_F(RouterTest, NullBlocksAndListenersDoNothing) {
  router->safeRunInMain(nullptr);
  router->asyncRunInMain(nullptr);
  onOtherThread([&] { router->asyncRunInMain(nullptr); });
  EXPECT_EQ(platform.mainQueue.drain(), 0U);
  router->addKOBUEventListener(nullptr);
  router->removeKOBUEventListener(nullptr);
  EXPECT_TRUE(router->kobuEventListeners().empty());
}

TEST_F(RouterTest, MainBlocksGetTheRouter) {
  VEMOKOBUMsgRouter* got = nullptr;
  router->safeRunInMain([&](VEMOKOBUMsgRouter& given) { got = &given; });
  EXPECT_EQ(got, router.get());
  got = nullptr;
  onOtherThread([&] { router->asyncRunInMain([&](VEMOKOBUMsgRouter& given) { got = &given; }); });
  EXPECT_EQ(got, nullptr);
  platform.mainQueue.drain();
  EXPECT_EQ(got, router.get());
}

TEST_F(RouterTest, IsTheApplicationsRouter) {
  VEMOJSMsgRouter& application = *router;
  EXPECT_EQ(application.webView(), platform.webView);
  int called = 0;
  application.setMethod("own", [&](const auto&, const auto& webView) {
    EXPECT_EQ(webView, platform.webView);
    ++called;
  });
  application.receive(R"({"head":{"module":"kobu","action":"own"},"cbid":"1"})");
  EXPECT_EQ(called, 1);
  EXPECT_EQ(platform.webView->take().size(), 1U);
  application.receive(R"({"head":{"module":"kobu","action":"initSDK"}})");
  EXPECT_NE(platform.engineClass.instance(), nullptr);
}

// Its base router is working on the message while the last holder lets go.
TEST_F(RouterTest, MayBeLetGoByItsOwnCommand) {
  router->setMethod("end", [&](const auto&, const auto&) { router.reset(); });
  router->receive(R"({"head":{"module":"kobu","action":"end"},"cbid":"1"})");
  EXPECT_TRUE(watched.expired());
  EXPECT_EQ(platform.webView->take().size(), 1U) << "the command was answered all the same";
}

// What goes with the router may still have a word for it.
TEST_F(RouterTest, TakesNoMessageWhileItIsDestroyed) {
  struct Parting {
    VEMOKOBUMsgRouter* router;
    bool& reached;
    ~Parting() {
      router->receive(R"({"head":{"module":"kobu","action":"getSDKVersion"},"cbid":"1"})");
      reached = true;
    }
  };
  bool reached = false;
  router->zebExitRoom([parting = std::make_shared<Parting>(router.get(), reached)](auto&&...) {});
  router.reset();
  EXPECT_TRUE(reached);
  EXPECT_TRUE(platform.webView->take().empty());
}

TEST_F(RouterTest, RenderSourceIsTheHosts) {
  struct Source final : VEMOUIRenderSource {
    std::shared_ptr<NativeView> renderViewOf(const Text&, ViewType) override { return nullptr; }
  };
  EXPECT_EQ(router->customRenderSource(), nullptr);
  auto source = std::make_shared<Source>();
  router->setCustomRenderSource(source);
  EXPECT_EQ(router->customRenderSource(), source);
  source.reset();
  EXPECT_EQ(router->customRenderSource(), nullptr);
}

TEST_F(RouterTest, ListenersAreToldAsTheWalkBegan) {
  struct Listener : VEMOKOBUEventListener {
    std::function<void()> then;
    int calls = 0;
    void onVEMOConnectionLost() override {
      ++calls;
      if (then) then();
    }
  };
  const auto first = std::make_shared<Listener>();
  const auto second = std::make_shared<Listener>();
  router->addKOBUEventListener(first);
  router->addKOBUEventListener(second);
  first->then = [&] { router->removeAllKOBUEventListeners(); };
  router->onConnectionLost();
  EXPECT_EQ(first->calls, 1);
  EXPECT_EQ(second->calls, 1);
  router->onConnectionLost();
  EXPECT_EQ(second->calls, 1);
}

TEST_F(RouterTest, ListenersAreNotKeptAlive) {
  auto listener = std::make_shared<VEMOKOBUEventListener>();
  const std::weak_ptr<VEMOKOBUEventListener> seen = listener;
  router->addKOBUEventListener(listener);
  listener.reset();
  EXPECT_TRUE(seen.expired());
  EXPECT_TRUE(router->kobuEventListeners().empty());
}

TEST_F(RouterTest, RouterMayDieOnAnotherThread) {
  platform.send("initSDK");
  onOtherThread([dying = std::move(router)]() mutable { dying.reset(); });
  EXPECT_TRUE(watched.expired());
  EXPECT_EQ(platform.engineClass.instance(), nullptr);
}

TEST_F(RouterTest, EventKeepsTheRouterUntilItIsTold) {
  platform.send("registCallBacks",
                R"({"callbacks":[{"sdkcbName":"onConnectionLost","jsRecvcbName":"page.lost"}]})");
  platform.send("initSDK");
  platform.webView->take();
  onOtherThread([&] { platform.engineClass.instance()->delegate()->onConnectionLost(); });
  router.reset();
  EXPECT_FALSE(watched.expired());
  platform.mainQueue.drain();
  EXPECT_TRUE(watched.expired());
  EXPECT_EQ(platform.webView->take().size(), 1U);
}

TEST_F(RouterTest, OwnerLivesAsLongAsTheRouter) {
  auto owner = std::make_shared<int>(0);
  const std::weak_ptr<int> seen = owner;
  auto pieces = platform.pieces();
  pieces.owner = std::move(owner);
  auto second = VEMOKOBUMsgRouter::create(platform.makeBaseRouter(), std::move(pieces));
  EXPECT_FALSE(seen.expired());
  second.reset();
  EXPECT_TRUE(seen.expired());
}

TEST(RouterThatOwnsItsPieces, MayDieInATaskOfItsOwnQueue) {
  auto platform = std::make_shared<FakePlatform>();
  const std::weak_ptr<FakePlatform> watched = platform;
  auto pieces = platform->pieces();
  pieces.owner = platform;
  auto router = VEMOKOBUMsgRouter::create(platform->makeBaseRouter(), std::move(pieces));
  // Queued from there, and holds the router until it is told.
  std::thread([&] { router->onConnectionLost(); }).join();
  auto& queue = platform->mainQueue;
  router.reset();
  platform.reset();
  ASSERT_FALSE(watched.expired());
  EXPECT_EQ(queue.drain(), 1U);
  EXPECT_TRUE(watched.expired());
}

/// Where the records say that they were logged.
std::set<std::pair<std::string, unsigned>> placesOf(const std::vector<LoggedRecord>& records) {
  std::set<std::pair<std::string, unsigned>> places;
  for (const auto& record : records) places.emplace(record.fileName, record.line);
  return places;
}

TEST_F(RouterTest, EachCommandIsLoggedFromAPlaceOfItsOwn) {
  std::set<std::pair<std::string, unsigned>> entries;
  const std::vector<std::string> commands{"registCallBacks", "initSDK",   "setLogParams",
                                          "uninitSDK",       "enterRoom", "exitRoom",
                                          "showBugView",     "switchRole"};
  for (const auto& command : commands) {
    platform.logger.take();
    platform.send(command);
    const auto entry = platform.logger.take().at(0);
    EXPECT_EQ(entry.actionName, command);
    EXPECT_EQ(entry.fileName, "command_table.cpp");
    EXPECT_EQ(entry.funcName, "-[VEMOKOBUMsgRouter registRouter]_wrapper");
    entries.emplace(entry.fileName, entry.line);
  }
  EXPECT_EQ(entries.size(), commands.size());
}

TEST_F(RouterTest, EachPlaceThatLogsHasALineOfItsOwn) {
  platform.send("initSDK");
  platform.logger.take();
  std::size_t sites = 0;
  const auto one = [&](auto log) {
    log();
    ++sites;
  };
  // Failures within one file, two of them in one handler, and events.
  one([&] { platform.send("enterRoom"); });
  one([&] { platform.send("enterRoom", R"({"appScene":0,"roomId":{}})"); });
  one([&] { platform.send("showBugView"); });
  one([&] { platform.send("initSDK"); });
  one([&] { platform.send("switchRole", R"({"role":20})"); });
  one([&] { platform.send("setNetworkQosParam", R"({"preference":[]})"); });
  one([&] { platform.send("setVideoEncoderParam", R"({"fps":[]})"); });
  std::vector<LoggedRecord> records = platform.logger.take();
  std::erase_if(records, [](const LoggedRecord& record) {
    return record.funcName == "-[VEMOKOBUMsgRouter registRouter]_wrapper";
  });
  ASSERT_EQ(records.size(), sites);
  EXPECT_EQ(placesOf(records).size(), sites);

  one([&] { router->onConnectionLost(); });
  one([&] { router->onTryToReconnect(); });
  one([&] { router->onConnectionRecovery(); });
  one([&] { router->onEnterRoom(1); });
  one([&] { router->onExitRoom(0); });
  one([&] { router->onError(1, "a", std::nullopt); });
  one([&] { router->onWarning(1, "a", std::nullopt); });
  one([&] { router->reportEvent("x"); });
  const auto events = platform.logger.take();
  records.insert(records.end(), events.begin(), events.end());
  EXPECT_EQ(placesOf(records).size(), sites);
  for (const auto& record : records) {
    EXPECT_EQ(record.fileName.find('/'), std::string::npos);
    EXPECT_GT(record.line, 0U);
  }
}

/// A base router that keeps what is registered, in order.
class ListingRouter final : public NullVEMOJSMsgRouter {
 public:
  void setMethod(const std::string& action, Wrapper wrapper) override {
    methods.emplace_back(action, std::move(wrapper));
  }

  std::vector<std::pair<std::string, Wrapper>> methods;
};

TEST_F(RouterTest, TheFramesRecordsOfAllCommandsHavePlacesOfTheirOwn) {
  auto kept = std::make_unique<ListingRouter>();
  const auto& base = *kept;
  const auto second = VEMOKOBUMsgRouter::create(std::move(kept), platform.pieces());
  const auto commands = protocol().at("commands").as_array();
  ASSERT_EQ(base.methods.size(), commands.size());
  std::size_t guarded = 0;
  for (std::size_t i = 0; i < commands.size(); ++i) {
    EXPECT_EQ(base.methods[i].first, commands[i].at("name").as_string());
    if (commands[i].at("guard").as_string() != "none") ++guarded;
  }
  platform.logger.take();
  for (const auto& [name, wrapper] : base.methods) {
    if (name == "initSDK") continue;  // the others fail for want of an engine
    const auto item = std::make_shared<VEMOJSMsgItem>();
    wrapper(item, platform.webView);
    wrapper(item, nullptr);
  }
  std::map<std::pair<std::string, unsigned>, std::string> sites;
  std::size_t entries = 0;
  std::size_t withoutWebView = 0;
  std::size_t withoutEngine = 0;
  for (const auto& record : platform.logger.take()) {
    const std::string description = record.errorDesc.value_or("");
    if (description == "webview is null") ++withoutWebView;
    if (description == "not initSDK") ++withoutEngine;
    if (!record.errorCode) ++entries;
    const auto what = record.actionName + "|" + record.funcName + "|" + description;
    const auto [place, isNew] = sites.emplace(std::pair{record.fileName, record.line}, what);
    EXPECT_TRUE(isNew) << what << " and " << place->second << " share a place";
  }
  const auto logged = base.methods.size() - 4;  // three log nothing, and one was left out
  EXPECT_EQ(entries, logged);
  EXPECT_EQ(withoutWebView, logged);
  EXPECT_EQ(withoutEngine, guarded);
}

TEST_F(RouterTest, TheSamePlaceGivesTheSameLine) {
  platform.send("showBugView");
  platform.send("showBugView");
  const auto records = platform.logger.take();
  ASSERT_EQ(records.size(), 4U);
  EXPECT_EQ(records[0].line, records[2].line);
  EXPECT_EQ(records[1].line, records[3].line);
}

// Commands, events and the main queue side by side: what this test asserts is little; the
// thread sanitizer asserts the rest.
TEST_F(RouterTest, CommandsAndEventsRunSideBySide) {
  platform.send("registCallBacks", R"({"callbacks":[
      {"sdkcbName":"onStatistics","jsRecvcbName":"page.statistics"},
      {"sdkcbName":"onUserVoiceVolume","jsRecvcbName":"page.volume"}]})");
  platform.send("initSDK");
  const auto engine = platform.engineClass.instance();
  constexpr int rounds = 300;
  std::atomic<int> running = 2;
  std::thread events([&] {
    const auto statistics = std::make_shared<const KOBUStatistics>();
    const auto volumes =
        std::make_shared<const std::vector<KOBUVolumeInfo>>(std::vector<KOBUVolumeInfo>(2));
    for (int i = 0; i < rounds; ++i) {
      const auto delegate = engine->delegate();
      delegate->onEnterRoom(i);
      delegate->onStatistics(statistics);
      delegate->onUserVoiceVolume(volumes, i);
      delegate->onSwitchRole(0, std::nullopt);
      delegate->onScreenCaptureStarted();
      delegate->onExitRoom(0);
    }
    --running;
  });
  std::thread commands([&] {
    for (int i = 0; i < rounds; ++i) {
      platform.send("enterRoom", R"({"appScene":1,"userId":"u","roomId":1})");
      platform.send("getKOBUStats");
      platform.send("startScreenCapture", R"({"screenCaptureMode":1})");
      platform.send("registReport", R"({"reportfunc":"page.report"})");
      router->switchToAnchorRole([](VEMOModule, std::int64_t, const Text&) {});
      router->reportEvent("enable_mic");
      platform.send("exitRoom");
    }
    --running;
  });
  while (running > 0) {
    platform.mainQueue.drain();
    router->hasEnterRoom();
  }
  events.join();
  commands.join();
  platform.mainQueue.drain();
  const auto scripts = platform.webView->take();
  EXPECT_EQ(std::count_if(scripts.begin(), scripts.end(),
                          [](const auto& script) { return script.starts_with("page.volume("); }),
            rounds);
}

}  // namespace
}  // namespace vemo
