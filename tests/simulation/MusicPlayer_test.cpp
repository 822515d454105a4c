#include <gtest/gtest.h>

#include "Classroom.h"

namespace vemo {
namespace {

/// A handset's music and what its callbacks said. "song.mp3" takes a second.
struct MusicPlayerTest : testing::Test {
  Classroom classroom;
  TestHandset alice = classroom.entered("alice");
  PWAudioEffectManager& player = alice->getAudioEffectManager();
  Lines said;  // by the callback thread, inside advance

  PWAudioMusicParam song() {
    PWAudioMusicParam music;
    music.ID = 7;
    music.path = "song.mp3";
    return music;
  }
  void start(const PWAudioMusicParam& music) {
    const auto token = std::make_shared<int>();
    held = token;
    player.startPlayMusic(
        music, [this, token](auto code) { said.push_back("start " + std::to_string(code)); },
        [this, token](auto at, auto of) {
          said.push_back(std::to_string(at) + "/" + std::to_string(of));
        },
        [this, token](auto code) { said.push_back("complete " + std::to_string(code)); });
  }
  Lines after(int ms) {
    classroom.advance(ms);
    return std::exchange(said, {});
  }
  std::weak_ptr<int> held;  // expired once the engine let go of the callbacks
};

TEST_F(MusicPlayerTest, PlaysToTheEnd) {
  start(song());
  EXPECT_EQ(after(5000), (Lines{"start 0", "200/1000", "400/1000", "600/1000", "800/1000",
                                "1000/1000", "complete 0"}));
  EXPECT_TRUE(held.expired());
  EXPECT_TRUE(alice.snapshot().music.empty());
}

TEST_F(MusicPlayerTest, FailsWhereThereIsNoMusic) {
  auto music = song();
  music.path = "nothing.mp3";
  start(music);
  EXPECT_EQ(after(1000), Lines{"start -4001"});
  music.path.reset();
  start(music);
  EXPECT_EQ(after(1000), Lines{"start -4001"});
  EXPECT_TRUE(held.expired());
}

TEST_F(MusicPlayerTest, PlaysOnlySoManyAtOnce) {
  auto music = song();
  for (music.ID = 1; music.ID <= static_cast<std::int32_t>(kMostMusic); ++music.ID) start(music);
  EXPECT_EQ(after(100), Lines(kMostMusic, "start 0"));
  start(music);
  EXPECT_EQ(after(10), Lines{"start -4003"});
  EXPECT_TRUE(held.expired());
  EXPECT_EQ(alice.snapshot().music.size(), kMostMusic);
  music.ID = 1;
  start(music);
  EXPECT_EQ(after(80), Lines{"start 0"}) << "in place of the one that plays";
}

TEST_F(MusicPlayerTest, PlaysAPart) {
  auto music = song();
  music.startTimeMs = 500;
  music.endTimeMs = 800;
  start(music);
  EXPECT_EQ(after(1000), (Lines{"start 0", "700/1000", "800/1000", "complete 0"}));
  music.endTimeMs = 500;
  start(music);
  EXPECT_EQ(after(1000), Lines{"start -4002"});
}

TEST_F(MusicPlayerTest, Repeats) {
  auto music = song();
  music.startTimeMs = 800;
  music.loopCount = 2;
  start(music);
  EXPECT_EQ(after(100), Lines{"start 0"});
  EXPECT_EQ(alice.snapshot().music.at(0).loopsLeft, 2);
  EXPECT_EQ(after(1000), (Lines{"1000/1000", "1000/1000", "1000/1000", "complete 0"}));
}

TEST_F(MusicPlayerTest, PausesAndGoesOn) {
  start(song());
  EXPECT_EQ(after(350), (Lines{"start 0", "200/1000"}));
  player.pausePlayMusic(7);
  player.pausePlayMusic(7);
  EXPECT_EQ(after(5000), Lines{});
  EXPECT_TRUE(alice.snapshot().music.at(0).paused);
  EXPECT_EQ(alice.snapshot().music.at(0).positionMs, 300);
  player.resumePlayMusic(7);
  player.resumePlayMusic(7);
  EXPECT_EQ(after(200), Lines{"500/1000"});
}

TEST_F(MusicPlayerTest, MayBePausedBeforeItBegins) {
  auto music = song();
  music.startTimeMs = 600;
  start(music);
  player.pausePlayMusic(7);
  EXPECT_EQ(after(1000), Lines{"start 0"});
  player.resumePlayMusic(7);
  EXPECT_EQ(after(5000), (Lines{"800/1000", "1000/1000", "complete 0"}));
}

TEST_F(MusicPlayerTest, Seeks) {
  start(song());
  EXPECT_EQ(after(50), Lines{"start 0"});
  player.seekMusicToPosInMS(7, 700);
  EXPECT_EQ(after(200), Lines{"900/1000"});
  player.seekMusicToPosInMS(7, -100);
  EXPECT_EQ(after(200), Lines{"200/1000"});
  player.pausePlayMusic(7);
  player.seekMusicToPosInMS(7, 5000);
  EXPECT_EQ(alice.snapshot().music.at(0).positionMs, 1000);
  player.resumePlayMusic(7);
  EXPECT_EQ(after(10), (Lines{"1000/1000", "complete 0"}));
}

TEST_F(MusicPlayerTest, StopsAndLetsGo) {
  start(song());
  after(300);
  player.stopPlayMusic(7);
  player.stopPlayMusic(7);
  EXPECT_TRUE(held.expired());
  EXPECT_EQ(after(5000), Lines{});
}

TEST_F(MusicPlayerTest, SaysNothingOnceStopped) {
  // The stop comes while the music is loaded, on the callback thread.
  const auto bob = classroom.handset();
  bob.events->onLine = [&](const std::string&) { player.stopPlayMusic(7); };
  start(song());
  classroom.advance(40);
  bob->setAudioRoute(kRouteEarpiece);
  EXPECT_EQ(after(5000), Lines{});
  EXPECT_TRUE(held.expired());
}

TEST_F(MusicPlayerTest, BeginsAnewUnderTheSameId) {
  start(song());
  EXPECT_EQ(after(450), (Lines{"start 0", "200/1000", "400/1000"}));
  const auto former = held;
  start(song());
  EXPECT_TRUE(former.expired());
  EXPECT_EQ(after(250), (Lines{"start 0", "200/1000"}));
}

TEST_F(MusicPlayerTest, ItsCallbacksMayUseIt) {
  player.startPlayMusic(song(), {}, [&](auto, auto) { player.stopPlayMusic(7); }, {});
  classroom.advance(1000);
  EXPECT_TRUE(alice.snapshot().music.empty());
}

TEST_F(MusicPlayerTest, EndsWithTheInstance) {
  start(song());
  after(100);
  alice.engineClass->destroySharedIntance();
  alice.engine.reset();
  EXPECT_TRUE(held.expired());
  EXPECT_EQ(after(5000), Lines{});
}

TEST_F(MusicPlayerTest, VolumesStayWithinTheirScale) {
  start(song());
  player.setMusicPlayoutVolume(7, 500);
  player.setMusicPublishVolume(7, 30);
  player.setMusicPublishVolume(8, 30);
  EXPECT_EQ(alice.snapshot().music.at(0).playoutVolume, 100);
  EXPECT_EQ(alice.snapshot().music.at(0).publishVolume, 30);
  player.setAllMusicVolume(60);
  EXPECT_EQ(alice.snapshot().music.at(0).playoutVolume, 60);
  EXPECT_EQ(alice.snapshot().music.at(0).publishVolume, 60);
}

TEST_F(MusicPlayerTest, PublishedMusicIsHeardByTheOthers) {
  const auto bob = classroom.entered("bob");
  bob.events->take();
  auto music = song();
  music.publish = true;
  start(music);
  classroom.advance(500);
  EXPECT_EQ(bob.events->takeRare(),
            (Lines{"onUserAudioAvailable alice 1", "onFirstAudioFrame alice"}));
  classroom.advance(1000);
  EXPECT_EQ(bob.events->takeRare(), Lines{"onUserAudioAvailable alice 0"});
}

}  // namespace
}  // namespace vemo
