#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "bridge/ScreenKitNotifications.h"
#include "testing/Arrivals.h"
#include "testing/FakePlatform.h"
#include "testing/NullPlatform.h"
#include "webview/VEMOKOBUMsgRouter.h"

// The router and a centre between processes, as they are in an application.

namespace vemo {
namespace {

class ScreenKitNotificationsTest : public testing::Test {
 protected:
  /// Posts through the centre; returns what the page was sent for it.
  std::vector<std::string> scriptsAfter(const char* notification) {
    // Subscribed later than the router, and so called later, on the same thread.
    Arrivals<std::string> passed;
    platform.crossProcess.addObserver(&passed, notification,
                                      [&](const std::string& name) { passed.add(name); });
    platform.crossProcess.post(notification);
    EXPECT_EQ(passed.next(), notification);
    platform.crossProcess.removeEveryObserver(&passed);
    return scripts();
  }

  std::vector<std::string> scripts() {
    while (platform.mainQueue.drain() > 0) {
    }
    return platform.webView->take();
  }

  FakePlatform platform;
  std::shared_ptr<VEMOKOBUMsgRouter> router =
      VEMOKOBUMsgRouter::create(platform.makeBaseRouter(), platform.pieces());
};

TEST_F(ScreenKitNotificationsTest, ReachThePageThatAskedForThem) {
  platform.send("registCallBacks",
                R"({"callbacks":[{"sdkcbName":"onScreenKitEvent","jsRecvcbName":"page.on"}]})");
  scripts();
  for (const auto& notification : kScreenKitNotifications) {
    EXPECT_EQ(scriptsAfter(notification.name),
              std::vector<std::string>{
                  R"js(page.on({"head":{"module":"kobucb","action":"onScreenKitEvent"},)js"
                  R"js("retval":{"userId":"(null)","event":")js" +
                  std::string(notification.event) + R"js("}}))js"});
  }
}

TEST_F(ScreenKitNotificationsTest, TheStartAnswersTheLaunch) {
  platform.send("launchScreenKit");
  EXPECT_EQ(scripts(), std::vector<std::string>{});
  const auto answers = scriptsAfter(kVEMOScreenKit_Started_Notify);
  ASSERT_EQ(answers.size(), 1U);
  EXPECT_NE(answers[0].find(R"("action":"launchScreenKit","cbid":"1")"), std::string::npos)
      << answers[0];
  EXPECT_NE(answers[0].find(R"("errcode":0)"), std::string::npos) << answers[0];
  EXPECT_EQ(scriptsAfter(kVEMOScreenKit_Started_Notify), std::vector<std::string>{});
}

TEST_F(ScreenKitNotificationsTest, ARouterThatIsGoneHearsNothing) {
  platform.send("launchScreenKit");
  router.reset();
  EXPECT_EQ(scriptsAfter(kVEMOScreenKit_Started_Notify), std::vector<std::string>{});
}

/// A centre that keeps who subscribes and unsubscribes.
class RecordingCenter final : public NullCrossProcessNotificationCenter {
 public:
  struct Record {
    std::string operation;
    const void* observer;
    std::string name;
    bool operator==(const Record&) const = default;
  };

  void addObserver(const void* observer, const std::string& name, Callback) override {
    records.push_back({"add", observer, name});
  }
  void removeObserver(const void* observer, const std::string& name) override {
    records.push_back({"remove", observer, name});
  }
  void removeEveryObserver(const void* observer) override {
    records.push_back({"remove every", observer, ""});
  }

  std::vector<Record> records;
};

TEST(ScreenKitNotifications, TheRouterIsOneObserverAllItsLife) {
  FakePlatform platform;
  RecordingCenter center;
  const auto pieces = platform.pieces();
  auto router = VEMOKOBUMsgRouter::create(
      platform.makeBaseRouter(),
      {pieces.engineClass, pieces.logger, pieces.systemLog, pieces.mainQueue, pieces.notifications,
       center, pieces.captureAuthorization, pieces.alerts, pieces.application, pieces.downloads,
       pieces.images, pieces.system, pieces.extensionLauncher, pieces.appGroup});
  ASSERT_FALSE(center.records.empty());
  const auto* const observer = center.records[0].observer;
  router.reset();
  std::vector<RecordingCenter::Record> expected;
  for (const auto& notification : kScreenKitNotifications) {
    expected.push_back({"remove", observer, notification.name});
    expected.push_back({"add", observer, notification.name});
  }
  expected.push_back({"remove every", observer, ""});
  EXPECT_TRUE(center.records == expected);
}

}  // namespace
}  // namespace vemo
