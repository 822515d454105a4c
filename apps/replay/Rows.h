#pragma once

#include <boost/json/array.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "replay/Scenario.h"

namespace vemo::replay {

/// What {"rows": ...} begins: the command that the rows below it play, and the step that
/// follows each of them.
struct Table {
  std::string command;
  std::optional<Step> then;
};

/// The table that `keys`, an object with the key "rows", begins. Other keys than "then", and
/// a "then" that is no step, are a ScenarioError.
Table tableFrom(const json::object& keys);

/// The steps of one row, [outcome, params...]: the command with each of the params, expecting
/// the whole outcome, and the table's step behind it. `line` is the row as it is written and
/// `first` the number of its first step. A row that is none is a ScenarioError.
std::vector<Step> stepsOfRow(const Table& table, const json::array& row, std::string_view line,
                             std::int64_t first);

}  // namespace vemo::replay
