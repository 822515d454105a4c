#pragma once

#include <stdexcept>

namespace vemo::replay {

/// The scenario can't be played; says why. The run ends at its step.
class ScenarioError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace vemo::replay
