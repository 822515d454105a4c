#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bridge/KOBUCloud.h"
#include "testing/RecordingDelegate.h"

namespace vemo {

/// What every KOBUCloudClass, and every KOBUCloud that it makes, promises. A Maker has:
///   static constexpr bool kAnswers;  whether the engine answers by itself; one that only
///       records is held to what needs no answer
///   KOBUCloudClass& engineClass();
///   KOBUParams params();     enter a room
///   KOBUParams badParams();  can't
///   void settle();           lets everything that is under way happen; returns when it has
template <class Maker>
class KOBUCloudContract : public ::testing::Test {
 protected:
  KOBUCloudClass& engineClass() { return maker_.engineClass(); }

  /// The instance, reporting to delegate_.
  std::shared_ptr<KOBUCloud> engine() {
    auto engine = engineClass().sharedInstance();
    engine->setDelegate(delegate_);
    return engine;
  }

  std::shared_ptr<KOBUCloud> engineInRoom() {
    auto made = engine();
    made->enterRoom(maker_.params(), 0);
    maker_.settle();
    return made;
  }

  std::shared_ptr<RecordingDelegate> delegate_ = std::make_shared<RecordingDelegate>();
  Maker maker_;  // goes first: it may still call back
};

TYPED_TEST_SUITE_P(KOBUCloudContract);

TYPED_TEST_P(KOBUCloudContract, HasOneInstanceUntilItIsDestroyed) {
  const auto first = this->engineClass().sharedInstance();
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(this->engineClass().sharedInstance(), first);
  this->engineClass().destroySharedIntance();
  const auto second = this->engineClass().sharedInstance();
  ASSERT_NE(second, nullptr);
  EXPECT_NE(second, first);
}

TYPED_TEST_P(KOBUCloudContract, DestroyingWhereThereIsNoneIsHarmless) {
  this->engineClass().destroySharedIntance();
  this->engineClass().sharedInstance();
  this->engineClass().destroySharedIntance();
  this->engineClass().destroySharedIntance();
  EXPECT_NE(this->engineClass().sharedInstance(), nullptr);
}

TYPED_TEST_P(KOBUCloudContract, GivesSeveralThreadsTheSameInstance) {
  std::vector<std::shared_ptr<KOBUCloud>> instances(4);
  std::vector<std::thread> threads;
  threads.reserve(instances.size());
  for (auto& instance : instances) {
    threads.emplace_back([&] { instance = this->engineClass().sharedInstance(); });
  }
  for (auto& thread : threads) thread.join();
  ASSERT_NE(instances[0], nullptr);
  EXPECT_EQ(std::count(instances.begin(), instances.end(), instances[0]), 4);
}

TYPED_TEST_P(KOBUCloudContract, AnswersWithoutAnInstance) {
  EXPECT_FALSE(this->engineClass().getSDKVersion().empty());
  std::thread([this] {
    this->engineClass().setLogLevel(std::numeric_limits<std::int32_t>::min());
    this->engineClass().setConsoleEnabled(true);
    this->engineClass().setLogCompressEnabled(false);
    this->engineClass().setLogDirPath("");
    EXPECT_FALSE(this->engineClass().getSDKVersion().empty());
  }).join();
}

TYPED_TEST_P(KOBUCloudContract, KeepsItsDelegateWeakly) {
  const auto engine = this->engine();
  const std::weak_ptr<KOBUCloudDelegate> held = this->delegate_;
  this->delegate_.reset();
  EXPECT_TRUE(held.expired());
  engine->enterRoom(this->maker_.params(), 0);
  this->maker_.settle();
  engine->setDelegate(nullptr);
  engine->exitRoom();
  this->maker_.settle();
}

TYPED_TEST_P(KOBUCloudContract, TellsNobodyWithoutADelegate) {
  const auto engine = this->engine();
  engine->setDelegate(nullptr);
  engine->enterRoom(this->maker_.params(), 0);
  this->maker_.settle();
  EXPECT_TRUE(this->delegate_->events().empty());
}

TYPED_TEST_P(KOBUCloudContract, ItsManagersBelongToIt) {
  const auto engine = this->engine();
  EXPECT_EQ(&engine->getAudioEffectManager(), &engine->getAudioEffectManager());
  EXPECT_EQ(&engine->getDeviceManager(), &engine->getDeviceManager());
}

TYPED_TEST_P(KOBUCloudContract, TakesAnythingOnAnyThread) {
  const auto engine = this->engineInRoom();
  const auto work = [&](std::int32_t number) {
    const std::string text = number % 2 == 0 ? "" : "nobody \xFF";
    KOBUParams params;
    params.userId = text;
    params.role = number;
    KOBURenderParams render{number, number, number};
    KOBUVideoEncParam encoder;
    encoder.width = encoder.height = encoder.fps = encoder.bitrate = number;
    engine->setDefaultStreamRecvMode(false, true);
    engine->setNetworkQosParam({number, number});
    engine->switchRole(number);
    engine->startLocalPreview(true, nullptr);
    engine->muteLocalVideo(true);
    engine->setVideoMuteImage(nullptr, number);
    engine->setLocalRenderParams(render);
    engine->setVideoEncoderParam(encoder);
    engine->setVideoEncoderRotation(number);
    engine->setVideoEncoderMirror(true);
    engine->setGSensorMode(number);
    engine->enableEncSmallVideoStream(true, &encoder);
    engine->enableEncSmallVideoStream(false, nullptr);
    engine->stopLocalPreview();
    engine->startLocalAudio(number);
    engine->muteLocalAudio(true);
    engine->setAudioRoute(number);
    engine->setAudioCaptureVolume(number);
    engine->getAudioCaptureVolume();
    engine->setAudioPlayoutVolume(number);
    engine->getAudioPlayoutVolume();
    engine->enableAudioVolumeEvaluation(number < 0 ? number : 0);
    engine->stopLocalAudio();
    engine->startRemoteView(text, number, nullptr);
    engine->setRemoteVideoStreamType(text, number);
    engine->setRemoteRenderParams(text, number, render);
    engine->stopRemoteView(text, number);
    engine->stopAllRemoteView();
    engine->muteRemoteVideoStream(text, true);
    engine->muteAllRemoteVideoStreams(true);
    engine->muteRemoteAudio(text, true);
    engine->muteAllRemoteAudio(true);
    engine->setRemoteAudioVolume(text, number);
    engine->startSpeedTest(static_cast<std::uint32_t>(number), text, text, nullptr);
    engine->stopSpeedTest();
    engine->callExperimentalAPI(text);
    engine->callExperimentalAPI("[]");
    engine->showDebugView(number);
    engine->setDebugViewMargin(text, {});
    engine->startScreenCaptureInApp(encoder);
    engine->pauseScreenCapture();
    engine->resumeScreenCapture();
    engine->stopScreenCapture();
    engine->startScreenCaptureByReplaykit(encoder, text);
    engine->stopScreenCapture();
    engine->enterRoom(params, number);
    engine->exitRoom();
  };
  std::thread other(work, std::numeric_limits<std::int32_t>::max());
  work(std::numeric_limits<std::int32_t>::min());
  other.join();
  work(0);
  this->maker_.settle();
  if constexpr (TypeParam::kAnswers) {
    this->delegate_->clear();
    engine->enterRoom(this->maker_.params(), 0);
    this->maker_.settle();
    EXPECT_EQ(this->delegate_->events("onEnterRoom").size(), 1U) << "the engine is stuck";
  }
}

TYPED_TEST_P(KOBUCloudContract, AnswersEnterAndExit) {
  if constexpr (!TypeParam::kAnswers) GTEST_SKIP() << "this engine only records";
  const auto engine = this->engineInRoom();
  const auto entered = this->delegate_->events("onEnterRoom");
  ASSERT_EQ(entered.size(), 1U);
  EXPECT_GE(entered[0].number, 0);
  EXPECT_TRUE(this->delegate_->events("onError").empty());
  engine->exitRoom();
  this->maker_.settle();
  const auto left = this->delegate_->events("onExitRoom");
  ASSERT_EQ(left.size(), 1U);
  EXPECT_EQ(left[0].number, 0);
}

TYPED_TEST_P(KOBUCloudContract, LeavingOutsideARoomDoesNothing) {
  this->engine()->exitRoom();
  this->maker_.settle();
  EXPECT_TRUE(this->delegate_->events("onExitRoom").empty());
}

TYPED_TEST_P(KOBUCloudContract, ReportsWhyEnteringFailedFirst) {
  if constexpr (!TypeParam::kAnswers) GTEST_SKIP() << "this engine only records";
  this->engine()->enterRoom(this->maker_.badParams(), 0);
  this->maker_.settle();
  const auto events = this->delegate_->events();
  const auto named = [](const char* name) {
    return [name](const auto& event) { return event.name == name; };
  };
  const auto error = std::find_if(events.begin(), events.end(), named("onError"));
  const auto entered = std::find_if(events.begin(), events.end(), named("onEnterRoom"));
  ASSERT_NE(error, events.end());
  EXPECT_LT(error->number, 0);
  EXPECT_LT(error, entered);
  EXPECT_TRUE(entered == events.end() || entered->number < 0);
}

TYPED_TEST_P(KOBUCloudContract, AnswersAnEnterBeforeTheExitThatOvertakesIt) {
  if constexpr (!TypeParam::kAnswers) GTEST_SKIP() << "this engine only records";
  const auto engine = this->engine();
  engine->enterRoom(this->maker_.params(), 0);
  engine->exitRoom();
  this->maker_.settle();
  std::vector<std::string> answers;
  for (const auto& event : this->delegate_->events()) {
    if (event.name == "onEnterRoom" || event.name == "onExitRoom") answers.push_back(event.name);
  }
  EXPECT_EQ(answers, (std::vector<std::string>{"onEnterRoom", "onExitRoom"}));
}

TYPED_TEST_P(KOBUCloudContract, AnswersASwitchOfRole) {
  if constexpr (!TypeParam::kAnswers) GTEST_SKIP() << "this engine only records";
  this->engineInRoom()->switchRole(kKOBURoleAudience);
  this->maker_.settle();
  const auto switched = this->delegate_->events("onSwitchRole");
  ASSERT_EQ(switched.size(), 1U);
  EXPECT_EQ(switched[0].number, 0);
}

TYPED_TEST_P(KOBUCloudContract, AnEventMayCallTheEngine) {
  if constexpr (!TypeParam::kAnswers) GTEST_SKIP() << "this engine only records";
  this->delegate_->inEvent = [this](const RecordingDelegate::Event& event) {
    if (event.name == "onEnterRoom") this->engineClass().sharedInstance()->exitRoom();
  };
  this->engineInRoom();
  EXPECT_EQ(this->delegate_->events("onExitRoom").size(), 1U);
}

TYPED_TEST_P(KOBUCloudContract, MayBeDestroyedByItsOwnEvent) {
  if constexpr (!TypeParam::kAnswers) GTEST_SKIP() << "this engine only records";
  std::weak_ptr<KOBUCloud> destroyed;
  this->delegate_->inEvent = [&](const RecordingDelegate::Event& event) {
    if (event.name == "onEnterRoom") this->engineClass().destroySharedIntance();
  };
  {
    const auto engine = this->engine();
    destroyed = engine;
    engine->enterRoom(this->maker_.params(), 0);
  }
  this->maker_.settle();
  EXPECT_EQ(this->delegate_->events("onEnterRoom").size(), 1U);
  EXPECT_TRUE(destroyed.expired());
  EXPECT_NE(this->engineClass().sharedInstance(), nullptr);
}

TYPED_TEST_P(KOBUCloudContract, IsSilentOnceItsLastHolderHasLetGo) {
  this->engine()->enterRoom(this->maker_.params(), 0);
  this->engineClass().destroySharedIntance();
  const auto before = this->delegate_->events().size();
  this->maker_.settle();
  EXPECT_EQ(this->delegate_->events().size(), before);
}

TYPED_TEST_P(KOBUCloudContract, GivesBackTheVolumesThatWereSet) {
  if constexpr (!TypeParam::kAnswers) GTEST_SKIP() << "this engine only records";
  const auto engine = this->engine();
  engine->setAudioCaptureVolume(30);
  engine->setAudioPlayoutVolume(0);
  EXPECT_EQ(engine->getAudioCaptureVolume(), 30);
  EXPECT_EQ(engine->getAudioPlayoutVolume(), 0);
}

TYPED_TEST_P(KOBUCloudContract, KeepsAViewWhileItShowsSomethingInIt) {
  if constexpr (!TypeParam::kAnswers) GTEST_SKIP() << "this engine only records";
  const auto engine = this->engine();
  auto view = std::make_shared<NativeView>();
  const std::weak_ptr<NativeView> held = view;
  engine->startLocalPreview(true, std::move(view));
  this->maker_.settle();
  EXPECT_FALSE(held.expired());
  engine->stopLocalPreview();
  this->maker_.settle();
  EXPECT_TRUE(held.expired());
}

TYPED_TEST_P(KOBUCloudContract, MeasuresEveryServerOfASpeedTestOnce) {
  if constexpr (!TypeParam::kAnswers) GTEST_SKIP() << "this engine only records";
  const auto params = this->maker_.params();
  std::atomic<std::int64_t> calls = 0;
  std::atomic<std::int64_t> servers = 0;
  this->engine()->startSpeedTest(params.sdkAppId, params.userId.value_or(""),
                                 params.userSig.value_or(""),
                                 [&](const auto&, std::int64_t completed, std::int64_t total) {
                                   EXPECT_EQ(completed, ++calls);
                                   servers = total;
                                 });
  this->maker_.settle();
  EXPECT_GT(calls, 0);
  EXPECT_EQ(calls, servers);
}

TYPED_TEST_P(KOBUCloudContract, CapturesTheScreen) {
  if constexpr (!TypeParam::kAnswers) GTEST_SKIP() << "this engine only records";
  const auto engine = this->engineInRoom();
  engine->startScreenCaptureInApp({});
  this->maker_.settle();
  EXPECT_EQ(this->delegate_->events("onScreenCaptureStarted").size(), 1U);
  EXPECT_EQ(engine->pauseScreenCapture(), 0);
  EXPECT_EQ(engine->resumeScreenCapture(), 0);
  EXPECT_EQ(engine->stopScreenCapture(), 0);
  this->maker_.settle();
  EXPECT_EQ(this->delegate_->events("onScreenCaptureStoped").size(), 1U);
}

REGISTER_TYPED_TEST_SUITE_P(
    KOBUCloudContract, HasOneInstanceUntilItIsDestroyed, DestroyingWhereThereIsNoneIsHarmless,
    GivesSeveralThreadsTheSameInstance, AnswersWithoutAnInstance, KeepsItsDelegateWeakly,
    TellsNobodyWithoutADelegate, ItsManagersBelongToIt, TakesAnythingOnAnyThread,
    AnswersEnterAndExit, LeavingOutsideARoomDoesNothing, ReportsWhyEnteringFailedFirst,
    AnswersAnEnterBeforeTheExitThatOvertakesIt, AnswersASwitchOfRole, AnEventMayCallTheEngine,
    MayBeDestroyedByItsOwnEvent, IsSilentOnceItsLastHolderHasLetGo, GivesBackTheVolumesThatWereSet,
    KeepsAViewWhileItShowsSomethingInIt, MeasuresEveryServerOfASpeedTestOnce, CapturesTheScreen);

}  // namespace vemo
