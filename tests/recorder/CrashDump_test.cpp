#include "recorder/CrashDump.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <boost/json/parse.hpp>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "json/JsonText.h"
#include "recorder/Recorded.h"
#include "recorder/SecretEraser.h"

namespace vemo::test {
namespace {

/// A file in a folder that goes with it.
class DumpFile {
 public:
  DumpFile() { std::filesystem::create_directories(folder_); }
  ~DumpFile() { std::filesystem::remove_all(folder_); }
  DumpFile(const DumpFile&) = delete;
  DumpFile& operator=(const DumpFile&) = delete;

  std::string name() const { return folder_ / "last.vemorec"; }
  std::string bytes() const {
    std::ifstream in(name(), std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
  }

 private:
  const std::filesystem::path folder_ =
      std::filesystem::temp_directory_path() / ("dump" + std::to_string(::getpid()));
};

/// Records a lesson in a process of its own, which `die` ends; by which signal. `more` commands
/// come behind it.
int signalOf(const std::string& file, const std::function<void()>& die, int more = 0) {
  const auto child = ::fork();
  if (child == 0) {
    const rlimit none{0, 0};
    ::setrlimit(RLIMIT_CORE, &none);
    std::signal(SIGSEGV, SIG_DFL);  // a sanitizer's handler would end the process otherwise
    FakePlatform platform;
    NoteRingOptions options;
    options.program = "1.2.3";
    const auto ring = std::make_shared<NoteRing>(options);
    const CrashDump dump(ring, file);
    Recorder recorder(platform.pieces(), ring, nullptr);
    const auto router = recorded(recorder, platform);
    send(*router, "initSDK");
    send(*router, "enterRoom",
         R"({"sdkAppId":1,"userId":"ada","userSig":"very/secret+=","roomId":7,"appScene":0})");
    send(*router, "startSpeedTest", R"({"sdkAppId":1,"userId":"ada","userSig":"very/secret+="})");
    send(*router, "callExperimentalAPI",
         R"({"APIParams":"{\"params\":{\"userSig\":\"very/secret+=\"}}"})");
    for (; more > 0; --more) send(*router, "setLogParams", R"({"level":2})");
    const Notes::Step last(*recorder.notes(), Notes::Step::onMain, [](NoteWriter& text) {
      text.add("event", std::string_view("onError"));
    });
    die();
    ::_exit(0);
  }
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
}

void expectLesson(const DumpFile& file) {
  const auto bytes = file.bytes();
  EXPECT_EQ(bytes.find("very/secret"), std::string::npos);
  const auto session = sessionOf(bytes);
  EXPECT_TRUE(session.starts_with("# Recorded by 1.2.3.\n")) << session.substr(0, 100);
  EXPECT_NE(session.find(R"("userSig":"***")"), std::string::npos) << session;
  EXPECT_NE(session.find(R"({"event":"onError")"), std::string::npos) << "the step that died of it";
  auto whole = session.substr(0, session.find(R"({"event":"onError")"));
  const auto result = checked(whole);
  EXPECT_EQ(result.find("line "), std::string::npos) << result << whole;
  EXPECT_NE(result.find("4 expectations"), std::string::npos) << result;

  std::string error;
  for (const std::size_t size : {bytes.size() - 1, bytes.size() / 2, std::size_t{500}}) {
    std::istringstream part(bytes.substr(0, size));
    readRecording(part, error);  // as far as it goes, or a sentence; and no crash
  }
  std::istringstream damaged(bytes.substr(0, 40));
  EXPECT_FALSE(readRecording(damaged, error));
  EXPECT_EQ(error, "this dump is damaged: it breaks off in its head");
}

TEST(CrashDump, OfASignalTheLastMinutesAreThere) {
  const DumpFile file;
  EXPECT_EQ(signalOf(file.name(), [] { ::raise(SIGSEGV); }), SIGSEGV);
  expectLesson(file);
}

TEST(CrashDump, OfAnExceptionThatNobodyCaughtTheLastMinutesAreThere) {
  const DumpFile file;
  EXPECT_EQ(signalOf(file.name(), [] { std::terminate(); }), SIGABRT);
  expectLesson(file);
}

TEST(CrashDump, OfASignalFromOutsideTheLastMinutesAreThere) {
  const DumpFile file;
  std::array<int, 2> ready{};
  ASSERT_EQ(::pipe(ready.data()), 0);
  std::thread killer([&] {
    pid_t child = 0;
    EXPECT_EQ(::read(ready[0], &child, sizeof child), ssize_t{sizeof child});
    ::kill(child, SIGABRT);
  });
  const auto wait = [&] {
    const auto here = ::getpid();
    if (::write(ready[1], &here, sizeof here) != ssize_t{sizeof here}) ::_exit(1);
    for (;;) ::pause();
  };
  EXPECT_EQ(signalOf(file.name(), wait), SIGABRT);
  killer.join();
  ::close(ready[0]);
  ::close(ready[1]);
  expectLesson(file);
}

TEST(CrashDump, OfTwoThreadsThatDieAtOnceTheDumpIsWhole) {
#ifdef VEMO_SANITIZES_THREADS
  GTEST_SKIP() << "its runtime starts no thread in a process that was forked beside others";
#endif
  const DumpFile file;
  ASSERT_EQ(::mkfifo(file.name().c_str(), 0600), 0);  // who writes into it waits for who reads
  std::array<int, 2> dumping{};
  ASSERT_EQ(::pipe(dumping.data()), 0);
  std::string bytes;
  std::thread reader([&] {
    const int from = ::open(file.name().c_str(), O_RDONLY);
    std::array<char, 4096> part{};
    for (ssize_t count = 0; (count = ::read(from, part.data(), part.size())) > 0;) {
      if (bytes.empty()) {
        EXPECT_EQ(::write(dumping[1], "x", 1), 1);
      }
      bytes.append(part.data(), static_cast<std::size_t>(count));
    }
    ::close(from);
  });
  const auto die = [&] {
    std::thread second([&] {
      char byte = 0;
      if (::read(dumping[0], &byte, 1) == 1) ::raise(SIGABRT);
    });
    ::raise(SIGSEGV);
  };
  EXPECT_NE(signalOf(file.name(), die, 2000), 0);
  reader.join();
  ::close(dumping[0]);
  ::close(dumping[1]);
  std::istringstream in(bytes);
  std::string error;
  const auto recording = readRecording(in, error);
  ASSERT_TRUE(recording) << error;
  EXPECT_FALSE(recording->cutOff) << bytes.size();
}

TEST(CrashDump, WhereNothingCanBeWrittenTheProcessDiesAsItWould) {
  EXPECT_EQ(signalOf("/dev/full", [] { ::raise(SIGSEGV); }), SIGSEGV);
  EXPECT_EQ(signalOf("/no/such/folder/file", [] { ::raise(SIGSEGV); }), SIGSEGV);
}

/// What a dump of `ring` has.
std::string dumpOf(const NoteRing& ring) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::tmpfile(), &std::fclose);
  EXPECT_TRUE(ring.dump(::fileno(file.get()), {"userSig"}));
  std::string bytes(static_cast<std::size_t>(::lseek(::fileno(file.get()), 0, SEEK_CUR)), '\0');
  EXPECT_EQ(::pread(::fileno(file.get()), bytes.data(), bytes.size(), 0), std::ssize(bytes));
  return bytes;
}

TEST(CrashDump, TheRingIsOnlyRead) {
  FakePlatform platform;
  const auto ring = std::make_shared<NoteRing>(NoteRingOptions());
  ring->prepareDump();
  Recorder recorder(platform.pieces(), ring, nullptr);
  const auto router = recorded(recorder, platform);
  send(*router, "initSDK");
  // Larger than any chunk was when the dump was prepared.
  send(*router, "enterRoom",
       R"({"sdkAppId":1,"userId":"ada","userSig":"very/secret+=","roomId":7,"more":")" +
           std::string(std::size_t{200} << 10U, 'x') + R"("})");
  const auto before = ring->recording(nullptr);
  EXPECT_NE(before.find("very/secret"), std::string::npos);
  const auto dump = dumpOf(*ring);
  EXPECT_EQ(dump.find("very/secret"), std::string::npos);
  EXPECT_NE(sessionOf(dump).find(R"("userSig":"***")"), std::string::npos);
  EXPECT_EQ(ring->recording(nullptr), before);
}

