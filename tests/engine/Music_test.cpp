#include <gtest/gtest.h>

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "Classroom.h"
#include "Folder.h"
#include "Tone.h"
#include "bridge/EngineCodes.h"
#include "engine/Gst.h"
#include "testing/Arrivals.h"

namespace vemo {
namespace {

/// Somebody alone plays a piece of two halves: a low tone of two seconds, then a high one.
class MusicTest : public ::testing::Test {
 protected:
  static constexpr int kLow = 440;
  static constexpr int kHigh = 880;
  static constexpr std::int64_t kHalf = 2000;

  MusicTest() {
    music_.ID = 1;
    music_.path = folder_.file("piece.wav");
    writeTones(*music_.path, {kLow, kHigh}, 2);
  }

  EngineOptions options() const {
    auto options = testOptions("");
    options.musicFolder = folder_.file("");
    return options;
  }
  PWAudioEffectManager& manager() { return alice_->getAudioEffectManager(); }
  void play() {
    manager().startPlayMusic(
        music_, [this](std::int64_t code) { started_.add(code); },
        [this](std::int64_t position, std::int64_t duration) {
          EXPECT_EQ(duration, duration_);
          const std::lock_guard lock(mutex_);
          positions_.push_back(position);
        },
        [this](std::int64_t code) { ended_.add(code); });
  }
  std::vector<std::int64_t> positions() {
    const std::lock_guard lock(mutex_);
    return positions_;
  }

  const Folder folder_;
  PWAudioMusicParam music_;
  std::int64_t duration_ = 2 * kHalf;
  std::mutex mutex_;
  std::vector<std::int64_t> positions_;
  Arrivals<std::int64_t> started_, ended_, durations_;
  Person alice_{"alice", options()};
};

TEST_F(MusicTest, ARangeIsPlayedAlone) {
  music_.startTimeMs = kHalf;
  music_.endTimeMs = kHalf + 1000;
  play();
  EXPECT_EQ(started_.next(), 0);
  EXPECT_TRUE(alice_.heard().waitForPitch(kHigh));
  EXPECT_EQ(ended_.next(), 0);
  EXPECT_FALSE(alice_.heard().hasHeard(kLow));
  for (const auto position : positions()) {
    EXPECT_GE(position, kHalf);
    EXPECT_LE(position, kHalf + 1000);
  }
  EXPECT_EQ(positions().back(), kHalf + 1000);
}

TEST_F(MusicTest, ItIsRepeatedAsOftenAsAsked) {
  music_.startTimeMs = kHalf - 600;
  music_.endTimeMs = kHalf + 600;
  music_.loopCount = 2;
  play();
  EXPECT_EQ(ended_.next(), 0);
  int beginnings = 1;
  const auto told = positions();
  for (std::size_t i = 1; i < told.size(); ++i) {
    if (told[i] < told[i - 1]) ++beginnings;
  }
  EXPECT_EQ(beginnings, 3);
}

TEST_F(MusicTest, AnotherPlaceInItIsGoneTo) {
  constexpr int kLong = 60'000;  // it is not waited for so long
  music_.path = folder_.file("long.wav");
  writeTones(*music_.path, {kLow, kHigh}, kLong / 1000);
  duration_ = std::int64_t{2} * kLong;
  play();
  EXPECT_TRUE(alice_.heard().waitForPitch(kLow));
  manager().seekMusicToPosInMS(1, kLong + 200);
  EXPECT_TRUE(alice_.heard().waitForPitch(kHigh));
  manager().seekMusicToPosInMS(1, 0);
  EXPECT_TRUE(alice_.heard().waitForPitch(kLow));
  manager().seekMusicToPosInMS(1, 3 * kLong);  // its end
  EXPECT_EQ(ended_.next(), 0);
}

TEST_F(MusicTest, APauseIsSilentAndLosesNothing) {
  play();
  EXPECT_TRUE(alice_.heard().waitForPitch(kLow));
  manager().pausePlayMusic(1);
  EXPECT_TRUE(alice_.heard().waitForPitch(0));
  const auto before = positions();
  manager().resumePlayMusic(1);
  EXPECT_TRUE(alice_.heard().waitForPitch(kLow));
  EXPECT_TRUE(alice_.heard().waitForPitch(kHigh));
  EXPECT_EQ(ended_.next(), 0);
  const auto told = positions();
  for (std::size_t i = 1; i < told.size(); ++i) EXPECT_GE(told[i], told[i - 1]);
  EXPECT_GT(told.size(), before.size());
}

TEST_F(MusicTest, APathBeginsInTheFolderForMusic) {
  music_.path = "piece.wav";
  play();
  EXPECT_EQ(started_.next(), 0);
  music_.path = "../piece.wav";
  play();
  EXPECT_EQ(started_.next(), kMusicNotFound);
  music_.path = folder_.file("piece.wav");
  play();
  EXPECT_EQ(started_.next(), 0);
}

/// Makes an MP3 of a tone that does not say how long it is.
void writeMp3(const std::string& path, int pitch, int seconds) {
  janus::initialiseGStreamer();
  std::string why;
  const auto pipeline = janus::parsePipeline(
      "audiotestsrc samplesperbuffer=48000 num-buffers=" + std::to_string(seconds) +
          " freq=" + std::to_string(pitch) +
          " ! audio/x-raw,rate=48000,channels=1 ! lamemp3enc ! filesink location=" + path,
      why);
  ASSERT_TRUE(pipeline) << why;
  gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
  const janus::GstRef<GstBus> bus(gst_element_get_bus(pipeline.get()));
  auto* const message = gst_bus_timed_pop_filtered(
      bus.get(), 60 * GST_SECOND, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
  ASSERT_TRUE(message);
  EXPECT_EQ(GST_MESSAGE_TYPE(message), GST_MESSAGE_EOS);
  gst_message_unref(message);
  gst_element_set_state(pipeline.get(), GST_STATE_NULL);
}

TEST_F(MusicTest, AFileThatDoesNotSayHowLongItIsIsPlayed) {
  music_.path = folder_.file("piece.mp3");
  writeMp3(*music_.path, kLow, 3);
  manager().startPlayMusic(
      music_, [this](std::int64_t code) { started_.add(code); },
      [this](std::int64_t, std::int64_t duration) {
        if (duration > 0) durations_.add(duration);
      },
      [this](std::int64_t code) { ended_.add(code); });
  EXPECT_EQ(started_.next(), 0);
  EXPECT_TRUE(alice_.heard().waitForPitch(kLow));
  EXPECT_NEAR(static_cast<double>(durations_.next().value_or(0)), 3000, 300);
  EXPECT_EQ(ended_.next(), 0);
}

TEST_F(MusicTest, NothingBetweenStartAndEndIsARangeOfNothing) {
  music_.startTimeMs = 3000;
  music_.endTimeMs = 3000;
  play();
  EXPECT_EQ(started_.next(), kMusicBadRange);
}

}  // namespace
}  // namespace vemo
