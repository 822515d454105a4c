#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "Folder.h"
#include "LogLines.h"
#include "Tone.h"
#include "bridge/EngineCodes.h"
#include "engine/AudioMix.h"
#include "engine/Capture.h"
#include "engine/JanusEngine.h"
#include "testing/Arrivals.h"
#include "testing/RecordingDelegate.h"

namespace vemo {
namespace {

using namespace std::chrono_literals;
using janus::Capture;

const std::string kDeviceWarning = "onWarning " + std::to_string(kWarnDevice) + " ";

/// A sound server of the test's own, whose one device is heard nowhere: what is played to it can be
/// recorded from it.
class SoundServer {
 public:
  SoundServer() {
    start();
    plugIn();
  }
  ~SoundServer() { kill(); }
  SoundServer(const SoundServer&) = delete;
  SoundServer& operator=(const SoundServer&) = delete;

  /// Returns once it can be used.
  void start() {
    run("pulseaudio -n --daemonize=yes --exit-idle-time=60 --realtime=no --high-priority=no "
        "--disable-shm=yes --log-target=file:" +
        folder_.file("log") +
        " -L 'module-native-protocol-unix auth-anonymous=1 socket=" + folder_.file("socket") + "'");
  }
  /// As if it had crashed; returns once it is gone.
  void kill() {
    pid_t process = 0;
    std::ifstream(folder_.file("pulse/pid")) >> process;
    pollfd ended{static_cast<int>(syscall(SYS_pidfd_open, process, 0)), POLLIN, 0};
    ASSERT_GE(ended.fd, 0);
    ::kill(process, SIGKILL);
    poll(&ended, 1, -1);
    close(ended.fd);
    // Until somebody has waited for it, the next one would take it for running.
    std::filesystem::remove(folder_.file("pulse/pid"));
  }
  void plugIn() { run("pactl -s " + address() + " load-module module-null-sink sink_name=device"); }
  void unplug() { run("pactl -s " + address() + " unload-module module-null-sink"); }

  /// Descriptions of the ways to it.
  std::string sink() const { return "pulsesink device=device server=" + address(); }
  std::string source() const { return "pulsesrc device=device.monitor server=" + address(); }

 private:
  std::string address() const { return "unix:" + folder_.file("socket"); }
  void run(const std::string& command) const {
    const auto here = folder_.file("");
    const auto all = "HOME=" + here + " XDG_RUNTIME_DIR=" + here +
                     " PULSE_RUNTIME_PATH=" + folder_.file("pulse") + ' ' + command + " >" +
                     folder_.file("said") + " 2>&1";
    EXPECT_EQ(std::system(all.c_str()), 0) << command << ": " << textOf(folder_.file("said"));
  }

  const Folder folder_;
};

/// Hears what a source gives, and what it tells.
class Listening {
 public:
  explicit Listening(const std::string& source) {
    thread_.post([this, source] {
      capture_ = std::make_unique<Capture>(
          thread_,
          Capture::Sources{
              {source}, "audiotestsrc is-live=true wave=silence samplesperbuffer=480", true},
          std::string("audioconvert ! audioresample ! ") + janus::kSound,
          Capture::Listener{
              [this](GstSample* sample) { hear(sample); }, [this] { told.add("started"); },
              [this](const auto&, const auto&, bool) { told.add("trouble"); },
              [this] { told.add("ended"); }, [this](const std::string&) { told.add("back"); }});
    });
  }
  ~Listening() {
    thread_.post([this] { capture_.reset(); });
    EXPECT_TRUE(thread_.waitUntilIdle(120s));
  }
  Listening(const Listening&) = delete;
  Listening& operator=(const Listening&) = delete;

  /// Waits until it is quiet, or until it is not. How a busy machine cuts up a tone is of no
  /// interest.
  bool waitForSound() { return waitFor(true); }
  bool waitForQuiet() { return waitFor(false); }

  Arrivals<std::string> told;

 private:
  void hear(GstSample* sample) {
    const std::lock_guard lock(mutex_);
    isSound_ = janus::loudnessOf(sample) > 0;
    changed_.notify_all();
  }
  bool waitFor(bool sound) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, 120s, [&] { return isSound_ == sound; });
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::optional<bool> isSound_;
  EngineThread thread_;
  std::unique_ptr<Capture> capture_;
};

/// Plays a tone all the time.
class Playing {
 public:
  explicit Playing(const SoundServer& server) {
    writeTone(folder_.file("song.wav"), 660, 5);
    EngineOptions options;
    options.speaker = server.sink();
    class_ = std::make_unique<JanusEngineClass>(std::move(options));
    class_->setLogDirPath(folder_.file("log"));
    engine_ = class_->sharedInstance();
    engine_->setDelegate(told);
    PWAudioMusicParam music;
    music.ID = 1;
    music.path = folder_.file("song.wav");
    music.loopCount = 1'000;
    engine_->getAudioEffectManager().startPlayMusic(music, nullptr, nullptr, nullptr);
  }

  const std::shared_ptr<RecordingDelegate> told = std::make_shared<RecordingDelegate>();

 private:
  const Folder folder_;

 public:
  LogLines log{folder_.file("log/engine.log")};

 private:
  std::unique_ptr<JanusEngineClass> class_;
  std::shared_ptr<KOBUCloud> engine_;
};

class SoundServerTest : public ::testing::Test {
 protected:
  SoundServer server_;
};

TEST_F(SoundServerTest, ASpeakerThatIsPluggedInAgainPlaysAgain) {
  Playing playing(server_);
  {
    Listening room(server_.source());
    ASSERT_TRUE(room.waitForSound());
  }
  for (int times = 1; times <= 2; ++times) {
    server_.unplug();
    playing.told->waitFor(kDeviceWarning + "The speaker can't be used, so you hear nothing");
    server_.plugIn();
    Listening room(server_.source());
    EXPECT_TRUE(room.waitForSound());
    playing.log.waitFor("The speaker is used again");
    EXPECT_EQ(playing.told->count("onWarning"), 1U);
    playing.told->clear();
  }
}

TEST_F(SoundServerTest, ASoundServerThatIsStartedAgainIsPlayedTo) {
  Playing playing(server_);
  {
    Listening room(server_.source());
    ASSERT_TRUE(room.waitForSound());
  }
  server_.kill();
  playing.told->waitFor(kDeviceWarning + "The speaker can't be used, so you hear nothing");
  server_.start();
  server_.plugIn();
  Listening room(server_.source());
  EXPECT_TRUE(room.waitForSound());
  playing.log.waitFor("The speaker is used again");
  EXPECT_EQ(playing.told->count("onWarning"), 1U);
}

TEST_F(SoundServerTest, AMicrophoneThatIsBackIsHeardAgain) {
  Playing playing(server_);
  Listening microphone(server_.source());
  EXPECT_EQ(microphone.told.next(), "started");
  ASSERT_TRUE(microphone.waitForSound());
  server_.unplug();
  EXPECT_EQ(microphone.told.next(), "trouble");
  EXPECT_TRUE(microphone.waitForQuiet());
  server_.plugIn();
  EXPECT_EQ(microphone.told.next(), "back");
  EXPECT_TRUE(microphone.waitForSound());

  server_.kill();
  EXPECT_EQ(microphone.told.next(), "trouble");
  EXPECT_TRUE(microphone.waitForQuiet());
  server_.start();
  server_.plugIn();
  EXPECT_EQ(microphone.told.next(), "back");
  EXPECT_TRUE(microphone.waitForSound());
}

}  // namespace
}  // namespace vemo
