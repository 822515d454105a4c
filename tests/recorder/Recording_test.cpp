#include "recorder/Recording.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "recorder/ReadLine.h"
#include "recorder/Recorded.h"

namespace vemo::test {
namespace {

std::optional<Recording> read(const std::string& text, std::string& error) {
  std::istringstream in(text);
  return readRecording(in, error);
}

std::string errorOf(const std::string& text) {
  std::string error;
  EXPECT_FALSE(read(text, error)) << text;
  return error;
}

const std::string kNote = R"({"step":{"drain":true},"n":1,"at":5,"thread":"main"})";

TEST(Recording, OneThatIsNoneIsToldInASentence) {
  const auto header = recordingHeader("1.0", true);
  EXPECT_EQ(errorOf(""), "this is no recording");
  EXPECT_EQ(errorOf("\x7f"
                    "ELF\n\n"),
            "this is no recording");
  EXPECT_EQ(errorOf(R"({"command":"initSDK"})"), "this is no recording");
  EXPECT_EQ(errorOf(R"({"vemorec":0})"), "this is no recording");
  EXPECT_EQ(errorOf("\xEF\xBB\xBF" + header + kNote),
            "this is no recording: there is a byte order mark in front");
  EXPECT_EQ(errorOf(R"({"vemorec":3})"),
            "this recording has the form 3 of a later version; this one reads forms up to 2");
  EXPECT_EQ(errorOf(header + "garbage\n" + kNote + "\n"),
            "line 2 of the recording is damaged: it is no JSON object");
  EXPECT_EQ(errorOf(header + kNote + "\n{\"n\":1}\n"),
            "line 3 of the recording is damaged: no note is in it");
}

TEST(Recording, OneOfAnEarlierVersionReplaysAsItWasRecorded) {
  std::ifstream file(VEMO_RECORDING);
  std::ostringstream text;
  text << file.rdbuf();
  const auto session = sessionOf(text.str());
  EXPECT_NE(session.find(R"({"command":"stopLocalAudio")"), std::string::npos) << session;
  const auto told = checked(session);
  EXPECT_EQ(told.find("line "), std::string::npos) << told;
}

TEST(Recording, WhatTheProcessKnewOfItsSystemIsFoundAgain) {
  // Another router's device had been older when it was asked, and this one's is not asked again.
  const auto step = [](const std::string& number, const std::string& mode) {
    const auto rest = R"(,"n":)" + number + R"(,"at":5,"thread":"main"})" + "\n";
    return R"({"step":{"message":"{\"head\":{\"module\":\"kobu\",\"action\":\"isSupportScreenCapture\"}}"})" +
           rest +
           R"({"effect":{"effect":"reply","action":"isSupportScreenCapture","retval":{"mode":)" +
           mode + "}}" + rest;
  };
  const auto header = recordingHeader("1.0", true);
  const auto old = sessionOf(header + step("1", "0") + step("2", "0"));
  const std::string command = R"({"command":"isSupportScreenCapture")";
  const auto first = old.find("{\"device\":{\"os\":\"10.0.0\"}}\n" + command);
  ASSERT_NE(first, std::string::npos) << old;
  EXPECT_NE(old.find("{\"device\":{\"os\":\"17\"}}\n" + command, first), std::string::npos) << old;
  const auto usual = sessionOf(header + step("1", "3") + step("2", "0"));
  EXPECT_EQ(usual.find("device"), std::string::npos) << usual;
}

TEST(Recording, OfStepsThatOverlapBothAreMarked) {
  const auto step = [](int number, const std::string& thread, const std::string& rest) {
    const auto what = thread == "main" ? R"({"get":"role"})" : R"({"event":"onConnectionLost"})";
    return R"({"step":)" + std::string(what) + R"(,"n":)" + std::to_string(number) +
           R"(,"at":5,"thread":")" + thread + "\"" + rest + "}\n";
  };
  const auto session =
      sessionOf(recordingHeader("1.0", true) + step(1, "engine", "") + step(2, "main", "") +
                step(3, "engine", R"(,"overlaps":true)") + step(4, "main", ""));
  std::vector<bool> marked;
  std::istringstream lines(session);
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with('{'))
      marked.push_back(line.find(R"("overlaps":true)") != std::string::npos);
  }
  EXPECT_EQ(marked, (std::vector{false, true, true, false})) << session;
}

TEST(Recording, ALineWithoutAnEndIsReadNoFurther) {
  const auto header = recordingHeader("1.0", true);
  const std::string endless(kMaxLineBytes + (std::size_t{1} << 20U), ' ');
  EXPECT_EQ(errorOf(endless), "this is no recording");
  EXPECT_EQ(errorOf(header + endless), "line 2 of the recording is damaged: longer than 64 MiB");
  std::istringstream in(std::string(40'000, 'a') + "\n\nlast");
  std::string line;
  EXPECT_EQ(readLine(in, line), LineRead::whole);
  EXPECT_EQ(line, std::string(40'000, 'a'));
  EXPECT_EQ(readLine(in, line), LineRead::whole);
  EXPECT_EQ(line, "");
  EXPECT_EQ(readLine(in, line), LineRead::whole);
  EXPECT_EQ(line, "last");
  EXPECT_EQ(readLine(in, line), LineRead::none);
}

TEST(Recording, OneThatBreaksOffBetweenLinesIsToldFromOneThatEnded) {
  const auto header = recordingHeader("1.0", true);
  const auto text = header + kNote + "\n";
  const std::string missing = "\n# Its end is missing: it broke off, or was going on.\n";
  EXPECT_NE(sessionOf(text).find(missing), std::string::npos) << sessionOf(text);
  const auto ended = text + std::string(kRecordingEnd);
  EXPECT_EQ(sessionOf(ended).find(missing), std::string::npos) << sessionOf(ended);
  EXPECT_EQ(sessionOf(ended + '\n'), sessionOf(ended));
  auto old = text;  // of the first form, which had no last line
  old.replace(old.find(R"("vemorec":2)"), 11, R"("vemorec":1)");
  EXPECT_EQ(sessionOf(old).find(missing), std::string::npos) << sessionOf(old);
  // The latest file of a session whose older ones are gone.
  EXPECT_NE(sessionOf(kNote).find(missing), std::string::npos);
  EXPECT_EQ(sessionOf(kNote + '\n' + std::string(kRecordingEnd)).find(missing), std::string::npos);
}

TEST(Recording, OneThatBreaksOffIsReadAsFarAsItGoes) {
  auto another = kNote;
  another.replace(another.find("\"n\":1"), 5, "\"n\":2");
  const auto whole = recordingHeader("1.0", true) + kNote + "\n" + another + "\n";
  std::string error;
  for (std::size_t size = recordingHeader("1.0", true).size(); size <= whole.size(); ++size) {
    const auto recording = read(whole.substr(0, size), error);
    ASSERT_TRUE(recording) << size << error;
    const auto lines = (size - recordingHeader("1.0", true).size() + 1) / (kNote.size() + 1);
    EXPECT_EQ(recording->notes.size(), lines) << size;
  }
}

}  // namespace
}  // namespace vemo::test
