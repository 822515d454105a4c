#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "bridge/AlertPresenter.h"
#include "bridge/Application.h"
#include "bridge/CaptureAuthorization.h"
#include "bridge/MainQueue.h"
#include "bridge/SystemVersion.h"
#include "bridge/VEMOExtensionLauncher.h"
#include "bridge/VEMOLogger.h"
#include "simulator/PageSocket.h"
#include "simulator/PhoneSettings.h"

namespace vemo {

/// What a phone's own system does, played by the frame around the page: it shows the
/// prompts, the alerts, the settings and the broadcast picker, and sends back what the
/// user does with them.
///
/// Threads: the interfaces from any; what the page sends is handled on the main thread.
class PhoneServices final : public CaptureAuthorization,
                            public AlertPresenter,
                            public Application,
                            public SystemVersion,
                            public VEMOExtensionLauncher {
 public:
  /// How many may wait for the answer to one prompt. Who comes then is refused at once, as
  /// if the user had said no; the logger gets a note.
  static constexpr std::size_t kMostWaiting = 64;
  /// How many alerts are open; the page's frame shows one after the other. One more is
  /// not shown, but answered by its first button that is not destructive (else its first); the
  /// logger gets a note.
  static constexpr std::size_t kMostAlerts = 16;

  /// `mainQueue` and `logger` outlive this.
  PhoneServices(std::shared_ptr<PageSocket> page, MainQueue& mainQueue, VEMOLogger& logger);

  AuthorizationStatus authorizationStatus(MediaType media) const override;
  /// A decision that was made already is answered soon, on the main thread; else the
  /// user is asked, once for all who wait for the same answer (see kMostWaiting).
  void requestAccess(MediaType media, std::function<void(bool granted)> answer) override;

  /// See kMostAlerts.
  void present(Alert alert) override;

  Text information(std::string_view key) const override;
  bool canOpenSettings() const override;
  void openSettings() override;

  bool isAtLeast(int major, int minor, int patch) const override;

  void launch() override;

  // ---- What the page's frame tells, and is told. Main thread.

  /// Tells the page's frame how the phone is set.
  void sendSettings();
  /// Changes settings; says what is wrong with them, or nothing. See vemo::apply.
  std::string change(const boost::json::object& changes);
  /// The user's answer to the prompt for the device `name` ("camera" or "microphone").
  std::string answer(std::string_view name, bool granted);
  /// A button of an alert was pressed.
  std::string press(std::int64_t id, std::size_t button);

  /// The application group, which is read on the thread of commands: the main thread.
  const std::string& appGroup() const { return appGroup_; }

 private:
  using Answer = std::function<void(bool granted)>;

  /// Sends a frame of something that the user sees, and logs it. Any thread.
  void show(const boost::json::object& frame);

  AuthorizationStatus& statusOf(MediaType media);
  void refuse(Alert alert);

  const std::shared_ptr<PageSocket> page_;
  MainQueue& mainQueue_;
  VEMOLogger& logger_;
  mutable std::mutex mutex_;  // never held while calling out
  PhoneSettings settings_;
  std::map<MediaType, std::vector<Answer>> asked_;
  std::map<std::int64_t, Alert> alerts_;
  std::int64_t lastAlert_ = 0;
  std::string appGroup_ = PhoneSettings().appGroup;  // main thread
};

}  // namespace vemo
