#include <gtest/gtest.h>

#include <memory>

#include "platform/ForwardingEngine.h"
#include "testing/NullEngine.h"
#include "testing/RecordingDelegate.h"

namespace vemo {
namespace {

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
