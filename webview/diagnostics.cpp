#include <array>
#include <limits>

#include "json/JsonText.h"
#include "json/RecordMapper.h"
#include "webview/TextForms.h"
#include "webview/event_routing.h"

// Speed test, statistics, network quality, warnings and event reports.

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

}  // namespace

Outcome VEMOKOBUMsgRouter::startSpeedTest(
    KOBUCloud& engine, const Command<param::SdkAppId, param::UserId, param::UserSig>& command) {
  command.answerLater();
  engine.startSpeedTest(
      command.get<param::SdkAppId>(), std::string(command.get<param::UserId>()),
      std::string(command.get<param::UserSig>()),
      answering(command, [paramsText = std::string(command.paramsText)](
                             VEMOKOBUMsgRouter& router, const Answer& answer,
                             const Shared<KOBUSpeedTestResult>& result, std::int64_t completed,
                             std::int64_t total) {
        // The message alone tells the end from what comes before it; the code stays 0.
        const std::string state = completed == total ? "done" : "ing";
        router.logRouter(DUNLogParam::kInformation, "startSpeedTest", paramsText, Result{0, state},
                         "-[VEMOKOBUMsgRouter startSpeedTest:webView:]");
        boost::json::object value{{"totalCount", total}, {"completedCount", completed}};
        if (result) value["result"] = dictionaryFrom(*result);
        answer.send(VEMOModule::KOBU, 0, state, std::move(value));
      }));
  return success;
}

Outcome VEMOKOBUMsgRouter::getKOBUStats(const Command<>& command) {
  const auto statistics = diagnostics_.lastStats.take();
  command.hideReply();
  if (!statistics) {
    // Two characters of text, deliberately not a list: an empty list says that nobody sends.
    command.setValue({{"RtcInfos", "[]"}});
    return success;
  }
  boost::json::array infos;
  const auto ownId = idOrNull(curEnteredRoomUserId());
  for (const auto& stream : statistics->localStatistics) appendStreamInfo(infos, ownId, stream);
  for (const auto& stream : statistics->remoteStatistics) {
    if (stream.userId) appendStreamInfo(infos, *stream.userId, stream);
  }
  command.setValue({{"RtcInfos", std::move(infos)}});
  return success;
}

Outcome VEMOKOBUMsgRouter::registReport(const Command<Maybe<param::ReportFunc>>& command) {
  const auto function = command.get<param::ReportFunc>();
  diagnostics_.reportFunction.publish(function ? std::make_shared<const std::string>(*function)
                                               : nullptr);
  return success;
}

void VEMOKOBUMsgRouter::reportEvent(const Text& event) {
  JsonObjectText logged;
  addCleaned(logged, "event", event);
  logRouter(DUNLogParam::kInformation, "reportEvent", logged.text(), std::nullopt,
            "-[VEMOKOBUMsgRouter reportEvent:]");
  const auto function = diagnostics_.reportFunction.load();
  if (!function || function->empty() || !event || event->empty()) return;

  const auto room = room_.params.load();
  const std::uint32_t roomId = room ? room->roomId : 0;
  boost::json::object params;
  vemo_setSafeObject(params, room ? room->userId : Text{}, "userId");
  // The largest number is left out: part of the interface as it stands.
  if (roomId != std::numeric_limits<std::uint32_t>::max()) {
    params["classId"] = std::to_string(roomId);
  }
  params["event"] = *event;
  const boost::json::object message{{"head", {{"module", "kobu"}, {"action", *function}}},
                                    {"params", std::move(params)}};
  if (const auto page = webView()) {
    page->loadJs(
        callScript(*function, [&](std::string& script) { appendJsonText(script, message); }), true);
  }
}

void VEMOKOBUMsgRouter::report(const char* event) {
  asMemoryAllows([&] { reportEvent(event); });
}

// ---- Events

void VEMOKOBUMsgRouter::onWarning(std::int32_t warningCode, const Text& warningMsg,
                                  const std::optional<boost::json::object>& extInfo) {
  tellResult<event::OnWarning>(
      Result{warningCode, warningMsg}, "-[VEMOKOBUMsgRouter onWarning:warningMsg:extInfo:]",
      static_cast<std::uint32_t>(warningCode), warningMsg, extInfo.value_or(boost::json::object{}));
}

// Quality and statistics leave no record, and their payloads are built only for a page that
// asked for them.

void VEMOKOBUMsgRouter::onNetworkQuality(Shared<KOBUQualityInfo> localQuality,
                                         SharedList<KOBUQualityInfo> remoteQuality) {
  onMain([local = std::move(localQuality),
          remote = std::move(remoteQuality)](VEMOKOBUMsgRouter& router) {
    using event::OnNetworkQuality;
    router.tellListeners<OnNetworkQuality>(local, remote);
    if (!router.isRegistered(OnNetworkQuality::words.name)) return;
    const auto ownId = router.curEnteredRoomUserId();
    const std::optional<KOBUQualityInfo> named =
        local ? std::optional(KOBUQualityInfo{ownId, local->quality}) : std::nullopt;
    const KOBUQualityInfo* const namedOrNull = named ? &*named : nullptr;
    router.tellPage<OnNetworkQuality>(
        OnNetworkQuality::payload(ownId, ownId.value_or(""), namedOrNull, remote.get()));
  });
}

void VEMOKOBUMsgRouter::onStatistics(Shared<KOBUStatistics> statistics) {
  diagnostics_.lastStats.publish(statistics);
  onMain([statistics = std::move(statistics)](VEMOKOBUMsgRouter& router) {
    using event::OnStatistics;
    router.tellListeners<OnStatistics>(statistics);
    if (!router.isRegistered(OnStatistics::words.name)) return;
    const auto ownId = router.curEnteredRoomUserId();
    router.tellPage<OnStatistics>(OnStatistics::payload(ownId, statistics.get(), ownId));
  });
}

}  // namespace vemo
