#include "recorder/DeviceAnswers.h"

#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
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

/// FNV-1a of 64 bits: tells files apart, and is no secret's guard.
std::string digestOf(std::string_view bytes) {
  std::uint64_t hash = 0xcbf29ce484222325U;
  for (const char byte : bytes) hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3U;
  std::array<char, 16> digits;
  for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit, hash >>= 4U)
    *digit = "0123456789abcdef"[hash & 0xFU];
  return {digits.data(), digits.size()};
}

/// What a file is, by how it begins.
std::string_view kindOf(std::string_view bytes) {
  using namespace std::string_view_literals;
  if (bytes.starts_with("\x89PNG"sv)) return "png";
  if (bytes.starts_with("\xFF\xD8\xFF"sv)) return "jpeg";
  if (bytes.starts_with("GIF8"sv)) return "gif";
  if (bytes.starts_with("BM"sv)) return "bmp";
  if (bytes.starts_with("RIFF"sv) && bytes.substr(0, 12).ends_with("WEBP"sv)) return "webp";
  return "other";
}

}  // namespace

DeviceAnswers::DeviceAnswers(Notes& notes)
    : notes_(notes),
      told_{{"camera", std::to_string(latest_.camera)},
            {"microphone", std::to_string(latest_.microphone)},
            {"canOpenSettings", latest_.canOpenSettings ? "true" : "false"},
            {"appGroup", quoted(latest_.appGroup)},
            {"sdkVersion", quoted(latest_.sdkVersion)},
            {"captureVolume", std::to_string(latest_.captureVolume)},
            {"playoutVolume", std::to_string(latest_.playoutVolume)},
            {"pauseScreenCapture", std::to_string(latest_.pauseScreenCapture)},
            {"resumeScreenCapture", std::to_string(latest_.resumeScreenCapture)},
            {"stopScreenCapture", std::to_string(latest_.stopScreenCapture)},
            {"views", latest_.views ? objectOf(*latest_.views) : "false"}} {}

/// Whether `value` is what was told last under this; it is, from now on.
bool DeviceAnswers::isSame(std::atomic<std::int64_t>& latest, std::int64_t value) {
  if (latest.load(std::memory_order_relaxed) == value) return true;
  latest.store(value, std::memory_order_relaxed);
  return false;
}

void DeviceAnswers::told(std::string_view key, std::string json) {
  auto& known = told_[std::string(key)];
  if (known == json) return;
  known = std::move(json);
  boost::json::object change{{key, boost::json::parse(known)}};
  if (key.ends_with("ScreenCapture")) change = {{"results", std::move(change)}};
  notes_.answer(change);
}

void DeviceAnswers::authorization(MediaType media, AuthorizationStatus status) {
  if (!notes_.isOn()) return;
  auto& latest = media == MediaType::video ? camera_ : microphone_;
  if (isSame(latest, static_cast<std::int64_t>(status))) return;
  const std::lock_guard lock(mutex_);
  told(media == MediaType::video ? "camera" : "microphone",
       std::to_string(static_cast<int>(status)));
}

void DeviceAnswers::information(std::string_view key, const Text& value) {
  if (!notes_.isOn()) return;
  const std::lock_guard lock(mutex_);
  const auto found = latest_.bundle.find(key);
  if (found == latest_.bundle.end() ? !value : value == found->second) return;
  if (value) {
    latest_.bundle.insert_or_assign(std::string(key), *value);
  } else {
    latest_.bundle.erase(found);
  }
  told("bundle", objectOf(latest_.bundle));
}

void DeviceAnswers::canOpenSettings(bool can) {
  if (!notes_.isOn()) return;
  const std::lock_guard lock(mutex_);
  told("canOpenSettings", can ? "true" : "false");
}

void DeviceAnswers::isAtLeast(std::array<int, 3> version, bool is) {
  if (!notes_.isOn()) return;
  const std::lock_guard lock(mutex_);
  auto& os = latest_.os;
  if ((os >= version) == is) return;
  os = is ? version : below(version);
  told("os",
       quoted(std::to_string(os[0]) + "." + std::to_string(os[1]) + "." + std::to_string(os[2])));
}

void DeviceAnswers::tellAppGroup(const std::string& group) {
  const std::lock_guard lock(mutex_);
  appGroup_.store(&appGroups_.emplace_front(group), std::memory_order_release);
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
  if (!notes_.isOn() || isSame(captureVolume_, volume)) return;
  const std::lock_guard lock(mutex_);
  told("captureVolume", std::to_string(volume));
}

void DeviceAnswers::playoutVolume(std::int32_t volume) {
  if (!notes_.isOn() || isSame(playoutVolume_, volume)) return;
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

void DeviceAnswers::downloaded(std::string_view bytes) {
  if (!notes_.isOn()) return;
  const boost::json::object outcome{{"data", true},
                                    {"image", "later"},
                                    {"size", bytes.size()},
                                    {"digest", digestOf(bytes)},
                                    {"kind", kindOf(bytes)}};
  const std::lock_guard lock(mutex_);
  told("download", jsonText(outcome));
}

}  // namespace vemo
