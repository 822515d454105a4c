#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "replay/Rows.h"
#include "replay/Scenario.h"

namespace vemo::replay {

/// Makes steps of the lines of one scenario, which it is given in order.
class ScenarioReader {
 public:
  /// Set-ups are looked for in `folder` and the folders above it; empty: the working folder.
  explicit ScenarioReader(std::filesystem::path folder) : folder_(std::move(folder)) {}

  /// The steps of the next line: none, one or, for a row, several; the first of them is the
  /// step with the number `first`. A line that can't be read is a ScenarioError.
  std::vector<Step> stepsOf(std::string_view line, std::int64_t first);

 private:
  Step complete(Step step) const;

  const std::filesystem::path folder_;
  std::optional<Table> table_;
};

}  // namespace vemo::replay
