#include "simulator/PhoneSettings.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>

#include "json/Lookup.h"
#include "platform/Version.h"
#include "platform/VisibleText.h"

namespace vemo {
namespace {

constexpr std::array<std::string_view, 4> kStatusNames{"notDetermined", "restricted", "denied",
                                                       "authorized"};

/// All settings are told again with each change of one: their texts are those of an application.
constexpr std::size_t kLongestBundle = 65'536;
constexpr std::size_t kLongestText = 1024;
constexpr std::size_t kShown = 100;  // of the name of one that there is not

std::string_view nameOf(AuthorizationStatus status) {
  return kStatusNames.at(static_cast<std::size_t>(status));
}

std::optional<AuthorizationStatus> statusOf(std::string_view name) {
  const auto found = std::ranges::find(kStatusNames, name);
  if (found == kStatusNames.end()) return std::nullopt;
  return static_cast<AuthorizationStatus>(found - kStatusNames.begin());
}

/// Puts the texts of `value` into `bundle`, which the phone then has; null takes a text away.
bool applyTexts(const boost::json::value& value, decltype(PhoneSettings::bundle) bundle,
                PhoneSettings& settings) {
  const auto* object = value.if_object();
  if (!object) return false;
  for (const auto& [key, text] : *object) {
    if (text.is_string())
      bundle.insert_or_assign(key, text.get_string());
    else if (text.is_null())
      bundle.erase(key);
    else
      return false;
  }
  std::size_t bytes = 0;
  for (const auto& [key, text] : bundle) bytes += key.size() + text.size();
  if (bytes > kLongestBundle) return false;
  settings.bundle = std::move(bundle);
  return true;
}

bool applyOne(const boost::json::object& changes, std::string_view key, PhoneSettings& settings) {
  const auto text = vemo_safeNSStringForKey(&changes, key);
  if (text && text->size() > kLongestText) return false;
  if (key == "os") {
    if (!text || !versionFrom(*text)) return false;
    settings.os = *text;
  } else if (key == "camera" || key == "microphone") {
    const auto status = text ? statusOf(*text) : std::nullopt;
    if (!status) return false;
    (key == "camera" ? settings.camera : settings.microphone) = *status;
  } else if (key == "bundle") {
    return applyTexts(changes.at(key), {}, settings);
  } else if (key == "texts") {
    return applyTexts(changes.at(key), settings.bundle, settings);
  } else if (key == "canOpenSettings") {
    const auto* can = changes.at(key).if_bool();
    if (!can) return false;
    settings.canOpenSettings = *can;
  } else if (key == "appGroup") {
    if (!text) return false;
    settings.appGroup = *text;
  } else {
    return false;
  }
  return true;
}

}  // namespace

boost::json::object jsonOf(const PhoneSettings& settings) {
  boost::json::object bundle;
  for (const auto& [key, text] : settings.bundle) bundle[key] = text;
  return {{"os", settings.os},
          {"camera", nameOf(settings.camera)},
          {"microphone", nameOf(settings.microphone)},
          {"bundle", std::move(bundle)},
          {"canOpenSettings", settings.canOpenSettings},
          {"appGroup", settings.appGroup}};
}

std::string apply(const boost::json::object& changes, PhoneSettings& settings) {
  auto changed = settings;
  for (const auto& [key, value] : changes)
    if (!applyOne(changes, key, changed))
      return "the phone has no such setting: " + shortened(key, kShown);
  settings = std::move(changed);
  return {};
}

bool isAtLeast(const std::string& have, int major, int minor, int patch) {
  return versionFrom(have).value_or(Version{}) >= Version{major, minor, patch};
}

}  // namespace vemo
