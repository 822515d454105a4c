#include "replay/Playback.h"

#include <istream>
#include <ostream>

#include "recorder/ReadLine.h"
#include "replay/Matcher.h"
#include "replay/Player.h"
#include "replay/ScenarioError.h"
#include "replay/ScenarioReader.h"

namespace vemo::replay {
namespace {

/// One line, whatever the scenario put into the message.
std::string oneLine(std::string text) {
  for (auto& c : text) {
    if (static_cast<unsigned char>(c) < ' ') c = ' ';
  }
  return text;
}

}  // namespace

ExitStatus playBack(std::istream& scenario, const std::filesystem::path& folder,
                    const std::function<void(const PlayedStep&)>& after, std::ostream& err) {
  ScenarioReader reader(folder);
  Player player;
  auto effects = player.takeEffects();
  after({nullptr, 0, 0, effects});

  std::string line;
  std::int64_t step = 0;
  std::int64_t number = 0;
  for (auto read = readLine(scenario, line); read != LineRead::none;
       read = readLine(scenario, line)) {
    ++number;
    try {
      if (read == LineRead::tooLong) throw ScenarioError(std::string(kLineTooLong));
      for (const auto& next : reader.stepsOf(line, step + 1)) {
        ++step;
        player.play(next);
        effects = player.takeEffects();
        after({&next, number, step, effects});
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
  auto status = kDone;
  for (const auto& [kind, count] : player.finish()) {
    err << "left alive at the end: " << count << ' ' << kind << '\n';
    status = kSomethingLeft;
  }
  return status;
}

std::optional<std::string> failureOf(const PlayedStep& played) {
  if (!played.step || !played.step->expect) return std::nullopt;
  auto difference = mismatch(*played.step->expect, played.step->partial, played.effects);
  if (!difference) return std::nullopt;
  return "line " + std::to_string(played.line) + ", step " + std::to_string(played.number) +
         played.step->note + ": " + *std::move(difference);
}

std::string counted(std::int64_t count, std::string_view noun) {
  return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : "s");
}

}  // namespace vemo::replay
