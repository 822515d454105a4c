// The simulator as a program that page after page talks to.

#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <boost/asio/connect.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/websocket.hpp>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "json/JsonText.h"

namespace vemo::test {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace websocket = beast::websocket;
using asio::ip::tcp;
using boost::json::object;

/// A simulator with a page of its own to serve, and a standard error that is read only
/// when a test reads it.
class Simulator {
 public:
  explicit Simulator(std::vector<std::string> options = {}) {
    std::string name = (std::filesystem::temp_directory_path() / "vemo-XXXXXX").string();
    folder_ = ::mkdtemp(name.data());
    std::ofstream(folder_ / "index.html") << "<p>page</p>";
    options.insert(options.begin(), {VEMO_SIMULATOR, "--port", "0", "--shell", folder_.string()});
    std::vector<char*> arguments;
    arguments.reserve(options.size() + 1);
    for (auto& option : options) arguments.push_back(option.data());
    arguments.push_back(nullptr);
    std::array<int, 2> out{};
    std::array<int, 2> err{};
    EXPECT_EQ(::pipe(out.data()), 0);
    EXPECT_EQ(::pipe(err.data()), 0);
    process_ = ::fork();
    if (process_ == 0) {
      // The token of whoever runs the tests is not touched.
      ::setenv("XDG_STATE_HOME", (folder_ / "state").c_str(), 1);
      ::dup2(out[1], STDOUT_FILENO);
      ::dup2(err[1], STDERR_FILENO);
      for (const int end : {out[0], out[1], err[0], err[1]}) ::close(end);
      ::execv(arguments[0], arguments.data());
      ::_exit(127);
    }
    ::close(out[1]);
    ::close(err[1]);
    standardError_ = err[0];
    std::string address;
    for (char c = 0; ::read(out[0], &c, 1) == 1 && c != '\n';) address += c;
    ::close(out[0]);
    constexpr std::string_view kScheme = "http://";
    EXPECT_TRUE(address.starts_with(kScheme)) << address;
    constexpr std::string_view kToken = "/?token=";
    const auto slash = address.find(kToken);
    EXPECT_NE(slash, std::string::npos) << address;
    host_ = address.substr(kScheme.size(), slash - kScheme.size());
    token_ = address.substr(slash + kToken.size());
  }
  ~Simulator() {
    if (process_ > 0) end();
    ::close(standardError_);
    std::filesystem::remove_all(folder_);
  }
  Simulator(const Simulator&) = delete;
  Simulator& operator=(const Simulator&) = delete;

  const std::string& host() const { return host_; }
  const std::string& token() const { return token_; }
  std::string file(const std::string& name) const { return (folder_ / name).string(); }

  /// Asks it to end, or ends it by another signal; its exit status.
  int end(int signal = SIGTERM) {
    ::kill(process_, signal);
    int status = -1;
    ::waitpid(process_, &status, 0);
    process_ = -1;
    return status;
  }

  /// What it wrote to standard error, once it has ended.
  std::string standardError() const {
    std::string text;
    std::array<char, 4096> bytes{};
    for (ssize_t count = 0; (count = ::read(standardError_, bytes.data(), bytes.size())) > 0;)
      text.append(bytes.data(), static_cast<std::size_t>(count));
    return text;
  }

 private:
  std::filesystem::path folder_;
  pid_t process_ = -1;
  int standardError_ = -1;
  std::string host_;
  std::string token_;
};

/// A page that gives up, and fails the test, when it hears nothing for a long time.
class Page {
 public:
  explicit Page(const Simulator& simulator) : stream_(io_) {
    const auto colon = simulator.host().find(':');
    tcp::endpoint address(
        asio::ip::address_v4::loopback(),
        static_cast<std::uint16_t>(std::stoi(simulator.host().substr(colon + 1))));
    beast::get_lowest_layer(stream_).connect(address);
    stream_.set_option(websocket::stream_base::decorator([&](websocket::request_type& request) {
      request.set(beast::http::field::origin, "http://" + simulator.host());
    }));
    stream_.handshake(simulator.host(), "/phone?token=" + simulator.token());
  }

  void send(std::string_view text) { stream_.write(asio::buffer(text)); }

  /// The next frame of this kind.
  object next(std::string_view kind) {
    for (;;) {
      beast::flat_buffer buffer;
      beast::error_code problem = asio::error::would_block;
      beast::get_lowest_layer(stream_).expires_after(std::chrono::seconds(20));
      stream_.async_read(buffer, [&](beast::error_code result, std::size_t) { problem = result; });
      io_.restart();
      io_.run();
      if (problem) {
        ADD_FAILURE() << "no frame \"" << kind << "\": " << problem.message();
        return {};
      }
      auto frame = boost::json::parse(beast::buffers_to_string(buffer.data())).as_object();
      if (frame.at("kind").as_string() == kind) return frame;
    }
  }

 private:
  asio::io_context io_;
  websocket::stream<beast::tcp_stream> stream_;
};

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
