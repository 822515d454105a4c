#include "replay/Replay.h"

#include <algorithm>
#include <cstdint>
#include <ostream>

#include "json/JsonText.h"
#include "replay/Playback.h"

namespace vemo::replay {

ExitStatus replay(std::istream& scenario, Mode mode, std::ostream& out, std::ostream& err,
                  const std::filesystem::path& file) {
  std::int64_t steps = 0;
  std::int64_t expectations = 0;
  auto status = kDone;
  const auto after = [&](const PlayedStep& played) {
    if (mode == Mode::transcript) {
      for (const auto& effect : played.effects) out << jsonText(effect) << '\n';
      out.flush();  // what was done is known, however the run ends
      return;
    }
    steps = played.number;
    if (played.step && played.step->expect) ++expectations;
    if (const auto failure = failureOf(played, file)) {
      out << *failure << '\n';
      if (!mayDiffer(played)) status = kExpectationFailed;
    }
  };
  status = std::max(playBack(scenario, file, after, err), status);
  if (mode == Mode::check && status != kUnreadable)
    out << counted(steps, "step") << ", " << counted(expectations, "expectation") << '\n';
  return status;
}

}  // namespace vemo::replay
