#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/ForwardingPlatform.h"
#include "recorder/Notes.h"

// The pieces of a platform: each notes what the router asks of it and passes the call on, and
// notes what comes back when it comes.

namespace vemo {

/// The base of each: a piece around `target`, as Forwarding holds it.
template <class Forwarder>
class NotingPiece : public Forwarder {
 public:
  template <class Target>
  NotingPiece(std::shared_ptr<Notes> notes, Target&& target)
      : Forwarder(std::forward<Target>(target)), notes_(std::move(notes)) {}

 protected:
  const std::shared_ptr<Notes> notes_;
};

class NotingLogger final : public NotingPiece<ForwardingVEMOLogger> {
 public:
  using NotingPiece::NotingPiece;
  void log(const DUNLogParam& record) override;
  void updateLogConfig(const std::function<void(DUNLoggerConfig&)>& update) override;

 private:
  void note(const DUNLogParam& record);
};

class NotingSystemLog final : public NotingPiece<ForwardingSystemLog> {
 public:
  using NotingPiece::NotingPiece;
  void writeLine(std::string_view line) override;
};

/// Tasks are noted when they begin.
class NotingMainQueue final : public NotingPiece<ForwardingMainQueue> {
 public:
  using NotingPiece::NotingPiece;
  void dispatchAsync(std::function<void()> task) override;
};

class NotingNotificationCenter final : public NotingPiece<ForwardingNotificationCenter> {
 public:
  using NotingPiece::NotingPiece;
  void post(const std::string& name) override;
};

class NotingCrossProcessCenter final
    : public NotingPiece<ForwardingCrossProcessNotificationCenter> {
 public:
  using NotingPiece::NotingPiece;
  void addObserver(const void* observer, const std::string& name, Callback callback) override;
  void removeObserver(const void* observer, const std::string& name) override;
  void removeEveryObserver(const void* observer) override;
};

/// What waits for an answer, in the order in which it began.
class OpenQuestions {
 public:
  /// Opens another; the result stands for it.
  std::uint64_t open();
  /// Closes `question`: its place among those that were open, from 1 for the oldest; nothing
  /// when it was closed before.
  std::optional<std::int64_t> close(std::uint64_t question);

 private:
  std::mutex mutex_;
  std::uint64_t last_ = 0;
  std::vector<std::uint64_t> open_;
};

class NotingAuthorization final : public NotingPiece<ForwardingCaptureAuthorization> {
 public:
  using NotingPiece::NotingPiece;
  AuthorizationStatus authorizationStatus(MediaType media) const override;
  void requestAccess(MediaType media, std::function<void(bool granted)> answer) override;

 private:
  const std::shared_ptr<OpenQuestions> open_ = std::make_shared<OpenQuestions>();
};

class NotingAlerts final : public NotingPiece<ForwardingAlertPresenter> {
 public:
  using NotingPiece::NotingPiece;
  void present(Alert alert) override;

 private:
  const std::shared_ptr<OpenQuestions> open_ = std::make_shared<OpenQuestions>();
};

class NotingApplication final : public NotingPiece<ForwardingApplication> {
 public:
  using NotingPiece::NotingPiece;
  Text information(std::string_view key) const override;
  bool canOpenSettings() const override;
  void openSettings() override;
};

class NotingDownloads final : public NotingPiece<ForwardingDownloadService> {
 public:
  using NotingPiece::NotingPiece;
  void download(const std::string& url, std::function<void(DownloadResult)> done) override;

 private:
  const std::shared_ptr<OpenQuestions> open_ = std::make_shared<OpenQuestions>();
};

class NotingDecoder final : public NotingPiece<ForwardingImageDecoder> {
 public:
  using NotingPiece::NotingPiece;
  void decode(std::string bytes, Done done) override;

 private:
  const std::shared_ptr<OpenQuestions> open_ = std::make_shared<OpenQuestions>();
};

class NotingSystemVersion final : public NotingPiece<ForwardingSystemVersion> {
 public:
  using NotingPiece::NotingPiece;
  bool isAtLeast(int major, int minor, int patch) const override;
};

class NotingLauncher final : public NotingPiece<ForwardingVEMOExtensionLauncher> {
 public:
  using NotingPiece::NotingPiece;
  void launch() override;
};

class NotingRenderSource final : public NotingPiece<ForwardingVEMOUIRenderSource> {
 public:
  using NotingPiece::NotingPiece;
  std::shared_ptr<NativeView> renderViewOf(const Text& userId, ViewType viewType) override;
};

class NotingWebView final : public NotingPiece<ForwardingVEMOWebView> {
 public:
  NotingWebView(std::shared_ptr<Notes> notes, std::shared_ptr<VEMOWebView> target);
  void loadJs(const std::string& script, bool needLog) override;

  /// The view that this stands for.
  const std::shared_ptr<VEMOWebView>& shown() const { return shown_; }

 private:
  const std::shared_ptr<VEMOWebView> shown_;
};

}  // namespace vemo
