// A session with signatures wherever a page, a host or an engine can put one: no road out of
// memory has them, and a replay still does as was recorded.

#include <gtest/gtest.h>
#include <unistd.h>

#include <boost/json/object.hpp>
#include <boost/json/value.hpp>
#include <cstddef>
#include <cstdio>
#include <iterator>
#include <memory>
#include <optional>
#include <regex>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Folder.h"
#include "json/JsonReader.h"
#include "json/JsonText.h"
#include "platform/JsonLineLogger.h"
#include "platform/SecretMask.h"
#include "recorder/NoteStream.h"
#include "recorder/NotingHost.h"
#include "recorder/Recorded.h"
#include "simulator/LiveNotes.h"

namespace vemo::test {
namespace {

std::string inJson(std::string_view text) {
  std::string json;
  appendJsonString(json, text);
  return json;
}

/// Null where `json` is none.
boost::json::value valueOf(std::string_view json) {
  JsonProblem problem;
  return readJson(json, 32, problem);
}

/// The frames that a page was sent.
class Frames final : public PageSocket {
 public:
  void send(std::string frame) override { text += frame + "\n"; }
  void sendLatest(std::string_view, std::string frame) override { send(std::move(frame)); }
  std::size_t unsentBytes() const override { return 0; }

  std::string text;
};

/// What left memory of one session, by the road that it took.
struct Left {
  std::string saved;
  std::string streamed;
  std::string dump;
  std::string frames;
  std::string log;

