#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <vector>

#include "Chores.h"
#include "Samples.h"
#include "bridge/Platform.h"
#include "platform/InProcessNotificationCenter.h"
#include "platform/LoopbackNotificationCenter.h"
#include "platform/MainThreadQueue.h"
#include "testing/FakeEngine.h"
#include "testing/NullPlatform.h"
#include "webview/VEMOKOBUMsgRouter.h"

namespace vemo::test {

using Dice = std::mt19937_64;

/// A router with all that it needs, each piece of which does later, on whatever thread does its
/// chores, what it is asked for. It counts the answers that its page gets.
///
/// Threads: made, drained, let go and destroyed on the main thread; the rest on any.
class StressedPhone final : private NullVEMOLogger,
                            private NullSystemLog,
                            private NullCaptureAuthorization,
                            private NullAlertPresenter,
                            private NullApplication,
                            private NullDownloadService,
                            private NullImageDecoder,
                            private NullSystemVersion,
                            private NullVEMOExtensionLauncher {
 public:
  static constexpr std::size_t kMessages = 512;

  StressedPhone();

  // What happens to it, each by one step; false when there is nothing to do.
  bool pageSends(Dice& dice);
  bool engineTells(Dice& dice);
  bool hostActs(Dice& dice);
  bool notify(Dice& dice);
  Chores engine, permissions, downloads, music, presses;

  void drain();
  /// Ends the page's messages: those under way are worked off, and there are no more.
  void silencePage();
  /// Whether nothing waits or is under way that would lead to an answer.
  bool settled() const;
  /// The host lets go of the router, and the page sends nothing more.
  void letGo();
  /// Whether the router has died since, and nobody is about to send.
  bool isGone() const;
  /// What is wrong with the answers, a line each. The router is gone; from here on the page may
  /// hear nothing.
  std::string verdict(bool settledBefore);
  /// What came after that, a line each.
  std::string afterthoughts() const;

 private:
  class WebView;
  class Music;
  class Engine;

  std::shared_ptr<VEMOKOBUMsgRouter> router() const;
  void requestAccess(MediaType media, std::function<void(bool granted)> answer) override;
  AuthorizationStatus authorizationStatus(MediaType media) const override;
  void present(Alert alert) override;
  bool isUrl(const std::string& text) const override;
  void download(const std::string& url, std::function<void(DownloadResult)> done) override;
  void decode(std::string bytes, Done done) override;
  void launch() override;

  MainThreadQueue mainQueue_;
  InProcessNotificationCenter notifications_;
  LoopbackNotificationCenter crossProcess_;
  FakeEngineClass engineClass_;
  const std::string appGroup_ = "group.stress";
  const std::shared_ptr<WebView> webView_;
  const std::shared_ptr<VEMOKOBUEventListener> listener_;
  std::array<std::size_t, kMessages> sent_{};
  std::atomic<std::size_t> numbers_ = 0, sending_ = 0;
  std::atomic<bool> pageIsSilent_ = false;
  mutable std::mutex routerMutex_;
  std::shared_ptr<VEMOKOBUMsgRouter> router_;
  std::weak_ptr<VEMOKOBUMsgRouter> letGo_;
};

}  // namespace vemo::test
