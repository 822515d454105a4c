#include "replay/Playback.h"

#include <istream>
#include <ostream>
#include <string>

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

/// How a sentence about a line begins.
std::string placeOf(const std::filesystem::path& file, std::int64_t line) {
  return (file.empty() ? "" : file.string() + ": ") + "line " + std::to_string(line);
}

}  // namespace

std::string sentenceOf(const std::filesystem::path& file, std::int64_t line,
                       const std::exception& error) {
  return placeOf(file, line) + ": " + error.what();
}

ExitStatus playBack(std::istream& scenario, const std::filesystem::path& file,
                    const std::function<void(const PlayedStep&)>& after, std::ostream& err) {
  ScenarioReader reader(file.parent_path());
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
      err << oneLine(sentenceOf(file, number, error)) << '\n';
      return kUnreadable;
    }
  }
  if (scenario.bad()) {
    err << sentenceOf(file, number + 1, ScenarioError("can't be read")) << '\n';
    return kUnreadable;
  }
  auto status = kDone;
  for (const auto& [kind, count] : player.finish()) {
    err << (file.empty() ? "" : file.string() + ": ") << "left alive at the end: " << count << ' '
        << kind << '\n';
    status = kSomethingLeft;
  }
  return status;
}

std::optional<std::string> failureOf(const PlayedStep& played, const std::filesystem::path& file) {
  if (!played.step || !played.step->expect) return std::nullopt;
  auto difference = mismatch(*played.step->expect, played.step->partial, played.effects);
  if (!difference) return std::nullopt;
  return placeOf(file, played.line) + ", step " + std::to_string(played.number) +
         played.step->note + ": " + *std::move(difference);
}

bool mayDiffer(const PlayedStep& played) { return played.step && played.step->overlaps; }

std::string counted(std::int64_t count, std::string_view noun) {
  return std::to_string(count) + " " + std::string(noun) + (count == 1 ? "" : "s");
}

}  // namespace vemo::replay
