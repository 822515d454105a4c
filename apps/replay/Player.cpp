#include "replay/Player.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <ranges>
#include <string_view>
#include <thread>
#include <tuple>
#include <utility>

#include "json/EngineEvents.h"
#include "replay/Nearest.h"
#include "replay/Operations.h"
#include "webview/KOBUParams_VEMOExt.h"

namespace vemo::replay {
namespace {

/// The verb's value when it can only be true.
void requireTrue(const Step& step) {
  if (!step.value<bool>()) throw ScenarioError(std::string(step.verbName) + " must be true");
}

/// Which of the open ones a step is about, from 1 for the oldest.
std::size_t nthOf(const Step& step) {
  const auto nth = step.optional<std::int64_t>("nth").value_or(1);
  if (nth < 1) throw ScenarioError("nth must be 1 or more");
  return static_cast<std::size_t>(nth);
}

template <class T>
std::optional<T> take(std::deque<T>& open, std::size_t nth) {
  if (open.size() < nth) return std::nullopt;
  const auto place = open.begin() + static_cast<std::ptrdiff_t>(nth - 1);
  std::optional<T> taken(std::move(*place));
  open.erase(place);
  return taken;
}

/// What a step can ask of the router.
struct Value {
  std::string_view name;
  json::value (*of)(const VEMOKOBUMsgRouter& router);
};
constexpr auto values = std::to_array<Value>({
    {"hasEnterRoom", [](const auto& router) { return json::value(router.hasEnterRoom()); }},
    {"curEnteredRoomUserId",
     [](const auto& router) {
       const auto userId = router.curEnteredRoomUserId();
       return userId ? json::value(*userId) : json::value();
     }},
    {"role",
     [](const auto& router) {
       const auto params = router.enterRoomParams();
       return params ? json::value(params->role) : json::value();
     }},
    {"switchToRole",
     [](const auto& router) {
       const auto params = router.enterRoomParams();
       return params ? json::value(vemo::switchToRole(*params)) : json::value();
     }},
    {"supportMode",
     [](const auto& router) { return json::value(router.kobuScreenCaptureSupportMode()); }},
    {"listeners",
     [](const auto& router) {
       json::value names = json::array();
       for (const auto& listener : router.kobuEventListeners()) {
         const auto& name = dynamic_cast<NotingListener&>(*listener).name();
         names.get_array().push_back(json::string(name));
       }
       return names;
     }},
});

}  // namespace

Player::Player() {
  create();
  drain();
}

Player::~Player() { finish(); }

void Player::play(const Step& step) {
  transcript_->beginStep(++step_);
  part_ = 0;
  perform(step);
  if (!step.hold) drain();
}

std::map<std::string, int> Player::finish() {
  transcript_->close();
  drain();
  router_.reset();
  crossProcess_.forget();
  engineClass_.open() = {};
  authorization_.open().clear();
  alerts_.open().clear();
  downloads_.open().clear();
  decoder_.open().clear();
  objects_.clear();
  return census_.alive();
}

void Player::drain() { mainQueue_.run(std::numeric_limits<std::int64_t>::max()); }

void Player::perform(const Step& step) {
  switch (step.verb) {
    case Verb::device: return changeDevice(step.value<json::object>());
    case Verb::command: return command(step);
    case Verb::message: return message(step);
    case Verb::event: return event(step);
    case Verb::music: return music(step);
    case Verb::speedTest: return speedTest(step);
    case Verb::access: return access(step);
    case Verb::press: return press(step);
    case Verb::downloaded: return downloaded(step);
    case Verb::decoded: return decoded(step);
    case Verb::notify: return notify(step);
    case Verb::host: return host(step);
    case Verb::listener: return listener(step);
    case Verb::release: return objects_.releaseListener(step.value<std::string>());
    case Verb::get: return get(step);
    case Verb::drain:
      if (step.keys.at("drain").is_number()) {
        return mainQueue_.run(step.value<std::int64_t>(), nthOf(step));
      }
      if (step.has("nth")) throw ScenarioError("nth needs a drain of a number of tasks");
      requireTrue(step);
      drain();
      return;
    case Verb::free:
      requireTrue(step);
      base_ = nullptr;
      router_.reset();
      return;
    case Verb::create:
      requireTrue(step);
      if (router_) throw ScenarioError("the host has a router already");
      return create();
    case Verb::use: return use(step);
  }
}

void Player::use(const Step& step) {
  for (const auto& one : step.setUp) {
    ++part_;
    try {
      perform(one);
    } catch (const ArgumentError& error) {
      throw ScenarioError("set-up \"" + step.value<std::string>() + "\", line " +
                          std::to_string(one.line) + ": " + error.what());
    }
    if (!one.hold) drain();
  }
}

void Player::create() {
  const auto platform = recorder_.platform();
  auto base = std::make_unique<JSMsgRouter>(platform.logger, replies_, webView_);
  base_ = base.get();
  router_ = VEMOKOBUMsgRouter::create(std::move(base), platform);
  census_.watch("router", router_);
  changeDevice({});
}

void Player::changeDevice(const json::object& changes) {
  device_.merge(changes);
  if (router_) router_->setCustomRenderSource(device_.views ? renderSource_ : nullptr);
}

std::string Player::label(const Step& step) const {
  const auto part = part_ > 0 ? "." + std::to_string(part_) : "";
  return step.optional<std::string>("as").value_or("#" + std::to_string(step_) + part);
}

void Player::dispatch(const Step& step, const std::shared_ptr<VEMOJSMsgItem>& item, bool hasAction,
                      const std::shared_ptr<VEMOWebView>& webView) {
  replies_->label(item, label(step), hasAction);
  census_.watch("item", item);
  base_->dispatch(item, webView);
}

void Player::command(const Step& step) {
  auto name = step.value<std::string>();
  auto params = step.optional<json::object>("params");
  auto nativecb = step.optional<std::string>("nativecb").value_or("");
  const bool hasWebView = step.optional<bool>("webView").value_or(true);
  label(step);  // fits, or is an error even when nobody listens
  if (!router_) return;
  const auto item = base_->makeItem({"kobu", std::move(name)}, std::move(params),
                                    std::move(nativecb), std::nullopt);
  onThread(
      step, "other", [&] { dispatch(step, item, true, hasWebView ? webView_ : nullptr); }, true);
}

void Player::message(const Step& step) {
  const auto text = step.value<std::string>();
  label(step);
  if (!router_) return;
  onThread(
      step, "other",
      [&] {
        const auto item = base_->decode(text);
        const bool hasAction =
            !item->head().action.empty() || !item->msgError() || namesAction(text);
        dispatch(step, item, hasAction, base_->webView());
      },
      true);
}

void Player::onThread(const Step& step, std::string_view other, const std::function<void()>& work,
                      bool usuallyMain) {
  const auto thread = step.optional<std::string>("thread");
  if (thread && *thread != "main" && *thread != other) {
    throw ScenarioError("thread must be \"main\" or \"" + std::string(other) + "\"");
  }
  if (thread ? *thread == "main" : usuallyMain) return work();
  std::thread(work).join();
}

void Player::event(const Step& step) {
  const auto args = step.optional<json::array>("args").value_or(json::array());
  const auto name = step.value<std::string>();
  if (const auto known = engineEventNames(); std::ranges::find(known, name) == known.end())
    throw ScenarioError("unknown event \"" + name + '"' + didYouMean(name, known));
  const auto call = engineEvent(name, args);
  // Held here, so that a router that dies of the event dies on the main thread.
  const auto delegate = engineClass_.delegate();
  onThread(step, "engine", [&] {
    if (delegate) call(*delegate);
  });
}

void Player::music(const Step& step) {
  const auto id = step.value<std::int32_t>();
  const auto on = step.required<std::string>("on");
  auto& music = engineClass_.open().music;
  const auto found = music.find(id);
  const auto* const playing = found == music.end() ? nullptr : &found->second;
  if (on == "progress") {
    if (step.has("code")) throw ScenarioError("progress has no code");
    const auto progress = step.required<std::int64_t>("progressMs");
    const auto duration = step.required<std::int64_t>("durationMs");
    return onThread(step, "engine", [&] {
      if (playing) playing->onProgress(progress, duration);
    });
  }
  if (on != "start" && on != "complete") {
    throw ScenarioError("on must be \"start\", \"progress\" or \"complete\"");
  }
  if (step.has("progressMs") || step.has("durationMs")) {
    throw ScenarioError(on + " has no progressMs and no durationMs");
  }
  const auto code = step.required<std::int64_t>("code");
  onThread(step, "engine", [&] {
    if (playing) (on == "start" ? playing->onStart : playing->onComplete)(code);
  });
}

void Player::speedTest(const Step& step) {
  const auto result = step.value<Shared<KOBUSpeedTestResult>>();
  const auto completed = step.required<std::int64_t>("completed");
  const auto total = step.required<std::int64_t>("total");
  const auto& answer = engineClass_.open().speedTest;
  onThread(step, "engine", [&] {
    if (answer) answer(result, completed, total);
  });
}

void Player::access(const Step& step) {
  const bool granted = step.value<bool>();
  auto& open = authorization_.open();
  const auto nth = nthOf(step);
  onThread(step, "other", [&] {
    if (const auto answer = take(open, nth)) (*answer)(granted);
  });
}

void Player::press(const Step& step) {
  const auto title = step.value<std::string>();
  auto& open = alerts_.open();
  const auto nth = nthOf(step);
  if (open.size() < nth) return;
  const auto& actions = open[nth - 1].actions;
  const auto index = std::ranges::find(actions, title, &AlertAction::title) - actions.begin();
  if (index == std::ssize(actions)) {
    throw ScenarioError("the alert has no button \"" + title + '"' +
                        didYouMean(title, actions | std::views::transform(&AlertAction::title)));
  }
  const auto alert = take(open, nth);
  if (const auto& handler = alert->actions[static_cast<std::size_t>(index)].handler) handler();
}

void Player::downloaded(const Step& step) {
  requireTrue(step);
  auto& open = downloads_.open();
  const auto nth = nthOf(step);
  onThread(step, "other", [&] {
    if (const auto done = take(open, nth)) (*done)(ScriptedDownloads::result(device_.download));
  });
}

void Player::decoded(const Step& step) {
  const bool isImage = step.value<bool>();
  auto& open = decoder_.open();
  const auto nth = nthOf(step);
  onThread(step, "other", [&] {
    if (const auto done = take(open, nth)) (*done)(isImage ? ScriptedDecoder::image() : nullptr);
  });
}

void Player::notify(const Step& step) {
  const auto name = step.value<std::string>();
  onThread(step, "other", [&] {
    if (router_) crossProcess_.callback()(name);
  });
}

void Player::host(const Step& step) {
  const auto args = step.optional<json::array>("args").value_or(json::array());
  const bool completes = step.optional<bool>("completion").value_or(true);
  const auto call = hostOperation(step.value<std::string>(), args, objects_,
                                  completes ? recorder_.notes() : nullptr);
  onThread(
      step, "other",
      [&] {
        if (router_) call(*router_);
      },
      true);
}

void Player::listener(const Step& step) {
  constexpr auto known = std::apply(
      [](const auto&... operation) { return std::array{operation.name...}; }, listenerOperations);
  std::vector<std::string> operations(known.begin(), known.end());
  if (const auto chosen = step.optional<json::array>("ops")) {
    operations.clear();
    for (const auto& value : *chosen) {
      operations.push_back(read<std::string>(value, "an operation of ops"));
      if (std::ranges::find(known, operations.back()) == known.end()) {
        throw ScenarioError("unknown operation \"" + operations.back() + "\" of a listener" +
                            didYouMean(operations.back(), known));
      }
    }
  }
  const auto made = std::make_shared<ScriptedListener>(recorder_.notes(), step.value<std::string>(),
                                                       std::move(operations));
  census_.watch("listener", made);
  objects_.addListener(made);
}

void Player::get(const Step& step) {
  const auto of = step.value<std::string>();
  const auto* const value = std::ranges::find(values, of, &Value::name);
  if (value == values.end()) {
    throw ScenarioError("unknown value \"" + of + '"' +
                        didYouMean(of, values | std::views::transform(&Value::name)));
  }
  if (!router_) return;
  recorder_.notes()->effect(
      "value", [&](NoteWriter& text) { text.add("of", of).add("value", value->of(*router_)); });
}

}  // namespace vemo::replay
