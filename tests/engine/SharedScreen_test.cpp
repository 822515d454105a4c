#include <gst/gst.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <string_view>

#include "Classroom.h"
#include "FakePortal.h"
#include "MediaServer.h"
#include "PipeWire.h"
#include "Senses.h"
#include "bridge/EngineCodes.h"
#include "platform/PrivateBus.h"

namespace vemo {
namespace {

/// Alice shares her screen by the portal, and Bob sees it.
class SharedScreenTest : public ::testing::Test {
 protected:
  void SetUp() override {
    alice_.enter().entered();
    bob_.enter().entered();
  }
  EngineOptions options() const {
    auto options = testOptions(server_.url());
    options.screen = {kScreenPortal};
    options.sessionBus = bus_.address();
    return options;
  }
  void share() {
    alice_.told->clear();
    bob_.told->clear();
    alice_->startScreenCaptureInApp({});
    alice_.told->waitFor("onScreenCaptureStarted");
    bob_.told->waitFor("onUserSubStreamAvailable alice 1");
    bob_->startRemoteView("alice", kKOBUStreamTypeSub, view_);
  }
  void stop() {
    EXPECT_EQ(alice_->stopScreenCapture(), 0);
    alice_.told->waitFor("onScreenCaptureStoped 0");
    bob_.told->waitFor("onUserSubStreamAvailable alice 0");
  }

  const MediaServer server_;
  const PrivateBus bus_;
  PipeWire pipeWire_;
  FakePortal portal_{bus_.address(),
                     {.openRemote = [this] { return pipeWire_.connect(); },
                      .node = [this] { return pipeWire_.screen(); }}};
  Person alice_{"alice", options()};
  Person bob_{"bob", options()};
  const std::shared_ptr<SeenView> view_ = std::make_shared<SeenView>();
};

TEST_F(SharedScreenTest, IsSeenByTheOthersAsOftenAsItIsShared) {
  for (const auto* colour : {"green", "blue", "red"}) {
    pipeWire_.show(colour);
    share();
    EXPECT_TRUE(view_->waitForColour(colour)) << view_->seen();
    stop();
    EXPECT_EQ(portal_.calls.next(5).back(), "close session");
  }
}

TEST_F(SharedScreenTest, IsConnectedToOnce) {
  static std::atomic<int> connections = 0;
  const GstLogFunction count = [](GstDebugCategory*, GstDebugLevel, const gchar*, const gchar*,
                                  gint, GObject*, GstDebugMessage* message, gpointer) {
    if (std::string_view(gst_debug_message_get(message)).starts_with("connect capture ")) {
      ++connections;
    }
  };
  // What pipewiresrc tells of its stream, to this alone.
  gst_debug_set_threshold_for_name("pipewiresrc", GST_LEVEL_DEBUG);
  (gst_debug_remove_log_function)(nullptr);
  (gst_debug_add_log_function)(count, nullptr, nullptr);  // not the macro, at which clang warns
  share();
  EXPECT_TRUE(view_->waitForColour("green")) << view_->seen();
  pipeWire_.show("blue");
  EXPECT_TRUE(view_->waitForColour("blue")) << view_->seen();
  EXPECT_EQ(connections, 1);
}

TEST_F(SharedScreenTest, IsStillSharedAfterAPause) {
  share();
  EXPECT_EQ(alice_->pauseScreenCapture(), 0);
  alice_.told->waitFor("onScreenCapturePaused 0");
  pipeWire_.show("blue");
  EXPECT_EQ(alice_->resumeScreenCapture(), 0);
  alice_.told->waitFor("onScreenCaptureResumed 0");
  EXPECT_TRUE(view_->waitForColour("blue")) << view_->seen();
  stop();
  EXPECT_EQ(portal_.calls.next(5).back(), "close session");  // and none before it
}

TEST_F(SharedScreenTest, IsNotHeldUpByAPipeWireThatHangs) {
  share();
  pipeWire_.hang();
  stop();
  EXPECT_EQ(portal_.calls.next(5).back(), "close session");
  // PipeWire's library would wait half a minute.
  EXPECT_TRUE(alice_.engineClass().settle(std::chrono::seconds(20)));

  alice_.told->clear();
  alice_->startScreenCaptureInApp({});
  EXPECT_EQ(portal_.calls.next(4).back(), "OpenPipeWireRemote");
  EXPECT_EQ(alice_->stopScreenCapture(), 0);
  alice_.told->waitFor("onScreenCaptureStoped 0");
  EXPECT_EQ(portal_.calls.next(), "close session");

  pipeWire_.goOn();
  pipeWire_.show("blue");
  share();
  EXPECT_TRUE(view_->waitForColour("blue")) << view_->seen();
}

TEST_F(SharedScreenTest, IsOverWhenPipeWireDies) {
  share();
  pipeWire_.stop();
  alice_.told->waitFor("onWarning " + std::to_string(kWarnDevice) +
                       " The screen can't be captured: PipeWire went away");
  bob_.told->waitFor("onUserSubStreamAvailable alice 0");
}

}  // namespace
}  // namespace vemo
