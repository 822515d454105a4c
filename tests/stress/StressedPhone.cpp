#include "StressedPhone.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>

#include "bridge/ScreenKitNotifications.h"
#include "json/EngineEvents.h"
#include "json/JsonText.h"
#include "platform/JSMsgRouter.h"

namespace vemo::test {
namespace {

using Answered = SampleCommand::Answered;

/// A file that can be read.
class File final : public DownloadedFile {
 public:
  std::optional<std::string> readAll() const override { return "bytes"; }
};
class Image final : public VEMOImage {};
class View final : public NativeView {};
class Listener final : public VEMOKOBUEventListener {};

}  // namespace

/// Counts the answers to each message of its page.
class StressedPhone::WebView final : public VEMOWebView {
 public:
  void loadJs(const std::string& script, bool /*needLog*/) override {
    if (isClosed_) ++late_;
    constexpr std::string_view kReply = "vemoBridge.onReply(";
    constexpr std::string_view kCbid = R"("cbid":")";
    if (!script.starts_with(kReply)) return;
    const auto at = script.find(kCbid);
    if (at == std::string::npos) return;
    std::size_t number = kMessages;
    std::from_chars(script.data() + at + kCbid.size(), script.data() + script.size(), number);
    if (number < kMessages) ++answers_[number];
  }

  unsigned answersTo(std::size_t number) const { return answers_[number]; }
  void close() { isClosed_ = true; }
  unsigned late() const { return late_; }

 private:
  std::array<std::atomic<unsigned>, kMessages> answers_{};
  std::atomic<bool> isClosed_ = false;
  std::atomic<unsigned> late_ = 0;
};

/// Each piece of music starts, goes on, and ends.
class StressedPhone::Music final : public NullPWAudioEffectManager {
 public:
  explicit Music(Chores& chores) : chores_(chores) {}
  void startPlayMusic(const PWAudioMusicParam&, OnStart onStart, OnProgress onProgress,
                      OnComplete onComplete) override {
    if (onStart) chores_.add([onStart = std::move(onStart)] { onStart(0); });
    if (onProgress) chores_.add([onProgress = std::move(onProgress)] { onProgress(10, 20); });
    if (onComplete) chores_.add([onComplete = std::move(onComplete)] { onComplete(0); });
  }

 private:
  Chores& chores_;
};

/// Answers all that it is asked for, some of it with failures, as long as somebody holds it.
class StressedPhone::Engine final : public FakeEngine, public std::enable_shared_from_this<Engine> {
 public:
  explicit Engine(StressedPhone& phone) : phone_(phone), music_(phone.music) {}

  void enterRoom(const KOBUParams&, std::int64_t) override {
    if (++enters_ % 4 == 0) {
      tellLater([](auto& delegate) { delegate.onError(-3301, "refused", std::nullopt); });
      tellLater([](auto& delegate) { delegate.onEnterRoom(-3301); });
    } else {
      tellLater([](auto& delegate) { delegate.onEnterRoom(12); });
    }
  }
  void exitRoom() override {
    tellLater([](auto& delegate) { delegate.onExitRoom(0); });
  }
  void switchRole(std::int32_t) override {
    tellLater([](auto& delegate) { delegate.onSwitchRole(0, std::nullopt); });
  }
  void startScreenCaptureInApp(const KOBUVideoEncParam&) override {
    tellLater([](auto& delegate) { delegate.onScreenCaptureStarted(); });
  }
  void startScreenCaptureByReplaykit(const KOBUVideoEncParam&, const std::string&) override {
    tellLater([](auto& delegate) { delegate.onScreenCaptureStarted(); });
  }
  void startSpeedTest(std::uint32_t, const std::string&, const std::string&,
                      SpeedTestCompletion completion) override {
    phone_.engine.add([self = weak_from_this(), completion = std::move(completion)] {
      if (!self.lock()) return;
      for (const std::int64_t server : {1, 2})
        completion(std::make_shared<KOBUSpeedTestResult>(), server, 2);
    });
  }
  PWAudioEffectManager& getAudioEffectManager() override { return music_; }

 private:
  template <class Event>
  void tellLater(Event event) {
    phone_.engine.add([self = weak_from_this(), event] {
      const auto engine = self.lock();
      if (!engine) return;
      if (const auto delegate = engine->delegate()) event(*delegate);
    });
  }

  StressedPhone& phone_;
  std::atomic<unsigned> enters_ = 0;
  Music music_;
};

StressedPhone::StressedPhone()
    : engineClass_([this] { return std::make_shared<Engine>(*this); }),
      webView_(std::make_shared<WebView>()),
      listener_(std::make_shared<Listener>()) {
  VEMOLogger& logger = *this;
  router_ = VEMOKOBUMsgRouter::create(
      std::make_unique<JSMsgRouter>(
          logger, std::make_shared<MainThreadReplyDelivery>(mainQueue_, "vemoBridge.onReply"),
          webView_),
      {engineClass_, *this, *this, mainQueue_, notifications_, crossProcess_, *this, *this, *this,
       *this, *this, *this, *this, appGroup_});
  boost::json::array callbacks;
  for (const auto name : engineEventNames())
    callbacks.push_back({{"sdkcbName", name}, {"jsRecvcbName", "on"}});
  for (const auto& [action, params] :
       {std::pair("initSDK", boost::json::object()),
        std::pair("registCallBacks", boost::json::object{{"callbacks", callbacks}})}) {
    router_->receive(jsonText(boost::json::object{
        {"head", {{"module", "kobu"}, {"action", action}}}, {"params", params}}));
  }
}

