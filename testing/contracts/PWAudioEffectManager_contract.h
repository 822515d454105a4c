#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

#include "bridge/PWAudioEffectManager.h"

namespace vemo {

/// What every PWAudioEffectManager promises. A Maker has:
///   PWAudioEffectManager& manager();
///   std::string music();    the path of music that it can play, of some seconds
///   std::string noMusic();  the path of none
///   void playToEnd();       lets time pass until what plays has ended, and returns when all
///                           callbacks of that have
template <class Maker>
class PWAudioEffectManagerContract : public ::testing::Test {
 protected:
  /// What the callbacks of one start told, and whether they are still held.
  struct Playing {
    std::atomic<int> starts = 0;
    std::atomic<std::int64_t> startCode = -1;
    std::atomic<int> progresses = 0;
    std::atomic<int> completes = 0;
    std::atomic<std::int64_t> completeCode = -1;
    std::weak_ptr<int> held;
  };

  void start(std::int32_t id, const std::string& path, Playing& playing) {
    const auto token = std::make_shared<int>();
    playing.held = token;
    PWAudioMusicParam music;
    music.ID = id;
    music.path = path;
    maker_.manager().startPlayMusic(
        music,
        [&playing, token](std::int64_t code) {
          playing.startCode = code;
          ++playing.starts;
        },
        [&playing, token](std::int64_t progressMs, std::int64_t durationMs) {
          EXPECT_GE(progressMs, 0);
          EXPECT_LE(progressMs, durationMs);
          ++playing.progresses;
        },
        [&playing, token](std::int64_t code) {
          playing.completeCode = code;
          ++playing.completes;
        });
  }

  Playing first_;
  Playing second_;
  Maker maker_;  // goes first: it may still call back
};

TYPED_TEST_SUITE_P(PWAudioEffectManagerContract);

TYPED_TEST_P(PWAudioEffectManagerContract, PlaysMusicToItsEnd) {
  this->start(1, this->maker_.music(), this->first_);
  this->maker_.playToEnd();
  EXPECT_EQ(this->first_.starts, 1);
  EXPECT_EQ(this->first_.startCode, 0);
  EXPECT_GT(this->first_.progresses, 0);
  EXPECT_EQ(this->first_.completes, 1);
  EXPECT_EQ(this->first_.completeCode, 0);
  EXPECT_TRUE(this->first_.held.expired()) << "the callbacks are held after the end";
}

TYPED_TEST_P(PWAudioEffectManagerContract, SaysThatThereIsNoMusic) {
  this->start(1, this->maker_.noMusic(), this->first_);
  this->maker_.playToEnd();
  EXPECT_EQ(this->first_.starts, 1);
  EXPECT_NE(this->first_.startCode, 0);
  EXPECT_TRUE(this->first_.held.expired());
}

TYPED_TEST_P(PWAudioEffectManagerContract, AStopEndsItAndLetsGo) {
  this->start(1, this->maker_.music(), this->first_);
  this->maker_.manager().stopPlayMusic(1);
  this->maker_.playToEnd();
  EXPECT_EQ(this->first_.completes, 0);
  EXPECT_TRUE(this->first_.held.expired());
}

TYPED_TEST_P(PWAudioEffectManagerContract, BeginsAnewUnderTheSameId) {
  this->start(1, this->maker_.music(), this->first_);
  this->start(1, this->maker_.music(), this->second_);
  this->maker_.playToEnd();
  EXPECT_EQ(this->first_.completes, 0);
  EXPECT_TRUE(this->first_.held.expired());
  EXPECT_EQ(this->second_.starts, 1);
  EXPECT_EQ(this->second_.completes, 1);
}

TYPED_TEST_P(PWAudioEffectManagerContract, PlaysSeveralAtOnce) {
  this->start(1, this->maker_.music(), this->first_);
  this->start(2, this->maker_.music(), this->second_);
  this->maker_.playToEnd();
  EXPECT_EQ(this->first_.completes, 1);
  EXPECT_EQ(this->second_.completes, 1);
}

TYPED_TEST_P(PWAudioEffectManagerContract, WaitsWhilePaused) {
  this->start(1, this->maker_.music(), this->first_);
  this->maker_.manager().pausePlayMusic(1);
  this->maker_.playToEnd();
  EXPECT_EQ(this->first_.completes, 0);
  EXPECT_FALSE(this->first_.held.expired());
  this->maker_.manager().resumePlayMusic(1);
  this->maker_.playToEnd();
  EXPECT_EQ(this->first_.completes, 1);
}

TYPED_TEST_P(PWAudioEffectManagerContract, IgnoresWhatDoesNotPlay) {
  this->start(1, this->maker_.music(), this->first_);
  std::thread([this] {
    auto& manager = this->maker_.manager();
    for (const std::int32_t id : {2, 0, -1, INT32_MAX, INT32_MIN}) {
      manager.pausePlayMusic(id);
      manager.resumePlayMusic(id);
      manager.seekMusicToPosInMS(id, -1);
      manager.setMusicPlayoutVolume(id, 1000);
      manager.setMusicPublishVolume(id, -1000);
      manager.stopPlayMusic(id);
    }
    manager.setAllMusicVolume(-1);
  }).join();
  this->maker_.playToEnd();
  EXPECT_EQ(this->first_.completes, 1);
}

REGISTER_TYPED_TEST_SUITE_P(PWAudioEffectManagerContract, PlaysMusicToItsEnd,
                            SaysThatThereIsNoMusic, AStopEndsItAndLetsGo, BeginsAnewUnderTheSameId,
                            PlaysSeveralAtOnce, WaitsWhilePaused, IgnoresWhatDoesNotPlay);

}  // namespace vemo
