#include "Device.h"

#include <charconv>
#include <string_view>
#include <utility>

#include "ScenarioError.h"
#include "json/Arguments.h"

namespace vemo::replay {
namespace {

using Texts = std::map<std::string, std::string>;

[[noreturn]] void unknownKey(std::string_view of, std::string_view key) {
  throw ScenarioError("unknown key \"" + std::string(key) + "\" of " + std::string(of));
}

/// "17.0.0", or less of it: the rest is 0.
std::array<int, 3> readVersion(const json::value& value) {
  const auto text = read<std::string>(value, "os");
  std::array<int, 3> version{};
  const char* at = text.data();
  const char* const end = at + text.size();
  for (auto& number : version) {
    if (at == end || *at < '0' || *at > '9') break;  // no sign: from_chars would take "-"
    const auto [next, problem] = std::from_chars(at, end, number);
    if (problem != std::errc{}) break;
    if (next == end) return version;
    if (*next != '.') break;
    at = next + 1;
  }
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
      unknownKey("the error of download", key);
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
      outcome.image = read<bool>(member, "image of download");
    } else {
      unknownKey("download", key);
    }
  }
  return outcome;
}

void mergeResults(Device& device, const json::value& value) {
  for (const auto& [key, result] : read<json::object>(value, "results")) {
    std::int64_t* const member = key == "pauseScreenCapture"    ? &device.pauseScreenCapture
                                 : key == "resumeScreenCapture" ? &device.resumeScreenCapture
                                 : key == "stopScreenCapture"   ? &device.stopScreenCapture
                                                                : nullptr;
    if (!member) unknownKey("results", key);
    *member = read<std::int64_t>(result, "result of " + std::string(key));
  }
}

}  // namespace

void Device::merge(const json::object& changes) {
  for (const auto& [name, value] : changes) {
    const std::string_view key(name.data(), name.size());
    if (key == "os") {
      os = readVersion(value);
    } else if (key == "camera") {
      camera = read<std::int32_t>(value, key);
    } else if (key == "microphone") {
      microphone = read<std::int32_t>(value, key);
    } else if (key == "bundle") {
      bundle = readTexts<decltype(bundle)>(value, "bundle");
    } else if (key == "canOpenSettings") {
      canOpenSettings = read<bool>(value, key);
    } else if (key == "appGroup") {
      appGroup = read<std::string>(value, key);
    } else if (key == "sdkVersion") {
      sdkVersion = read<std::string>(value, key);
    } else if (key == "views") {
      views = readViews(value);
    } else if (key == "captureVolume") {
      captureVolume = read<std::int32_t>(value, key);
    } else if (key == "playoutVolume") {
      playoutVolume = read<std::int32_t>(value, key);
    } else if (key == "results") {
      mergeResults(*this, value);
    } else if (key == "download") {
      download = readDownload(value);
    } else {
      unknownKey("device", key);
    }
  }
}

}  // namespace vemo::replay
