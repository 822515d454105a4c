#include "recorder/NoteRing.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <boost/json/parse.hpp>
#include <csignal>
#include <cstdio>
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

#include "Folder.h"
#include "recorder/NoteStream.h"
#include "recorder/Recorded.h"
#include "recorder/Recorder.h"
#include "recorder/Recording.h"
#include "replay/Replay.h"
#include "replay/SessionWriter.h"
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
              const std::string& event = "onError") {
  ObjectNames names;
  const auto keep = [&](NoteLane lane, NoteHead::Kind kind, auto write) {
    auto& memory = ring.memory(periodic ? NoteLane::periodic : lane);
    NoteWriter note(memory, names, sizeof(NoteHead));
    write(note);
    const auto whole = note.whole();
    NoteHead head;
    head.kind = kind;
    head.step = number;
    head.at = at.count();
    NoteRing::keep(memory, head, whole);
  };
  keep(NoteLane::steps, NoteHead::Kind::step,
       [&](NoteWriter& note) { note.add("event", event).addArray("args", std::string(900, 'x')); });
  keep(NoteLane::effects, NoteHead::Kind::effect, [&](NoteWriter& note) {
    note.add("effect", std::string_view("syslog")).add("line", std::string(900, 'y'));
  });
}

NoteRingOptions withRoomFor(std::size_t bytes) {
  NoteRingOptions options;
  options.bytes = bytes;
  return options;
}

TEST(NoteRing, KeepsStepsWithoutTheirEffectsWhenThereIsNoRoomForMore) {
  NoteRing ring(withRoomFor(1U << 20U));
  for (std::uint64_t step = 1; step <= 100; ++step) noteStep(ring, step, milliseconds(step));
  for (std::uint64_t step = 101; step <= 1000; ++step)
    noteStep(ring, step, milliseconds(step), true);
  const auto recording = readBack(ring);
  EXPECT_TRUE(recording.whole);
  const auto& notes = recording.notes;
  ASSERT_GE(notes.size(), 100U);
  for (std::uint64_t step = 1; step <= 100; ++step) {
    EXPECT_EQ(notes[step - 1].step, step);
    EXPECT_TRUE(notes[step - 1].before);
  }
  EXPECT_EQ(std::ranges::count(notes, true, &RecordedNote::before), 100);
  const auto left = std::ranges::count(notes, Note::Kind::effect, &RecordedNote::kind);
  EXPECT_GT(left, 50);
  EXPECT_EQ(notes.size(), 100U + 2 * static_cast<std::size_t>(left)) << "what is left is whole";
  EXPECT_EQ(notes.back().step, 1000U);
}

TEST(NoteRing, SaysWhenItsBeginningIsMissing) {
  NoteRing ring(withRoomFor(256U << 10U));
  for (std::uint64_t step = 1; step <= 600; ++step) noteStep(ring, step, milliseconds(step));
  const auto recording = readBack(ring);
  EXPECT_FALSE(recording.whole);
  EXPECT_LT(recording.notes.size(), 1000U);
  EXPECT_EQ(recording.notes.back().step, 600U);
}

TEST(NoteStream, EachOfARingBeginsWithAllThatIsThereAndSaysWhetherThatIsAll) {
  for (const std::uint64_t steps : {20U, 600U}) {
    const auto ring = std::make_shared<NoteRing>(withRoomFor(256U << 10U));
    for (std::uint64_t step = 1; step <= steps; ++step) noteStep(*ring, step, milliseconds(step));
    std::vector<std::string> texts(2);
    for (auto& text : texts)
      NoteStream(ring, nullptr, [&](std::string_view line) { text.append(line).append("\n"); });
    std::istringstream in(texts[0]);
    std::string error;
    const auto recording = readRecording(in, error);
    ASSERT_TRUE(recording) << error;
    EXPECT_EQ(recording->whole, steps == 20);
    ASSERT_FALSE(recording->notes.empty());
    EXPECT_EQ(recording->notes.back().step, steps);
    EXPECT_EQ(texts[1], texts[0]);
  }
}

