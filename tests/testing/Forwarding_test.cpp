#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/ForwardingPlatform.h"
#include "testing/NullPlatform.h"
#include "testing/contracts/AlertPresenter_contract.h"
#include "testing/contracts/Application_contract.h"
#include "testing/contracts/CaptureAuthorization_contract.h"
#include "testing/contracts/SystemVersion_contract.h"
#include "testing/contracts/VEMOKOBUEventListener_contract.h"
#include "testing/contracts/VEMOUIRenderSource_contract.h"
#include "testing/contracts/VEMOWebView_contract.h"

// Forwarders keep the promises of what stands behind them: here small pieces of one
// operation each; the suites of what platform/ and simulation/ have run on forwarders there.

namespace vemo {
namespace {

struct AlertsMaker {
  struct Alerts final : NullAlertPresenter {
    void present(Alert alert) override { open.push_back(std::move(alert)); }
    std::deque<Alert> open;
  };

  AlertPresenter& alerts() { return forwarder_; }
  std::optional<ShownAlert> shown() {
    if (target_.open.empty()) return std::nullopt;
    const auto& alert = target_.open.front();
    ShownAlert shown{alert.title, alert.message, {}};
    for (const auto& action : alert.actions) shown.buttons.emplace_back(action.title, action.style);
    return shown;
  }
  void press(const std::string& button) {
    const auto alert = std::move(target_.open.front());
    target_.open.pop_front();
    for (const auto& action : alert.actions) {
      if (action.title == button && action.handler) action.handler();
    }
  }

  Alerts target_;
  ForwardingAlertPresenter forwarder_{target_};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Forwarding, AlertPresenterContract, AlertsMaker);

struct ApplicationMaker {
  struct Dictionary final : NullApplication {
    Text information(std::string_view key) const override {
      const auto found = texts.find(std::string(key));
      return found == texts.end() ? std::nullopt : found->second;
    }
    bool canOpenSettings() const override { return canOpen; }
    void openSettings() override { ++opened; }

    std::map<std::string, Text> texts;
    bool canOpen = false;
    int opened = 0;
  };

  Application& application() { return forwarder_; }
  void setInformation(const std::string& key, Text value) { target_.texts[key] = std::move(value); }
  void setCanOpenSettings(bool can) { target_.canOpen = can; }
  int opened() { return target_.opened; }

  Dictionary target_;
  ForwardingApplication forwarder_{target_};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Forwarding, ApplicationContract, ApplicationMaker);

struct AuthorizationMaker {
  struct User final : NullCaptureAuthorization {
    AuthorizationStatus authorizationStatus(MediaType media) const override {
      return status.at(media);
    }
    void requestAccess(MediaType, std::function<void(bool)> answer) override {
      asked.push_back(std::move(answer));
    }

    std::map<MediaType, AuthorizationStatus> status;
    std::deque<std::function<void(bool)>> asked;
  };

  CaptureAuthorization& authorization() { return forwarder_; }
  void setStatus(MediaType media, AuthorizationStatus status) { target_->status[media] = status; }
  void answer(bool granted) {
    const auto answer = std::move(target_->asked.front());
    target_->asked.pop_front();
    answer(granted);
  }
  void destroy() { target_.reset(); }

  std::unique_ptr<User> target_ = std::make_unique<User>();
  ForwardingCaptureAuthorization forwarder_{*target_};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Forwarding, CaptureAuthorizationContract, AuthorizationMaker);

struct VersionMaker {
  struct Version final : NullSystemVersion {
    bool isAtLeast(int major, int minor, int patch) const override {
      return running >= std::tuple(major, minor, patch);
    }
    std::tuple<int, int, int> running;
  };

  SystemVersion& version() { return forwarder_; }
  void set(int major, int minor, int patch) { target_.running = {major, minor, patch}; }

  Version target_;
  ForwardingSystemVersion forwarder_{target_};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Forwarding, SystemVersionContract, VersionMaker);

struct WebViewMaker {
  struct Page final : NullVEMOWebView {
    void loadJs(const std::string& script, bool) override {
      const std::lock_guard lock(mutex);
      if (isThere) scripts.push_back(script);
    }
    std::mutex mutex;
    std::vector<std::string> scripts;
    bool isThere = true;
  };

  std::shared_ptr<VEMOWebView> webView() { return forwarder_; }
  std::vector<std::string> scripts() { return target_->scripts; }
  void endPage() { target_->isThere = false; }

  std::shared_ptr<Page> target_ = std::make_shared<Page>();
  std::shared_ptr<VEMOWebView> forwarder_ = std::make_shared<ForwardingVEMOWebView>(target_);
};
INSTANTIATE_TYPED_TEST_SUITE_P(Forwarding, VEMOWebViewContract, WebViewMaker);

struct RenderSourceMaker {
  struct Screen final : NullVEMOUIRenderSource {
    std::shared_ptr<NativeView> renderViewOf(const Text& userId, ViewType type) override {
      const auto found = views.find({userId, type});
      return found == views.end() ? nullptr : found->second;
    }
    std::map<std::pair<Text, ViewType>, std::shared_ptr<NativeView>> views;
  };

  VEMOUIRenderSource& source() { return forwarder_; }
  std::shared_ptr<NativeView> add(const Text& userId, ViewType type) {
    return target_.views[{userId, type}] = std::make_shared<NativeView>();
  }

  Screen target_;
  ForwardingVEMOUIRenderSource forwarder_{target_};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Forwarding, VEMOUIRenderSourceContract, RenderSourceMaker);

/// Counts the calls of the first operation and the last.
struct ListenerMaker {
  struct Listener final : VEMOKOBUEventListener {
    void onVEMOEnterRoom(std::int64_t, const Text&) override { ++entered; }
    void onVEMOConnectionRecovery() override { ++recovered; }
    int entered = 0;
    int recovered = 0;
  };

  std::shared_ptr<VEMOKOBUEventListener> listener() {
    return std::make_shared<ForwardingVEMOKOBUEventListener>(target_);
  }
  bool lives() { return target_->entered == 3 && target_->recovered == 1; }

  std::shared_ptr<Listener> target_ = std::make_shared<Listener>();
};
INSTANTIATE_TYPED_TEST_SUITE_P(Forwarding, VEMOKOBUEventListenerContract, ListenerMaker);

TEST(NullMainQueue, DestroysWhatIsQueuedUnrun) {
  NullMainQueue queue;
  const auto token = std::make_shared<int>();
  queue.dispatchAsync([token] { ADD_FAILURE(); });
  EXPECT_EQ(token.use_count(), 1);
}

}  // namespace
}  // namespace vemo
