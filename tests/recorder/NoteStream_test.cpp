#include "recorder/NoteStream.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

#include "Folder.h"
#include "WatchedSink.h"
#include "platform/LineQueue.h"
#include "platform/RotatingFile.h"
#include "recorder/Recorded.h"

namespace vemo::test {
namespace {

/// A router whose session goes to a file on a small disk.
class StreamedSession {
 public:
  explicit StreamedSession(const std::string& file)
      : file_(std::make_shared<WatchedSink>(
            std::make_shared<RotatingFile>(file, std::size_t{1} << 30U, 0))),
        lines_(file_, 65'536,
               [](std::string_view, std::size_t count, std::string_view why) {
                 return "{\"lost\":" + std::to_string(count) + ",\"why\":\"" + std::string(why) +
                        "\"}";
               }),
        // Only when it is told to.
        stream_(std::make_unique<NoteStream>(
            ring_, nullptr,
            [this](std::string_view line) {
              lines_.add(line);
              ++given_;
            },
            std::chrono::hours(1))) {}

  void send(const std::string& action) { test::send(*router_, action); }

  /// Waits until all was tried that was noted up to now; how much of it was written.
  std::size_t flush() {
    stream_->flush();
    std::size_t written = 0;
    for (; given_ > 0; --given_) {
      if (file_->written.next() == true) ++written;
    }
    return written;
  }
  void end() {
    router_.reset();
    stream_.reset();
  }

 private:
  FakePlatform platform_;
  const std::shared_ptr<NoteRing> ring_ = std::make_shared<NoteRing>(NoteRingOptions());
  Recorder recorder_{platform_.pieces(), ring_, nullptr};
  std::shared_ptr<VEMOKOBUMsgRouter> router_ = recorded(recorder_, platform_);
  const std::shared_ptr<WatchedSink> file_;
  std::size_t given_ = 0;
  LineQueue lines_;
  std::unique_ptr<NoteStream> stream_;
};

std::string textOf(const std::string& file) {
  std::ifstream in(file);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

TEST(NoteStream, WhereTheDiskWasFullTheRecordingSaysWhatIsMissing) {
  const SmallDisk disk;
  if (!disk.isThere()) GTEST_SKIP() << "needs the right to mount a small disk";
  const auto file = disk.file("session.vemorec");
  {
    StreamedSession session(file);
    session.send("initSDK");
    EXPECT_GT(session.flush(), 5U);
    disk.fill();
    for (int i = 0; i < 100; ++i) session.send("getSDKVersion");
    EXPECT_LT(session.flush(), 100U) << "the disk took all";
    disk.clear();
    session.send("stopLocalAudio");
    session.end();
  }
  const auto text = textOf(file);
  const auto lost = text.find("{\"lost\":");
  ASSERT_NE(lost, std::string::npos) << text;
  EXPECT_NE(text.find("No space left on device", lost), std::string::npos);
  const auto scenario = sessionOf(text);
  EXPECT_NE(scenario.find("\n# Part of it is missing"), std::string::npos) << scenario;
  EXPECT_EQ(scenario.find("\n# Its end is missing"), std::string::npos) << scenario;
  EXPECT_NE(scenario.find(R"({"command":"stopLocalAudio")"), std::string::npos)
      << "what came when there was room again";
}

TEST(NoteStream, WhatAFullDiskBreaksOffReplaysAsFarAsItGoes) {
  const SmallDisk disk;
  if (!disk.isThere()) GTEST_SKIP() << "needs the right to mount a small disk";
  const auto file = disk.file("session.vemorec");
  {
    StreamedSession session(file);
    session.send("initSDK");
    for (int i = 0; i < 1000; ++i) session.send("getSDKVersion");
    session.flush();
    EXPECT_NE(sessionOf(textOf(file)).find("\n# Its end is missing"), std::string::npos)
        << "it goes on";
    session.end();
  }
  const auto scenario = sessionOf(textOf(file));
  EXPECT_NE(scenario.find("\n# Its end is missing"), std::string::npos)
      << "there was no room for it";
  EXPECT_NE(scenario.find(R"({"command":"getSDKVersion")"), std::string::npos) << scenario;
  const auto told = checked(scenario);
  EXPECT_EQ(told.find("line "), std::string::npos) << told;
}

}  // namespace
}  // namespace vemo::test
