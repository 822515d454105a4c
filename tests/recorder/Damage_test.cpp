// Recordings and dumps that were damaged on their way: each is read as far as it goes, or refused
// with a sentence.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "Setting.h"
#include "recorder/Recorded.h"
#include "replay/Scenario.h"

namespace vemo::test {
namespace {

/// What is left of a session: its recording, and a dump.
struct Session {
  std::string recording;
  std::string dump;
};

const Session& session() {
  static const auto made = [] {
    FakePlatform platform;
    const auto ring = std::make_shared<NoteRing>(NoteRingOptions());
    ring->prepareDump();
    Recorder recorder(platform.pieces(), ring, nullptr);
    Session session;
    const auto router = recorded(recorder, platform);
    const auto drain = [&] {
      while (platform.mainQueue.drain() > 0) {
      }
    };
    send(*router, "registCallBacks",
         R"({"callbacks":[{"sdkcbName":"onEnterRoom","jsRecvcbName":"on"}]})");
    send(*router, "initSDK");
    send(*router, "enterRoom",
         R"({"sdkAppId":1,"userId":"ada","userSig":"secret","roomId":7,"appScene":0})");
    const auto delegate = platform.engineClass.instance()->delegate();
    delegate->onEnterRoom(120);
    drain();
    send(*router, "startLocalAudio");
    delegate->onRemoteUserEnterRoom("b\xC3\xA9n");
    delegate->onUserVoiceVolume({}, 3);
    send(*router, "setAudioCaptureVolume", R"({"volume":50})");
    drain();
    router->receive("no message");
    send(*router, "isSupportScreenCapture");
    session.recording = ring->recording(nullptr);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::tmpfile(), &std::fclose);
    EXPECT_TRUE(ring->dump(::fileno(file.get()), {"userSig"}));
    std::array<char, 65'536> bytes;
    const auto size = ::pread(::fileno(file.get()), bytes.data(), bytes.size(), 0);
    session.dump.assign(bytes.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    return session;
  }();
  return made;
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line + "\n");
  return lines;
}

std::string joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const auto& line : lines) text += line;
  return text;
}

bool isSentence(std::string_view text) {
  return !text.empty() &&
         std::ranges::none_of(text, [](unsigned char c) { return c < ' ' || c == 0x7F; });
}

/// Reads `bytes` as `vemo-replay --from` does: the scenario, or nothing and the sentence.
std::optional<std::string> scenarioOf(const std::string& bytes, std::string& error) {
  std::istringstream in(bytes);
  const auto recording = readRecording(in, error);
  if (!recording) return std::nullopt;
  std::ostringstream scenario;
  try {
    replay::writeSession(*recording, scenario);
  } catch (const replay::ScenarioError& damage) {
    EXPECT_EQ(scenario.str(), "") << "half of a scenario";
    error = damage.what();
    return std::nullopt;
  }
  return scenario.str();
}

/// What can't be a scenario says so in a sentence; what can is one, which plays to its end or is
/// refused at one of its lines.
void expectReadOrRefused(const std::string& bytes) {
  std::string error;
  const auto scenario = scenarioOf(bytes, error);
  if (!scenario) {
    EXPECT_TRUE(isSentence(error)) << error;
    return;
  }
  for (const auto& line : linesOf(*scenario)) EXPECT_NO_THROW(replay::stepFrom(line)) << line;
  std::istringstream in(*scenario);
  std::ostringstream out;
  std::ostringstream err;
  const auto status = replay::replay(in, replay::Mode::check, out, err, "/nonexistent/it.jsonl");
  EXPECT_NE(status, replay::kSomethingLeft) << err.str();
  if (status == replay::kUnreadable) {
    EXPECT_TRUE(err.str().starts_with("/nonexistent/it.jsonl:")) << err.str();
  }
}

class Vandal {
 public:
  explicit Vandal(std::uint64_t seed) : dice_(seed) {}

  std::string damaged(std::string bytes, bool isText) {
    for (auto left = 1 + below(3); left > 0; --left) {
      if (bytes.empty()) break;
      if (isText && below(2) == 0) {
        bytes = joined(damagedLines(linesOf(bytes)));
      } else {
        damageBytes(bytes);
      }
    }
    return bytes;
  }

 private:
  std::size_t below(std::size_t count) { return static_cast<std::size_t>(dice_() % count); }

  void damageBytes(std::string& bytes) {
    const auto at = below(bytes.size());
    switch (below(7)) {
      case 0: bytes.resize(at); break;
      case 1: bytes.erase(at, 1 + below(100)); break;
      case 2: bytes.insert(at, bytes.substr(below(bytes.size()), below(300))); break;
      case 3:
        for (std::size_t i = at; i < std::min(bytes.size(), at + 8); ++i) bytes[i] = '\xFF';
        break;
      case 4: bytes[at] = static_cast<char>(dice_()); break;
      default: bytes[at] = static_cast<char>(bytes[at] ^ (1 << below(8)));
    }
  }