std::shared_ptr<VEMOKOBUMsgRouter> StressedPhone::router() const {
  const std::lock_guard lock(routerMutex_);
  return router_;
}

bool StressedPhone::pageSends(Dice& dice) {
  ++sending_;  // before it is looked whether the page may still send
  const struct Sent {
    std::atomic<std::size_t>& sending;
    ~Sent() { --sending; }
  } sent{sending_};
  const auto router = pageIsSilent_ ? nullptr : this->router();
  if (!router) return false;
  const auto number = numbers_++;
  if (number >= kMessages) return false;
  sent_[number] = dice() % sampleCommands().size();
  const auto& command = sampleCommands()[sent_[number]];
  router->receive(command.beforeCbid + std::to_string(number) + command.afterCbid);
  return true;
}

bool StressedPhone::engineTells(Dice& dice) {
  if (dice() % 2 == 0 && engine.doOne(dice())) return true;
  const auto instance = engineClass_.instance();
  const auto delegate = instance ? instance->delegate() : nullptr;
  if (!delegate) return false;
  sampleEvents()[dice() % sampleEvents().size()].tell(*delegate);
  return true;
}

bool StressedPhone::hostActs(Dice& dice) {
  const auto router = this->router();
  if (!router) return false;
  const auto view = std::make_shared<View>();
  switch (dice() % 16) {
    case 0: router->vemoEnterRoom(std::make_shared<KOBUParams>(), 0, nullptr); break;
    case 1: router->zebExitRoom(nullptr); break;
    case 2: router->switchToAnchorRole(nullptr); break;
    case 3: router->switchToAudienceRole(nullptr); break;
    case 4: router->kobuStartPreview("ann", view, true); break;
    case 5: router->kobuStopPreview("ann", view); break;
    case 6: router->kobuStartAudio(std::nullopt, view); break;
    case 7: router->kobuStopAudio(std::nullopt, view); break;
    case 8: router->reportEvent("plugged"); break;
    case 9: router->addKOBUEventListener(listener_); break;
    case 10: router->removeKOBUEventListener(listener_); break;
    case 11: router->removeAllKOBUEventListeners(); break;
    case 12: router->setCustomRenderSource(nullptr); break;
    case 13:
      router->asyncRunInMain([](VEMOKOBUMsgRouter& self) { self.kobuEventListeners(); });
      break;
    case 14: router->setWebView(router->webView()); break;
    default:
      if (router->hasEnterRoom())
        router->kobuMuteAllRemoteAudio(router->curEnteredRoomUserId().has_value());
  }
  return true;
}

bool StressedPhone::notify(Dice& dice) {
  crossProcess_.post(kScreenKitNotifications[dice() % kScreenKitNotifications.size()].name);
  return true;
}

void StressedPhone::drain() {
  while (presses.doOne(0) || mainQueue_.drain() > 0) {
  }
}

void StressedPhone::silencePage() { pageIsSilent_ = true; }

bool StressedPhone::settled() const {
  return sending_ == 0 && engine.allDone() && permissions.allDone() && downloads.allDone() &&
         music.allDone() && presses.allDone();
}

void StressedPhone::letGo() {
  silencePage();
  std::shared_ptr<VEMOKOBUMsgRouter> router;
  {
    const std::lock_guard lock(routerMutex_);
    router.swap(router_);
  }
  letGo_ = router;
}

// That the pointer is dead says nothing of what other threads wrote before they let go of it.
bool StressedPhone::isGone() const { return letGo_.expired() && sending_ == 0; }

std::string StressedPhone::verdict(bool settledBefore) {
  drain();  // the answers that the router left in the queue
  webView_->close();
  std::string complaints;
  for (std::size_t number = 0; number < std::min(numbers_.load(), kMessages); ++number) {
    const auto& command = sampleCommands()[sent_[number]];
    const auto answers = webView_->answersTo(number);
    const auto least = command.answered == Answered::once ||
                               (command.answered == Answered::onceLater && settledBefore)
                           ? 1U
                           : 0U;
    const auto most = command.answered == Answered::often ? 8U : 1U;
    if (answers < least || answers > most) {
      complaints += command.name + " was answered " + std::to_string(answers) + " times\n";
    }
  }
  return complaints;
}

std::string StressedPhone::afterthoughts() const {
  return webView_->late() == 0
             ? ""
             : std::to_string(webView_->late()) + " scripts came when the router was gone\n";
}

void StressedPhone::requestAccess(MediaType, std::function<void(bool granted)> answer) {
  permissions.add([answer = std::move(answer)] { answer(true); });
}

AuthorizationStatus StressedPhone::authorizationStatus(MediaType media) const {
  return media == MediaType::video ? AuthorizationStatus::notDetermined
                                   : AuthorizationStatus::denied;
}

void StressedPhone::present(Alert alert) {
  if (alert.actions.empty()) return;
  presses.add([handler = std::move(alert.actions.back().handler)] {
    if (handler) handler();
  });
}

bool StressedPhone::isUrl(const std::string&) const { return true; }

void StressedPhone::download(const std::string&, std::function<void(DownloadResult)> done) {
  downloads.add([done = std::move(done)] { done({std::nullopt, std::make_shared<File>()}); });
}

void StressedPhone::decode(std::string, Done done) {
  downloads.add([done = std::move(done)] { done(std::make_shared<Image>()); });
}

void StressedPhone::launch() {
  permissions.add([this] { crossProcess_.post(kVEMOScreenKit_Started_Notify); });
}

}  // namespace vemo::test
