#include "simulator/Phone.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <boost/json/parse.hpp>
#include <boost/json/value.hpp>
#include <chrono>
#include <utility>

#include "bridge/ScreenKitNotifications.h"
#include "json/EngineEvents.h"
#include "json/JsonText.h"
#include "json/Lookup.h"
#include "platform/InProcessNotificationCenter.h"
#include "platform/JSMsgRouter.h"
#include "platform/LoopbackNotificationCenter.h"
#include "platform/ReplyDelivery.h"
#include "platform/SecretMask.h"
#include "recorder/NoteRing.h"
#include "recorder/Recorder.h"
#include "simulator/FailingDownloads.h"
#include "simulator/LiveNotes.h"
#include "simulator/LiveRecording.h"
#include "simulator/OperatorLog.h"
#include "simulator/PageWebView.h"
#include "simulator/PhoneScreen.h"
#include "simulator/PhoneServices.h"
#include "simulator/Thumbnail.h"
#include "webview/VEMOKOBUMsgRouter.h"

namespace vemo {
namespace {

NoteRingOptions ringOptions() {
  NoteRingOptions options;
  options.bytes = std::size_t{4} << 20U;  // what is saved travels in one frame
  options.program = VEMO_VERSION;
  return options;
}

}  // namespace

struct Phone::Parts {
  Parts(const PhoneEnvironment& given, std::shared_ptr<PageSocket> socket)
      : environment(given),
        page(std::move(socket)),
        logger(given.makeLogger()),
        engineClass(given.cloud.makeEngineClass()),
        downloads(given.makeDownloads(), given.mainQueue),
        images(std::make_unique<ThumbnailDecoder>(given.makeImages())),
        services(page, given.mainQueue, *logger),
        screen(std::make_shared<PhoneScreen>()),
        notes(std::make_shared<LiveNotes>(page)),
        lastMinutes(std::make_shared<NoteRing>(ringOptions())),
        session(given.streamSession ? given.streamSession(lastMinutes) : nullptr),
        recorder(pieces(), lastMinutes, notes),
        renderSource(recorder.renderSource(screen)) {}

  std::unique_ptr<VEMOJSMsgRouter> makeBaseRouter() {
    return recorder.baseRouter(
        std::make_unique<JSMsgRouter>(recorder.platform().logger,
                                      recorder.replies(std::make_shared<MainThreadReplyDelivery>(
                                          environment.mainQueue, "vemoBridge.onReply")),
                                      std::make_shared<PageWebView>(page)));
  }

  /// What the router is given: the pieces with the recorder around them.
  Platform platform(std::shared_ptr<const void> owner) {
    auto noting = recorder.platform();
    noting.owner = std::move(owner);
    return noting;
  }

  Platform pieces() {
    return {.engineClass = *engineClass,
            .logger = *logger,
            .systemLog = environment.systemLog,
            .mainQueue = environment.mainQueue,
            .notifications = notifications,
            .crossProcessNotifications = extensionNotifications,
            .captureAuthorization = services,
            .alerts = services,
            .application = services,
            .downloads = downloads,
            .images = *images,
            .system = services,
            .extensionLauncher = services,
            .appGroup = services.appGroup()};
  }

