#include "replay/Minimise.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <istream>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "json/JsonText.h"
#include "recorder/ReadLine.h"
#include "replay/Scenario.h"
#include "replay/ScenarioError.h"

namespace vemo::replay {
namespace {

using Lines = std::vector<std::string>;

/// What a check says of one line of a scenario.
struct Found {
  std::size_t line;  // its place, from 0
  std::string sentence;
  std::string what;  // behind its number and the step's, and without those of other steps
};

/// `text` without the numbers behind `mark`, which are others when steps are left out.
std::string withoutNumbers(std::string text, std::string_view mark) {
  for (auto at = text.find(mark); at != std::string::npos; at = text.find(mark, at + mark.size())) {
    const auto from = at + mark.size();
    const auto end = text.find_first_not_of("0123456789", from);
    text.erase(from, (end == std::string::npos ? text.size() : end) - from);
  }
  return text;
}

/// What differs when `lines` are checked; nothing when they can't be played.
std::optional<std::vector<Found>> differences(const Lines& lines, std::ostream& err,
                                              const std::filesystem::path& folder) {
  std::stringstream scenario;
  for (const auto& line : lines) scenario << line << '\n';
  std::stringstream out;
  if (replay(scenario, Mode::check, out, err, folder) == kUnreadable) return std::nullopt;
  std::vector<Found> found;
  constexpr std::string_view kLine = "line ";
  for (std::string text; std::getline(out, text);) {
    if (text.starts_with(' ') && !found.empty()) {  // more of the same
      found.back().what += '\n' + withoutNumbers(withoutNumbers(text, "\"step\":"), "\"#");
    }
    std::size_t number = 0;
    if (!text.starts_with(kLine)) continue;
    std::from_chars(text.data() + kLine.size(), text.data() + text.size(), number);
    const auto colon = text.find(": ");
    if (number > 0 && colon != std::string::npos)
      found.push_back({number - 1, text, text.substr(colon)});
  }
  return found;
}

/// Tries lines without some of them, and keeps what still has the difference.
class Minimiser {
 public:
  Minimiser(Lines lines, const Found& wanted, const std::filesystem::path& folder)
      : folder_(folder), line_(wanted.line), what_(wanted.what) {
    lines.resize(wanted.line + 1);  // what comes later has no part in it
    lines_ = std::move(lines);
  }

  Lines least() {
    for (auto size = std::max<std::size_t>(lines_.size() / 2, 1);; size /= 2) {
      for (std::size_t from = 0; from < line_;) {
        if (!drop(from, std::min(size, line_ - from))) from += size;
      }
      if (size == 1) break;
    }
    forgetTheRest();
    return lines_;
  }

 private:
  bool drop(std::size_t from, std::size_t count) {
    Lines fewer(lines_.begin(), lines_.begin() + static_cast<std::ptrdiff_t>(from));
    fewer.insert(fewer.end(), lines_.begin() + static_cast<std::ptrdiff_t>(from + count),
                 lines_.end());
    std::ostringstream ignored;
    const auto found = differences(fewer, ignored, folder_);
    const auto same = [&](const Found& one) {
      return one.line == line_ - count && one.what == what_;
    };
    if (!found || std::ranges::none_of(*found, same)) return false;
    lines_ = std::move(fewer);
    line_ -= count;
    return true;
  }

  /// Expects no more of a step what differs only for want of others.
  void forgetTheRest() {
    std::ostringstream ignored;
    const auto found = differences(lines_, ignored, folder_);
    for (const auto& one : found.value_or(std::vector<Found>())) {
      if (one.line == line_) continue;
      auto value = valueFrom(lines_[one.line]);
      auto* const step = value ? value->if_object() : nullptr;
      if (!step) continue;
      step->erase("expect");
      step->erase("partial");
      lines_[one.line] = jsonText(*step);
    }
  }

  const std::filesystem::path& folder_;
  Lines lines_;
  std::size_t line_;
  const std::string what_;
};

}  // namespace

ExitStatus minimise(std::istream& scenario, const std::string& name, std::ostream& out,
                    std::ostream& err, const std::filesystem::path& folder) {
  Lines lines;
  std::string line;
  for (auto read = readLine(scenario, line); read != LineRead::none;
       read = readLine(scenario, line)) {
    if (read == LineRead::tooLong) {
      err << "line " << lines.size() + 1 << ": " << kLineTooLong << '\n';
      return kUnreadable;
    }
    lines.push_back(line);
  }
  const auto found = differences(lines, err, folder);
  if (!found) return kUnreadable;
  if (found->empty()) {
    err << "nothing differs that could be kept\n";
    return kUnreadable;
  }
  const auto wanted = std::ranges::find_if(
      *found, [&](const Found& one) { return one.sentence.find(name) != std::string::npos; });
  if (wanted == found->end()) {
    err << "no difference is called \"" << name << "\"; the first is " << found->front().sentence
        << '\n';
    return kUnreadable;
  }
  for (const auto& left : Minimiser(lines, *wanted, folder).least()) out << left << '\n';
  return kDone;
}

}  // namespace vemo::replay