  std::vector<std::string> damagedLines(std::vector<std::string> lines) {
    const auto at = below(lines.size());
    const auto to = below(lines.size());
    switch (below(6)) {
      case 0: lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(at)); break;
      case 1: lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(to), lines[at]); break;
      case 2: std::swap(lines[at], lines[to]); break;
      default: replaceValue(lines[at]);
    }
    return lines;
  }

  /// Puts something of another type, or much too large, behind a colon.
  void replaceValue(std::string& line) {
    static constexpr std::array<std::string_view, 12> others{
        "null", "true",   "-1",   "9223372036854775807", "18446744073709551615", "1e999",
        "[]",   "[[{}]]", "\"\"", "\"\\u0000\"",         "{\"a\":{}}",           "0.5"};
    std::vector<std::size_t> colons;
    for (auto at = line.find("\":"); at != std::string::npos; at = line.find("\":", at + 2))
      colons.push_back(at + 2);
    if (colons.empty()) return;
    const auto from = colons[below(colons.size())];
    auto end = from;
    if (line[from] == '"') {
      end = line.find('"', from + 1) + 1;
    } else if (line[from] == '{' || line[from] == '[') {
      end = line.find(line[from] == '{' ? '}' : ']', from) + 1;
    } else {
      end = line.find_first_of(",}]", from);
    }
    line.replace(from, std::max(end, from) - from, others.at(below(others.size())));
  }

  std::mt19937_64 dice_;
};

/// VEMO_DAMAGE_RUNS and VEMO_DAMAGE_SEED make it longer and another, VEMO_DAMAGE_FILE has it
/// begin with another recording.
TEST(Damage, AnyOfItIsReadOrRefused) {
  const auto runs = settingOr("VEMO_DAMAGE_RUNS", 500);
  Vandal vandal(settingOr("VEMO_DAMAGE_SEED", 1));
  auto recording = session().recording;
  if (const char* const name = std::getenv("VEMO_DAMAGE_FILE")) {
    std::ostringstream text;
    text << std::ifstream(name, std::ios::binary).rdbuf();
    recording = text.str();
  }
  for (std::uint64_t run = 0; run < runs && !HasFailure(); ++run) {
    const bool isText = run % 2 == 0;
    const auto bytes = vandal.damaged(isText ? recording : session().dump, isText);
    expectReadOrRefused(bytes);
    if (HasFailure()) std::ofstream("damaged.vemorec", std::ios::binary) << bytes;
  }
}

TEST(Damage, OfADumpEveryLossIsTold) {
  const auto& dump = session().dump;
  std::string error;
  const auto whole = scenarioOf(dump, error);
  ASSERT_TRUE(whole) << error;
  EXPECT_EQ(whole->find("\n# "), std::string::npos) << *whole;
  for (std::size_t size = kDumpMark.size(); size < dump.size(); size += 7) {
    const auto scenario = scenarioOf(dump.substr(0, size), error);
    if (scenario) {
      EXPECT_NE(scenario->find("\n# Its end is missing"), std::string::npos) << size;
    } else {
      EXPECT_TRUE(error.starts_with("this dump is damaged: it breaks off in ")) << error;
    }
  }
  // A note in it that can't be read: the first text's length is too large.
  auto broken = dump;
  const auto text = broken.find("{\"head\"");
  ASSERT_NE(text, std::string::npos);
  broken[text - 4] = '\x7F';
  const auto scenario = scenarioOf(broken, error);
  ASSERT_TRUE(scenario) << error;
  EXPECT_NE(scenario->find("\n# Part of it is missing"), std::string::npos);
}

TEST(Damage, OfARecordingEveryLineThatIsMissingOrDoubledIsTold) {
  const auto lines = linesOf(session().recording);
  std::string error;
  const auto whole = scenarioOf(session().recording, error);
  ASSERT_TRUE(whole) << error;
  EXPECT_EQ(checked(*whole).find("line "), std::string::npos) << checked(*whole);
  const auto& latest = lines[lines.size() - 2];  // before the one that says that it is the end
  const auto last = latest.substr(latest.find("\"n\":"));
  for (std::size_t i = 1; i < lines.size(); ++i) {
    auto fewer = lines;
    fewer.erase(fewer.begin() + static_cast<std::ptrdiff_t>(i));
    const auto less = scenarioOf(joined(fewer), error);
    ASSERT_TRUE(less) << error;
    const bool isStep =
        !lines[i].starts_with("{\"effect\"") && lines[i].find("\"device\":") == std::string::npos;
    EXPECT_EQ(less->find("\n# Its end is missing") != std::string::npos, i + 1 == lines.size())
        << lines[i];
    if (i + 1 == lines.size()) continue;
    // What came in no step is not expected; the last step may have gone on.
    if (lines[i].find("\"n\":0,") != std::string::npos || lines[i].ends_with(last)) continue;
    if (isStep) {
      EXPECT_NE(less->find("\n# Part of it is missing"), std::string::npos) << lines[i];
    } else {
      EXPECT_NE(checked(*less).find("line "), std::string::npos) << lines[i];
    }
    auto more = lines;
    more.insert(more.begin() + static_cast<std::ptrdiff_t>(i), lines[i]);
    const auto doubled = scenarioOf(joined(more), error);
    if (isStep) {
      EXPECT_FALSE(doubled);
      EXPECT_TRUE(error.starts_with("line " + std::to_string(i + 2) +
                                    " of the recording is damaged: there is a step "))
          << error;
    } else {
      ASSERT_TRUE(doubled) << error;
    }
  }
}

