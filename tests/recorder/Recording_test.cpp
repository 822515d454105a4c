#include "recorder/Recording.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <fstream>
#include <sstream>
#include <string>

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
  EXPECT_EQ(errorOf(R"({"vemorec":2})"),
            "this recording has the form 2 of a later version; this one reads forms up to 1");
  EXPECT_EQ(errorOf(header + "garbage\n" + kNote + "\n"), "line 2 of the recording is damaged");
  EXPECT_EQ(errorOf(header + kNote + "\n{\"n\":1}\n"), "line 3 of the recording is damaged");
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

TEST(Recording, ALineWithoutAnEndIsReadNoFurther) {
  const auto header = recordingHeader("1.0", true);
  const std::string endless(kMaxLineBytes + (std::size_t{1} << 20U), ' ');
  EXPECT_EQ(errorOf(endless), "this is no recording");
  EXPECT_EQ(errorOf(header + endless), "line 2 of the recording is damaged");
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

TEST(Recording, OneThatBreaksOffIsReadAsFarAsItGoes) {
  const auto whole = recordingHeader("1.0", true) + kNote + "\n" + kNote + "\n";
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