TEST(NoteRing, WhatIsTooOldGoesAndOfWhatComesAgainTheLatestStatisticsStay) {
  NoteRing ring(withRoomFor(8U << 20U));
  noteStep(ring, 1, milliseconds(0), true, "onStatistics");
  noteStep(ring, 2, milliseconds(0), true, "onStatistics");
  noteStep(ring, 3, milliseconds(0), true, "onNetworkQuality");
  for (std::uint64_t step = 4; step < 100; ++step) noteStep(ring, step, milliseconds(0));
  const auto later = milliseconds(std::chrono::minutes(11));
  for (std::uint64_t step = 100; step < 200; ++step) noteStep(ring, step, later);
  const auto recording = readBack(ring);
  ASSERT_EQ(recording.notes.size(), 1U + 96U + 200U);
  EXPECT_EQ(recording.notes[0].step, 2U) << "the latest statistics";
  EXPECT_TRUE(recording.notes[0].before);
  EXPECT_EQ(recording.notes[1].step, 4U) << "what changes the state";
  EXPECT_TRUE(recording.notes[1].before);
}

void noteLarge(NoteRing& ring, std::uint64_t number, const std::string& event) {
  ObjectNames names;
  auto& memory = ring.memory(NoteLane::steps);
  NoteWriter note(memory, names, sizeof(NoteHead));
  const auto whole = note.add("event", event).whole();
  NoteHead head;
  head.step = number;
  NoteRing::keep(memory, head, whole);
}

TEST(NoteRing, OfAClockThatWasSetBackAllStays) {
  NoteRing ring(withRoomFor(8U << 20U));
  const auto ahead = milliseconds(std::chrono::hours(1));
  for (std::uint64_t step = 1; step < 100; ++step) noteStep(ring, step, ahead);
  for (std::uint64_t step = 100; step < 200; ++step) noteStep(ring, step, milliseconds(step));
  const auto recording = readBack(ring);
  ASSERT_EQ(recording.notes.size(), 2U * 199U);
  EXPECT_FALSE(std::ranges::any_of(recording.notes, &RecordedNote::before));
}

TEST(NoteRing, AnyAgeAndSizeWill) {
  using std::chrono::minutes;
  for (const auto age : {minutes::min(), minutes(0), minutes(1), minutes::max()}) {
    for (const std::size_t bytes : {std::size_t{0}, std::size_t{1}, std::size_t{1} << 62U}) {
      NoteRingOptions options;
      options.age = age;
      options.bytes = bytes;
      NoteRing ring(options);
      ring.prepareDump();
      for (std::uint64_t step = 1; step <= 20; ++step) noteStep(ring, step, minutes(2 * step));
      const auto recording = readBack(ring);
      EXPECT_EQ(recording.notes.back().step, 20U);
      EXPECT_FALSE(recording.notes.back().before);
      const auto effects =
          std::ranges::count(recording.notes, Note::Kind::effect, &RecordedNote::kind);
      EXPECT_EQ(effects > 1, age == minutes::max()) << effects;
      const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::tmpfile(), &std::fclose);
      EXPECT_TRUE(ring.dump(::fileno(file.get()), {}));
      std::ifstream in("/proc/self/fd/" + std::to_string(::fileno(file.get())));
      std::string error;
      const auto dumped = readRecording(in, error);
      ASSERT_TRUE(dumped) << error;
      EXPECT_EQ(dumped->notes.size(), recording.notes.size());
    }
  }
}

TEST(NoteRing, SeveralMayWriteOneFileAtOnce) {
  const Folder folder;
  NoteRing ring(withRoomFor(1U << 20U));
  for (std::uint64_t step = 1; step <= 100; ++step) noteStep(ring, step, milliseconds(step));
  std::vector<std::jthread> hosts;
  for (int host = 0; host < 4; ++host) {
    hosts.emplace_back([&] {
      for (int i = 0; i < 50; ++i) {
        std::string error;
        EXPECT_TRUE(ring.write(folder.file("last.vemorec"), nullptr, error)) << error;
      }
    });
  }
  hosts.clear();
  EXPECT_EQ(textOf(folder.file("last.vemorec")), ring.recording(nullptr));
}

TEST(NoteRing, ANoteThatIsLargerThanAChunkIsKeptWhole) {
  NoteRing ring(withRoomFor(8U << 20U));
  const std::string large(std::size_t{1} << 20U, 'z');
  for (std::uint64_t step = 1; step <= 20; ++step) {
    noteLarge(ring, step, large);
    noteStep(ring, 100 + step, milliseconds(0));
  }
  const auto recording = readBack(ring);
  EXPECT_FALSE(recording.whole);
  const auto found = std::ranges::find(recording.notes, std::uint64_t{20}, &RecordedNote::step);
  ASSERT_NE(found, recording.notes.end());
  EXPECT_EQ(found->what.at("event").as_string(), large);
}