TEST(Damage, LinesInAnotherOrderAreTheSameSession) {
  // Those of one step stay behind each other, as one thread wrote them.
  std::string first;
  std::string later;
  const auto lines = linesOf(session().recording);
  for (std::size_t i = 1; i + 1 < lines.size(); ++i) {
    const auto number = std::strtol(lines[i].c_str() + lines[i].rfind("\"n\":") + 4, nullptr, 10);
    (number > 0 && number % 3 == 0 ? first : later) += lines[i];
  }
  std::string error;
  EXPECT_EQ(scenarioOf(lines[0] + later + first + lines.back(), error),
            scenarioOf(session().recording, error));
}

TEST(Damage, WhatCanBeNoNoteIsNamed) {
  const auto errorOf = [](const std::string& line) {
    std::string error;
    EXPECT_FALSE(scenarioOf(recordingHeader("1.0", true) + line + "\n", error)) << line;
    return error;
  };
  EXPECT_EQ(errorOf("{\"end\":true}\n{\"end\":true}"),
            "line 3 of the recording is damaged: there is an end before");
  const std::string damaged = "line 2 of the recording is damaged: ";
  const auto note = [](const std::string& what) {
    return what + R"(,"n":1,"at":5,"thread":"main"})";
  };
  EXPECT_EQ(errorOf("garbage\n"), damaged + "it is no JSON object");
  EXPECT_EQ(errorOf(R"({"n":1})"), damaged + "no note is in it");
  EXPECT_EQ(errorOf(note(R"({"step":{"drain":1},"effect":{})")), damaged + "two notes are in it");
  EXPECT_EQ(errorOf(note(R"({"step":7)")), damaged + "the note is no object");
  EXPECT_EQ(errorOf(R"({"step":{},"n":1,"at":"x","thread":"main"})"), damaged + "at is no time");
  EXPECT_EQ(errorOf(R"({"step":{},"n":1,"at":1})"), damaged + "there is no thread");
  EXPECT_EQ(errorOf(R"({"step":{},"n":1,"at":1,"thread":7})"), damaged + "thread is no text");
  EXPECT_EQ(errorOf(R"({"step":{},"n":-1,"at":1,"thread":"main"})"),
            damaged + "n is no number of steps");
  EXPECT_EQ(errorOf(R"({"step":{},"n":1,"by":1e3,"at":1,"thread":"main"})"),
            damaged + "by is no number of steps");
  EXPECT_EQ(errorOf(R"({"step":{"drain":1},"n":0,"at":1,"thread":"main"})"),
            damaged + "the step has no number");
  EXPECT_EQ(errorOf(note(R"({"step":{"drain":1},"overlaps":1)")),
            damaged + "overlaps is neither true nor false");
  EXPECT_EQ(errorOf(R"({"lost":"many"})"), damaged + "lost is no number of steps");
  EXPECT_EQ(errorOf(note(R"({"step":{"evnt":"onError"})")),
            damaged + "unknown verb \"evnt\"; did you mean \"event\"?");
  EXPECT_EQ(errorOf(note(R"({"step":{})")), damaged + "a step without a verb");
  EXPECT_EQ(errorOf(note(R"({"step":{"device":5})")), damaged + "device is no object");
  EXPECT_EQ(errorOf(note(R"({"step":{"device":{"results":5}})")), damaged + "results is no object");
  EXPECT_EQ(errorOf(note(R"({"effect":{})")), damaged + "an effect without a name");
  EXPECT_EQ(errorOf(note(R"({"effect":{"effect":"replay"})")),
            damaged + "unknown effect \"replay\"; did you mean \"reply\"?");
  std::string error;
  EXPECT_FALSE(scenarioOf(R"({"vemorec":1,"program":5})", error));
  EXPECT_EQ(error, "line 1 of the recording is damaged: program is no text");
}

}  // namespace
}  // namespace vemo::test
