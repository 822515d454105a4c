#include "ShortSession.h"

#include <algorithm>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <cctype>
#include <iterator>
#include <new>
#include <utility>

#include "ShortMemory.h"
#include "bridge/ScreenKitNotifications.h"
#include "json/EngineEvents.h"
#include "json/JsonText.h"
#include "platform/JSMsgRouter.h"
#include "stress/Samples.h"

namespace vemo::test {
namespace {

class File final : public DownloadedFile {
 public:
  std::optional<std::string> readAll() const override { return "bytes"; }
};
class Image final : public VEMOImage {};
class View final : public NativeView {};

/// `text` with every address in it as "0x*".
std::string withoutAddresses(std::string_view text) {
  std::string out;
  while (true) {
    const auto at = text.find("0x");
    out += text.substr(0, at);
    if (at == std::string_view::npos) return out;
    out += "0x*";
    text.remove_prefix(at + 2);
    const auto* const end = std::ranges::find_if_not(
        text, [](char character) { return std::isxdigit(static_cast<unsigned char>(character)); });
    text.remove_prefix(static_cast<std::size_t>(end - text.begin()));
  }
}

}  // namespace

/// Does `work` once the act that goes on has ended.
template <class Work>
void ShortSession::later(const char* name, Work work) {
  const ShortMemory::Exempt exempt;
  waiting_.push_back({std::move(work), acts_.size() - 1, name});
}

class ShortSession::WebView final : public VEMOWebView {
 public:
  explicit WebView(ShortSession& session) : session_(session) {}
  void loadJs(const std::string& script, bool /*needLog*/) override {
    session_.note("script ", script);
  }

 private:
  ShortSession& session_;
};

class ShortSession::Listener final : public VEMOKOBUEventListenerOf<Listener> {
 public:
  explicit Listener(ShortSession& session) : session_(session) {}
  template <auto operation, class... Args>
  void heard(const Args&...) {
    session_.note("listener ", std::get<ListenerOperation<operation>>(listenerOperations).name);
  }

 private:
  ShortSession& session_;
};

class ShortSession::Music final : public NullPWAudioEffectManager {
 public:
  explicit Music(ShortSession& session) : session_(session) {}
  void startPlayMusic(const PWAudioMusicParam&, OnStart onStart, OnProgress onProgress,
                      OnComplete onComplete) override {
    session_.note("engine startPlayMusic");
    session_.later("music started", [onStart = std::move(onStart)] { onStart(0); });
    session_.later("music goes on", [onProgress = std::move(onProgress)] { onProgress(10, 20); });
    session_.later("music ended", [onComplete = std::move(onComplete)] { onComplete(-7); });
  }
  void stopPlayMusic(std::int32_t) override { session_.note("engine stopPlayMusic"); }
  void seekMusicToPosInMS(std::int32_t, std::int32_t) override { session_.note("engine seek"); }
  void setAllMusicVolume(std::int32_t) override { session_.note("engine music volume"); }
  void setMusicPlayoutVolume(std::int32_t, std::int32_t) override {
    session_.note("engine playout volume");
  }
  void setMusicPublishVolume(std::int32_t, std::int32_t) override {
    session_.note("engine publish volume");
  }

 private:
  ShortSession& session_;
};

/// Notes the calls that go with others, or with something that the router keeps.
class ShortSession::Engine final : public FakeEngine, public std::enable_shared_from_this<Engine> {
 public:
  explicit Engine(ShortSession& session) : session_(session), music_(session) {}

