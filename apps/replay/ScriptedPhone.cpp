#include "ScriptedPhone.h"

#include <array>
#include <optional>
#include <string_view>
#include <utility>

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

}  // namespace

void ScriptedCrossProcessCenter::addObserver(const void*, const std::string&, Callback callback) {
  callback_ = std::move(callback);
}

AuthorizationStatus ScriptedAuthorization::authorizationStatus(MediaType media) const {
  return static_cast<AuthorizationStatus>(media == MediaType::video ? device_.camera
                                                                    : device_.microphone);
}

void ScriptedAuthorization::requestAccess(MediaType, Answer answer) {
  open_.push_back(std::move(answer));
}

Text ScriptedApplication::information(std::string_view key) const {
  const auto found = device_.bundle.find(key);
  if (found == device_.bundle.end()) return std::nullopt;
  return found->second;
}

bool ScriptedDownloads::isUrl(const std::string& text) const { return !schemeOf(text).empty(); }

void ScriptedDownloads::download(const std::string&, Done done) {
  open_.push_back(std::move(done));
}

DownloadResult ScriptedDownloads::result(const DownloadOutcome& outcome) {
  if (outcome.error) return {outcome.error, nullptr};
  std::optional<std::string> bytes;
  if (outcome.data) bytes.emplace(outcome.image ? kImageBytes : kOtherBytes);
  return {std::nullopt, std::make_shared<File>(std::move(bytes))};
}

void ScriptedDecoder::decode(std::string bytes, Done done) {
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

}  // namespace vemo::replay