TEST(NoteRing, ALargeNoteThatMakesManyGoIsTakenToo) {
  NoteRing ring(withRoomFor(1U << 20U));
  const auto taken = [&] {
    const auto batch = ring.take();
    EXPECT_EQ(batch.lost, 0U);
    std::string lines;
    batch.appendLines(
        lines, [](std::uint16_t) { return "main"; }, milliseconds::max());
    return std::ranges::count(lines, '\n');
  };
  for (std::uint64_t step = 1; step <= 100; ++step) noteStep(ring, step, milliseconds(0));
  EXPECT_EQ(taken(), 200);
  noteLarge(ring, 101, std::string(std::size_t{300} << 10U, 'z'));
  EXPECT_EQ(taken(), 1);
}

TEST(NoteRing, ANoteIsReadAsItWasWritten) {
  ScratchMemory memory;
  ObjectNames names;
  NoteWriter note(memory, names);
  const auto json = boost::json::parse(
      R"({"a":[1,-1,0,9223372036854775807,-9223372036854775808,18446744073709551615,1.5,true,false,null],)"
      R"("é\n\u0001":{"x":"\"\\"},"long":")" +
      std::string(5000, 'l') + R"("})");
  note.add("value", json).addArray("args", 1, std::string_view("two"), Text(), -3.25, true);
  for (const std::size_t size : {0U, 1U, 7U, 8U, 15U, 16U, 31U, 32U, 63U, 64U, 65U, 300U})
    note.add("text", std::string(size, 'a') + "z");
  std::string text;
  ASSERT_TRUE(appendNoteJson(text, note.whole()));
  const auto read = boost::json::parse(text).as_object();
  EXPECT_EQ(read.at("value"), json);
  EXPECT_EQ(read.at("args"), boost::json::parse(R"([1,"two",null,-3.25,true])"));
  EXPECT_NE(text.find(std::string(300, 'a') + "z"), std::string::npos);
  for (std::size_t size = 0; size < note.whole().size() - 1; size += 7) {
    std::string part;
    EXPECT_FALSE(appendNoteJson(part, note.whole().substr(0, size))) << size;
  }
}

TEST(NoteRing, AFileIsWrittenWholeOrNotAtAll) {
  const auto folder =
      std::filesystem::temp_directory_path() / ("recorder" + std::to_string(::getpid()));
  std::filesystem::create_directories(folder);
  const auto file = (folder / "last.vemorec").string();
  NoteRing ring(withRoomFor(1U << 20U));
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

  EXPECT_TRUE(ring.write(file, nullptr, error, "it froze\nin \"101\"")) << error;
  std::ifstream in(file);
  const auto recording = readRecording(in, error);
  ASSERT_TRUE(recording) << error;
  EXPECT_EQ(recording->failure, "it froze\nin \"101\"");
  std::ostringstream session;
  replay::writeSession(*recording, session);
  EXPECT_NE(session.str().find("\n# Failure: \"it froze\\nin \\\"101\\\"\"\n"), std::string::npos)
      << session.str().substr(0, 200);
  EXPECT_EQ(ring.recording(nullptr).find("failure"), std::string::npos);
  std::filesystem::remove_all(folder);
  EXPECT_FALSE(ring.write(file, nullptr, error));
  EXPECT_EQ(error, file + " can't be written: No such file or directory");
}

TEST(Recorder, EventsOfEightThreadsAreNotedInTheOrderOfEach) {
  constexpr int kThreads = 8;
  constexpr int kEvents = 200;
  FakePlatform platform;
  const auto ring = std::make_shared<NoteRing>(NoteRingOptions());
  Recorder recorder(platform.pieces(), ring, nullptr);
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
  Recorder recorder(platform.pieces(), ring, nullptr);
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
  EXPECT_NE(out.str().find(", step 4: call of stopLocalAudio came, was call of startLocalAudio"),
            std::string::npos)
      << out.str();
}

}  // namespace
}  // namespace vemo::test
