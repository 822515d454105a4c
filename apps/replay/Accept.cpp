#include "replay/Accept.h"

#include <algorithm>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/value.hpp>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <limits>
#include <map>
#include <ostream>
#include <sstream>
#include <string_view>
#include <utility>
#include <vector>

#include "json/JsonText.h"
#include "replay/LineEdit.h"
#include "replay/Matcher.h"
#include "replay/OwnProcess.h"
#include "replay/Playback.h"
#include "replay/ReplaceFile.h"
#include "replay/Replay.h"

namespace vemo::replay {
namespace {

namespace fs = std::filesystem;

// ---- What is expected

/// All of an effect but its step, and where in the source a record was made: that moves.
json::object complete(const json::object& effect) {
  json::object kept;
  for (const auto& [key, value] : effect) {
    if (key == "step") continue;
    if (key != "record" || !value.is_object()) {
      kept.emplace(key, value);
      continue;
    }
    json::object record;
    for (const auto& [field, content] : value.get_object()) {
      if (field != "fileName" && field != "line") record.emplace(field, content);
    }
    kept.emplace(key, std::move(record));
  }
  return kept;
}

/// `expected` with what differs from `actual` replaced.
json::value merged(const json::value& expected, const json::value& actual) {
  if (!difference(expected, &actual)) return expected;
  if (expected.is_object() && actual.is_object()) {
    json::object both;
    for (const auto& [key, value] : expected.get_object()) {
      const auto* now = actual.get_object().if_contains(key);
      both[key] = now ? merged(value, *now) : nullptr;
    }
    return both;
  }
  if (expected.is_array() && actual.is_array() &&
      expected.get_array().size() == actual.get_array().size()) {
    json::array both;
    for (std::size_t i = 0; i < actual.get_array().size(); ++i)
      both.push_back(merged(expected.get_array()[i], actual.get_array()[i]));
    return both;
  }
  return actual;
}

/// How far an expected effect is from one that came; nothing when it can't be the same.
std::optional<unsigned> distance(const json::value& expected, const json::object& effect) {
  const json::value actual(effect);
  if (!difference(expected, &actual)) return 0;
  const auto* object = expected.if_object();
  if (!object) return std::nullopt;
  unsigned far = 1;
  for (const auto* key : {"effect", "call", "op", "of", "function", "name"}) {
    const auto* wanted = object->if_contains(key);
    if (!wanted || !difference(*wanted, effect.if_contains(key))) continue;
    if (std::string_view(key) == "effect") return std::nullopt;
    far = 3;
  }
  return far;
}

/// What `expected` becomes when `effects` came: their pairs in order, such that as much as
/// possible stays. With `partial`, what had no partner is not added.
json::array aligned(const json::array& expected, bool partial,
                    const std::vector<json::object>& effects) {
  const unsigned gone = 2;
  const unsigned added = partial ? 0 : 2;
  const auto rows = expected.size();
  const auto columns = effects.size();
  // The cost of all from (row, column) on.
  std::vector<std::vector<unsigned>> cost(rows + 1, std::vector<unsigned>(columns + 1));
  const auto paired = [&](std::size_t row, std::size_t column) {
    const auto far = distance(expected[row], effects[column]);
    return far ? *far + cost[row + 1][column + 1] : std::numeric_limits<unsigned>::max();
  };
  for (auto row = rows + 1; row-- > 0;) {
    for (auto column = columns + 1; column-- > 0;) {
      if (row == rows && column == columns) continue;
      auto least = std::numeric_limits<unsigned>::max();
      if (row < rows) least = std::min(least, cost[row + 1][column] + gone);
      if (column < columns) least = std::min(least, cost[row][column + 1] + added);
      if (row < rows && column < columns) least = std::min(least, paired(row, column));
      cost[row][column] = least;
    }
  }

  json::array result;
  for (std::size_t row = 0, column = 0; row < rows || column < columns;) {
    const auto now = cost[row][column];
    if (row < rows && column < columns && now == paired(row, column)) {
      const json::value actual(effects[column]);
      result.push_back(merged(expected[row++], actual));
      ++column;
    } else if (column < columns && now == cost[row][column + 1] + added) {
      if (!partial) result.push_back(complete(effects[column]));
      ++column;
    } else {
      ++row;
    }
  }
  return result;
}

/// What a step is to expect from now on.
struct Expectation {
  json::array effects;
  bool partial = false;
};

Expectation expectationFor(const Step& step, const std::vector<json::object>& effects) {
  if (step.expect) {
    Expectation kept{aligned(*step.expect, step.partial, effects), step.partial};
    const bool says = !step.partial || !kept.effects.empty();
    if (says && !mismatch(kept.effects, kept.partial, effects)) return kept;
  }
  Expectation whole;
  for (const auto& effect : effects) whole.effects.push_back(complete(effect));
  return whole;
}

/// Whether a step is left without an expectation.
bool staysSilent(const PlayedStep& played) {
  const auto verb = played.step->verb;
  return verb == Verb::use ||
         (played.effects.empty() &&
          (verb == Verb::device || verb == Verb::listener || verb == Verb::release));
}

// ---- The file

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < text.size();) {
    const auto end = std::min(text.find('\n', at), text.size() - 1) + 1;
    lines.push_back(text.substr(at, end - at));
    at = end;
  }
  return lines;
}

