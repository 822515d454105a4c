#include "recorder/DeviceAnswers.h"

#include <boost/json/object.hpp>
#include <utility>

#include "json/JsonText.h"
#include "recorder/Notes.h"

namespace vemo {
namespace {

std::string quoted(std::string_view text) {
  std::string json;
  appendJsonString(json, text);
  return json;
}

template <class Texts>
std::string objectOf(const Texts& texts) {
  boost::json::object object;
  for (const auto& [key, text] : texts) object[key] = text;
  return jsonText(object);
}

/// The greatest version that is less than `version`, as far as versions go.
std::array<int, 3> below(std::array<int, 3> version) {
  for (std::size_t part = version.size(); part-- > 0;) {
    if (version.at(part) > 0) {
      --version.at(part);
      return version;
    }
    version.at(part) = 99;
  }
  return {0, 0, 0};
}

}  // namespace

void DeviceAnswers::told(std::string_view key, std::string json) {
  auto& known = told_[std::string(key)];
  if (known == json) return;
  known = std::move(json);
  notes_.answer([&](std::string& out) {
    const bool result = key.ends_with("ScreenCapture");
    if (result) out += R"({"results":)";
    out.append("{\"").append(key).append("\":").append(known).append("}");
    if (result) out += '}';
  });
}

void DeviceAnswers::authorization(MediaType media, AuthorizationStatus status) {
  if (!notes_.isOn()) return;
  const std::lock_guard lock(mutex_);
  told(media == MediaType::video ? "camera" : "microphone",
       std::to_string(static_cast<int>(status)));
}

void DeviceAnswers::information(std::string_view key, const Text& value) {
  if (!notes_.isOn()) return;
  const std::lock_guard lock(mutex_);
  const auto found = bundle_.find(key);
  if (found == bundle_.end() ? !value : value == found->second) return;
  if (value) {
    bundle_.insert_or_assign(std::string(key), *value);
  } else {
    bundle_.erase(found);
  }
  told("bundle", objectOf(bundle_));
}

void DeviceAnswers::canOpenSettings(bool can) {
  if (!notes_.isOn()) return;
  const std::lock_guard lock(mutex_);
  told("canOpenSettings", can ? "true" : "false");
}

void DeviceAnswers::isAtLeast(std::array<int, 3> version, bool is) {
  if (!notes_.isOn()) return;
  const std::lock_guard lock(mutex_);
  if ((os_ >= version) == is) return;
  os_ = is ? version : below(version);
  told("os", quoted(std::to_string(os_[0]) + "." + std::to_string(os_[1]) + "." +
                    std::to_string(os_[2])));
}

void DeviceAnswers::appGroup(const std::string& group) {
  if (!notes_.isOn()) return;
  const std::lock_guard lock(mutex_);
  if (group == appGroup_) return;  // asked for with each message
  appGroup_ = group;
  told("appGroup", quoted(group));
}

void DeviceAnswers::sdkVersion(const std::string& version) {
  if (!notes_.isOn()) return;
  const std::lock_guard lock(mutex_);
  told("sdkVersion", quoted(version));
}

void DeviceAnswers::renderSource(bool there) {
  if (!notes_.isOn()) return;
  const std::lock_guard lock(mutex_);
  if (there == hasRenderSource_) return;
  hasRenderSource_ = there;
  tellViews();
}

void DeviceAnswers::view(const Text& userId, ViewType type, const NativeView* view) {
  if (!notes_.isOn()) return;
  const auto name = view ? notes_.names().nameOf(*view) : std::string();
  const auto key = userId.value_or("(null)") + "/" + std::to_string(static_cast<int>(type));
  const std::lock_guard lock(mutex_);
  if (view) {
    views_.insert_or_assign(key, name);
  } else {
    views_.erase(key);
  }
  tellViews();
}

void DeviceAnswers::tellViews() { told("views", hasRenderSource_ ? objectOf(views_) : "false"); }

void DeviceAnswers::captureVolume(std::int32_t volume) {
  if (!notes_.isOn()) return;
  const std::lock_guard lock(mutex_);
  told("captureVolume", std::to_string(volume));
}

void DeviceAnswers::playoutVolume(std::int32_t volume) {
  if (!notes_.isOn()) return;
  const std::lock_guard lock(mutex_);
  told("playoutVolume", std::to_string(volume));
}

void DeviceAnswers::screenCaptureResult(std::string_view operation, std::int64_t result) {
  if (!notes_.isOn()) return;
  const std::lock_guard lock(mutex_);
  told(operation, std::to_string(result));
}

void DeviceAnswers::download(const std::optional<DownloadError>& error, bool readable) {
  if (!notes_.isOn()) return;
  boost::json::object outcome;
  if (error) {
    boost::json::object what{{"code", error->code}};
    if (error->description) what["desc"] = *error->description;
    outcome["error"] = std::move(what);
  } else {
    outcome["data"] = readable;
    if (readable) outcome["image"] = "later";
  }
  const std::lock_guard lock(mutex_);
  told("download", jsonText(outcome));
}

}  // namespace vemo
