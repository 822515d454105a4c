#include "recorder/NoteRing.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "Replay.h"
#include "SessionWriter.h"
#include "recorder/Recorder.h"
#include "recorder/Recording.h"
#include "testing/FakePlatform.h"
#include "webview/VEMOKOBUMsgRouter.h"

namespace vemo::test {
namespace {

using std::chrono::milliseconds;

Recording readBack(const NoteRing& ring) {
  std::istringstream in(ring.recording(nullptr));
  std::string error;
  auto recording = readRecording(in, error);
  EXPECT_TRUE(recording) << error;
  return recording.value_or(Recording());
}

/// A step of about a kilobyte, and what it does.
void noteStep(NoteRing& ring, std::uint64_t number, milliseconds at, bool periodic = false,
              const std::string& verb = R"("command":"initSDK")") {
  const auto step = "{" + verb + R"(,"as":")" + std::string(900, 'x') + "\"}";
  ring.note({.kind = Note::Kind::step,
             .at = at,
             .thread = "main",
             .step = number,
             .queuedBy = 0,
             .overlaps = false,
             .periodic = periodic,
             .text = step});
  ring.note({.kind = Note::Kind::effect,
             .at = at,
             .thread = "main",
             .step = number,
             .queuedBy = 0,
             .overlaps = false,
             .periodic = periodic,
             .text = R"({"effect":"openSettings"})"});
}

void send(VEMOKOBUMsgRouter& router, const std::string& action) {
  router.receive(R"({"head":{"module":"kobu","action":")" + action + R"("},"cbid":"1"})");
}

std::shared_ptr<VEMOKOBUMsgRouter> recorded(Recorder& recorder, FakePlatform& platform) {
  auto base = std::make_unique<JSMsgRouter>(
      recorder.platform().logger,
      recorder.replies(std::make_shared<MainThreadReplyDelivery>(platform.mainQueue, "reply")),
      platform.webView);
  return VEMOKOBUMsgRouter::create(recorder.baseRouter(std::move(base)), recorder.platform());
}

NoteRingOptions small() {
  NoteRingOptions options;
  options.bytes = std::size_t{256} << 10U;
  return options;
}

TEST(NoteRing, KeepsStepsWithoutTheirEffectsWhenThereIsNoRoomForMore) {
  NoteRing ring(small());
  for (std::uint64_t step = 1; step <= 600; ++step) noteStep(ring, step, milliseconds(step));
  const auto recording = readBack(ring);
  EXPECT_TRUE(recording.whole);
  const auto steps = std::ranges::count(recording.notes, Note::Kind::step, &RecordedNote::kind);
  EXPECT_EQ(steps, 600);
  const auto before = std::ranges::count(recording.notes, true, &RecordedNote::before);
  EXPECT_GT(before, 300);
  EXPECT_EQ(std::ranges::count(recording.notes, Note::Kind::effect, &RecordedNote::kind),
            600 - before);
  EXPECT_EQ(recording.notes.back().step, 600U);
}

TEST(NoteRing, SaysWhenItsBeginningIsMissing) {
  auto options = small();
  options.beforeBytes = 100'000;
  NoteRing ring(options);
  for (std::uint64_t step = 1; step <= 600; ++step) noteStep(ring, step, milliseconds(step));
  const auto recording = readBack(ring);
  EXPECT_FALSE(recording.whole);
  EXPECT_LT(recording.notes.size(), 1000U);
}

TEST(NoteRing, WhatIsTooOldGoesAndOfWhatComesAgainTheLatestStatisticsStay) {
  NoteRing ring(small());
  noteStep(ring, 1, milliseconds(0), true, R"("event":"onStatistics")");
  noteStep(ring, 2, milliseconds(0), true, R"("event":"onStatistics")");
  noteStep(ring, 3, milliseconds(0), true, R"("event":"onNetworkQuality")");
  for (std::uint64_t step = 4; step < 100; ++step) noteStep(ring, step, milliseconds(0));
  const auto later = milliseconds(std::chrono::minutes(11));
  for (std::uint64_t step = 100; step < 200; ++step) noteStep(ring, step, later);
  const auto recording = readBack(ring);
  ASSERT_GT(recording.notes.size(), 3U);
  EXPECT_EQ(recording.notes[0].step, 2U) << "the latest statistics";
  EXPECT_TRUE(recording.notes[0].before);
  EXPECT_EQ(recording.notes[1].step, 4U) << "what changes the state";
  EXPECT_TRUE(recording.notes[1].before);
}

TEST(NoteRing, AFileIsWrittenWholeOrNotAtAll) {
  const auto folder =
      std::filesystem::temp_directory_path() / ("recorder" + std::to_string(::getpid()));
  std::filesystem::create_directories(folder);
  const auto file = (folder / "last.vemorec").string();
  NoteRing ring(small());
  for (std::uint64_t step = 1; step <= 100; ++step) noteStep(ring, step, milliseconds(step));

  // What a full disk does, a limit does as well.
  const auto former = std::signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
  const rlimit tight{1000, limit.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &tight), 0);
  std::string error;
  EXPECT_FALSE(ring.write(file, nullptr, error));
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
  std::signal(SIGXFSZ, former);
  EXPECT_EQ(error, file + " can't be written: File too large");
  EXPECT_TRUE(std::filesystem::is_empty(folder));

