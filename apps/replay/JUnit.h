#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "replay/ExitStatus.h"

namespace vemo::replay {

/// What came of one scenario of a suite.
struct ScenarioResult {
  std::filesystem::path file;
  ExitStatus status = kDone;
  std::int64_t steps = 0;
  std::int64_t expectations = 0;
  std::vector<std::string> failures;  ///< expectations that failed
  std::vector<std::string> remarks;   ///< what differs and is no failure
  std::string error;                  ///< why it did not come to its end, or what it left; one line
  std::chrono::duration<double> time{0};
};

/// The results as JUnit's XML: a suite for each folder, a case for each scenario. Any text and
/// name is made such as XML can hold.
std::string junitXml(const std::vector<ScenarioResult>& results);

}  // namespace vemo::replay