  void setDelegate(std::shared_ptr<KOBUCloudDelegate> delegate) override {
    session_.note(delegate ? "engine delegate" : "engine no delegate");
    FakeEngine::setDelegate(std::move(delegate));
  }
  void setDefaultStreamRecvMode(bool, bool) override { session_.note("engine receive mode"); }
  void enterRoom(const KOBUParams&, std::int64_t) override {
    session_.note("engine enterRoom");
    tell("entered", [](auto& delegate) { delegate.onEnterRoom(12); });
  }
  void exitRoom() override {
    session_.note("engine exitRoom");
    tell("left", [](auto& delegate) { delegate.onExitRoom(0); });
  }
  void switchRole(std::int32_t) override {
    session_.note("engine switchRole");
    tell("role switched", [](auto& delegate) { delegate.onSwitchRole(0, std::nullopt); });
  }
  void startLocalPreview(bool, std::shared_ptr<NativeView>) override {
    session_.note("engine startLocalPreview");
  }
  void stopLocalPreview() override { session_.note("engine stopLocalPreview"); }
  void setVideoMuteImage(std::shared_ptr<VEMOImage>, std::int32_t) override {
    session_.note("engine setVideoMuteImage");
  }
  void setLocalRenderParams(const KOBURenderParams&) override { session_.note("engine render"); }
  void setVideoEncoderRotation(std::int32_t) override { session_.note("engine rotation"); }
  void setVideoEncoderMirror(bool) override { session_.note("engine mirror"); }
  void setGSensorMode(std::int32_t) override { session_.note("engine sensor"); }
  void startLocalAudio(std::int32_t) override { session_.note("engine startLocalAudio"); }
  void stopLocalAudio() override { session_.note("engine stopLocalAudio"); }
  void muteLocalAudio(bool) override { session_.note("engine muteLocalAudio"); }
  void setAudioRoute(std::int32_t) override { session_.note("engine setAudioRoute"); }
  void setAudioCaptureVolume(std::int32_t) override { session_.note("engine capture volume"); }
  void setAudioPlayoutVolume(std::int32_t) override { session_.note("engine playout volume"); }
  void enableAudioVolumeEvaluation(std::int32_t) override { session_.note("engine evaluation"); }
  void startRemoteView(const std::string&, std::int32_t, std::shared_ptr<NativeView>) override {
    session_.note("engine startRemoteView");
  }
  void stopRemoteView(const std::string&, std::int32_t) override {
    session_.note("engine stopRemoteView");
  }
  void setDebugViewMargin(const std::string&, EdgeInsets) override {
    session_.note("engine margin");
  }
  void startScreenCaptureInApp(const KOBUVideoEncParam&) override { capture(); }
  void startScreenCaptureByReplaykit(const KOBUVideoEncParam&, const std::string&) override {
    capture();
  }
  void startSpeedTest(std::uint32_t, const std::string&, const std::string&,
                      SpeedTestCompletion completion) override {
    session_.note("engine startSpeedTest");
    session_.later("speed test", [completion = std::move(completion)] {
      static const auto result = std::make_shared<const KOBUSpeedTestResult>();
      completion(result, 1, 1);
    });
  }
  PWAudioEffectManager& getAudioEffectManager() override { return music_; }

 private:
  void capture() {
    session_.note("engine startScreenCapture");
    tell("capture started", [](auto& delegate) { delegate.onScreenCaptureStarted(); });
  }
  template <class Event>
  void tell(const char* name, Event event) {
    session_.later(name, [weak = weak_from_this(), event] {
      const auto engine = weak.lock();
      if (const auto delegate = engine ? engine->delegate() : nullptr) event(*delegate);
    });
  }

