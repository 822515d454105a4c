#include "Replay.h"

#include <cstdint>
#include <istream>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "Matcher.h"
#include "Player.h"
#include "ScenarioError.h"
#include "ScenarioReader.h"
#include "json/JsonText.h"

namespace vemo::replay {
namespace {

void writeTranscript(std::ostream& out, const std::vector<Transcript::Effect>& effects) {
  for (const auto& effect : effects) out << jsonText(effect) << '\n';
  out.flush();  // what was done is known, however the run ends
}

/// One line, whatever the scenario put into the message.
std::string oneLine(std::string text) {
  for (auto& c : text) {
    if (static_cast<unsigned char>(c) < ' ') c = ' ';
  }
  return text;
}

std::string counted(std::int64_t count, std::string_view noun) {
  return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : "s");
}

}  // namespace

ExitStatus replay(std::istream& scenario, Mode mode, std::ostream& out, std::ostream& err,
                  const std::filesystem::path& folder) {
  ScenarioReader reader(folder);
  Player player;
  auto status = kDone;
  auto effects = player.takeEffects();
  if (mode == Mode::transcript) writeTranscript(out, effects);

  std::string line;
  std::int64_t step = 0;
  std::int64_t number = 0;
  std::int64_t expectations = 0;
  while (std::getline(scenario, line)) {
    ++number;
    try {
      for (const auto& next : reader.stepsOf(line, step + 1)) {
        ++step;
        player.play(next);
        effects = player.takeEffects();
        if (mode == Mode::transcript) {
          writeTranscript(out, effects);
        } else if (next.expect) {
          ++expectations;
          if (const auto difference = mismatch(*next.expect, next.partial, effects)) {
            out << "line " << number << ", step " << step << next.note << ": " << *difference
                << '\n';
            status = kExpectationFailed;
          }
        }
      }
    } catch (const ArgumentError& error) {
      err << "line " << number << ": " << oneLine(error.what()) << '\n';
      return kUnreadable;
    }
  }
  if (scenario.bad()) {
    err << "line " << number + 1 << ": can't be read\n";
    return kUnreadable;
  }
  for (const auto& [kind, count] : player.finish()) {
    err << "left alive at the end: " << count << ' ' << kind << '\n';
    status = kSomethingLeft;
  }
  if (mode == Mode::check) {
    out << counted(step, "step") << ", " << counted(expectations, "expectation") << '\n';
  }
  return status;
}

}  // namespace vemo::replay
