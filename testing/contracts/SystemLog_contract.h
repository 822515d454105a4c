#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include "bridge/VEMOLogger.h"

namespace vemo {

/// What every SystemLog promises. A Maker has:
///   SystemLog& log();
///   std::vector<std::string> lines();  what was written, in order. May end the log
template <class Maker>
class SystemLogContract : public ::testing::Test {
 protected:
  Maker maker_;
};

TYPED_TEST_SUITE_P(SystemLogContract);

TYPED_TEST_P(SystemLogContract, WritesLinesAsTheyAre) {
  this->maker_.log().writeLine("exitRoom::::::");
  this->maker_.log().writeLine("");
  this->maker_.log().writeLine("100 % é \"quoted\" %s");
  EXPECT_EQ(this->maker_.lines(),
            (std::vector<std::string>{"exitRoom::::::", "", "100 % é \"quoted\" %s"}));
}

TYPED_TEST_P(SystemLogContract, KeepsLinesOfSeveralThreadsWhole) {
  constexpr int kLines = 200;
  const auto write = [this](char letter) {
    for (int i = 0; i < kLines; ++i) this->maker_.log().writeLine(std::string(50, letter));
  };
  std::thread other(write, 'b');
  write('a');
  other.join();
  const auto lines = this->maker_.lines();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), std::string(50, 'a')), kLines);
  EXPECT_EQ(std::count(lines.begin(), lines.end(), std::string(50, 'b')), kLines);
}

REGISTER_TYPED_TEST_SUITE_P(SystemLogContract, WritesLinesAsTheyAre,
                            KeepsLinesOfSeveralThreadsWhole);

}  // namespace vemo
