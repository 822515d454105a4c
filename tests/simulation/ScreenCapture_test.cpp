#include <gtest/gtest.h>

#include "Classroom.h"

namespace vemo {
namespace {

struct ScreenCaptureTest : testing::Test {
  Classroom classroom;
  TestHandset alice = classroom.entered("alice");
  TestHandset bob = classroom.entered("bob");

  void SetUp() override {
    alice.events->take();
    bob.events->take();
  }
  Lines happened(const TestHandset& handset, int ms = 400) {
    classroom.advance(ms);
    return handset.events->takeRare();
  }
};

TEST_F(ScreenCaptureTest, StartsPausesResumesAndStops) {
  KOBUVideoEncParam encoder;
  encoder.width = 1920;
  encoder.height = 1080;
  alice->startScreenCaptureInApp(encoder);
  EXPECT_EQ(happened(alice), (Lines{"onScreenCaptureStarted", "onSendFirstLocalVideoFrame 2"}));
  EXPECT_EQ(happened(bob),
            (Lines{"onUserSubStreamAvailable alice 1", "onFirstVideoFrame alice 2 1920 1080"}));
  EXPECT_EQ(alice->pauseScreenCapture(), 0);
  EXPECT_EQ(alice->pauseScreenCapture(), kNotCapturing);
  EXPECT_EQ(happened(alice), Lines{"onScreenCapturePaused 0"});
  EXPECT_EQ(alice.snapshot().capture.state, CaptureState::paused);
  EXPECT_EQ(happened(bob), Lines{}) << "a paused capture is still there";
  EXPECT_EQ(alice->resumeScreenCapture(), 0);
  EXPECT_EQ(alice->resumeScreenCapture(), kNotCapturing);
  EXPECT_EQ(happened(alice), Lines{"onScreenCaptureResumed 0"});
  EXPECT_EQ(alice->stopScreenCapture(), 0);
  EXPECT_EQ(happened(alice), Lines{"onScreenCaptureStoped 0"});
  EXPECT_EQ(happened(bob), Lines{"onUserSubStreamAvailable alice 0"});
  EXPECT_EQ(alice.snapshot().capture.state, CaptureState::idle);
}

TEST_F(ScreenCaptureTest, RefusesWhatNeedsACapture) {
  EXPECT_EQ(alice->pauseScreenCapture(), kNotCapturing);
  EXPECT_EQ(alice->resumeScreenCapture(), kNotCapturing);
  EXPECT_EQ(alice->stopScreenCapture(), kNotCapturing);
  EXPECT_EQ(happened(alice), Lines{});
}

TEST_F(ScreenCaptureTest, ByTheBroadcastExtensionKeepsItsGroup) {
  alice->startScreenCaptureByReplaykit({}, "group.test");
  const auto capture = alice.snapshot().capture;
  EXPECT_TRUE(capture.broadcast);
  EXPECT_EQ(capture.appGroup, "group.test");
  EXPECT_EQ(happened(alice), (Lines{"onScreenCaptureStarted", "onSendFirstLocalVideoFrame 2"}));
}

TEST_F(ScreenCaptureTest, StartedTwiceGoesOn) {
  alice->startScreenCaptureInApp({});
  alice->startScreenCaptureInApp({});
  EXPECT_EQ(happened(alice), (Lines{"onWarning 1104 the screen is captured already",
                                    "onScreenCaptureStarted", "onSendFirstLocalVideoFrame 2"}));
}

TEST_F(ScreenCaptureTest, StoppedAtOnceNeverStarts) {
  alice->startScreenCaptureInApp({});
  EXPECT_EQ(alice->stopScreenCapture(), 0);
  EXPECT_EQ(happened(alice), Lines{"onScreenCaptureStoped 0"});
  EXPECT_EQ(happened(bob), Lines{});
}

}  // namespace
}  // namespace vemo