  ShortSession& session_;
  Music music_;
};

ShortSession::ShortSession()
    : engineClass_([this] { return std::make_shared<Engine>(*this); }),
      webView_(std::make_shared<WebView>(*this)),
      renderSource_(std::shared_ptr<void>(), this),
      view_(std::make_shared<View>()) {
  for (int count = 0; count < 3; ++count) listeners_.push_back(std::make_shared<Listener>(*this));
}

ShortSession::~ShortSession() = default;

void ShortSession::create() {
  VEMOLogger& logger = *this;
  MainQueue& mainQueue = *this;
  auto base = std::make_unique<JSMsgRouter>(
      logger, std::make_shared<MainThreadReplyDelivery>(mainQueue, "reply"), webView_);
  router_ = VEMOKOBUMsgRouter::create(
      std::move(base), {engineClass_, *this, *this, *this, notifications_, *this, *this, *this,
                        *this, *this, *this, *this, *this, appGroup_});
}

std::vector<Act> ShortSession::play(std::size_t left) {
  left_ = left;
  create();
  host("views", [this](auto& router) { router.setCustomRenderSource(renderSource_); });
  playCommands();
  playHost();
  for (const auto& command : sampleCommands()) {
    if (command.name == "exitRoom" || command.name == "uninitSDK")
      send(command.name, command.beforeCbid + "last" + command.afterCbid);
  }
  act("the router ends", Thread::main, [this] { router_.reset(); });
  settle();
  waiting_.clear();
  return std::move(acts_);
}

void ShortSession::playCommands() {
  boost::json::array functions;
  for (const auto name : engineEventNames())
    functions.push_back({{"sdkcbName", name}, {"jsRecvcbName", "on"}});
  const auto message = [](std::string_view action, boost::json::object params) {
    return jsonText(boost::json::object{{"head", {{"module", "kobu"}, {"action", action}}},
                                        {"params", std::move(params)},
                                        {"nativecb", "done"},
                                        {"cbid", action}});
  };
  send("initSDK", message("initSDK", {}));
  send("registReport", message("registReport", {{"reportFunc", "onReport"}}));
  for (const auto& command : sampleCommands()) {
    if (command.name == "exitRoom" || command.name == "uninitSDK") continue;
    send(command.name, command.beforeCbid + command.name + command.afterCbid);
    if (command.name != "enterRoom") continue;
    // To whom all the rest is told.
    send("registCallBacks", message("registCallBacks", {{"callbacks", functions}}));
  }
  for (const int role : {20, 21}) send("switchRole", message("switchRole", {{"role", role}}));
  send("nonsense", "{");
  send("unknown", message("unknown", {}));
  isDenied_ = true;
  send("startLocalAudio", message("startLocalAudio", {{"quality", 1}}));
  isDenied_ = false;
}

void ShortSession::playEvents() {
  for (const auto thread : {Thread::other, Thread::main}) {
    for (const auto& event : sampleEvents()) {
      act("event " + event.name, thread, [&] {
        const auto engine = engineClass_.instance();
        if (const auto delegate = engine ? engine->delegate() : nullptr) event.tell(*delegate);
      });
      settle();
    }
    for (const auto& [name, event] : kScreenKitNotifications) {
      act("notification " + std::string(event), thread,
          [&, text = std::string(name)] { crossProcess_.call(text); });
      settle();
    }
  }
}

void ShortSession::playHost() {
  const auto room = [this](std::string name) {
    return [this, name = std::move(name)](VEMOModule, std::int64_t, const Text&, const Text&,
                                          std::int64_t) { note("completion ", name); };
  };
  const auto plain = [this](std::string name) {
    return [this, name = std::move(name)](VEMOModule, std::int64_t, const Text&) {
      note("completion ", name);
    };
  };
  const VEMORoomCallback entered = room("enter");
  const VEMORoomCallback exited = room("exit");
  const VEMOCallback anchor = plain("anchor");
  const VEMOCallback audience = plain("audience");
  KOBUParams params;
  params.userId = "ann";
  params.roomId = 9;
  const auto shared = std::make_shared<const KOBUParams>(params);
  for (const auto& listener : listeners_)
    host("listener", [=](auto& router) { router.addKOBUEventListener(listener); });
  host("enter", [=](auto& router) { router.vemoEnterRoom(shared, 1, entered); });
  host("anchor", [=](auto& router) { router.switchToAnchorRole(anchor); });
  host("audience", [=](auto& router) { router.switchToAudienceRole(audience); });
  host("preview", [this](auto& router) { router.startLocalPreivew(true, view_); });
  host("stop preview", [](auto& router) { router.stopLocalPreview(); });
  for (const Text& user : {Text("ann"), Text("a user whose name is long enough to be allocated")}) {
    host("start", [&](auto& router) { router.kobuStartPreview(user, view_, true); });
    host("stop", [&](auto& router) { router.kobuStopPreview(user, view_); });
    host("audio", [&](auto& router) { router.kobuStartAudio(user, view_); });
    host("no audio", [&](auto& router) { router.kobuStopAudio(user, view_); });
    host("screen", [&](auto& router) { router.kobuStartSubStream(user, view_); });
    host("no screen", [&](auto& router) { router.kobuStopSubStream(user, view_); });
  }
  host("report", [](auto& router) { router.reportEvent("plugged"); });
  host("page", [](auto& router) { router.callBackToH5("onWarning", boost::json::object(), true); });
  host("script",
       [](auto& router) { router.executeJSCallback("call", boost::json::object(), true); });
  playEvents();  // which listeners hear, too
  host("no listener", [this](auto& router) { router.removeKOBUEventListener(listeners_[1]); });
  host("none", [](auto& router) { router.removeAllKOBUEventListeners(); });
  for (const auto& notification : kScreenKitNotifications) {
    const std::string name(notification.name);
    host("subscribe again", [&](auto& router) {
      try {
        router.registerForScreenKitNotificationsWithName(name);
      } catch (const std::bad_alloc&) {  // which has ended the first subscription
        router.registerForScreenKitNotificationsWithName(name);
        throw;
      }
    });
  }
  host("exit", [=](auto& router) { router.zebExitRoom(exited); });
}

void ShortSession::send(const std::string& action, std::string_view message) {
  act("command " + action, Thread::main, [&] { router_->receive(message); });
  settle();
}

void ShortSession::host(const std::string& name,
                        const std::function<void(VEMOKOBUMsgRouter&)>& call) {
  act("host " + name, Thread::other, [&] { call(*router_); });
  settle();
}

void ShortSession::act(std::string name, Thread thread, const std::function<void()>& work,
                       std::size_t cause) {
  acts_.push_back({std::move(name), cause, {}, false});
  if (acts_.size() - 1 == left_) return;
  thread_ = thread;
  const bool hadFailed = ShortMemory::hasFailed();
  try {
    const ShortMemory::Counting counting;
    work();
  } catch (const std::bad_alloc&) {
    acts_.back().threw = true;
  }
  acts_.back().failed = ShortMemory::hasFailed() && !hadFailed;
  thread_ = Thread::main;
  if (!router_) return;
  // What the router keeps, so that what differs in it shows where it does.
  const auto room = router_->enterRoomParams();
  acts_.back().effects.push_back(
      "state " + std::to_string(router_->hasEnterRoom()) +
      (room ? room->userId.value_or("(null)") + " " + std::to_string(room->role) : "") + " " +
      std::to_string(router_->kobuEventListeners().size()) + " " +
      std::to_string(subscribed_.size()));
}

void ShortSession::settle() {
  while (!tasks_.empty() || !waiting_.empty()) {
    const bool isTask = !tasks_.empty();
    auto& from = isTask ? tasks_ : waiting_;
    const auto next = std::move(from.front());
    from.pop_front();
    act(next.name, isTask ? Thread::main : Thread::other, next.work, next.cause);
  }
}

// ---- The pieces

void ShortSession::note(std::string_view what, std::string_view text) {
  const ShortMemory::Exempt exempt;
  if (acts_.empty()) return;
  acts_.back().effects.push_back(std::string(what) + withoutAddresses(text));
}

void ShortSession::dispatchAsync(std::function<void()> task) {
  tasks_.push_back({std::move(task), acts_.size() - 1, "task"});
}

void ShortSession::log(const DUNLogParam& record) {
  const ShortMemory::Exempt exempt;
  // Every 120th volume of the process leaves a record: those of other sessions count.
  if (record.actionName == "onUserVoiceVolume") return;
  note("log ", std::string(record.actionName.value_or("")) + " " +
                   std::string(record.actionParam.value_or("")) + " " +
                   std::string(record.errorDesc.value_or("")));
}

void ShortSession::writeLine(std::string_view line) { note("syslog ", line); }

void ShortSession::post(const std::string& name) { crossProcess_.call(name); }

void ShortSession::addObserver(const void* observer, const std::string& name,
                               CrossProcessNotificationCenter::Callback callback) {
  crossProcess_.add(observer, name, std::move(callback));
  const ShortMemory::Exempt exempt;
  subscribed_.insert(name);
}

void ShortSession::removeObserver(const void* observer, const std::string& name) {
  crossProcess_.remove(observer, name);
  const ShortMemory::Exempt exempt;
  subscribed_.erase(name);
}

void ShortSession::removeEveryObserver(const void* observer) {
  crossProcess_.removeEvery(observer);
  subscribed_.clear();
}

AuthorizationStatus ShortSession::authorizationStatus(MediaType media) const {
  if (isDenied_) return AuthorizationStatus::denied;
  return media == MediaType::video ? AuthorizationStatus::notDetermined
                                   : AuthorizationStatus::authorized;
}

void ShortSession::requestAccess(MediaType, std::function<void(bool granted)> answer) {
  note("requestAccess");
  later("granted", [answer = std::move(answer)] { answer(true); });
}

void ShortSession::present(Alert alert) {
  const ShortMemory::Exempt exempt;
  note("alert ", alert.title + alert.message);
  later("pressed", [handler = std::move(alert.actions.back().handler)] { handler(); });
}

bool ShortSession::isUrl(const std::string&) const { return true; }

void ShortSession::download(const std::string&, std::function<void(DownloadResult)> done) {
  note("download");
  later("downloaded", [done = std::move(done)] {
    static const auto file = std::make_shared<const File>();
    done({std::nullopt, file});
  });
}

void ShortSession::decode(std::string, Done done) {
  note("decode");
  later("decoded", [done = std::move(done)] {
    static const auto image = std::make_shared<Image>();
    done(image);
  });
}

void ShortSession::launch() {
  note("launch");
  later("launched", [this] { crossProcess_.call(kVEMOScreenKit_Started_Notify); });
}

std::shared_ptr<NativeView> ShortSession::renderViewOf(const Text&, ViewType) { return view_; }

}  // namespace vemo::test
