#include <algorithm>
#include <array>
#include <initializer_list>
#include <type_traits>

#include "json/JsonText.h"
#include "webview/TextForms.h"
#include "webview/VEMOKOBUMsgRouter.h"

namespace vemo {
namespace {

/// How a command's wrapper differs from the others.
enum class Wrapper {
  logged,     // a record of the call; refused without a web view
  announced,  // the same, after a line in the system log
  bare        // straight to the handler: no record, no web view needed
};

}  // namespace

/// One command: its name, its handler within the frame, and the place of its row.
///
/// The frame stands in the source once, so the line of its own code would say nothing of
/// the command. The records that it writes say the row instead, with a site number for a
/// line: the row's line for the call itself, that plus 1000 when the web view is missing,
/// plus 2000 when the engine is.
struct VEMOKOBUMsgRouter::Row {
  using Run = Outcome (*)(VEMOKOBUMsgRouter& router, const Row& row, const Command& command);
  static constexpr std::uint_least32_t kNoWebView = 1000;
  static constexpr std::uint_least32_t kNoEngine = 2000;

  constexpr Row(std::string_view command, Run handler, Wrapper kind = Wrapper::logged,
                Place place = Place::here())
      : name(command), run(handler), wrapper(kind), site(place) {}

  Place placeOf(std::uint_least32_t record = 0) const { return {site.file, site.line + record}; }

  std::string_view name;
  Run run;
  Wrapper wrapper;
  Place site;
};

struct VEMOKOBUMsgRouter::CommandTable {
  using Router = VEMOKOBUMsgRouter;

  /// Calls a handler. One that takes the engine is called only when there is one.
  template <auto Handler>
  static Outcome call(Router& router, const Row& row, const Command& command) {
    if constexpr (std::is_invocable_v<decltype(Handler), Router&, KOBUCloud&, const Command&>) {
      const auto engine = router.sharedKOBU_.load();
      if (!engine) return notInitialised(row.placeOf(Row::kNoEngine));
      return (router.*Handler)(*engine, command);
    } else {
      return (router.*Handler)(command);
    }
  }

  // The overloads that are handlers; the others are operations of the host.
  static constexpr Outcome (Router::*stopLocalPreviewCommand)(KOBUCloud&, const Command&) =
      &Router::stopLocalPreview;

  // clang-format off
  static constexpr std::array rows{
      Row{"registCallBacks", call<&Router::registCallBacks>},
      Row{"initSDK", call<&Router::initSDK>},
      Row{"setLogParams", call<&Router::setLogParams>},
      Row{"getSDKVersion", call<&Router::getSDKVersion>, Wrapper::bare},
      Row{"uninitSDK", call<&Router::uninitSDK>},
      Row{"enterRoom", call<&Router::enterRoom>},
      Row{"exitRoom", call<&Router::exitRoom>, Wrapper::announced},
      Row{"showBugView", call<&Router::showBugView>},
      Row{"setDebugViewMargin", call<&Router::setDebugViewMargin>},
      Row{"switchRole", call<&Router::switchRole>},
      Row{"setNetworkQosParam", call<&Router::setNetworkQosParam>},
      Row{"setVideoEncoderParam", call<&Router::setVideoEncoderParam>},
      Row{"startLocalPreview", call<&Router::startLocalPreview>},
      Row{"switchCamera", call<&Router::switchCamera>},
      Row{"setLocalPreviewParams", call<&Router::setLocalPreviewParams>},
      Row{"enableEncSmallVideoStream", call<&Router::enableEncSmallVideoStream>},
      Row{"setRemoteVideoStreamType", call<&Router::setRemoteVideoStreamType>},
      Row{"stopLocalPreview", call<stopLocalPreviewCommand>},
      Row{"muteLocalVideo", call<&Router::muteLocalVideo>},
      Row{"startLocalAudio", call<&Router::startLocalAudio>},
      Row{"stopLocalAudio", call<&Router::stopLocalAudio>},
      Row{"muteLocalAudio", call<&Router::muteLocalAudio>},
      Row{"startRemoteView", call<&Router::startRemoteView>},
      Row{"setRemotePreviewParams", call<&Router::setRemotePreviewParams>},
      Row{"stopRemoteView", call<&Router::stopRemoteView>},
      Row{"stopAllRemoteView", call<&Router::stopAllRemoteView>},
      Row{"muteRemoteVideoStream", call<&Router::muteRemoteVideoStream>},
      Row{"muteAllRemoteVideoStreams", call<&Router::muteAllRemoteVideoStreams>},
      Row{"muteRemoteAudio", call<&Router::muteRemoteAudio>},
      Row{"muteAllRemoteAudio", call<&Router::muteAllRemoteAudio>},
      Row{"setRemoteAudioVolume", call<&Router::setRemoteAudioVolume>},
      Row{"startRemoteSubStreamView", call<&Router::startRemoteSubStreamView>},
      Row{"stopRemoteSubStreamView", call<&Router::stopRemoteSubStreamView>},
      Row{"setRemoteSubStreamPreviewParams", call<&Router::setRemoteSubStreamPreviewParams>},
      Row{"playMusic", call<&Router::playMusic>},
      Row{"setMusicInfo", call<&Router::setMusicInfo>},
      Row{"stopMusic", call<&Router::stopMusic>},
      Row{"pauseMusic", call<&Router::pauseMusic>},
      Row{"resumeMusic", call<&Router::resumeMusic>},
      Row{"startSpeedTest", call<&Router::startSpeedTest>},
      Row{"stopSpeedTest", call<&Router::stopSpeedTest>},
      Row{"enableAudioVolumeEvaluation", call<&Router::enableAudioVolumeEvaluation>},
      Row{"setVideoMuteImage", call<&Router::setVideoMuteImage>},
      Row{"getKOBUStats", call<&Router::getKOBUStats>, Wrapper::bare},
      Row{"registReport", call<&Router::registReport>, Wrapper::bare},
      Row{"setAudioRoute", call<&Router::setAudioRoute>},
      Row{"setAudioVolume", call<&Router::setAudioVolume>},
      Row{"getAudioVolume", call<&Router::getAudioVolume>},
      Row{"callExperimentalAPI", call<&Router::callExperimentalAPI>},
      Row{"isSupportScreenCapture", call<&Router::isSupportScreenCapture>},
      Row{"launchScreenKit", call<&Router::launchScreenKit>},
      Row{"startScreenCapture", call<&Router::startScreenCapture>},
      Row{"pauseScreenCapture", call<&Router::pauseScreenCapture>},
      Row{"resumeScreenCapture", call<&Router::resumeScreenCapture>},
      Row{"stopScreenCapture", call<&Router::stopScreenCapture>},
  };
  // clang-format on

