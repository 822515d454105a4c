#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "bridge/Platform.h"
#include "platform/InProcessNotificationCenter.h"
#include "platform/Subscriptions.h"
#include "testing/FakeEngine.h"
#include "testing/NullPlatform.h"
#include "webview/VEMOKOBUMsgRouter.h"

namespace vemo::test {

/// Something that is done to a router: a message, an event, an answer, a call of the host, a task
/// of the main queue.
struct Act {
  static constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();

  std::string name;
  std::size_t cause = kNone;         ///< the act that it comes of
  std::vector<std::string> effects;  ///< what came out of the router
  bool failed = false;               ///< whether an allocation failed in it,
  bool threw = false;                ///< and its exception came out
};

/// A fixed session of a router, on a platform whose pieces note what is asked of them and answer it
/// later. Their own allocations never fail, save those of the project's own pieces.
class ShortSession final : private NullVEMOLogger,
                           private NullSystemLog,
                           private NullMainQueue,
                           private NullCrossProcessNotificationCenter,
                           private NullCaptureAuthorization,
                           private NullAlertPresenter,
                           private NullApplication,
                           private NullDownloadService,
                           private NullImageDecoder,
                           private NullSystemVersion,
                           private NullVEMOExtensionLauncher,
                           private NullVEMOUIRenderSource {
 public:
  ShortSession();
  ~ShortSession() override;
  ShortSession(const ShortSession&) = delete;
  ShortSession& operator=(const ShortSession&) = delete;

  /// Makes the router; std::bad_alloc when that fails.
  void create();
  /// Does everything, from the page's first command to the end of the router, but not the act
  /// `left`; the memory of the acts counts.
  std::vector<Act> play(std::size_t left = Act::kNone);

  bool isSubscribed() const { return !subscribed_.empty(); }
  bool hasEngine() const { return engineClass_.instance() != nullptr; }

 private:
  class Engine;
  class Music;
  class WebView;
  class Listener;
  enum class Thread : std::uint8_t { main, other };
  struct Waiting {
    std::function<void()> work;
    std::size_t cause;
    std::string name;
  };

  void act(std::string name, Thread thread, const std::function<void()>& work,
           std::size_t cause = Act::kNone);
  /// Does what came of the acts so far, and what comes of that.
  void settle();
  void send(const std::string& action, std::string_view message);
  void host(const std::string& name, const std::function<void(VEMOKOBUMsgRouter&)>& call);
  void playCommands();
  void playEvents();
  void playHost();

  void note(std::string_view what, std::string_view text = {});
  template <class Work>
  void later(const char* name, Work work);

  void log(const DUNLogParam& record) override;
  void writeLine(std::string_view line) override;
  bool isMainThread() const override { return thread_ == Thread::main; }
  void dispatchAsync(std::function<void()> task) override;
  void post(const std::string& name) override;
  void addObserver(const void* observer, const std::string& name,
                   CrossProcessNotificationCenter::Callback callback) override;
  void removeObserver(const void* observer, const std::string& name) override;
  void removeEveryObserver(const void* observer) override;
  AuthorizationStatus authorizationStatus(MediaType media) const override;
  void requestAccess(MediaType media, std::function<void(bool granted)> answer) override;
  void present(Alert alert) override;
  bool isUrl(const std::string& text) const override;
  void download(const std::string& url, std::function<void(DownloadResult)> done) override;
  void decode(std::string bytes, Done done) override;
  void launch() override;
  std::shared_ptr<NativeView> renderViewOf(const Text& userId, ViewType viewType) override;

  std::vector<Act> acts_;
  std::size_t left_ = Act::kNone;
  Thread thread_ = Thread::main;
  std::deque<Waiting> tasks_, waiting_;
  bool isDenied_ = false;
  std::multiset<std::string> subscribed_;

  InProcessNotificationCenter notifications_;
  Subscriptions crossProcess_;
  FakeClassOf<Engine> engineClass_;
  const std::string appGroup_ = "group.short";
  std::shared_ptr<WebView> webView_;
  std::vector<std::shared_ptr<Listener>> listeners_;
  std::shared_ptr<VEMOUIRenderSource> renderSource_;
  std::shared_ptr<NativeView> view_;
  std::shared_ptr<VEMOKOBUMsgRouter> router_;
};

}  // namespace vemo::test
