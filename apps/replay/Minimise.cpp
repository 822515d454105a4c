#include "replay/Minimise.h"

#include <algorithm>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <boost/json/value_from.hpp>
#include <boost/json/value_to.hpp>
#include <cstddef>
#include <cstdint>
#include <istream>
#include <numeric>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "json/JsonText.h"
#include "recorder/ReadLine.h"
#include "replay/JUnit.h"
#include "replay/OwnProcess.h"
#include "replay/Playback.h"
#include "replay/Player.h"
#include "replay/Scenario.h"
#include "replay/ScenarioError.h"
#include "replay/ScenarioReader.h"

namespace vemo::replay {
namespace {

using Clock = std::chrono::steady_clock;
using Lines = std::vector<std::string>;
using Places = std::vector<std::size_t>;  ///< of lines, from 0

/// `text` without the numbers behind `mark`, which are others when steps are left out.
std::string withoutNumbers(std::string text, std::string_view mark) {
  for (auto at = text.find(mark); at != std::string::npos; at = text.find(mark, at + mark.size())) {
    const auto from = at + mark.size();
    const auto end = text.find_first_not_of("0123456789", from);
    text.erase(from, (end == std::string::npos ? text.size() : end) - from);
  }
  return text;
}

/// What `failure` says, behind the numbers of line and step, and without those of other steps. As
/// UTF-8, since processes tell each other.
std::string whatOf(const std::string& failure) {
  const auto from = failure.find(": ");
  const auto more = std::min(failure.find('\n'), failure.size());
  return validUtf8(failure.substr(from, more - from) +
                   withoutNumbers(withoutNumbers(failure.substr(more), "\"step\":"), "\"#"));
}

/// What a check says.
struct Checked {
  struct Difference {
    std::size_t place;     // of its line
    std::string sentence;  // its first line
    std::string what;
  };
  int status = kDone;
  std::string error;
  std::vector<Difference> differences;
};

/// Checks `lines` in a process of its own: some counts are kept as long as one lives.
Checked checked(const Lines& lines, const std::filesystem::path& file) {
  const auto process = inOwnProcess([&] {
    std::stringstream scenario;
    for (const auto& line : lines) scenario << line << '\n';
    std::ostringstream err;
    json::array differences;
    const auto after = [&](const PlayedStep& played) {
      const auto failure = failureOf(played);
      if (!failure || mayDiffer(played)) return;
      const auto sentence = *failureOf(played, file);
      differences.emplace_back(json::array{
          played.line - 1, validUtf8(sentence.substr(0, sentence.find('\n'))), whatOf(*failure)});
    };
    const int status = playBack(scenario, file, after, err);
    return jsonText(json::object{
        {"status", status}, {"error", validUtf8(err.str())}, {"differences", differences}});
  });
  if (!process.good) return {kSomethingLeft, process.text + '\n', {}};
  const auto told = json::parse(process.text).as_object();
  Checked result{told.at("status").to_number<int>(), std::string(told.at("error").as_string()), {}};
  for (const auto& one : told.at("differences").as_array()) {
    const auto& difference = one.as_array();
    result.differences.push_back({difference[0].to_number<std::size_t>(),
                                  std::string(difference[1].as_string()),
                                  std::string(difference[2].as_string())});
  }
  return result;
}

/// Finds lines that the difference in the last one does not need.
///
/// A process that has played the lines up to a place is copied for each trial of what may follow,
/// so that none plays the beginning again. It goes from the end on: what follows is short then.
class Search {
 public:
  /// The difference is `what` at the last of `lines`, of which each can be read.
  Search(const Lines& lines, std::string what, std::filesystem::path folder, Clock::time_point end)
      : what_(std::move(what)), folder_(std::move(folder)), end_(end) {
    for (const auto& line : lines) lines_.push_back({line, stepIn(line)});
    lines_.back().step.reset();
  }

  /// The places of lines that have the difference without the others, and why it may be that some
  /// of them could go, too.
  std::pair<Places, std::string> needed() {
    const auto last = lines_.size() - 1;
    auto places = inCopy(0, last, [&] {
      Played played(folder_);
      return least(played, 0, last, {last});
    });
    places.push_back(last);
    return {places, whyNot_};
  }

 private:
  struct Line {
    std::string text;
    // Without what it expects, where the line can be read once for all.
    std::optional<Step> step;
  };

  /// A router, and what was played to it.
  struct Played {
    explicit Played(const std::filesystem::path& folder) : reader(folder) {
      player.takeEffects();  // of making the router
    }

    ScenarioReader reader;
    Player player;
    std::int64_t steps = 0;
  };

  /// The step of a line that needs no other line and no other file.
  static std::optional<Step> stepIn(const std::string& line) {
    auto value = valueFrom(line);
    auto* const keys = value ? value->if_object() : nullptr;
    if (!keys || keys->contains("rows") || keys->contains("use")) return std::nullopt;
    keys->erase("expect");
    keys->erase("partial");
    return stepOf(std::move(*keys));
  }

  /// Plays the line at `place`; whether it has the difference.
  bool play(Played& played, std::size_t place) const {
    const auto& line = lines_[place];
    bool differs = false;
    const auto one = [&](const Step& step) {
      played.player.play(step);
      const auto effects = played.player.takeEffects();
      const auto failure = failureOf({&step, 0, ++played.steps, effects});
      differs = differs || (failure && whatOf(*failure) == what_);
    };
    if (line.step) {
      one(*line.step);
    } else {
      for (const auto& step : played.reader.stepsOf(line.text, played.steps + 1)) one(step);
    }
    return differs;
  }