TEST(CrashDump, MayBeWrittenWhileOthersWrite) {
  NoteRingOptions options;
  options.bytes = std::size_t{512} << 10U;
  NoteRing ring(options);
  ring.prepareDump();
  std::atomic<std::uint64_t> steps = 0;
  std::atomic<int> writing = 0;
  std::vector<std::jthread> threads;
  for (int thread = 0; thread < 3; ++thread) {
    threads.emplace_back([&](const std::stop_token& enough) {
      ObjectNames names;
      for (int count = 0; !enough.stop_requested(); ++count) {
        const auto step = ++steps;
        auto& memory = ring.memory(NoteLane::steps);
        NoteWriter note(memory, names, sizeof(NoteHead));
        note.add("text", R"({"userSig":"very/secret+=","of":")" + std::to_string(step) + R"("})");
        const auto whole = note.whole();
        NoteHead head;
        head.step = step;
        NoteRing::keep(memory, head, whole);
        if (count == 1000) {
          ++writing;
          writing.notify_one();
        }
      }
    });
  }
  for (auto count = writing.load(); count < 3; count = writing.load()) writing.wait(count);
  for (int i = 0; i < 10; ++i) {
    const auto dump = dumpOf(ring);
    EXPECT_EQ(dump.find("very/secret"), std::string::npos);
    std::istringstream in(dump);
    std::string error;
    const auto recording = readRecording(in, error);
    ASSERT_TRUE(recording) << error;
    EXPECT_GT(recording->notes.size(), 100U);
    for (const auto& note : recording->notes)
      EXPECT_EQ(note.what.at("text").as_string().find(R"({"userSig":"***","of":")"), 0U);
  }
}

std::string erased(const std::function<void(NoteWriter&)>& write) {
  ScratchMemory memory;
  ObjectNames names;
  NoteWriter note(memory, names);
  write(note);
  const auto size = note.whole().size();
  eraseSecrets(memory.begin(), size, {"userSig"});
  std::string json;
  EXPECT_TRUE(appendNoteJson(json, {memory.begin(), size}));
  std::ranges::replace(json, kErased, '*');  // to be read here
  return json;
}

TEST(SecretEraser, ErasesInRecordsAndInJsonOfAnyDepth) {
  KOBUParams params;
  params.userSig = "geheim";
  EXPECT_NE(
      erased([&](NoteWriter& note) { note.add("args", params); }).find(R"("userSig":"******")"),
      std::string::npos);
  const auto inText = [](std::string_view text) {
    return erased([&](NoteWriter& note) { note.add("text", text).add("name", std::string("n")); });
  };
  EXPECT_EQ(inText(R"({"userSig" : "ab","x":"c"})"),
            R"({"text":"{\"userSig\" : \"**\",\"x\":\"c\"}","name":"n"})");
  EXPECT_EQ(inText(R"({"a":"{\"userSig\":\"ab\",\"x\":1}"})"),
            R"({"text":"{\"a\":\"{\\\"userSig\\\":\\\"**\\\",\\\"x\\\":1}\"}","name":"n"})");
  EXPECT_EQ(inText(R"({"userSig":-2.5e3,"x":2})"),
            R"({"text":"{\"userSig\":-1.1e1,\"x\":2}","name":"n"})");
  EXPECT_EQ(inText(R"({"userSig":"42","x":2})"),
            R"({"text":"{\"userSig\":\"11\",\"x\":2}","name":"n"})");
  for (const std::string value : {"null", "true", "false", "{ }", "[]"}) {
    EXPECT_EQ(inText(R"({"userSig":)" + value + R"(,"x":2})"),
              R"({"text":"{\"userSig\":)" + value + R"(,\"x\":2}","name":"n"})");
  }
  EXPECT_EQ(inText(R"({"userSig":"ab)"), R"({"text":"{\"userSig\":\"**","name":"n"})");
  EXPECT_EQ(inText(R"({"myuserSig":"ab"} userSig)"),
            R"({"text":"{\"myuserSig\":\"ab\"} userSig","name":"n"})");
}

TEST(SecretEraser, FindsSecretsThatAreHidden) {
  const auto holdsNone = [](auto write) {
    const auto text = erased(write);
    EXPECT_EQ(text.find("geheim"), std::string::npos) << text;
  };
  for (const auto* value :
       {R"({"a":"b c","d":"geheim"})", R"([1,"geheim"])", R"({"a":{},"d":["geheim"]})"}) {
    const auto json = boost::json::parse(R"({"userSig":)" + std::string(value) + "}");
    holdsNone([&](NoteWriter& note) { note.add("args", json); });
    holdsNone([&](NoteWriter& note) { note.add("text", jsonText(json)); });
    const auto both =
        erased([&](NoteWriter& note) { note.add("args", json).add("text", "shown"); });
    EXPECT_TRUE(both.ends_with(R"("text":"shown"})")) << both;
  }
  for (const auto* text :
       {R"({"user\u0053ig":"geheim"})", R"({"\u0075serSig":"geheim"})",
        R"({"userSi\u0067":"geheim"})", R"({"a":"{\"user\\u0053ig\":\"geheim\"}"})",
        R"({"a":"{\u0022userSig\u0022:\u0022geheim\u0022}"})",
        R"({"a":"{\"userSig\"\u003a\"geheim\"}"})",
        R"({"a":"{\"\\u\u0030075serSig\":\"geheim\"}"})",
        R"({"a":"{\"userSig\"\n\t:\r\n \"x y, geheim\"}"})"})
    holdsNone([&](NoteWriter& note) { note.add("text", std::string(text)); });
  EXPECT_EQ(erased([](NoteWriter& note) { note.add("text", R"(\u000a \u003c \u00 \u00zz)"); }),
            R"({"text":"\\u000a \\u003c \\u00 \\u00zz"})");
}

}  // namespace
}  // namespace vemo::test
