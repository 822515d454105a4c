#include "platform/StreamSystemLog.h"

#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <semaphore>
#include <sstream>
#include <streambuf>
#include <string>
#include <string_view>
#include <vector>

#include "platform/ForwardingPlatform.h"
#include "testing/contracts/SystemLog_contract.h"

namespace vemo {
namespace {

struct StreamSystemLogMaker {
  SystemLog& log() { return *log_; }
  std::vector<std::string> lines() {
    log_.reset();  // writes what it has
    std::istringstream in(out_.str());
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
  }

  std::ostringstream out_;
  std::optional<StreamSystemLog> log_{std::in_place, out_};
};
INSTANTIATE_TYPED_TEST_SUITE_P(StreamSystemLog, SystemLogContract, StreamSystemLogMaker);

struct ForwardedStreamSystemLogMaker : StreamSystemLogMaker {
  SystemLog& log() { return forwarder_; }

  ForwardingSystemLog forwarder_{*log_};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Forwarding, SystemLogContract, ForwardedStreamSystemLogMaker);

TEST(StreamSystemLog, WritesToStandardErrorUnlessToldOtherwise) {
  ::testing::internal::CaptureStderr();
  StreamSystemLog().writeLine("exitRoom::::::");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "exitRoom::::::\n");
}

std::string written(std::string_view line) {
  std::ostringstream out;
  StreamSystemLog(out).writeLine(line);
  return out.str();
}

TEST(StreamSystemLog, LetsNoLineBreakAndNoEscapeThrough) {
  EXPECT_EQ(written("a\nforged\r\x1b[2J\x7f"), "a\\u000aforged\\u000d\\u001b[2J\\u007f\n");
  EXPECT_EQ(written("\xC2\x9B"
                    "2J \xff é"),
            "\\u009b2J \uFFFD é\n");
}

TEST(StreamSystemLog, MasksSecretsInJson) {
  const auto line = written(R"(entering with {"userId":"ada","userSig":"top-secret"})");
  EXPECT_TRUE(line.starts_with(R"(entering with {"userId":"ada","userSig":"***)")) << line;
  EXPECT_EQ(line.find("top-secret"), std::string::npos);
}

/// The inside of a stream that takes nothing until it is opened.
class StuckBuffer final : public std::streambuf {
 public:
  void waitUntilStuck() { stuck_.acquire(); }
  void open() { open_.release(); }
  std::string text;  // once the log is gone

 protected:
  int_type overflow(int_type c) override {
    if (!opened_) {
      stuck_.release();
      open_.acquire();
      opened_ = true;
    }
    text += traits_type::to_char_type(c);
    return c;
  }

 private:
  std::binary_semaphore stuck_{0};
  std::binary_semaphore open_{0};
  bool opened_ = false;  // the log's thread
};

TEST(StreamSystemLog, CallersNeverWaitForAStuckStream) {
  StuckBuffer buffer;
  std::ostream out(&buffer);
  {
    StreamSystemLog log(out);
    log.writeLine("first");
    buffer.waitUntilStuck();
    for (int i = 0; i < 2000; ++i) log.writeLine("more");  // would hang if it waited
    log.writeLine("last");
    buffer.open();
  }
  EXPECT_TRUE(buffer.text.starts_with("first\nStreamSystemLog: 977 dropped\nmore\n"))
      << buffer.text.substr(0, 80);
  EXPECT_TRUE(buffer.text.ends_with("more\nlast\n"));
}

TEST(StreamSystemLog, SaysWhatAFailingStreamLost) {
  std::ofstream full("/dev/full");
  { StreamSystemLog(full).writeLine("lost"); }  // no harm
  std::ostringstream out;
  out.setstate(std::ios::badbit);
  StreamSystemLog(out).writeLine("kept");
  EXPECT_EQ(out.str(), "kept\n") << "an earlier failure is no failure for ever";
}

}  // namespace
}  // namespace vemo
