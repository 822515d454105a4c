#pragma once

#include "json/Arguments.h"

namespace vemo::replay {

namespace json = boost::json;

/// The scenario can't be played; says why. The run ends at its step, as it does at a value of
/// the scenario that does not fit.
class ScenarioError : public ArgumentError {
 public:
  using ArgumentError::ArgumentError;
};

}  // namespace vemo::replay
