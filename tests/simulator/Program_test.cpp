// The simulator as a program that page after page talks to.

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <boost/json/parse.hpp>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Folder.h"
#include "SimulatorProgram.h"
#include "json/JsonText.h"

namespace vemo::test {
namespace {

std::vector<object> objectsOf(std::istream& in) {
  std::vector<object> objects;
  for (std::string line; std::getline(in, line);)
    objects.push_back(boost::json::parse(line).as_object());
  return objects;
}

TEST(SimulatorProgram, AStandardErrorThatNobodyReadsStopsNoPage) {
  Simulator simulator;
  Page noisy(simulator);
  for (int i = 0; i < 3000; ++i) {
    noisy.send("no JSON at all");
    if (noisy.next("problem").empty()) break;
  }
  Page other(simulator);
  other.send(R"({"kind":"settings","settings":{"camera":"denied"}})");
  other.next("settings");  // how the phone is set at first
  EXPECT_EQ(other.next("settings").at("settings").at("camera"), "denied");
  EXPECT_EQ(simulator.end(), 0) << "it did not end well";
}

TEST(SimulatorProgram, EndsWhenItsAddressReachesNobody) {
  const Folder folder;
  folder.write("index.html", "<p>page</p>");
  const auto command = "XDG_STATE_HOME=" + folder.file("state") + " timeout 60 " VEMO_SIMULATOR +
                       " --port 0 --log " + folder.file("log") + " --shell " + folder.file("");
  for (const auto& [output, why] : {std::pair(" >/dev/full", "No space left on device"),
                                    std::pair(" >&-", "Bad file descriptor")}) {
    auto* const pipe = ::popen((command + " 2>&1" + output).c_str(), "r");
    std::string said;
    for (int c = std::fgetc(pipe); c != EOF; c = std::fgetc(pipe)) said += static_cast<char>(c);
    const int status = ::pclose(pipe);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 2) << status;
    EXPECT_EQ(said, "vemo-simulator: what was made can't be written: " + std::string(why) + "\n");
    EXPECT_EQ(textOf(folder.file("log")).find("token="), std::string::npos);
  }
}

TEST(SimulatorProgram, WhatAPageSendsReachesNoTerminalAndForgesNoRecord) {
  const std::string nasty = "\x1b[2J\xC2\x9B\r\n{\"level\":4,\"module\":\"forged\"}\x7f";
  Simulator simulator;
  Page page(simulator);
  page.send(jsonText(object{{"kind", "answer"}, {"media", nasty}, {"granted", true}}));
  page.next("problem");
  page.send(jsonText(object{{"kind", "message"}, {"text", nasty}}));
  page.send(jsonText(object{{"kind", "settings"}, {"settings", {{nasty, 1}}}}));
  page.next("problem");
  EXPECT_EQ(simulator.end(), 0);
  const auto text = simulator.standardError();
  for (const char c : text)
    EXPECT_TRUE(c == '\n' || (c >= 0x20 && c < 0x7F)) << static_cast<int>(c);
  std::istringstream in(text);
  const auto lines = objectsOf(in);
  EXPECT_EQ(lines.size(), 5U);  // two frames, a note of each, and the message
  for (const auto& line : lines) EXPECT_NE(line.at("module"), "forged");
}

TEST(SimulatorProgram, TheLogTellsWhatAPhoneShowsAndWhatItsUserDoes) {
  Simulator simulator;
  Page page(simulator);
  page.next("settings");
  const auto call = [&](std::string_view command, object params) {
    const object message{{"head", object{{"module", "kobu"}, {"action", command}}},
                         {"params", std::move(params)},
                         {"cbid", command}};
    page.send(jsonText(object{{"kind", "message"}, {"text", jsonText(message)}}));
  };
  call("initSDK", {});
  call("enterRoom", {{"userId", "ada"}, {"roomId", 7}, {"role", 20}, {"appScene", 1}});
  call("startLocalPreview", {{"frontCamera", true}});
  page.next("prompt");
  page.send(R"({"kind":"network","drop":true})");
  page.send(R"({"kind":"answer","media":"camera","granted":false})");
  page.next("settings");
  EXPECT_EQ(simulator.end(), 0);
  std::vector<std::string> told;
  std::istringstream in(simulator.standardError());
  for (const auto& line : objectsOf(in)) {
    const std::string action(line.at("actionName").as_string());
    if (line.at("module") == "vemo-simulator") {
      EXPECT_EQ(line.at("level"), 2);
      EXPECT_EQ(line.at("session"), "page 1");
      told.push_back(action);
    } else if (action.starts_with("startLocalPreview")) {
      told.push_back(action);
    }
  }
  EXPECT_EQ(told, (std::vector<std::string>{"startLocalPreview", "prompt", "network", "answer",
                                            "startLocalPreviewFailed"}));
}

TEST(SimulatorProgram, NotesAndRecordsOfAPageBearItsName) {
  std::string log;
  {
    Simulator simulator;
    Page first(simulator);
    first.send("no JSON at all");
    first.next("problem");
    Page second(simulator);
    second.send(R"({"kind":"message","text":"{\"userSig\":\"top-secret\""})");
    second.send(R"({"kind":"\"userSig\":\"top-secret\""})");
    second.next("problem");
    EXPECT_EQ(simulator.end(), 0);
    log = simulator.standardError();
  }
  EXPECT_EQ(log.find("top-secret"), std::string::npos) << log;
  std::istringstream in(log);
  const auto lines = objectsOf(in);
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[0].at("session"), "page 1");
  EXPECT_EQ(lines[0].at("module"), "vemo-simulator");
  EXPECT_EQ(lines[0].at("actionName"), "note");
  EXPECT_EQ(lines[0].at("actionParam"), "sent a frame that can't be used: this is no JSON object");
  EXPECT_EQ(lines[1].at("session"), "page 2");
  EXPECT_EQ(lines[1].at("actionName"), "badMessage");
  EXPECT_EQ(lines[2].at("session"), "page 2");
}