  std::vector<std::pair<std::string_view, std::string_view>> roads() const {
    return {
        {"saved", saved}, {"streamed", streamed}, {"dump", dump}, {"frames", frames}, {"log", log}};
  }
};

/// Plays the session with `secret` as the signature, which in JSON is `json`.
Left played(const std::string& secret, const std::string& json) {
  Left left;
  const TextMask mask = [masks = SecretMask()](std::string_view text, std::string& buffer) {
    return masks.masked(text, buffer);
  };
  const Folder folder;
  FakePlatform platform;
  auto logger = JsonLineLogger::create({.file = folder.file("log.jsonl")});
  const auto fake = platform.pieces();
  const Platform pieces{fake.engineClass,
                        *logger,
                        fake.systemLog,
                        fake.mainQueue,
                        fake.notifications,
                        fake.crossProcessNotifications,
                        fake.captureAuthorization,
                        fake.alerts,
                        fake.application,
                        fake.downloads,
                        fake.images,
                        fake.system,
                        fake.extensionLauncher,
                        fake.appGroup};
  const auto ring = std::make_shared<NoteRing>(NoteRingOptions());
  ring->prepareDump();
  const auto frames = std::make_shared<Frames>();
  const auto live = std::make_shared<LiveNotes>(frames);
  live->turn(true);
  const auto stream = std::make_unique<NoteStream>(
      ring, mask, [&](std::string_view line) { left.streamed.append(line).append("\n"); });
  Recorder recorder(pieces, ring, live);
  {
    const auto router = recorded(recorder, platform);
    NotingHost host(recorder.notes(), router);
    const auto drain = [&] {
      while (platform.mainQueue.drain() > 0) {
      }
    };
    const auto once = R"({"userSig":)" + json + R"(,"x":"main"})";
    const auto twice = R"({"in":)" + inJson(once) + "}";
    const auto entering =
        R"({"sdkAppId":1,"userId":"main","userSig":)" + json + R"(,"roomId":7,"appScene":0)";
    send(*router, "initSDK");
    send(*router, "registCallBacks",
         R"({"callbacks":[{"sdkcbName":"onError","jsRecvcbName":"on"}]})");
    send(*router, "enterRoom", entering + "}");
    const auto delegate = platform.engineClass.instance()->delegate();
    delegate->onEnterRoom(-3319);
    delegate->onError(-3319, "refused: " + once, boost::json::object{{"userSig", valueOf(json)}});
    delegate->onError(-3320, twice, std::nullopt);
    drain();
    send(*router, "enterRoom", R"({"userSig":)" + json + "}");  // without what it needs
    send(*router, "enterRoom", entering + R"(,"more":[{"userSig":)" + json + "}]}");
    send(*router, "switchRole", R"({"role":20,"userSig":)" + json + "}");
    send(*router, "startSpeedTest", R"({"sdkAppId":1,"userId":"main","userSig":)" + json + "}");
    send(*router, "callExperimentalAPI", R"({"APIParams":)" + inJson(once) + "}");
    send(*router, "callExperimentalAPI", R"({"APIParams":)" + inJson(twice) + "}");
    send(*router, "noSuchCommand", once);
    router->receive(once);
    router->receive(R"({"head":{"module":"kobu","action":"enterRoom"},"params":)" + once);
    KOBUParams params;
    params.userId = "main";
    params.userSig = secret;
    params.roomId = 7;
    host.call("vemoEnterRoom", &VEMOKOBUMsgRouter::vemoEnterRoom,
              std::make_shared<const KOBUParams>(params), 0, nullptr);
    delegate->onEnterRoom(12);
    drain();
  }
  left.saved = ring->recording(mask, R"(refused: {"userSig":)" + inJson(secret) + "}");
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::tmpfile(), &std::fclose);
  EXPECT_TRUE(ring->dump(::fileno(file.get()), {"userSig"}));
  left.dump.resize(static_cast<std::size_t>(::lseek(::fileno(file.get()), 0, SEEK_CUR)));
  EXPECT_EQ(::pread(::fileno(file.get()), left.dump.data(), left.dump.size(), 0),
            std::ssize(left.dump));
  stream->flush();
  left.frames = frames->text;
  logger.reset();  // writes what waits
  left.log = textOf(folder.file("log.jsonl"));
  return left;
}

Left played(const std::string& secret) { return played(secret, inJson(secret)); }

/// `secret` as it stands in JSON text, in a string of that, and so on.
std::vector<std::string> formsOf(const std::string& secret) {
  std::vector<std::string> forms{secret};
  while (forms.size() < 6) {
    const auto json = inJson(forms.back());
    forms.push_back(json.substr(1, json.size() - 2));
  }
  return forms;
}

const std::regex& standIn() {
  static const std::regex form(R"(\*\*\*[0-9a-f]{8}|\b1000[0-9]{6}\b)");
  return form;
}

/// `text` without its times, and with one stand-in for all.
std::string shapeOf(const std::string& text) {
  static const std::regex time(R"("at":\d+)");
  return std::regex_replace(std::regex_replace(text, time, "at"), standIn(), "***");
}

void expectPlaysAsRecorded(const std::string& recording) {
  const auto told = checked(sessionOf(recording));
  EXPECT_EQ(told.find("line "), std::string::npos) << told;
  EXPECT_NE(told.find(" steps, "), std::string::npos) << told;
}

TEST(Secrets, NoRoadOutOfMemoryHasThemAndAReplayStillDoesAsRecorded) {
  for (const auto& secret :
       {std::string("very/Secret+="), std::string(R"(a "quoted" \back\ and {"userSig":"inner"})"),
        std::string("geh\xC3\xA9im\n\tand\x01more"), std::string(100, 'S') + "end"}) {
    const auto left = played(secret);
    std::set<std::string> standIns;
    for (const auto& [road, text] : left.roads()) {
      EXPECT_NE(text.find("startSpeedTest"), std::string::npos) << road << " has nothing";
      for (const auto& form : formsOf(secret))
        EXPECT_EQ(text.find(form), std::string::npos) << road << ": " << form;
      const std::string all(text);
      for (std::sregex_iterator at(all.begin(), all.end(), standIn()), end; at != end; ++at)
        standIns.insert(at->str());
    }
    EXPECT_EQ(standIns.size(), 1U) << "one signature has several stand-ins";
    expectPlaysAsRecorded(left.saved);
    expectPlaysAsRecorded(left.streamed);
    expectPlaysAsRecorded(left.dump);
  }
}

TEST(Secrets, OfThoseThatAreWordsOfOtherTextsNothingElseIsHidden) {
  const auto usual = shapeOf(played("very/Secret+=").saved);
  for (const std::string secret : {"a", "7", "main", "enterRoom", "userSig", "***", "{\"n\":1}"}) {
    const auto left = played(secret);
    EXPECT_EQ(shapeOf(left.saved), usual) << secret;
    expectPlaysAsRecorded(left.saved);
    expectPlaysAsRecorded(left.streamed);
  }
}

TEST(Secrets, OfThoseThatAreNoTextAReplayStillDoesAsRecorded) {
  for (const std::string json : {"null", "true", "{ }", "[]", "12345678", "-2.5e3",
                                 R"({"a":"SECRET"})", R"([1, "SECRET"])"}) {
    SCOPED_TRACE(json);
    const auto left = played(json, json);
    for (const auto& [road, text] : left.roads()) {
      for (const auto* const secret : {"SECRET", "12345678", "2.5e3", "2.5E3", "-2500"})
        EXPECT_EQ(text.find(secret), std::string::npos) << road;
    }
    expectPlaysAsRecorded(left.saved);
    expectPlaysAsRecorded(left.streamed);
    // In a dump all is hidden that follows a group, and a number has several forms.
    if (json.find_first_of("S.") == std::string::npos) expectPlaysAsRecorded(left.dump);
  }
}

TEST(Secrets, InWhicheverFormThePageWritesThemAReplayStillDoesAsRecorded) {
  for (const std::string json : {R"("\ud83d\ude00 \u00e9")", R"("half \ud83d of one")", R"("\/")"})
    expectPlaysAsRecorded(played("another", json).saved);
}

TEST(Secrets, AnEmptyOneStaysAsThereIsNone) {
  const auto left = played("");
  EXPECT_NE(left.saved.find(R"("userSig\":\"\")"), std::string::npos);
  for (const auto& recording : {left.saved, left.streamed, left.dump})
    expectPlaysAsRecorded(recording);
}

}  // namespace
}  // namespace vemo::test
