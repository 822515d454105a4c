#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/ForwardingEngine.h"
#include "testing/NullEngine.h"
#include "testing/RecordingDelegate.h"

namespace vemo {
namespace {

using Event = std::pair<std::string, std::int64_t>;

TEST(ForwardingKOBUCloudDelegate, TellsEachEventAsItIs) {
  const auto recorder = std::make_shared<RecordingDelegate>();
  ForwardingKOBUCloudDelegate forwarder(recorder);
  KOBUCloudDelegate& delegate = forwarder;
  delegate.onError(1, "no", std::nullopt);
  delegate.onWarning(2, "no", std::nullopt);
  delegate.onEnterRoom(3);
  delegate.onExitRoom(4);
  delegate.onSwitchRole(5, "no");
  delegate.onRemoteUserEnterRoom("ann");
  delegate.onRemoteUserLeaveRoom("ann", 6);
  delegate.onAudioRouteChanged(7, 8);
  delegate.onUserAudioAvailable("ann", true);
  delegate.onUserVideoAvailable("ann", true);
  delegate.onUserSubStreamAvailable("ann", true);
  delegate.onNetworkQuality(nullptr, nullptr);
  delegate.onStatistics(nullptr);
  delegate.onUserVoiceVolume(nullptr, 9);
  delegate.onConnectionLost();
  delegate.onTryToReconnect();
  delegate.onConnectionRecovery();
  delegate.onFirstVideoFrame("ann", 10, 11, 12);
  delegate.onFirstAudioFrame("ann");
  delegate.onSendFirstLocalVideoFrame(13);
  delegate.onSendFirstLocalAudioFrame();
  delegate.onCameraDidReady();
  delegate.onMicDidReady();
  delegate.onScreenCaptureStarted();
  delegate.onScreenCapturePaused(14);
  delegate.onScreenCaptureResumed(15);
  delegate.onScreenCaptureStoped(16);

  std::vector<Event> events;
  for (const auto& event : recorder->events()) events.emplace_back(event.name, event.number);
  const std::vector<Event> expected{{"onError", 1},
                                    {"onWarning", 2},
                                    {"onEnterRoom", 3},
                                    {"onExitRoom", 4},
                                    {"onSwitchRole", 5},
                                    {"onRemoteUserEnterRoom", 0},
                                    {"onRemoteUserLeaveRoom", 6},
                                    {"onAudioRouteChanged", 7},
                                    {"onUserAudioAvailable", 1},
                                    {"onUserVideoAvailable", 1},
                                    {"onUserSubStreamAvailable", 1},
                                    {"onNetworkQuality", 0},
                                    {"onStatistics", 0},
                                    {"onUserVoiceVolume", 9},
                                    {"onConnectionLost", 0},
                                    {"onTryToReconnect", 0},
                                    {"onConnectionRecovery", 0},
                                    {"onFirstVideoFrame", 10},
                                    {"onFirstAudioFrame", 0},
                                    {"onSendFirstLocalVideoFrame", 13},
                                    {"onSendFirstLocalAudioFrame", 0},
                                    {"onCameraDidReady", 0},
                                    {"onMicDidReady", 0},
                                    {"onScreenCaptureStarted", 0},
                                    {"onScreenCapturePaused", 14},
                                    {"onScreenCaptureResumed", 15},
                                    {"onScreenCaptureStoped", 16}};
  EXPECT_EQ(events, expected);
}

TEST(ForwardingKOBUCloudDelegate, HoldsASharedTargetAndNoOther) {
  auto held = std::make_shared<NullKOBUCloudDelegate>();
  const std::weak_ptr<NullKOBUCloudDelegate> watched = held;
  {
    const ForwardingKOBUCloudDelegate holder(std::move(held));
    EXPECT_FALSE(watched.expired());
  }
  EXPECT_TRUE(watched.expired());

  const auto kept = std::make_shared<NullKOBUCloudDelegate>();
  const ForwardingKOBUCloudDelegate user(*kept);
  EXPECT_EQ(kept.use_count(), 1);
}

TEST(NullKOBUCloudClass, HasOneInstanceThatAcceptsEverything) {
  NullKOBUCloudClass engineClass;
  const auto engine = engineClass.sharedInstance();
  ASSERT_NE(engine, nullptr);
  const auto delegate = std::make_shared<RecordingDelegate>();
  engine->setDelegate(delegate);
  EXPECT_EQ(delegate.use_count(), 1);
  engine->enterRoom({}, 0);
  EXPECT_EQ(engine->getDeviceManager().switchCamera(true), 0);
  EXPECT_EQ(engine->stopScreenCapture(), 0);
  engineClass.destroySharedIntance();
  EXPECT_EQ(engineClass.sharedInstance(), engine);
  EXPECT_TRUE(delegate->events().empty());
}

}  // namespace
}  // namespace vemo