  const PhoneEnvironment environment;
  const std::shared_ptr<PageSocket> page;
  const std::unique_ptr<VEMOLogger> logger;
  const std::shared_ptr<SimulatedEngineClass> engineClass;
  FailingDownloads downloads;
  const std::unique_ptr<ImageDecoder> images;
  InProcessNotificationCenter notifications;
  LoopbackNotificationCenter extensionNotifications;
  PhoneServices services;
  const std::shared_ptr<PhoneScreen> screen;
  const std::shared_ptr<LiveNotes> notes;
  const std::shared_ptr<NoteRing> lastMinutes;
  const std::shared_ptr<void> session;
  Recorder recorder;
  const std::shared_ptr<VEMOUIRenderSource> renderSource;
  std::unique_ptr<LiveRecording> recording;
  /// How many fired events are on their way to the page.
  const std::shared_ptr<std::atomic<std::int64_t>> firing =
      std::make_shared<std::atomic<std::int64_t>>(0);
};

Phone::Phone(const PhoneEnvironment& environment, std::shared_ptr<PageSocket> page)
    : parts_(std::make_shared<Parts>(environment, std::move(page))),
      router_(VEMOKOBUMsgRouter::create(parts_->makeBaseRouter(), parts_->platform(parts_))) {
  router_->setCustomRenderSource(parts_->renderSource);
  parts_->services.sendSettings();
}

Phone::~Phone() {
  // A notification under way keeps the router, which would go on using what the phones share.
  parts_->extensionNotifications.removeEveryObserver(router_.get());
}

struct Phone::FrameKind {
  std::string_view name;
  std::string (Phone::*handle)(const boost::json::object& frame);
  /// Whether it changes the phone, or answers it: then it stands in the log ahead of what it
  /// brings about.
  bool isChange;
};

const Phone::FrameKind* Phone::kindOf(const boost::json::object& frame) {
  static constexpr auto kinds = std::to_array<FrameKind>({
      {"message", &Phone::handleMessage, false},
      {"network", &Phone::handleNetwork, true},
      {"settings", &Phone::handleSettings, true},
      {"answer", &Phone::handleAnswer, true},
      {"press", &Phone::handlePress, true},
      {"broadcast", &Phone::handleBroadcast, true},
      {"fire", &Phone::handleFire, true},
      {"downloads", &Phone::handleDownloads, true},
      {"pictures", &Phone::sendPictures, false},
      {"note", &Phone::handleNote, false},
      {"record", &Phone::handleRecord, false},
      {"save", &Phone::sendRecording, false},
  });
  const auto name = vemo_safeNSStringForKey(&frame, "kind").value_or("");
  const auto* const kind = std::ranges::find(kinds, name, &FrameKind::name);
  return kind == kinds.end() ? nullptr : kind;
}

void Phone::onText(std::string_view text) {
  boost::json::error_code problem;
  const auto value = boost::json::parse({text.data(), text.size()}, problem);
  const auto* frame = problem ? nullptr : value.if_object();
  const auto* kind = frame ? kindOf(*frame) : nullptr;
  if (kind && kind->isChange) logFrame(*parts_->logger, kind->name, text);
  const auto wrong = kind    ? (this->*kind->handle)(*frame)
                     : frame ? "its kind is unknown"
                             : std::string("this is no JSON object");
  if (wrong.empty()) return;
  onTrouble("sent a frame that can't be used: " + wrong);
  boost::json::object answer{{"kind", "problem"}, {"text", wrong}};
  if (const auto name = frame ? vemo_safeNSStringForKey(frame, "kind") : std::nullopt)
    answer["frame"] = *name;
  parts_->page->send(jsonText(answer));
}

void Phone::onTrouble(std::string_view what) { tellOperator(*parts_->logger, what); }

std::string Phone::handleMessage(const boost::json::object& frame) {
  const auto message = vemo_safeNSStringForKey(&frame, "text");
  if (!message) return "a message has no text";
  router_->receive(*message);
  return {};
}

std::string Phone::handleSettings(const boost::json::object& frame) {
  const auto* changes = frame.if_contains("settings");
  if (!changes || !changes->is_object()) return "there are no settings in it";
  return parts_->services.change(changes->get_object());
}

std::string Phone::handleAnswer(const boost::json::object& frame) {
  const auto granted = vemo_safeNSNumberForKey(&frame, "granted");
  if (!granted) return "an answer says not whether access is granted";
  return parts_->services.answer(vemo_safeNSStringForKey(&frame, "media").value_or(""),
                                 granted->boolean());
}

std::string Phone::handlePress(const boost::json::object& frame) {
  const auto alert = vemo_safeNSNumberForKey(&frame, "alert");
  const auto button = vemo_safeNSNumberForKey(&frame, "button");
  if (!alert || !button) return "a press names no alert and button";
  return parts_->services.press(alert->as<std::int64_t>(), button->as<std::size_t>());
}

std::string Phone::handleNote(const boost::json::object& frame) {
  const auto on = vemo_safeNSNumberForKey(&frame, "on");
  if (!on) return "a note says not whether it is on";
  parts_->notes->turn(on->boolean());
  return {};
}

std::string Phone::handleRecord(const boost::json::object& frame) {
  const auto on = vemo_safeNSNumberForKey(&frame, "on");
  if (!on) return "it doesn't say whether to record";
  if (!on->boolean()) {
    parts_->recording.reset();
    return {};
  }
  if (parts_->session) return "the simulator writes the whole session to a file already (--record)";
  if (!parts_->recording)
    parts_->recording = std::make_unique<LiveRecording>(parts_->page, parts_->lastMinutes);
  return {};
}

std::string Phone::sendRecording(const boost::json::object& /*frame*/) {
  const SecretMask mask;
  const auto text = parts_->lastMinutes->recording(
      [&](std::string_view line, std::string& buffer) { return mask.masked(line, buffer); });
  parts_->page->send(jsonText(boost::json::object{{"kind", "saved"}, {"text", text}}));
  return {};
}

std::string Phone::sendPictures(const boost::json::object& /*frame*/) {
  const auto phone = parts_->engineClass->snapshot();
  auto pictures = phone ? parts_->screen->pictures(*phone) : boost::json::array();
  for (auto& image : parts_->screen->newImages()) {
    image["kind"] = "image";
    parts_->page->send(jsonText(image));
  }
  parts_->page->send(
      jsonText(boost::json::object{{"kind", "pictures"}, {"pictures", std::move(pictures)}}));
  return {};
}

std::string Phone::handleNetwork(const boost::json::object& frame) {
  if (const auto drop = vemo_safeNSNumberForKey(&frame, "drop")) {
    if (drop->boolean()) {
      parts_->engineClass->dropConnection();
    } else {
      parts_->engineClass->restoreConnection();
    }
    return {};
  }
  const auto delay = vemo_safeNSNumberForKey(&frame, "delay");
  const auto upLoss = vemo_safeNSNumberForKey(&frame, "upLoss");
  const auto downLoss = vemo_safeNSNumberForKey(&frame, "downLoss");
  if (!delay || !upLoss || !downLoss) return "it doesn't say how the network is to be";
  const auto within = [](const Number& number, int limit) {
    return std::clamp(number.int32(), 0, limit);
  };
  NetworkProfile network;
  network.delay = std::chrono::milliseconds(within(*delay, 5000));
  network.jitter = network.delay / 5;
  network.upLoss = static_cast<std::uint32_t>(within(*upLoss, 100));
  network.downLoss = static_cast<std::uint32_t>(within(*downLoss, 100));
  parts_->engineClass->setNetwork(network);
  return {};
}

std::string Phone::handleBroadcast(const boost::json::object& frame) {
  const auto word = vemo_safeNSStringForKey(&frame, "event").value_or("");
  const auto* const event =
      std::ranges::find(kScreenKitNotifications, word, &ScreenKitNotification::event);
  if (event == kScreenKitNotifications.end()) return "the broadcast has no such event";
  parts_->extensionNotifications.post(event->name);
  return {};
}

std::string Phone::handleFire(const boost::json::object& frame) {
  // Events of all phones come on one thread: those of one must not keep it for long.
  constexpr std::int64_t kMostAtOnce = 1000;
  constexpr std::size_t kLongestArguments = 16'384;
  const auto name = vemo_safeNSStringForKey(&frame, "event");
  const auto* args = frame.if_contains("args");
  if (!name || !args || !args->is_array()) return "a fired event has no name or no arguments";
  if (jsonText(*args).size() > kLongestArguments)
    return "the arguments of a fired event are longer than " + std::to_string(kLongestArguments) +
           " bytes";
  const auto* given = frame.if_contains("times");
  const std::int64_t times = given ? given->is_int64() ? given->get_int64() : 0 : 1;
  if (times < 1 || times > kMostAtOnce)
    return "an event can be fired 1 to " + std::to_string(kMostAtOnce) + " times";
  if (*parts_->firing + times > kMostAtOnce)
    return "too many fired events are under way; try again when they have come";
  BoundCall<KOBUCloudDelegate> call;
  try {
    call = engineEvent(*name, args->get_array());
  } catch (const ArgumentError& error) {
    return error.what();
  }
  *parts_->firing += times;
  const std::shared_ptr<void> underWay(
      nullptr, [firing = parts_->firing, times](void*) { *firing -= times; });
  const bool hasEngine =
      parts_->engineClass->fire([&mainQueue = parts_->environment.mainQueue, call = std::move(call),
                                 times, underWay](KOBUCloudDelegate& delegate) {
        for (std::int64_t i = 0; i < times; ++i) call(delegate);
        mainQueue.dispatchAsync([underWay] {});  // behind what the router has queued of them
      });
  return hasEngine ? "" : "there is no engine before \"initSDK\"";
}

std::string Phone::handleDownloads(const boost::json::object& frame) {
  const auto* given = frame.if_contains("error");
  if (!given || !(given->is_null() || given->is_object()))
    return "it doesn't say how downloads end";
  if (given->is_null()) {
    parts_->downloads.failWith(std::nullopt);
    return {};
  }
  const auto code = vemo_safeNSNumberForKey(&given->get_object(), "code");
  if (!code) return "the error of downloads has no code";
  DownloadError error;
  error.code = code->as<std::int64_t>();
  if (const auto text = vemo_safeNSStringForKey(&given->get_object(), "text"))
    error.description = std::string(*text);
  parts_->downloads.failWith(std::move(error));
  return {};
}

}  // namespace vemo
