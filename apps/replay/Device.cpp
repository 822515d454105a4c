#include "replay/Device.h"

#include <algorithm>
#include <cstddef>
#include <ranges>
#include <string_view>
#include <type_traits>
#include <utility>

#include "json/Arguments.h"
#include "platform/Version.h"
#include "replay/Nearest.h"
#include "replay/ScenarioError.h"

namespace vemo::replay {
namespace {

namespace json = boost::json;

template <std::size_t count>
using Keys = std::array<std::string_view, count>;

using Texts = std::map<std::string, std::string>;

template <class Names>
[[noreturn]] void unknownKey(std::string_view of, std::string_view key, const Names& known) {
  throw ScenarioError("unknown key \"" + std::string(key) + "\" of " + std::string(of) +
                      didYouMean(key, known));
}

Version readVersion(const json::value& value) {
  if (const auto version = versionFrom(read<std::string>(value, "os"))) return *version;
  throw ScenarioError("os must be a version such as \"17.0.0\"");
}

template <class Map>
Map readTexts(const json::value& value, const std::string& what) {
  Map texts;
  for (const auto& [key, text] : read<json::object>(value, what)) {
    texts.emplace(key, read<std::string>(text, what + " \"" + std::string(key) + "\""));
  }
  return texts;
}

std::optional<Texts> readViews(const json::value& value) {
  if (value.is_bool() && !value.get_bool()) return std::nullopt;
  if (!value.is_object()) throw ScenarioError("views must be an object or false");
  return readTexts<Texts>(value, "views");
}

DownloadError readDownloadError(const json::value& value) {
  DownloadError error;
  bool hasCode = false;
  for (const auto& [key, member] : read<json::object>(value, "error of download")) {
    if (key == "code") {
      error.code = read<std::int64_t>(member, "code of download");
      hasCode = true;
    } else if (key == "desc") {
      error.description = read<Text>(member, "desc of download");
    } else {
      unknownKey("the error of download", key, Keys<2>{"code", "desc"});
    }
  }
  if (!hasCode) throw ScenarioError("error of download has no code");
  return error;
}

DownloadOutcome readDownload(const json::value& value) {
  DownloadOutcome outcome;
  for (const auto& [key, member] : read<json::object>(value, "download")) {
    if (key == "error") {
      outcome.error = readDownloadError(member);
    } else if (key == "data") {
      outcome.data = read<bool>(member, "data of download");
    } else if (key == "image") {
      outcome.later = member == "later";
      outcome.image = !outcome.later && read<bool>(member, "image of download");
    } else if (key == "size") {  // these tell what a recorded file was; there is no such file
      read<std::int64_t>(member, "size of download");
    } else if (key == "digest" || key == "kind") {
      read<std::string>(member, std::string(key) + " of download");
    } else {
      unknownKey("download", key, Keys<6>{"error", "data", "image", "size", "digest", "kind"});
    }
  }
  return outcome;
}

void mergeResults(Device& device, const json::value& value) {
  static constexpr std::array<std::pair<std::string_view, std::int64_t Device::*>, 3> results{
      {{"pauseScreenCapture", &Device::pauseScreenCapture},
       {"resumeScreenCapture", &Device::resumeScreenCapture},
       {"stopScreenCapture", &Device::stopScreenCapture}}};
  for (const auto& [key, result] : read<json::object>(value, "results")) {
    const auto found = std::ranges::find(results, std::string_view(key),
                                         [](const auto& known) { return known.first; });
    if (found == results.end()) unknownKey("results", key, std::views::keys(results));
    device.*found->second = read<std::int64_t>(result, "result of " + std::string(key));
  }
}

/// What a key of the device sets.
struct Setting {
  std::string_view key;
  void (*set)(Device& device, const json::value& value, std::string_view key);
};

template <auto member>
void setPlain(Device& device, const json::value& value, std::string_view key) {
  auto& target = device.*member;
  target = read<std::remove_reference_t<decltype(target)>>(value, key);
}

constexpr auto settings = std::to_array<Setting>({
    {"os", [](Device& device, const json::value& value, auto) { device.os = readVersion(value); }},
    {"camera", setPlain<&Device::camera>},
    {"microphone", setPlain<&Device::microphone>},
    {"bundle", [](Device& device, const json::value& value,
                  auto) { device.bundle = readTexts<decltype(device.bundle)>(value, "bundle"); }},
    {"canOpenSettings", setPlain<&Device::canOpenSettings>},
    {"appGroup", setPlain<&Device::appGroup>},
    {"sdkVersion", setPlain<&Device::sdkVersion>},
    {"views",
     [](Device& device, const json::value& value, auto) { device.views = readViews(value); }},
    {"captureVolume", setPlain<&Device::captureVolume>},
    {"playoutVolume", setPlain<&Device::playoutVolume>},
    {"results",
     [](Device& device, const json::value& value, auto) { mergeResults(device, value); }},
    {"download",
     [](Device& device, const json::value& value, auto) { device.download = readDownload(value); }},
});

}  // namespace

void Device::merge(const json::object& changes) {
  for (const auto& [name, value] : changes) {
    const std::string_view key(name.data(), name.size());
    const auto found = std::ranges::find(settings, key, &Setting::key);
    if (found == settings.end())
      unknownKey("device", key, settings | std::views::transform(&Setting::key));
    found->set(*this, value, key);
  }
}

}  // namespace vemo::replay