  EXPECT_TRUE(ring.write(file, nullptr, error)) << error;
  std::ifstream in(file);
  EXPECT_TRUE(readRecording(in, error)) << error;
  std::filesystem::remove_all(folder);
  EXPECT_FALSE(ring.write(file, nullptr, error));
  EXPECT_EQ(error, file + " can't be written: No such file or directory");
}

TEST(Recorder, EventsOfEightThreadsAreNotedInTheOrderOfEach) {
  constexpr int kThreads = 8;
  constexpr int kEvents = 200;
  FakePlatform platform;
  const auto ring = std::make_shared<NoteRing>(NoteRingOptions());
  Recorder recorder(platform.pieces(), ring);
  {
    const auto router = recorded(recorder, platform);
    send(*router, "initSDK");
    const auto delegate = platform.engineClass.instance()->delegate();
    ASSERT_TRUE(delegate);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
      threads.emplace_back([&, thread] {
        for (int event = 0; event < kEvents; ++event)
          delegate->onFirstVideoFrame("u", 0, thread, event);
      });
    }
    for (auto& thread : threads) thread.join();
    while (platform.mainQueue.drain() > 0) {
    }
  }
  const auto recording = readBack(*ring);
  std::array<int, kThreads> next{};
  std::array<std::string, kThreads> names;
  int tasks = 0;
  for (const auto& note : recording.notes) {
    if (note.kind == Note::Kind::task) ++tasks;
    if (note.kind != Note::Kind::step || !note.what.contains("event")) continue;
    const auto& args = note.what.at("args").as_array();
    const auto thread = static_cast<std::size_t>(args[2].as_int64());
    EXPECT_EQ(args[3].as_int64(), next.at(thread)++);
    if (names.at(thread).empty()) names.at(thread) = note.thread;
    EXPECT_EQ(note.thread, names.at(thread));
  }
  EXPECT_EQ(next, (std::array<int, kThreads>{200, 200, 200, 200, 200, 200, 200, 200}));
  std::ranges::sort(names);
  EXPECT_EQ(std::ranges::adjacent_find(names), names.end()) << "two threads have one name";
  EXPECT_EQ(tasks, kThreads * kEvents);

  std::ostringstream session;
  replay::writeSession(recording, session);
  std::istringstream in(session.str());
  std::ostringstream out;
  std::ostringstream err;
  EXPECT_EQ(replay::replay(in, replay::Mode::check, out, err), replay::kDone)
      << out.str().substr(0, 2000) << err.str();
}

TEST(Recorder, ARouterThatDoesAnotherThingIsToldByItsFirstWrongStep) {
  FakePlatform platform;
  const auto ring = std::make_shared<NoteRing>(NoteRingOptions());
  Recorder recorder(platform.pieces(), ring);
  {
    const auto router = recorded(recorder, platform);
    for (const auto* command : {"initSDK", "getSDKVersion", "stopLocalAudio"})
      send(*router, command);
  }
  std::ostringstream session;
  replay::writeSession(readBack(*ring), session);
  auto other = session.str();
  const std::string call = R"("call":"stopLocalAudio")";
  ASSERT_NE(other.find(call), std::string::npos);
  other.replace(other.find(call), call.size(), R"("call":"startLocalAudio")");
  std::istringstream in(other);
  std::ostringstream out;
  std::ostringstream err;
  EXPECT_EQ(replay::replay(in, replay::Mode::check, out, err), replay::kExpectationFailed);
  EXPECT_EQ(err.str(), "");
  EXPECT_TRUE(out.str().starts_with("line 5, ")) << "nothing before it differs";
  EXPECT_NE(out.str().find(", step 4: effect 2 differs at /call: expected \"startLocalAudio\", got "
                           "\"stopLocalAudio\""),
            std::string::npos)
      << out.str();
}

}  // namespace
}  // namespace vemo::test
