#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "testing/FakePlatform.h"
#include "webview/VEMOKOBUMsgRouter.h"

// The time between the end of a download and that of its decoding, which a session written
// down doesn't have.

namespace vemo {
namespace {

struct AnyFile final : DownloadedFile {
  std::optional<std::string> readAll() const override { return "bytes"; }
};

/// Downloads that end at once, with a file.
struct ReadyDownloads final : DownloadService {
  bool isUrl(const std::string&) const override { return true; }
  void download(const std::string&, std::function<void(DownloadResult)> done) override {
    done({std::nullopt, std::make_shared<AnyFile>()});
  }
};

/// Images that are decoded when the test says so.
struct SlowDecoder final : ImageDecoder {
  void decode(std::string, Done done) override { open.push_back(std::move(done)); }
  void finishOne() {
    const auto done = std::move(open.front());
    open.pop_front();
    done(std::make_shared<VEMOImage>());
  }

  std::deque<Done> open;
};

class WatchedEngine final : public FakeEngine {
 public:
  explicit WatchedEngine(std::vector<std::int32_t>& images) : images_(images) {}
  void setVideoMuteImage(std::shared_ptr<VEMOImage> image, std::int32_t fps) override {
    images_.push_back(image ? fps : 0);
  }

 private:
  std::vector<std::int32_t>& images_;
};

class MuteImageTest : public testing::Test {
 protected:
  Platform pieces() {
    const auto rest = platform.pieces();
    return {.engineClass = engineClass,
            .logger = rest.logger,
            .systemLog = rest.systemLog,
            .mainQueue = rest.mainQueue,
            .notifications = rest.notifications,
            .crossProcessNotifications = rest.crossProcessNotifications,
            .captureAuthorization = rest.captureAuthorization,
            .alerts = rest.alerts,
            .application = rest.application,
            .downloads = downloads,
            .images = decoder,
            .system = rest.system,
            .extensionLauncher = rest.extensionLauncher,
            .appGroup = rest.appGroup};
  }

  void send(const std::string& action, const std::string& params = "{}") {
    platform.send(action, params);
    platform.mainQueue.drain();
  }
  void finishOne() {
    decoder.finishOne();
    platform.mainQueue.drain();
  }

  std::vector<std::int32_t> shown;  // the frame rates of the images that the engine got
  FakePlatform platform;
  FakeClassOf<WatchedEngine> engineClass{[this] { return std::make_shared<WatchedEngine>(shown); }};
  ReadyDownloads downloads;
  SlowDecoder decoder;
  std::shared_ptr<VEMOKOBUMsgRouter> router =
      VEMOKOBUMsgRouter::create(platform.makeBaseRouter(), pieces());
};

const std::string kSuccess =
    R"js(reply({"head":{"module":"kobu","action":"setVideoMuteImage","cbid":"1"},)js"
    R"js("error":{"module":"KOBU","errcode":0,"errmsg":""}}))js";

TEST_F(MuteImageTest, IsAnsweredWhenItIsDecoded) {
  send("initSDK");
  platform.webView->take();
  send("setVideoMuteImage", R"({"imgUrl":"a:b","fps":7})");
  EXPECT_TRUE(platform.webView->take().empty());
  EXPECT_TRUE(shown.empty());
  finishOne();
  EXPECT_EQ(platform.webView->take(), std::vector<std::string>{kSuccess});
  EXPECT_EQ(shown, std::vector<std::int32_t>{7});
}

TEST_F(MuteImageTest, IsAnsweredWithSuccessWhenTheEngineHasGoneMeanwhile) {
  send("initSDK");
  send("setVideoMuteImage", R"({"imgUrl":"a:b"})");
  send("uninitSDK");
  platform.webView->take();
  finishOne();
  EXPECT_EQ(platform.webView->take(), std::vector<std::string>{kSuccess});
  EXPECT_TRUE(shown.empty());
}

TEST_F(MuteImageTest, GoesToTheEngineThatIsThereThen) {
  send("initSDK");
  send("setVideoMuteImage", R"({"imgUrl":"a:b"})");
  send("uninitSDK");
  send("initSDK");
  finishOne();
  EXPECT_EQ(shown, std::vector<std::int32_t>{5});
}

TEST_F(MuteImageTest, IsNotAnsweredWhenTheRouterHasGoneMeanwhile) {
  send("initSDK");
  send("setVideoMuteImage", R"({"imgUrl":"a:b"})");
  platform.webView->take();
  router.reset();
  finishOne();
  EXPECT_TRUE(platform.webView->take().empty());
  EXPECT_TRUE(shown.empty());
}

}  // namespace
}  // namespace vemo