  static constexpr bool allNamesDiffer() {
    for (auto row = rows.begin(); row != rows.end(); ++row) {
      if (std::any_of(row + 1, rows.end(),
                      [&](const Row& other) { return other.name == row->name; }))
        return false;
    }
    return true;
  }

  static void run(Router& router, const Row& row, const ItemPtr& item, const WebViewPtr& webView) {
    if (row.wrapper == Wrapper::bare) {
      row.run(router, row, {item, webView, {}});
      return;
    }
    if (row.wrapper == Wrapper::announced) {
      router.platform_.systemLog.writeLine(std::string(row.name) + "::::::");
    }
    std::string entry;
    entry.reserve(256);  // most records need one allocation
    if (webView) entry.append("webview(").append(addressText(webView.get())).append(") : ");
    const auto paramsStart = entry.size();
    if (item->params()) {
      appendJsonText(entry, *item->params());
    } else {
      entry += "{}";
    }
    constexpr std::string_view wrapperName = "-[VEMOKOBUMsgRouter registRouter]_wrapper";
    if (!webView) {
      router.logRouter(DUNLogParam::kInformation, row.name, entry,
                       Result{kBadParameter, "webview is null"},
                       Site(wrapperName, row.placeOf(Row::kNoWebView)));
      return;
    }
    router.logRouter(DUNLogParam::kInformation, row.name, entry, std::nullopt,
                     Site(wrapperName, row.placeOf()));

    const auto paramsText =
        item->params() ? std::string_view(entry).substr(paramsStart) : std::string_view("(null)");
    if (const auto failed = row.run(router, row, {item, webView, paramsText})) {
      fail(router, row, *item, paramsText, *failed);
    }
  }

  static void fail(Router& router, const Row& row, VEMOJSMsgItem& item, std::string_view paramsText,
                   const Failure& failure) {
    setError(item, failure.module, failure.code, std::string(failure.message));
    const auto joined = [](std::initializer_list<std::string_view> parts) {
      std::string text;
      text.reserve(80);  // one allocation for the longest name
      for (const auto part : parts) text += part;
      return text;
    };
    const auto actionName =
        failure.actionName.empty() ? joined({row.name, "Failed"}) : std::string(failure.actionName);
    const auto funcName = joined({"-[VEMOKOBUMsgRouter ", row.name, ":webView:]"});
    router.logRouter(DUNLogParam::kFailure, actionName, paramsText,
                     Result{failure.code, failure.message}, Site(funcName, failure.site));
  }
};

void VEMOKOBUMsgRouter::registRouter() {
  static_assert(CommandTable::rows.size() == 55);
  static_assert(CommandTable::allNamesDiffer());
  for (const auto& row : CommandTable::rows) {
    platform_.baseRouter.setMethod(
        std::string(row.name),
        weakly([&row](VEMOKOBUMsgRouter& router, const ItemPtr& item, const WebViewPtr& webView) {
          CommandTable::run(router, row, item, webView);
        }));
  }
}

}  // namespace vemo
