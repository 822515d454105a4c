#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "bridge/Platform.h"
#include "platform/ReplyDelivery.h"
#include "recorder/Recorder.h"
#include "testing/FakePlatform.h"
#include "testing/NullPlatform.h"
#include "webview/VEMOKOBUMsgRouter.h"

namespace vemo::bench {

/// Where log records end: they are counted, and the last params are kept when asked for.
class CountingLogger final : public NullVEMOLogger {
 public:
  void log(const DUNLogParam& record) override;

  bool keeps = false;
  std::string kept;  ///< the last record's action parameter
  std::uint64_t records = 0;
  std::uint64_t bytes = 0;
};

/// Where scripts end: likewise.
class CountingWebView final : public VEMOWebView {
 public:
  void loadJs(const std::string& script, bool needLog) override;

  bool keeps = false;
  std::string kept;  ///< the last script
  std::uint64_t scripts = 0;
  std::uint64_t bytes = 0;
};

/// A main queue on one thread, which is the main thread or not as the caller says.
class StagedQueue final : public MainQueue {
 public:
  bool isMainThread() const override { return onMain_; }
  void dispatchAsync(std::function<void()> task) override { tasks_.push_back(std::move(task)); }

  /// Calls `event` as from another thread, then does what it queued as the main thread.
  template <class Event>
  void fromAnotherThread(Event event) {
    onMain_ = false;
    event();
    onMain_ = true;
    for (const auto& task : tasks_) task();
    tasks_.clear();
  }

 private:
  bool onMain_ = true;
  std::vector<std::function<void()>> tasks_;
};

/// What is different from a router on a platform that does nothing and counts.
struct BenchOptions {
  bool recorded = false;  ///< a recorder is in between that keeps the last minutes
  bool logged = false;    ///< the log is that of a host: a JsonLineLogger whose lines go nowhere
};

/// The real router and base router on a platform.
class BenchPlatform {
 public:
  explicit BenchPlatform(BenchOptions options = {});

  /// One more router on this platform, without an engine yet. With a recorder there is only
  /// the one that is there.
  std::shared_ptr<VEMOKOBUMsgRouter> makeRouter();

  CountingLogger logger;
  std::shared_ptr<CountingWebView> webView = std::make_shared<CountingWebView>();
  StagedQueue mainQueue;

 private:
  FakePlatform rest_;
  NullCrossProcessNotificationCenter crossProcessNotifications_;  // holds nothing of a router
  std::unique_ptr<VEMOLogger> hostLogger_;
  std::unique_ptr<Recorder> recorder_;
  std::shared_ptr<ReplyDelivery> delivery_ =
      std::make_shared<MainThreadReplyDelivery>(mainQueue, "reply");
  std::optional<Platform> platform_;

 public:
  std::shared_ptr<VEMOKOBUMsgRouter> router;

  /// What `work` leaves: the last record's action parameter and the last script.
  struct Texts {
    std::string logged;
    std::string script;
  };
  template <class Work>
  Texts textsOf(Work work) {
    logger.keeps = webView->keeps = true;
    logger.kept.clear();
    webView->kept.clear();
    work();
    logger.keeps = webView->keeps = false;
    return {logger.kept, webView->kept};
  }
};

/// Ends the program with a sentence unless the two texts are the same: what is compared
/// must do the same work.
void mustBeSame(const std::string& what, const std::string& routers, const std::string& jsons);

}  // namespace vemo::bench
