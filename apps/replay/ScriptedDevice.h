#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "replay/Device.h"
#include "replay/NamedObjects.h"
#include "testing/NullPlatform.h"

// The device around the router: each piece answers questions as the device is set, and keeps
// what is open until the scenario answers it. The references that a piece is made with
// outlive it.

namespace vemo::replay {

/// The main queue: its tasks run when the scenario says so. The thread that makes it is the
/// main thread.
class ScriptedQueue final : public MainQueue {
 public:
  bool isMainThread() const override { return std::this_thread::get_id() == mainThread_; }
  void dispatchAsync(std::function<void()> task) override;

  /// Runs tasks, those that are queued meanwhile included: `count` of them, or fewer when
  /// there are no more; each time the one that is the `nth`, from 1. Main thread.
  void run(std::int64_t count, std::size_t nth = 1);

 private:
  const std::thread::id mainThread_ = std::this_thread::get_id();
  std::mutex mutex_;
  std::deque<std::function<void()>> tasks_;
};

/// Cross-process notifications. The latest subscriber is handed whatever the scenario
/// says, also under a name that it did not subscribe to.
class ScriptedCrossProcessCenter final : public NullCrossProcessNotificationCenter {
 public:
  void addObserver(const void* observer, const std::string& name, Callback callback) override;

  const Callback& callback() const { return callback_; }
  void forget() { callback_ = nullptr; }

 private:
  Callback callback_;
};

class ScriptedAuthorization final : public CaptureAuthorization {
 public:
  using Answer = std::function<void(bool)>;

  explicit ScriptedAuthorization(const Device& device) : device_(device) {}
  AuthorizationStatus authorizationStatus(MediaType media) const override;
  void requestAccess(MediaType media, Answer answer) override;

  std::deque<Answer>& open() { return open_; }

 private:
  const Device& device_;
  std::deque<Answer> open_;
};

class ScriptedAlerts final : public AlertPresenter {
 public:
  void present(Alert alert) override { open_.push_back(std::move(alert)); }

  std::deque<Alert>& open() { return open_; }

 private:
  std::deque<Alert> open_;
};

class ScriptedApplication final : public NullApplication {
 public:
  explicit ScriptedApplication(const Device& device) : device_(device) {}
  Text information(std::string_view key) const override;
  bool canOpenSettings() const override { return device_.canOpenSettings; }

 private:
  const Device& device_;
};

class ScriptedDownloads final : public DownloadService {
 public:
  using Done = std::function<void(DownloadResult)>;

  bool isUrl(const std::string& text) const override;
  void download(const std::string& url, Done done) override;

  std::deque<Done>& open() { return open_; }
  /// How a download ends by `outcome`.
  static DownloadResult result(const DownloadOutcome& outcome);

 private:
  std::deque<Done> open_;
};

/// Knows the bytes that ScriptedDownloads gives for an image, and those of which a step will
/// say whether they are one.
class ScriptedDecoder final : public ImageDecoder {
 public:
  void decode(std::string bytes, Done done) override;

  std::deque<Done>& open() { return open_; }
  static std::shared_ptr<VEMOImage> image();

 private:
  std::deque<Done> open_;
};

class DeviceVersion final : public SystemVersion {
 public:
  explicit DeviceVersion(const Device& device) : device_(device) {}
  bool isAtLeast(int major, int minor, int patch) const override;

 private:
  const Device& device_;
};

/// The host's views, as the device names them.
class DeviceRenderSource final : public VEMOUIRenderSource {
 public:
  DeviceRenderSource(const Device& device, NamedObjects& objects)
      : device_(device), objects_(objects) {}
  std::shared_ptr<NativeView> renderViewOf(const Text& userId, ViewType viewType) override;

 private:
  const Device& device_;
  NamedObjects& objects_;
};

}  // namespace vemo::replay