TEST(SimulatorProgram, EachPageIsRecordedInAFileOfItsOwn) {
  std::string name = (std::filesystem::temp_directory_path() / "vemo-XXXXXX").string();
  const std::filesystem::path folder = ::mkdtemp(name.data());
  Simulator simulator({"--record", folder.string()});
  {
    Page first(simulator);
    Page second(simulator);
    for (auto* page : {&first, &second}) {
      page->send("[]");
      page->next("problem");
    }
  }
  EXPECT_EQ(simulator.end(), 0);
  std::size_t firsts = 0;
  std::size_t seconds = 0;
  for (const auto& file : std::filesystem::directory_iterator(folder)) {
    if (file.path().string().ends_with("-page-1.vemorec")) ++firsts;
    if (file.path().string().ends_with("-page-2.vemorec")) ++seconds;
  }
  EXPECT_EQ(firsts, 1U);
  EXPECT_EQ(seconds, 1U);
  std::filesystem::remove_all(folder);
}

std::string textOf(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

/// Whether both files, the log and the session, tell of the speed test.
bool writtenIn(const std::filesystem::path& folder) {
  int written = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (entry.is_regular_file() && textOf(entry.path()).find("startSpeedTest") != std::string::npos)
      ++written;
  }
  return written == 2;
}

TEST(SimulatorProgram, NoFileHasASecret) {
  std::string name = (std::filesystem::temp_directory_path() / "vemo-XXXXXX").string();
  const std::filesystem::path folder = ::mkdtemp(name.data());
  Simulator simulator(
      {"--record", (folder / "sessions").string(), "--log", (folder / "log.jsonl").string()});
  const auto send = [](Page& page, std::string_view action, std::string_view params) {
    page.send(jsonText(
        object{{"kind", "message"},
               {"text", R"({"head":{"module":"kobu","action":")" + std::string(action) +
                            R"("},"params":)" + std::string(params) + R"(,"cbid":"c"})"}}));
  };
  {
    Page page(simulator);
    page.send(R"({"kind":"note","on":true})");
    send(page, "initSDK", "{}");
    send(page, "enterRoom",
         R"({"sdkAppId":1,"userId":"ada","userSig":"very+Secret/1","roomId":7,"appScene":0})");
    send(page, "startSpeedTest", R"({"sdkAppId":1,"userId":"ada","userSig":"very+Secret/1"})");
    send(page, "callExperimentalAPI",
         R"({"jsonStr":"{\"params\":{\"userSig\":\"very+Secret/1\"}}"})");
    send(page, "enterRoom",
         R"({"userSig":"very+Secret/1","nonsense":{"userSig":"very+Secret/1"}})");
    page.send(R"({"kind":"message","text":"{\"userSig\":\"very+Secret/1\""})");
    page.send(R"({"kind":"save"})");
    const auto saved = page.next("saved");
    EXPECT_NE(std::string_view(saved.at("text").as_string()).find("enterRoom"),
              std::string_view::npos);
    EXPECT_EQ(std::string_view(saved.at("text").as_string()).find("very+Secret"),
              std::string_view::npos);
    // What goes to files is written by others: they have their turn while the page waits.
    for (int left = 2000; left > 0 && !writtenIn(folder); --left) {
      page.send("[]");
      page.next("problem");
    }
    EXPECT_TRUE(writtenIn(folder));
    EXPECT_NE(simulator.end(SIGABRT), 0);  // which no sanitizer handles
  }
  std::size_t files = 0;
  bool dump = false;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (!entry.is_regular_file()) continue;
    ++files;
    dump = dump || entry.path().string().ends_with(".crash.vemorec");
    EXPECT_EQ(textOf(entry.path()).find("very+Secret"), std::string::npos) << entry.path();
  }
  EXPECT_TRUE(dump);
  EXPECT_EQ(files, 3U) << "the session, the dump, the log";
  std::filesystem::remove_all(folder);
}

TEST(SimulatorProgram, APageThatFloodsTheLogLeavesRoomForOthers) {
  std::vector<object> lines;
  {
    std::string name = (std::filesystem::temp_directory_path() / "vemo-XXXXXX").string();
    const std::filesystem::path folder = ::mkdtemp(name.data());
    const auto file = folder / "log.jsonl";
    Simulator simulator({"--log", file.string()});
    Page quiet(simulator);
    quiet.send("[]");
    quiet.next("problem");
    {
      Page noisy(simulator);
      for (int i = 0; i < 3000; ++i) noisy.send(R"({"kind":"message","text":"bad"})");
      noisy.send("[]");
      noisy.next("problem");
    }
    quiet.send("{}");
    quiet.next("problem");
    EXPECT_EQ(simulator.end(), 0);
    EXPECT_LT(std::filesystem::file_size(file), std::size_t{1} << 20U);
    std::ifstream in(file);
    lines = objectsOf(in);
    std::filesystem::remove_all(folder);
  }
  std::size_t quiet = 0;
  std::size_t noisy = 0;
  for (const auto& line : lines) {
    if (line.at("session") == "page 1") {
      ++quiet;
    } else if (line.contains("heldBack")) {
      noisy += line.at("heldBack").to_number<std::size_t>();
    } else {
      ++noisy;
    }
  }
  EXPECT_EQ(quiet, 2U);
  EXPECT_EQ(noisy, 3001U) << "each is written or counted";
  EXPECT_LT(lines.size(), 3000U) << "nothing was held back";
}

}  // namespace
}  // namespace vemo::test
