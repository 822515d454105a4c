#include "RecordingPlatform.h"

#include <array>
#include <cctype>
#include <optional>
#include <string_view>
#include <utility>

#include "json/JsonReader.h"
#include "platform/Url.h"

namespace vemo::replay {
namespace {

constexpr std::string_view kImageBytes = "image";
constexpr std::string_view kOtherBytes = "no image";

class File final : public DownloadedFile {
 public:
  explicit File(std::optional<std::string> bytes) : bytes_(std::move(bytes)) {}
  std::optional<std::string> readAll() const override { return bytes_; }

 private:
  const std::optional<std::string> bytes_;
};

class Image final : public VEMOImage {};

struct Script {
  std::string_view function;
  json::value argument;
};

/// `function(argument)`: the function's name may hold parentheses itself, so the
/// argument is the longest that is JSON.
std::optional<Script> takenApart(std::string_view script) {
  if (!script.ends_with(')')) return std::nullopt;
  for (auto open = script.find('('); open != std::string_view::npos;
       open = script.find('(', open + 1)) {
    const auto text = script.substr(open + 1, script.size() - open - 2);
    JsonProblem problem;
    auto argument = readJson(text, 512, problem);
    if (!problem.code) return Script{script.substr(0, open), std::move(argument)};
  }
  return std::nullopt;
}

}  // namespace

void RecordingCrossProcessCenter::addObserver(const void*, const std::string& name,
                                              Callback callback) {
  recorder_.write("subscribe", {{"name", name}});
  callback_ = std::move(callback);
}

void RecordingCrossProcessCenter::removeObserver(const void*, const std::string& name) {
  recorder_.write("unsubscribe", {{"name", name}});
}

void RecordingCrossProcessCenter::removeEveryObserver(const void*) {
  recorder_.write("unsubscribeAll");
}

AuthorizationStatus RecordingAuthorization::authorizationStatus(MediaType media) const {
  return static_cast<AuthorizationStatus>(media == MediaType::video ? device_.camera
                                                                    : device_.microphone);
}

void RecordingAuthorization::requestAccess(MediaType media, Answer answer) {
  recorder_.write("requestAccess", {{"media", media == MediaType::video ? "video" : "audio"}});
  open_.push_back(std::move(answer));
}

void RecordingAlerts::present(Alert alert) {
  json::array buttons;
  for (const auto& action : alert.actions) {
    const bool destructive = action.style == AlertActionStyle::destructive;
    json::object button{{"title", action.title},
                        {"style", destructive ? "destructive" : "default"}};
    buttons.push_back(std::move(button));
  }
  recorder_.write(
      "alert",
      {{"title", alert.title}, {"message", alert.message}, {"buttons", std::move(buttons)}});
  open_.push_back(std::move(alert));
}

Text RecordingApplication::information(std::string_view key) const {
  const auto found = device_.bundle.find(key);
  if (found == device_.bundle.end()) return std::nullopt;
  return found->second;
}

bool RecordingDownloads::isUrl(const std::string& text) const { return !schemeOf(text).empty(); }

void RecordingDownloads::download(const std::string& url, Done done) {
  recorder_.write("download", {{"url", url}});
  open_.push_back(std::move(done));
}

DownloadResult RecordingDownloads::result(const DownloadOutcome& outcome) {
  if (outcome.error) return {outcome.error, nullptr};
  std::optional<std::string> bytes;
  if (outcome.data) bytes.emplace(outcome.image ? kImageBytes : kOtherBytes);
  return {std::nullopt, std::make_shared<File>(std::move(bytes))};
}

void RecordingDecoder::decode(std::string bytes, Done done) {
  done(bytes == kImageBytes ? std::make_shared<Image>() : nullptr);
}

bool DeviceVersion::isAtLeast(int major, int minor, int patch) const {
  return device_.os >= std::array{major, minor, patch};
}

std::shared_ptr<NativeView> DeviceRenderSource::renderViewOf(const Text& userId,
                                                             ViewType viewType) {
  if (!device_.views) return nullptr;
  const auto key = userId.value_or("(null)") + "/" + std::to_string(static_cast<int>(viewType));
  const auto found = device_.views->find(key);
  return found == device_.views->end() ? nullptr : objects_.view(found->second);
}

void RecordingWebView::loadJs(const std::string& script, bool needLog) {
  auto parts = takenApart(script);
  if (!parts) parts = {script, nullptr};
  recorder_.write("script", {{"function", parts->function},
                             {"argument", std::move(parts->argument)},
                             {"text", script},
                             {"needLog", needLog}});
}

}  // namespace vemo::replay
