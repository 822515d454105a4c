#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>

#include "Device.h"
#include "NamedObjects.h"
#include "Recorder.h"
#include "bridge/AlertPresenter.h"
#include "bridge/Application.h"
#include "bridge/CaptureAuthorization.h"
#include "bridge/DownloadService.h"
#include "bridge/ImageDecoder.h"
#include "bridge/SystemVersion.h"
#include "bridge/VEMOExtensionLauncher.h"
#include "bridge/VEMOUIRenderSource.h"
#include "bridge/VEMOWebView.h"
#include "testing/NullPlatform.h"

// The phone around the router: each piece writes what it is asked to do, answers
// questions as the device is set, and keeps what is open until the scenario answers it.
// The references that a piece is made with outlive it.

namespace vemo::replay {

/// In-process notifications: written, observed by nobody.
class RecordingNotifications final : public NullNotificationCenter {
 public:
  explicit RecordingNotifications(Recorder& recorder) : recorder_(recorder) {}
  void post(const std::string& name) override { recorder_.write("post", {{"name", name}}); }

 private:
  Recorder& recorder_;
};

/// Cross-process notifications. The latest subscriber is handed whatever the scenario
/// says, also under a name that it did not subscribe to.
class RecordingCrossProcessCenter final : public NullCrossProcessNotificationCenter {
 public:
  explicit RecordingCrossProcessCenter(Recorder& recorder) : recorder_(recorder) {}
  void addObserver(const void* observer, const std::string& name, Callback callback) override;
  void removeObserver(const void* observer, const std::string& name) override;
  void removeEveryObserver(const void* observer) override;

  const Callback& callback() const { return callback_; }
  void forget() { callback_ = nullptr; }

 private:
  Recorder& recorder_;
  Callback callback_;
};

class RecordingAuthorization final : public CaptureAuthorization {
 public:
  using Answer = std::function<void(bool)>;

  RecordingAuthorization(Recorder& recorder, const Device& device)
      : recorder_(recorder), device_(device) {}
  AuthorizationStatus authorizationStatus(MediaType media) const override;
  void requestAccess(MediaType media, Answer answer) override;

  std::deque<Answer>& open() { return open_; }

 private:
  Recorder& recorder_;
  const Device& device_;
  std::deque<Answer> open_;
};

class RecordingAlerts final : public AlertPresenter {
 public:
  explicit RecordingAlerts(Recorder& recorder) : recorder_(recorder) {}
  void present(Alert alert) override;

  std::deque<Alert>& open() { return open_; }

 private:
  Recorder& recorder_;
  std::deque<Alert> open_;
};

class RecordingApplication final : public Application {
 public:
  RecordingApplication(Recorder& recorder, const Device& device)
      : recorder_(recorder), device_(device) {}
  Text information(std::string_view key) const override;
  bool canOpenSettings() const override { return device_.canOpenSettings; }
  void openSettings() override { recorder_.write("openSettings"); }

 private:
  Recorder& recorder_;
  const Device& device_;
};

class RecordingDownloads final : public DownloadService {
 public:
  using Done = std::function<void(DownloadResult)>;

  explicit RecordingDownloads(Recorder& recorder) : recorder_(recorder) {}
  bool isUrl(const std::string& text) const override;
  void download(const std::string& url, Done done) override;

  std::deque<Done>& open() { return open_; }
  /// How a download ends by `outcome`.
  static DownloadResult result(const DownloadOutcome& outcome);

 private:
  Recorder& recorder_;
  std::deque<Done> open_;
};

/// Knows the bytes that RecordingDownloads gives for an image.
class RecordingDecoder final : public ImageDecoder {
 public:
  void decode(std::string bytes, Done done) override;
};

class DeviceVersion final : public SystemVersion {
 public:
  explicit DeviceVersion(const Device& device) : device_(device) {}
  bool isAtLeast(int major, int minor, int patch) const override;

 private:
  const Device& device_;
};

class RecordingLauncher final : public VEMOExtensionLauncher {
 public:
  explicit RecordingLauncher(Recorder& recorder) : recorder_(recorder) {}
  void launch() override { recorder_.write("launchExtension"); }

 private:
  Recorder& recorder_;
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

/// Runs nothing; writes the scripts, taken apart into function and argument.
class RecordingWebView final : public VEMOWebView {
 public:
  explicit RecordingWebView(Recorder& recorder) : recorder_(recorder) {}
  void loadJs(const std::string& script, bool needLog) override;

 private:
  Recorder& recorder_;
};

}  // namespace vemo::replay
