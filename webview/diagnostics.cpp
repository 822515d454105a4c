#include <array>
#include <limits>

#include "json/JsonText.h"
#include "json/RecordMapper.h"
#include "webview/TextForms.h"
#include "webview/VEMOKOBUMsgRouter.h"

// Speed test, statistics snapshot, experimental calls and event reports.

namespace vemo {
namespace {

std::string_view streamTypeName(std::int32_t type) {
  constexpr std::array<std::string_view, 3> names{"main", "main_small", "sub"};
  return type >= 0 && type < 3 ? names.at(static_cast<std::size_t>(type)) : "unknown";
}

/// One element of "RtcInfos" for a stream that carries something; a stream with both
/// audio and video is listed once, as video.
template <class Statistics>
void appendStreamInfo(boost::json::array& infos, const std::string& userId,
                      const Statistics& stream) {
  if (stream.audioBitrate == 0 && stream.videoBitrate == 0) return;
  const bool audioOnly = stream.videoBitrate == 0;
  infos.push_back(
      {{"UserId", userId},
       {"Resolution",
        audioOnly ? "0x0" : std::to_string(stream.width) + "x" + std::to_string(stream.height)},
       {"StreamType", audioOnly ? "audio" : streamTypeName(stream.streamType)}});
}

/// An item as page messages carry one.
std::string itemText(const VEMOJSMsgItem& item) {
  boost::json::object json{
      {"head", {{"module", item.head().module}, {"action", item.head().action}}}};
  if (item.params()) json["params"] = *item.params();
  return jsonText(json);
}

}  // namespace

Outcome VEMOKOBUMsgRouter::startSpeedTest(KOBUCloud& engine, const Command& command) {
  const auto appId = command.number("sdkAppId");
  const auto userId = command.nonEmptyText("userId");
  const auto userSig = command.nonEmptyText("userSig");
  if (!appId || !userId || !userSig) return paramError("params error");
  command.item->setIsAsyncTask(true);
  engine.startSpeedTest(
      appId->as<std::uint32_t>(), *userId, *userSig,
      weakly([item = command.item, webView = command.webView,
              paramsText = std::string(command.paramsText)](
                 VEMOKOBUMsgRouter& router, const Shared<KOBUSpeedTestResult>& result,
                 std::int64_t completed, std::int64_t total) {
        // The message tells pages progress from the end; the code stays 0.
        const std::string state = completed == total ? "done" : "ing";
        setError(*item, VEMOModule::KOBU, 0, state);
        router.logRouter(DUNLogParam::kInformation, "startSpeedTest", paramsText, Result{0, state},
                         "-[VEMOKOBUMsgRouter startSpeedTest:webView:]");
        boost::json::object value{{"totalCount", total}, {"completedCount", completed}};
        if (result) value["result"] = dictionaryFrom(*result);
        item->setMsgRetval(std::move(value));
        item->executeJSCallbackIn(webView);
      }));
  return success;
}

Outcome VEMOKOBUMsgRouter::stopSpeedTest(KOBUCloud& engine, const Command&) {
  engine.stopSpeedTest();
  return success;
}

Outcome VEMOKOBUMsgRouter::getKOBUStats(const Command& command) {
  const auto statistics = lastStats_.take();
  command.item->setPrintLog(false);  // pages poll it
  if (!statistics) {
    // Two characters of text, not a list: pages tell "nothing new" from "nobody" by it.
    command.item->setMsgRetval({{"RtcInfos", "[]"}});
    return success;
  }
  boost::json::array infos;
  const auto ownId = idOrNull(curEnteredRoomUserId());
  for (const auto& stream : statistics->localStatistics) appendStreamInfo(infos, ownId, stream);
  for (const auto& stream : statistics->remoteStatistics) {
    if (stream.userId) appendStreamInfo(infos, *stream.userId, stream);
  }
  command.item->setMsgRetval({{"RtcInfos", std::move(infos)}});
  return success;
}

Outcome VEMOKOBUMsgRouter::callExperimentalAPI(KOBUCloud& engine, const Command& command) {
  const auto text = command.text("APIParams");
  if (!text) return paramError("no APIParams param");
  engine.callExperimentalAPI(std::string(*text));
  return success;
}

Outcome VEMOKOBUMsgRouter::registReport(const Command& command) {
  const auto function = command.text("reportfunc");
  reportFunc_.publish(function ? std::make_shared<const std::string>(*function) : nullptr);
  return success;
}

void VEMOKOBUMsgRouter::reportEvent(const Text& event) {
  JsonObjectText logged;
  addCleaned(logged, "event", event);
  logRouter(DUNLogParam::kInformation, "reportEvent", logged.text(), std::nullopt,
            "-[VEMOKOBUMsgRouter reportEvent:]");
  const auto function = reportFunc_.load();
  if (!function || function->empty() || !event || event->empty()) return;

  const auto room = enterRoomParams_.load();
  const std::uint32_t roomId = room ? room->roomId : 0;
  boost::json::object params;
  vemo_setSafeObject(params, room ? room->userId : Text{}, "userId");
  if (roomId != std::numeric_limits<std::uint32_t>::max()) {
    params["classId"] = std::to_string(roomId);
  }
  params["event"] = *event;
  VEMOJSMsgItem item({"kobu", *function});
  item.setParams(std::move(params));
  if (const auto webView = platform_.baseRouter.webView()) {
    webView->loadJs(*function + "(" + itemText(item) + ")", true);
  }
}

}  // namespace vemo
