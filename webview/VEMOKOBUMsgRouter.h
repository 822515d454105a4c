#pragma once

#include <atomic>
#include <boost/json/object.hpp>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bridge/KOBUCloudDelegate.h"
#include "bridge/Platform.h"
#include "bridge/VEMOJSMsgRouter.h"
#include "bridge/VEMOKOBUEventListener.h"
#include "json/JsonObjectText.h"
#include "webview/Command.h"
#include "webview/Outcome.h"
#include "webview/Place.h"
#include "webview/Published.h"
#include "webview/parameters.h"

namespace vemo {

/// The completion of a room operation: `code` 0 is success, `desc` and `uid` may be
/// absent, `number` is the time in milliseconds for an enter and the reason for an exit.
using VEMORoomCallback = std::function<void(VEMOModule module, std::int64_t code, const Text& desc,
                                            const Text& uid, std::int64_t number)>;

/// The completion of any other operation: `code` 0 is success.
using VEMOCallback = std::function<void(VEMOModule module, std::int64_t code, const Text& desc)>;

/// The router between a page and the real-time audio/video engine: page commands become
/// calls of the engine, the engine's events become calls of page functions and of native
/// listeners, and the host drives the same engine through the operations below.
///
/// To its host it is a VEMOJSMsgRouter: it owns the one that decodes messages and delivers
/// replies, so once it is gone there is nothing left that a message could reach.
///
/// Lifetime: made by create, held by the host. Everything that the router hands out
/// (wrappers, completions, queued work) holds it weakly and does nothing once it is
/// gone, save the main-thread work of an event, which keeps it until the event has been
/// told. It may die on any thread. Dying leaves the room, destroys the engine and drops
/// pending completions without calling them.
///
/// Threads: commands run on the thread that hands in their message; the operations of the
/// host may be called from any thread; events come from the engine's threads. Scripts
/// for events run on the main thread.
///
/// Memory: where it is short, std::bad_alloc leaves `create` and the operations of the host, and
/// what they were called for is not done. A command is not done either, and is answered with the
/// error -1 of the module "JS", "out of memory"; where only its answer could not be made, with
/// "out of memory for the answer". Where a message can't even be read, std::bad_alloc leaves
/// `receive`. Events, what runs on the main thread and the callbacks that the router gives away
/// throw nothing: what memory does not suffice for is left out, the rest is told, and a record
/// with the action name "outOfMemory" says so. The pieces of the platform and the engine either do
/// what they are called for or throw std::bad_alloc and do nothing.
///
/// Nothing else is thrown. A completion or listener that is null counts as none.
class VEMOKOBUMsgRouter final : public VEMOJSMsgRouter,
                                public KOBUCloudDelegate,
                                public std::enable_shared_from_this<VEMOKOBUMsgRouter> {
 public:
  /// Makes a router on `platform` that decodes messages and delivers replies by `base`,
  /// which is not null; subscribes it to the notifications of the broadcast extension
  /// and registers its commands. The engine is made later, by the page's "initSDK".
  ///
  /// A router that events in the main queue keep alive destroys the shared instance of its
  /// engine class when it dies, even if a later router has that instance by then. So drain
  /// the main queue before making the next router on one engine class.
  static std::shared_ptr<VEMOKOBUMsgRouter> create(std::unique_ptr<VEMOJSMsgRouter> base,
                                                   Platform platform);

  ~VEMOKOBUMsgRouter() override;
  VEMOKOBUMsgRouter(const VEMOKOBUMsgRouter&) = delete;
  VEMOKOBUMsgRouter& operator=(const VEMOKOBUMsgRouter&) = delete;

  // ---- The base router's operations. `receive` keeps the router until it returns; a
  // router that is being destroyed takes no message any more.

  void setMethod(const std::string& action, Wrapper wrapper) override;
  std::shared_ptr<VEMOWebView> webView() const override;
  void setWebView(std::shared_ptr<VEMOWebView> webView) override;
  void receive(std::string_view message) override;

  // ---- Page scripts

  /// The callback envelope: "head" with the event's name unless it is empty, "retval"
  /// with the value if there is one.
  static boost::json::object callBackCommonJson(std::string_view name,
                                                std::optional<boost::json::object> value);

  /// Calls the page function `function` with `envelope`, on the main thread. Nothing
  /// happens without a function name, an envelope or a web view.
  void executeJSCallback(std::string_view function, std::optional<boost::json::object> envelope,
                         bool needLog);

  /// Sends one event to the page function registered under `name`; dropped when there is
  /// none. `needLog` tells the web view whether to log the script.
  void callBackToH5(std::string_view name, std::optional<boost::json::object> value, bool needLog);

  using MainBlock = std::function<void(VEMOKOBUMsgRouter&)>;
  /// Runs `block` at once on the main thread; from another thread queues it, to be
  /// dropped if the router is gone by then. A null block does nothing. The two names are
  /// those that hosts know; they do the same. The router's own events are queued so that
  /// they keep the router, which these don't.
  void safeRunInMain(MainBlock block);
  void asyncRunInMain(MainBlock block);

  // ---- Room

  /// Enters a room with `params`; a null record does nothing at all. `completion` replaces
  /// that of an enter still under way, which is then never called.
  void vemoEnterRoom(std::shared_ptr<const KOBUParams> params, std::int64_t appScene,
                     VEMORoomCallback completion);
  /// Leaves the room; `completion` replaces that of an exit still under way.
  void zebExitRoom(VEMORoomCallback completion);
  /// Become anchor or audience. Without an engine, or outside a room, `completion` is
  /// never called; a second switch in the same direction replaces it.
  void switchToAnchorRole(VEMOCallback completion);
  void switchToAudienceRole(VEMOCallback completion);

  /// True once the engine has reported the end of an enter, whatever its result; false
  /// again with the page's next "enterRoom", "exitRoom" or "uninitSDK". The operations
  /// above leave it as it is.
  bool hasEnterRoom() const { return room_.entered; }
  /// The record of the present enter, with the role of now; null before entering, after
  /// leaving and after "uninitSDK". A change of role publishes a new record: the one that
  /// was entered with stays as it was.
  std::shared_ptr<const KOBUParams> enterRoomParams() const { return room_.params.load(); }
  /// The user id of that record.
  Text curEnteredRoomUserId() const;

  // ---- Local media. Without an engine these do nothing, but for the provider of views; the
  // four named kobu... also do nothing without a view. For them an absent user id, or that of the
  // entered room, is the own user.

  /// The provider of views for the page's video commands; null for none. Held weakly: what
  /// is read is null again once the host has let go of it.
  void setCustomRenderSource(const std::shared_ptr<VEMOUIRenderSource>& source);
  std::shared_ptr<VEMOUIRenderSource> customRenderSource() const;

  /// Asks for the camera permission and starts the preview in `view`. The misspelling
  /// is part of the name.
  void startLocalPreivew(bool frontCamera, std::shared_ptr<NativeView> view);
  void stopLocalPreview();
  /// Shows a user's camera in `view`: the own preview through the permission gate, or
  /// another user's main stream.
  void kobuStartPreview(const Text& userId, std::shared_ptr<NativeView> view, bool frontCamera);
  void kobuStopPreview(const Text& userId, const std::shared_ptr<NativeView>& view);
  /// Starts the own microphone through the permission gate, or plays another user again.
  void kobuStartAudio(const Text& userId, const std::shared_ptr<NativeView>& view);
  /// Stops the own microphone, or mutes another user.
  void kobuStopAudio(const Text& userId, const std::shared_ptr<NativeView>& view);

  // ---- Remote media. Without an engine these do nothing.

  /// Another user's shared screen; nothing for the own user or without a view.
  void kobuStartSubStream(const Text& userId, std::shared_ptr<NativeView> view);
  void kobuStopSubStream(const Text& userId, const std::shared_ptr<NativeView>& view);
  void kobuStopAllRemoteVideo();
  void kobuMuteAllRemoteVideo(bool mute);
  void kobuMuteAllRemoteAudio(bool mute);

  // ---- Diagnostics

  /// Logs a device event and reports it to the page function that "registReport" named,
  /// on the calling thread.
  void reportEvent(const Text& event);

  // ---- Listeners; held weakly. Run on the main thread: at once there, else queued. Adding
  // one that is there, or removing one that is not, changes nothing. While dead listeners
  // leave empty slots, a removal may take the slot of another than the one named.

  void addKOBUEventListener(std::shared_ptr<VEMOKOBUEventListener> listener);
  void removeKOBUEventListener(std::shared_ptr<VEMOKOBUEventListener> listener);
  void removeAllKOBUEventListeners();
  /// The listeners that are alive, in order. Main thread only.
  std::vector<std::shared_ptr<VEMOKOBUEventListener>> kobuEventListeners() const;

  // ---- Screen sharing

  /// What this system can capture: 1 its own application (from 13.0), 2 the whole device
  /// (from 11.0), 3 both. Found out once for the process, by the first router that asks.
  std::int32_t kobuScreenCaptureSupportMode() const;

  /// Subscribes to one cross-process notification; twice leaves one subscription, and none where
  /// there is no memory for the second.
  void registerForScreenKitNotificationsWithName(const std::string& name);
  void unregisterForScreenKitNotificationsWithName(const std::string& name);
  void unregisterScreenKitNotifications();
  /// Handles one notification of the broadcast extension, on the calling thread.
  void onRecvScreenKitNotify(const std::string& name);

  // ---- Events of the engine

  void onError(std::int32_t errCode, const Text& errMsg,
               const std::optional<boost::json::object>& extInfo) override;
  void onWarning(std::int32_t warningCode, const Text& warningMsg,
                 const std::optional<boost::json::object>& extInfo) override;
  void onEnterRoom(std::int64_t result) override;
  void onExitRoom(std::int64_t reason) override;
  void onSwitchRole(std::int32_t errCode, const Text& errMsg) override;
  void onRemoteUserEnterRoom(const Text& userId) override;
  void onRemoteUserLeaveRoom(const Text& userId, std::int64_t reason) override;
  void onAudioRouteChanged(std::int64_t route, std::int64_t fromRoute) override;
  void onUserAudioAvailable(const Text& userId, bool available) override;
  void onUserVideoAvailable(const Text& userId, bool available) override;
  void onUserSubStreamAvailable(const Text& userId, bool available) override;
  void onNetworkQuality(Shared<KOBUQualityInfo> localQuality,
                        SharedList<KOBUQualityInfo> remoteQuality) override;
  void onStatistics(Shared<KOBUStatistics> statistics) override;
  void onUserVoiceVolume(SharedList<KOBUVolumeInfo> userVolumes, std::int64_t totalVolume) override;
  void onConnectionLost() override;
  void onTryToReconnect() override;
  void onConnectionRecovery() override;
  void onFirstVideoFrame(const Text& userId, std::int64_t streamType, std::int32_t width,
                         std::int32_t height) override;
  void onFirstAudioFrame(const Text& userId) override;
  void onSendFirstLocalVideoFrame(std::int64_t streamType) override;
  void onSendFirstLocalAudioFrame() override;
  void onCameraDidReady() override;
  void onMicDidReady() override;
  void onScreenCaptureStarted() override;
  void onScreenCapturePaused(std::int32_t reason) override;
  void onScreenCaptureResumed(std::int32_t reason) override;
  void onScreenCaptureStoped(std::int32_t reason) override;

 private:
  friend struct CommandTable;  // the rows, and the frame around every handler

  using ItemPtr = std::shared_ptr<VEMOJSMsgItem>;
  using WebViewPtr = std::shared_ptr<VEMOWebView>;
  using CallbackNames = std::map<std::string, std::string, std::less<>>;

  /// Where a record comes from: the routine in selector form and the place in the source.
  struct Site {
    std::string_view funcName;
    Place place;
    // Implicit, so that a literal given at a logging call carries that call's place.
    Site(const char* name, Place at = Place::here()) : funcName(name), place(at) {}
    Site(std::string_view name, Place at) : funcName(name), place(at) {}
  };
  struct Result {  // what a record says of how something ended
    std::int64_t code;
    std::optional<std::string_view> description;
  };

  VEMOKOBUMsgRouter(std::unique_ptr<VEMOJSMsgRouter> base, Platform platform);
  void registRouter();

  // ---- Handlers, in the order of the command table; a command that is not here is its
  // row alone. Each lists the parameters that it reads. Those that take the engine are
  // called only when there is one.
  Outcome registCallBacks(const Command<Checked<param::Callbacks>>& command);
  Outcome initSDK(const Command<>& command);
  Outcome setLogParams(
      const Command<Maybe<param::LogLevel>, Maybe<param::ConsoleEnable>,
                    Maybe<param::CompressEnable>, Maybe<param::LogDirPath>>& command);
  Outcome getSDKVersion(const Command<>& command);
  Outcome uninitSDK(const Command<>& command);
  Outcome enterRoom(
      KOBUCloud& engine,
      const Command<param::AppScene, Or<param::AutoRecvAudio, true>, Or<param::AutoRecvVideo, true>,
                    Checked<param::EnterParams>>& command);
  Outcome exitRoom(const Command<>& command);
  Outcome setDebugViewMargin(
      KOBUCloud& engine,
      const Command<Maybe<param::UserId>, Or<param::Top, 0.0F>, Or<param::Left, 0.0F>,
                    Or<param::Bottom, 0.0F>, Or<param::Right, 0.0F>>& command);
  Outcome switchRole(KOBUCloud& engine, const Command<param::Role>& command);
  Outcome startLocalPreview(KOBUCloud& engine,
                            const Command<Or<param::FrontCamera, true>>& command);
  Outcome setLocalPreviewParams(
      KOBUCloud& engine,
      const Command<Maybe<param::RenderParams>, Maybe<param::EncoderRotation>,
                    Maybe<param::EncoderMirror>, Maybe<param::SensorMode>>& command);
  Outcome enableEncSmallVideoStream(
      KOBUCloud& engine,
      const Command<Maybe<param::EnableSmallStream>, Maybe<param::Encoder>>& command);
  Outcome stopLocalPreview(KOBUCloud& engine, const Command<>& command);
  Outcome startLocalAudio(KOBUCloud& engine, const Command<param::AudioQuality>& command);
  Outcome stopLocalAudio(KOBUCloud& engine, const Command<>& command);
  Outcome startRemoteView(KOBUCloud& engine,
                          const Command<param::UserId, param::StreamType>& command);
  Outcome setRemotePreviewParams(KOBUCloud& engine,
                                 const Command<Maybe<param::UserId>, param::StreamType,
                                               Checked<param::RenderParams>>& command);
  Outcome startRemoteSubStreamView(KOBUCloud& engine, const Command<param::UserId>& command);
  Outcome setRemoteSubStreamPreviewParams(
      KOBUCloud& engine, const Command<param::UserId, Maybe<param::RenderParams>>& command);
  Outcome playMusic(
      KOBUCloud& engine,
      const Command<param::AudioId, Checked<param::Music>, Or<param::OnStart, false>,
                    Or<param::OnProgress, false>, Or<param::OnComplete, false>>& command);
  Outcome setMusicInfo(
      KOBUCloud& engine,
      const Command<Maybe<param::AudioId>, Maybe<param::MusicPosition>, Maybe<param::MusicVolume>,
                    Maybe<param::MusicPlayoutVolume>, Maybe<param::MusicPublishVolume>>& command);
  Outcome startSpeedTest(KOBUCloud& engine,
                         const Command<param::SdkAppId, param::UserId, param::UserSig>& command);
  Outcome setVideoMuteImage(KOBUCloud& engine,
                            const Command<param::ImgUrl, param::MuteImageFps>& command);
  Outcome getKOBUStats(const Command<>& command);
  Outcome registReport(const Command<Maybe<param::ReportFunc>>& command);
  Outcome setAudioVolume(
      KOBUCloud& engine,
      const Command<Maybe<param::CaptureVolume>, Maybe<param::PlayoutVolume>>& command);
  Outcome getAudioVolume(
      KOBUCloud& engine,
      const Command<Or<param::Capture, false>, Or<param::Playout, false>>& command);
  Outcome isSupportScreenCapture(const Command<>& command);
  Outcome launchScreenKit(const Command<>& command);
  Outcome startScreenCapture(KOBUCloud& engine,
                             const Command<param::ScreenCaptureMode, Checked<param::Encoder>,
                                           Maybe<param::AppGroup>>& command);
  Outcome pauseScreenCapture(KOBUCloud& engine, const Command<>& command);
  Outcome resumeScreenCapture(KOBUCloud& engine, const Command<>& command);
  Outcome stopScreenCapture(KOBUCloud& engine, const Command<>& command);

  // What the handlers, the operations of the host and the events share, by the files that
  // hold it.

  // ---- VEMOKOBUMsgRouter.cpp
  // Answers of asynchronous commands, with an error record whatever the code. Names and keys
  // are literals: they are kept.
  VEMOCallback plainAnswer(const Call& call);
  VEMOCallback loggedAnswer(const Call& call, const char* actionName, Site site);
  /// A completion as the slots keep it: null when there is nothing to call.
  template <class Callback>
  static std::shared_ptr<const Callback> stored(Callback completion) {
    return completion ? std::make_shared<const Callback>(std::move(completion)) : nullptr;
  }
  void log(int level, std::string_view module, std::string_view actionName,
           std::string_view actionParam, std::optional<Result> result, const Site& site);
  void logRouter(int level, std::string_view actionName, std::string_view actionParam,
                 std::optional<Result> result, const Site& site);
  /// The end of an operation: a failure record under `actionName` + "Failed" when the code
  /// is not 0, else information.
  void logEnd(std::string_view actionName, std::string_view actionParam, std::int64_t code,
              const Text& desc, const Site& site);

  // ---- event_routing.h, event_routing.cpp
  /// Writes the event's record on this thread, then, on the main thread, tells the
  /// listeners and the page. The payload's fields are `given`, the listeners' arguments too.
  template <class Event, class... Given>
  void tell(const Site& site, const Given&... given);
  /// The same for an event whose record has a code and a text.
  template <class Event, class... Given>
  void tellResult(std::optional<Result> result, const Site& site, const Given&... given);
  template <class Event>
  void logEvent(std::string_view payload, std::optional<Result> result, const Site& site);
  template <class Event, class... Args>
  void tellListeners(const Args&... args);
  template <class Event>
  void tellPage(const JsonObjectText& payload);
  /// Runs `work(router)` on the main thread, as memory allows. The work holds the router until it
  /// has run, so an event that has arrived is told even when the host lets go of the router first.
  template <class Work>
  void onMain(Work work);
  bool isRegistered(std::string_view event) const;
  void compactListeners();

  // ---- page_functions.cpp
  /// Sends `payload`, which is JSON text, as `event`, if the page registered for it.
  void tellPage(std::string_view event, std::optional<std::string_view> payload, bool needLog);
  /// Runs `script` in the web view, on the main thread: at once there, else queued.
  void runScript(std::string script, bool needLog);

  // ---- room_control.cpp
  VEMORoomCallback roomAnswer(const Call& call, std::string_view numberKey);
  /// What the operations do once what they need is there.
  void startEnter(std::shared_ptr<const KOBUParams> params, std::int64_t appScene,
                  std::shared_ptr<const VEMORoomCallback> completion);
  void startExit(std::shared_ptr<const VEMORoomCallback> completion);
  bool isOwnUser(const Text& userId) const;
  void completeInRoom(const Published<const VEMORoomCallback>& slot, std::int64_t code,
                      const Text& desc, std::int64_t number);
  void failEnter(std::int32_t errCode, const Text& errMsg);
  void startSwitch(std::int32_t role, Published<const VEMOCallback>& slot, VEMOCallback completion);
  void finishSwitch(std::int32_t role, Published<const VEMOCallback>& slot, std::int32_t errCode,
                    const Text& errMsg, std::shared_ptr<KOBUParams>& spare);

  // ---- permission_gate.cpp. Completions get the engine's module.
  void innerStartLocalPreview(bool frontCamera, std::shared_ptr<NativeView> view,
                              VEMOCallback completion);
  void innerStartLocalAudio(std::int32_t quality, VEMOCallback completion);
  struct GateRequest {
    bool frontCamera;                  // camera
    std::shared_ptr<NativeView> view;  // camera
    std::int32_t quality;              // microphone
    VEMOCallback completion;           // not empty
  };
  struct GatedDevice;
  static const GatedDevice kCamera;
  static const GatedDevice kMicrophone;
  void passGate(const GatedDevice& device, GateRequest request);
  void startDevice(const GatedDevice& device, const GateRequest& request);
  void gotoSystemSetting(const GatedDevice& device, VEMOCallback completion);
  void refuse(const GatedDevice& device, const VEMOCallback& completion, std::string_view why);

  // ---- diagnostics.cpp
  /// Reports what the router did by itself, as memory allows.
  void report(const char* event);

  // ---- local_video.cpp, local_audio.cpp
  void stopPreviewAndReport(KOBUCloud& engine);
  void useMuteImage(const DownloadResult& result, std::int32_t fps, const VEMOCallback& answer);
  void stopAudioAndReport(KOBUCloud& engine);

  // ---- screen_sharing.cpp
  Outcome controlScreenCapture(KOBUCloud& engine, const Call& call,
                               std::int64_t (KOBUCloud::*operation)(), const ErrorWords& failed);

  /// Does `work`. What memory does not suffice for is left out, and a record says so: for what
  /// nobody waits for who could be told.
  template <class Work>
  void asMemoryAllows(Work work) {
    try {
      work();
    } catch (const std::bad_alloc&) {
      logShortage();
    }
  }
  void logShortage();

  /// `fn`, called with the router before its own arguments, as memory allows, or not at all once
  /// the router is gone.
  template <class Fn>
  auto weakly(Fn fn) {
    return [weak = weak_from_this(), fn = std::move(fn)](auto&&... args) {
      const auto self = weak.lock();
      if (!self) return;
      self->asMemoryAllows([&] { fn(*self, std::forward<decltype(args)>(args)...); });
    };
  }

  /// Likewise, and called with what answers `call` behind the router. Whoever waits is answered in
  /// any case: where memory does not suffice for `fn`, with that.
  template <class Fn>
  auto answering(const Call& call, Fn fn) {
    return weakly([answer = call.answer(), fn = std::move(fn)](VEMOKOBUMsgRouter& router,
                                                               const auto&... args) {
      try {
        fn(router, answer, args...);
      } catch (const std::bad_alloc&) {
        answer.sendShortage();
        throw;
      }
    });
  }

  const Platform platform_;  // first: its owner may own what the base router uses
  const std::unique_ptr<VEMOJSMsgRouter> base_;
  Published<KOBUCloud> sharedKOBU_;

  // What each subject keeps. The completions are those that wait for an answer.
  struct Room {
    Published<const VEMORoomCallback> enterCallback;
    Published<const VEMORoomCallback> exitCallback;
    Published<const VEMOCallback> switchAnchorCallback;
    Published<const VEMOCallback> switchAudienceCallback;
    Published<const KOBUParams> params;
    std::atomic<bool> entered = false;
  } room_;
  struct ScreenSharing {
    Published<const VEMOCallback> launchCallback;
    Published<const VEMOCallback> startCallback;
  } screenSharing_;
  struct Diagnostics {
    Published<const KOBUStatistics> lastStats;
    Published<const std::string> reportFunction;
  } diagnostics_;
  struct LocalVideo {
    Published<const std::weak_ptr<VEMOUIRenderSource>> renderSource;
  } localVideo_;
  struct EventRouting {
    Published<const CallbackNames> pageFunctions;                 // by event
    std::vector<std::weak_ptr<VEMOKOBUEventListener>> listeners;  // main thread only
  } eventRouting_;
};

}  // namespace vemo