bool isTable(std::string_view line) {
  const auto first = line.find_first_not_of(" \t");
  return first != std::string_view::npos && line[first] == '[';
}

Accepted acceptedInOwnProcess(const std::string& scenario, const fs::path& file) {
  // Told as two lines and the text, which may be any bytes.
  const auto process = inOwnProcess([&] {
    const auto result = acceptScenario(scenario, file);
    return std::to_string(int{result.status}) + '\n' + result.sentence + '\n' + result.text;
  });
  if (!process.good) return {kSomethingLeft, {}, file.string() + ": " + process.text};
  const auto first = process.text.find('\n');
  const auto second = process.text.find('\n', first + 1);
  return {static_cast<ExitStatus>(std::stoi(process.text)), process.text.substr(second + 1),
          process.text.substr(first + 1, second - first - 1)};
}

/// Why a check of `scenario` fails, in a process that has played nothing before; empty when it
/// does not.
std::string failureOfCheck(const std::string& scenario, const fs::path& file) {
  const auto process = inOwnProcess([&] {
    std::istringstream in(scenario);
    std::ostringstream out;
    std::ostringstream err;
    const auto status = replay(in, Mode::check, out, err, file);
    return status == kDone ? "" : err.str() + out.str();
  });
  return process.text.substr(0, process.text.find('\n'));
}

}  // namespace

Accepted acceptScenario(const std::string& scenario, const fs::path& file) {
  auto lines = linesOf(scenario);
  std::int64_t steps = 0;
  std::int64_t expectations = 0;
  std::int64_t changed = 0;
  std::string refused;
  const auto after = [&](const PlayedStep& played) {
    if (!played.step) return;
    steps = played.number;
    const auto failure = failureOf(played, file);
    if (played.step->expect ? !failure : staysSilent(played)) {
      if (played.step->expect) ++expectations;
      return;
    }
    auto& line = lines[static_cast<std::size_t>(played.line - 1)];
    if (isTable(line)) {
      if (refused.empty() && failure) {
        refused = failure->substr(0, failure->find('\n')) +
                  "; the outcome of a row has to be rewritten by hand";
      }
      return;
    }
    const auto expectation = expectationFor(*played.step, played.effects);
    line = withMember(line, "expect", jsonText(expectation.effects));
    if (played.step->partial && !expectation.partial) line = withoutMember(line, "partial");
    ++expectations;
    ++changed;
  };
  std::istringstream in(scenario);
  std::ostringstream err;
  const auto status = playBack(in, file, after, err);
  if (status != kDone) return {status, {}, err.str().substr(0, err.str().find('\n'))};
  if (!refused.empty()) return {kExpectationFailed, {}, refused};
  Accepted result;
  for (const auto& line : lines) result.text += line;
  result.sentence = counted(steps, "step") + ", " + counted(expectations, "expectation") + ", " +
                    std::to_string(changed) + " written";
  return result;
}

ExitStatus acceptFile(const fs::path& path, std::ostream& out, std::ostream& err) {
  const auto name = path.string();
  if (name == "-") {
    err << "--accept needs a file that it can rewrite, not standard input\n";
    return kUnreadable;
  }
  errno = 0;
  std::error_code problem;
  const auto file = fs::canonical(path, problem);  // a link stays one
  if (std::error_code unknown; fs::is_other(fs::status(path, unknown))) {
    err << name << " is no file that can be rewritten\n";
    return kUnreadable;
  }
  std::ifstream in(problem ? path : file);
  in.peek();
  if (!in.is_open() || in.bad()) {
    err << name << " can't be read: " << std::strerror(errno) << '\n';
    return kUnreadable;
  }
  in.clear();
  const std::string scenario{std::istreambuf_iterator<char>(in), {}};
  // Twice, and each time as the first that its process plays: some of what the router counts
  // and remembers is the process's own.
  const auto result = acceptedInOwnProcess(scenario, path);
  if (result.status != kDone) {
    err << result.sentence << "; nothing was written\n";
    return result.status;
  }
  if (result.text != scenario) {
    if (const auto failure = failureOfCheck(result.text, path); !failure.empty()) {
      err << name << ": does not happen again in the same way: " << failure
          << "; nothing was written\n";
      return kExpectationFailed;
    }
    if (const auto why = replaceFile(file, result.text); !why.empty()) {
      err << name << " can't be written: " << why << '\n';
      return kUnreadable;
    }
  }
  out << name << ": " << result.sentence << '\n';
  return kDone;
}

}  // namespace vemo::replay
