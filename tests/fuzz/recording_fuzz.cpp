// A recording or a dump, whole, damaged or foreign. What can be read becomes a scenario whose
// lines are JSON, and plays to its end or is refused with a reason.

#include <sstream>
#include <string>

#include "fuzz/FuzzTarget.h"
#include "recorder/Recording.h"
#include "replay/Replay.h"
#include "replay/ScenarioError.h"
#include "replay/SessionWriter.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vemo;
  std::istringstream in{std::string(fuzz::textOf(data, size))};
  std::string error;
  const auto recording = readRecording(in, error);
  fuzz::must(recording.has_value() == error.empty(), "a refusal says why", error);
  if (!recording) return 0;

  std::stringstream scenario;
  try {
    replay::writeSession(*recording, scenario);
  } catch (const replay::ScenarioError& damage) {
    fuzz::must(scenario.str().empty(), "nothing is half written", damage.what());
    return 0;
  }
  fuzz::forEachLine(scenario.str(), [](std::string_view line) {
    fuzz::must(line.empty() || line.starts_with('#') || fuzz::isJson(line),
               "a scenario's line is JSON", line);
  });
  std::ostringstream out;
  std::ostringstream err;
  const auto status =
      replay::replay(scenario, replay::Mode::check, out, err, "/nonexistent/it.jsonl");
  fuzz::must(status != replay::kSomethingLeft, "nothing is left over", err.str());
  return 0;
}
