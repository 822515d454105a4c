#pragma once

#include <boost/json/object.hpp>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "replay/Player.h"

// A router on a device, an engine and a user who answer whatever they are asked for.

namespace vemo::test {

using Effects = std::vector<replay::Transcript::Effect>;
using Steps = std::vector<std::string>;

/// That the engine has entered the room; that it has begun to capture the screen.
inline const std::string kEntered = R"({"event":"onEnterRoom","args":[120],"thread":"main"})";
inline const std::string kCaptured = R"({"event":"onScreenCaptureStarted","thread":"main"})";

/// How things go for a router: the device, and what its engine and its user answer.
struct World {
  std::string_view name;
  std::string_view device = "{}";             ///< what is different from the usual device
  Steps before;                               ///< what has happened already
  std::map<std::string_view, Steps> answers;  ///< to what is asked for, by its name
};

/// The world in which all goes well.
const World& goodWorld();
/// The others, each with a trouble of its own, or another thing that can be so.
const std::vector<World>& otherWorlds();

/// How far the router has come when it is examined.
enum class Prepared : std::uint8_t { nothing, engine, room };

class Stage {
 public:
  Stage(const World& world, Prepared prepared);

  /// What comes of a scenario's step.
  Effects play(std::string_view step);
  /// What comes of the answers to all that `effects` ask for.
  Effects answer(const Effects& effects);

 private:
  const World& world_;
  replay::Player player_;
};

/// An event in two shapes, as steps of a scenario.
struct EventSample {
  std::string full;   ///< everything is given
  std::string empty;  ///< whatever can be absent is
};

/// Samples of all events that an engine, or the broadcast extension, can cause, by name.
const std::map<std::string_view, EventSample>& eventSamples();

}  // namespace vemo::test
