#include "platform/StreamSystemLog.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "testing/contracts/SystemLog_contract.h"

namespace vemo {
namespace {

struct StreamSystemLogMaker {
  SystemLog& log() { return log_; }
  std::vector<std::string> lines() {
    std::istringstream in(out_.str());
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
  }

  std::ostringstream out_;
  StreamSystemLog log_{out_};
};
INSTANTIATE_TYPED_TEST_SUITE_P(StreamSystemLog, SystemLogContract, StreamSystemLogMaker);

TEST(StreamSystemLog, WritesToStandardErrorUnlessToldOtherwise) {
  ::testing::internal::CaptureStderr();
  StreamSystemLog().writeLine("exitRoom::::::");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "exitRoom::::::\n");
}

}  // namespace
}  // namespace vemo
