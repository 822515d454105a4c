#include "replay/ScriptedDevice.h"

#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "platform/Url.h"

namespace vemo::replay {
namespace {

constexpr std::string_view kImageBytes = "image";
constexpr std::string_view kOtherBytes = "no image";
constexpr std::string_view kBytesForLater = "an image or not";

class File final : public DownloadedFile {
 public:
  explicit File(std::optional<std::string> bytes) : bytes_(std::move(bytes)) {}
  std::optional<std::string> readAll() const override { return bytes_; }

 private:
  const std::optional<std::string> bytes_;
};

class Image final : public VEMOImage {};

}  // namespace

void ScriptedQueue::dispatchAsync(std::function<void()> task) {
  if (!task) return;
  const std::lock_guard lock(mutex_);
  tasks_.push_back(std::move(task));
}

void ScriptedQueue::run(std::int64_t count, std::size_t nth) {
  for (; count > 0; --count) {
    std::function<void()> task;
    {
      const std::lock_guard lock(mutex_);
      if (tasks_.size() < nth) return;
      const auto place = tasks_.begin() + static_cast<std::ptrdiff_t>(nth - 1);
      task = std::move(*place);
      tasks_.erase(place);
    }
    task();
  }
}

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
  if (outcome.data) {
    bytes.emplace(outcome.later ? kBytesForLater : outcome.image ? kImageBytes : kOtherBytes);
  }
  return {std::nullopt, std::make_shared<File>(std::move(bytes))};
}

void ScriptedDecoder::decode(std::string bytes, Done done) {
  if (bytes == kBytesForLater) {
    open_.push_back(std::move(done));
  } else {
    done(bytes == kImageBytes ? image() : nullptr);
  }
}

std::shared_ptr<VEMOImage> ScriptedDecoder::image() { return std::make_shared<Image>(); }

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
