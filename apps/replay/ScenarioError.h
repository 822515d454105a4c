#pragma once

#include <cstddef>
#include <string>
#include <utility>

#include "json/Arguments.h"

namespace vemo::replay {

namespace json = boost::json;

/// The scenario can't be played; says why. The run ends at its step, as it does at a value of
/// the scenario that does not fit.
class ScenarioError : public ArgumentError {
 public:
  using ArgumentError::ArgumentError;
};

/// A line is no JSON.
class NoJsonError : public ScenarioError {
 public:
  /// `column`: where it stops being some, from 1.
  NoJsonError(std::size_t column, std::string why)
      : ScenarioError("no JSON: column " + std::to_string(column) + ": " + why),
        column_(column),
        why_(std::move(why)) {}

  std::size_t column() const { return column_; }
  const std::string& why() const { return why_; }

 private:
  std::size_t column_;
  std::string why_;
};

}  // namespace vemo::replay