  bool isOver() {
    if (whyNot_.empty() && Clock::now() >= end_) whyNot_ = "the time is up";
    return !whyNot_.empty();
  }

  static Places all(std::size_t from, std::size_t to) {
    Places places(to - from);
    std::iota(places.begin(), places.end(), from);
    return places;
  }

  /// The places between `from` and `to` that `work` gives in a copy of this process; all of them
  /// when it breaks down.
  template <class Work>
  Places inCopy(std::size_t from, std::size_t to, Work work) {
    const auto process = inOwnProcess([&] {
      const auto places = work();
      return jsonText(json::object{{"places", json::value_from(places)}, {"whyNot", whyNot_}});
    });
    if (!process.good) {
      whyNot_ = process.text;
      return all(from, to);
    }
    const auto told = json::parse(process.text).as_object();
    whyNot_ = told.at("whyNot").as_string();
    return json::value_to<Places>(told.at("places"));
  }

  /// Whether the lines at `rest` have the difference behind what was played. Those that can't be
  /// played without the others have not.
  bool haveDifference(Played& played, const Places& rest) {
    const auto process = inOwnProcess([&] {
      bool differs = false;
      for (const auto place : rest) {
        if (isOver()) return std::string();
        differs = play(played, place);
      }
      return std::string(differs ? "yes" : "");
    });
    return process.good && process.text == "yes";
  }

  /// Which of the lines from `from` to `to` the difference needs, when those before were played,
  /// and behind them come those at `rest`. `isNeeded`: it is known that not all can go.
  Places least(Played& played, std::size_t from, std::size_t to, const Places& rest,
               bool isNeeded = false) {
    if (from == to || isOver()) return all(from, to);
    if (!isNeeded && haveDifference(played, rest)) return {};
    if (to - from == 1) return all(from, to);
    const auto middle = from + (to - from) / 2;
    const auto later = inCopy(middle, to, [&] {
      for (auto place = from; place < middle; ++place) {
        if (isOver()) return all(middle, to);
        play(played, place);
      }
      return least(played, middle, to, rest);
    });
    auto behind = later;
    behind.insert(behind.end(), rest.begin(), rest.end());
    auto places = least(played, from, middle, behind, later.empty());
    places.insert(places.end(), later.begin(), later.end());
    return places;
  }

  const std::string what_;
  const std::filesystem::path folder_;
  const Clock::time_point end_;
  std::vector<Line> lines_;
  std::string whyNot_;
};

/// Expects no more of a step what differs only for want of others.
void forgetTheRest(Lines& lines, const std::filesystem::path& file) {
  for (const auto& one : checked(lines, file).differences) {
    if (one.place + 1 == lines.size()) continue;
    auto value = valueFrom(lines[one.place]);
    auto* const step = value ? value->if_object() : nullptr;
    if (!step) continue;
    step->erase("expect");
    step->erase("partial");
    lines[one.place] = jsonText(*step);
  }
}

}  // namespace

ExitStatus minimise(std::istream& scenario, const MinimiseOptions& options, std::ostream& out,
                    std::ostream& err, const std::filesystem::path& file) {
  Lines lines;
  std::string line;
  for (auto read = readLine(scenario, line); read != LineRead::none;
       read = readLine(scenario, line)) {
    if (read == LineRead::tooLong) {
      err << sentenceOf(file, std::ssize(lines) + 1, ScenarioError(std::string(kLineTooLong)))
          << '\n';
      return kUnreadable;
    }
    lines.push_back(line);
  }
  const auto first = checked(lines, file);
  if (first.status == kUnreadable ||
      (first.status == kSomethingLeft && first.differences.empty())) {
    err << first.error;
    return static_cast<ExitStatus>(first.status);
  }
  if (first.differences.empty()) {
    err << "nothing differs that could be kept\n";
    return kUnreadable;
  }
  const auto wanted = std::ranges::find_if(first.differences, [&](const auto& one) {
    return one.sentence.find(options.difference) != std::string::npos;
  });
  if (wanted == first.differences.end()) {
    err << "no difference is called \"" << options.difference << "\"; the first is "
        << first.differences.front().sentence << '\n';
    return kUnreadable;
  }

  lines.resize(wanted->place + 1);  // what comes later has no part in it
  const auto end = Clock::now() + options.within;
  const auto before = lines.size();
  std::string whyNot;
  for (std::size_t size = 0; size != lines.size() && whyNot.empty();) {  // until none can go
    size = lines.size();
    Places places;
    std::tie(places, whyNot) = Search(lines, wanted->what, file.parent_path(), end).needed();
    Lines left;
    for (const auto place : places) left.push_back(std::move(lines[place]));
    lines = std::move(left);
  }
  forgetTheRest(lines, file);
  for (const auto& left : lines) out << left << '\n';
  if (!whyNot.empty()) {
    err << "stopped early, " << whyNot << ": of " << before << " lines " << lines.size()
        << " are left, of which more may not be needed\n";
  }
  return kDone;
}

}  // namespace vemo::replay
