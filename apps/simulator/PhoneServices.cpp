#include "simulator/PhoneServices.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "json/JsonText.h"
#include "json/Lookup.h"
#include "simulator/OperatorLog.h"

namespace vemo {
namespace {

std::string_view nameOf(MediaType media) {
  return media == MediaType::video ? "camera" : "microphone";
}

}  // namespace

PhoneServices::PhoneServices(std::shared_ptr<PageSocket> page, MainQueue& mainQueue,
                             VEMOLogger& logger)
    : page_(std::move(page)), mainQueue_(mainQueue), logger_(logger) {}

AuthorizationStatus& PhoneServices::statusOf(MediaType media) {
  return media == MediaType::video ? settings_.camera : settings_.microphone;
}

AuthorizationStatus PhoneServices::authorizationStatus(MediaType media) const {
  const std::lock_guard lock(mutex_);
  return media == MediaType::video ? settings_.camera : settings_.microphone;
}

void PhoneServices::requestAccess(MediaType media, Answer answer) {
  std::optional<bool> decided;
  bool first = false;
  bool refused = false;
  {
    const std::lock_guard lock(mutex_);
    if (const auto status = statusOf(media); status != AuthorizationStatus::notDetermined) {
      decided = status == AuthorizationStatus::authorized;
    } else if (auto& waiting = asked_[media]; waiting.size() < kMostWaiting) {
      first = waiting.empty();
      waiting.push_back(std::move(answer));
    } else {
      decided = false;
      refused = true;
    }
  }
  if (refused)
    tellOperator(logger_, "asked for the " + std::string(nameOf(media)) + " too often; refused");
  if (decided) {
    mainQueue_.dispatchAsync(
        // Not moved yet: only what is not decided waits. NOLINTNEXTLINE(bugprone-use-after-move)
        [answer = std::move(answer), granted = *decided] { answer(granted); });
  } else if (first) {
    const auto why = information(media == MediaType::video ? "NSCameraUsageDescription"
                                                           : "NSMicrophoneUsageDescription");
    show({{"kind", "prompt"},
          {"media", nameOf(media)},
          {"application", information("CFBundleName").value_or("")},
          {"description", why.value_or("")}});
  }
}

std::string PhoneServices::answer(std::string_view name, bool granted) {
  const auto media = name == nameOf(MediaType::video) ? MediaType::video : MediaType::audio;
  std::vector<Answer> answers;
  if (name == nameOf(media)) {
    const std::lock_guard lock(mutex_);
    answers.swap(asked_[media]);
    if (!answers.empty())
      statusOf(media) = granted ? AuthorizationStatus::authorized : AuthorizationStatus::denied;
  }
  if (answers.empty()) return "nobody asked for the " + std::string(name);
  sendSettings();
  for (const auto& tell : answers) tell(granted);
  return {};
}

void PhoneServices::present(Alert alert) {
  boost::json::array buttons;
  for (const auto& action : alert.actions)
    buttons.push_back(
        {{"title", action.title}, {"destructive", action.style == AlertActionStyle::destructive}});
  boost::json::object frame{{"kind", "alert"},
                            {"title", alert.title},
                            {"message", alert.message},
                            {"buttons", std::move(buttons)}};
  bool refused = false;
  {
    const std::lock_guard lock(mutex_);
    refused = alerts_.size() >= kMostAlerts;
    if (!refused) {
      frame["id"] = ++lastAlert_;
      alerts_.emplace(lastAlert_, std::move(alert));
    }
  }
  if (refused) {
    // It is kept only when shown.
    refuse(std::move(alert));  // NOLINT(bugprone-use-after-move)
  } else {
    show(frame);
  }
}

void PhoneServices::refuse(Alert alert) {
  tellOperator(logger_, "too many alerts are open; one was not shown");
  auto& buttons = alert.actions;
  if (buttons.empty()) return;
  auto button = std::ranges::find(buttons, AlertActionStyle::normal, &AlertAction::style);
  if (button == buttons.end()) button = buttons.begin();
  if (button->handler) mainQueue_.dispatchAsync(std::move(button->handler));
}

std::string PhoneServices::press(std::int64_t id, std::size_t button) {
  Alert alert;
  {
    const std::lock_guard lock(mutex_);
    const auto shown = alerts_.find(id);
    if (shown == alerts_.end() || button >= shown->second.actions.size())
      return "there is no such alert or button";
    alert = std::move(shown->second);
    alerts_.erase(shown);
  }
  if (const auto& pressed = alert.actions[button].handler) pressed();
  return {};
}

Text PhoneServices::information(std::string_view key) const {
  const std::lock_guard lock(mutex_);
  const auto found = settings_.bundle.find(std::string(key));
  return found == settings_.bundle.end() ? Text() : Text(found->second);
}

bool PhoneServices::canOpenSettings() const {
  const std::lock_guard lock(mutex_);
  return settings_.canOpenSettings;
}

void PhoneServices::openSettings() { show({{"kind", "openSettings"}}); }

bool PhoneServices::isAtLeast(int major, int minor, int patch) const {
  const std::lock_guard lock(mutex_);
  return vemo::isAtLeast(settings_.os, major, minor, patch);
}

void PhoneServices::launch() { show({{"kind", "broadcastPicker"}}); }

void PhoneServices::show(const boost::json::object& frame) {
  const auto text = jsonText(frame);
  logFrame(logger_, vemo_safeNSStringForKey(&frame, "kind").value_or(""), text);
  page_->send(text);
}

void PhoneServices::sendSettings() {
  boost::json::object frame{{"kind", "settings"}};
  {
    const std::lock_guard lock(mutex_);
    frame["settings"] = jsonOf(settings_);
  }
  page_->send(jsonText(frame));
}

std::string PhoneServices::change(const boost::json::object& changes) {
  {
    const std::lock_guard lock(mutex_);
    if (auto wrong = apply(changes, settings_); !wrong.empty()) return wrong;
    appGroup_ = settings_.appGroup;
  }
  sendSettings();
  return {};
}

}  // namespace vemo
