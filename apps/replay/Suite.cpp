#include "replay/Suite.h"

#include <algorithm>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fstream>
#include <ostream>
#include <sstream>
#include <string_view>

#include "json/JsonText.h"
#include "replay/JUnit.h"
#include "replay/OwnProcess.h"
#include "replay/Playback.h"
#include "replay/ReplaceFile.h"

namespace vemo::replay {
namespace {

namespace fs = std::filesystem;

/// The scenarios below `folder`, in the order of their names.
std::vector<fs::path> scenariosBelow(const fs::path& folder, std::error_code& problem) {
  std::vector<fs::path> found;
  fs::recursive_directory_iterator entry(folder, problem);
  for (; !problem && entry != fs::end(entry); entry.increment(problem)) {
    std::error_code ignored;  // what can't be looked at is neither
    if (entry->is_directory(ignored) && entry->path().filename() == "setup") {
      entry.disable_recursion_pending();
    } else if (entry->path().extension() == ".jsonl" && entry->is_regular_file(ignored)) {
      found.push_back(entry->path());
    }
  }
  std::ranges::sort(found);
  return found;
}

std::string firstLine(std::string_view text) {
  return std::string(text.substr(0, text.find('\n')));
}

/// A failure in one line, with the effect that comes nearest where it tells one below.
std::string inOneLine(std::string_view failure) {
  constexpr std::string_view kNearest = "\n  nearest: ";
  const auto at = failure.find(kNearest);
  return firstLine(failure) +
         (at == std::string_view::npos ? "" : "; " + firstLine(failure.substr(at + 3)));
}

/// What came of one scenario, as the process that plays it tells it.
json::object played(const fs::path& file) {
  std::ifstream scenario(file);
  scenario.peek();  // a file may be opened, but not read
  if (!scenario.is_open() || scenario.bad()) {
    return {{"status", int{kUnreadable}},
            {"error", file.string() + ": can't be read: " + std::strerror(errno)}};
  }
  scenario.clear();
  json::array failures;
  json::array remarks;
  std::int64_t steps = 0;
  std::int64_t expectations = 0;
  std::ostringstream err;
  const auto after = [&](const PlayedStep& step) {
    steps = step.number;
    if (step.step && step.step->expect) ++expectations;
    if (const auto failure = failureOf(step, file))
      (mayDiffer(step) ? remarks : failures).emplace_back(validUtf8(*failure));
  };
  auto status = playBack(scenario, file, after, err);
  if (!failures.empty()) status = std::max(status, kExpectationFailed);
  return {{"status", int{status}},         {"steps", steps},
          {"expectations", expectations},  {"failures", std::move(failures)},
          {"remarks", std::move(remarks)}, {"error", validUtf8(err.str())}};
}

ScenarioResult check(const fs::path& file) {
  const auto start = std::chrono::steady_clock::now();
  const auto process = inOwnProcess([&] { return jsonText(played(file)); });
  ScenarioResult result;
  result.file = file;
  result.time = std::chrono::steady_clock::now() - start;
  if (!process.good) {
    result.status = kSomethingLeft;
    result.error = file.string() + ": " + process.text;
    return result;
  }
  const auto told = json::parse(process.text).as_object();
  result.status = static_cast<ExitStatus>(told.at("status").to_number<int>());
  result.error = firstLine(told.at("error").as_string());
  if (const auto* steps = told.if_contains("steps")) {
    result.steps = steps->as_int64();
    result.expectations = told.at("expectations").as_int64();
    for (const auto& failure : told.at("failures").as_array())
      result.failures.emplace_back(failure.as_string());
    for (const auto& remark : told.at("remarks").as_array())
      result.remarks.emplace_back(remark.as_string());
  }
  return result;
}

/// Writes `text` to the file called `path`; why it can't be, or nothing.
std::string writeReport(const fs::path& path, const std::string& text) {
  std::error_code ignored;  // a new file, then
  if (!fs::is_other(fs::status(path, ignored))) {
    const auto file = fs::canonical(path, ignored);  // a link stays one
    return replaceFile(ignored ? path : file, text);
  }
  errno = 0;
  std::ofstream device(path);
  device << text;
  device.close();
  return device ? std::string() : std::strerror(errno);
}

}  // namespace

ExitStatus checkSuite(const std::vector<std::string>& paths, const fs::path& junit,
                      std::ostream& out, std::ostream& err) {
  auto status = kDone;
  std::vector<fs::path> files;
  for (const auto& path : paths) {
    std::error_code problem;
    if (!fs::is_directory(path, problem)) {
      files.emplace_back(path);
      continue;
    }
    auto found = scenariosBelow(path, problem);
    if (problem || found.empty()) {
      err << path << (problem ? " can't be read: " + problem.message() : " has no scenarios")
          << '\n';
      status = kUnreadable;
    }
    files.insert(files.end(), found.begin(), found.end());
  }

  const auto isReport = [&](const fs::path& file) {
    std::error_code unknown;  // then the report is a new file
    return fs::equivalent(file, junit, unknown);
  };
  if (const auto file = std::ranges::find_if(files, isReport); file != files.end()) {
    err << "--junit would write over the scenario " << file->string() << '\n';
    return kUnreadable;
  }

  std::vector<ScenarioResult> results;
  std::int64_t steps = 0;
  std::int64_t expectations = 0;
  std::int64_t failed = 0;
  for (const auto& file : files) {
    const auto& result = results.emplace_back(check(file));
    for (const auto* const lines : {&result.failures, &result.remarks}) {
      for (const auto& one : *lines) out << inOneLine(one) << '\n';
    }
    if (!result.error.empty()) out << result.error << '\n';
    out.flush();
    status = std::max(status, result.status);
    steps += result.steps;
    expectations += result.expectations;
    if (result.status != kDone) ++failed;
  }
  out << counted(std::ssize(results), "scenario") << ", " << counted(steps, "step") << ", "
      << counted(expectations, "expectation") << ", " << failed << " failed\n";
  if (junit.empty()) return status;

  const auto why = writeReport(junit, junitXml(results));
  if (why.empty()) return status;
  err << junit.string() << " can't be written: " << why << '\n';
  return std::max(status, kUnreadable);
}

}  // namespace vemo::replay
