#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "program/StandardStreams.h"
#include "recorder/Recording.h"
#include "replay/Accept.h"
#include "replay/Minimise.h"
#include "replay/Nearest.h"
#include "replay/Replay.h"
#include "replay/ScenarioError.h"
#include "replay/SessionWriter.h"
#include "replay/Suite.h"

namespace {

constexpr std::string_view kUsage =
    R"(Usage: vemo-replay FILE.jsonl
  or:  vemo-replay --check FILE.jsonl
  or:  vemo-replay --check [--junit REPORT.xml] FILE.jsonl|FOLDER...
  or:  vemo-replay --accept FILE.jsonl
  or:  vemo-replay --from FILE.vemorec
  or:  vemo-replay --minimise [--difference TEXT] [--within SECONDS] FILE.jsonl
Plays a scenario of the router (- for standard input) and writes the transcript.

Options:
  --check            write what differs from the steps' "expect", and how much was checked; of
                     several files, and of all below a folder (but for folders called setup), a line
                     for each difference and a sum
  --junit FILE       write the results as JUnit's XML, too
  --accept           write what the steps did into the file as their "expect"; what holds stays as
                     it is
  --from             write a recording, or the dump of a crash, as a scenario
  --minimise         write the scenario without the steps that its first difference does not need
  --difference TEXT  not the first, but the first of which the line written by --check holds TEXT
  --within SECONDS   stop looking for steps that can go after this time, 60 unless it is given, and
                     write what is left then; a sentence says so
  --help             show this text
  --version          show the version

Exit status, the worst of all: 0 done, 1 an expectation failed, 2 a scenario can't be read,
3 something of a scenario outlived its end, or its process broke down.
)";

int usageError(std::string_view sentence) {
  std::cerr << sentence << '\n' << kUsage;
  return vemo::replay::kUnreadable;
}

/// A number of seconds in `text`; 0 when there is none.
int secondsFrom(std::string_view text) {
  int seconds = 0;
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), seconds);
  const bool isNumber = problem == std::errc() && end == text.data() + text.size();
  return isNumber && seconds > 0 && seconds <= 1'000'000 ? seconds : 0;
}

constexpr std::array<std::string_view, 4> kJobs{"--check", "--accept", "--from", "--minimise"};

int fromRecording(std::istream& in, std::string_view name) {
  std::string error;
  if (const auto recording = vemo::readRecording(in, error)) {
    try {
      vemo::replay::writeSession(*recording, std::cout);
      return vemo::replay::kDone;
    } catch (const vemo::replay::ScenarioError& damage) {
      error = damage.what();
    }
  }
  std::cerr << name << ": " << error << '\n';
  return vemo::replay::kUnreadable;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace vemo::replay;
  namespace fs = std::filesystem;
  vemo::fillStandardStreams();
  std::string_view job;  // which of the options that do something other than play
  std::string junit;
  MinimiseOptions minimising;
  int within = 0;  // seconds, where they are given
  std::vector<std::string> files;
  const std::vector<std::string_view> arguments(argv + 1, argv + argc);
  for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
    if (*argument == "--help") {
      std::cout << kUsage;
      return vemo::told("");
    }
    if (*argument == "--version") {
      std::cout << "vemo-replay " VEMO_VERSION "\n";
      return vemo::told("");
    }
    if (std::ranges::find(kJobs, *argument) != kJobs.end()) {
      if (!job.empty() && job != *argument)
        return usageError(std::string(job) + " does not go with " + std::string(*argument));
      job = *argument;
    } else if (*argument == "--difference") {
      if (argument + 1 != arguments.end()) minimising.difference = *++argument;
      if (minimising.difference.empty()) return usageError("--difference needs a text");
    } else if (*argument == "--within") {
      within = argument + 1 == arguments.end() ? 0 : secondsFrom(*++argument);
      if (within == 0) return usageError("--within needs a number of seconds, from 1 to 1000000");
      minimising.within = std::chrono::seconds(within);
    } else if (*argument == "--junit") {
      if (argument + 1 != arguments.end()) junit = *++argument;
      if (junit.empty()) return usageError("--junit needs the name of a file");
    } else if (argument->starts_with('-') && *argument != "-") {
      std::vector<std::string_view> options(kJobs.begin(), kJobs.end());
      options.insert(options.end(), {"--junit", "--difference", "--within", "--help", "--version"});
      return usageError("unknown option " + std::string(*argument) +
                        didYouMean(*argument, options));
    } else {
      files.emplace_back(*argument);
    }
  }
  if (files.empty()) return usageError("no scenario is named; - is standard input");
  if (std::ranges::count(files, "") > 0) return usageError("the name of a file is empty");
  if (!minimising.difference.empty() && job != "--minimise")
    return usageError("--difference goes with --minimise");
  if (within > 0 && job != "--minimise") return usageError("--within goes with --minimise");
  if (!junit.empty() && job != "--check") return usageError("--junit goes with --check");
  std::error_code noFolder;
  const bool isSuite = files.size() > 1 || !junit.empty() || fs::is_directory(files[0], noFolder);
  if (job == "--check" && isSuite) {
    if (std::ranges::count(files, "-") > 0)
      return usageError("of several scenarios, none can be standard input");
    return vemo::told("", checkSuite(files, junit, std::cout, std::cerr));
  }
  if (files.size() != 1) return usageError("of several files, only --check makes a sum");
  const auto& name = files.front();
  if (job == "--accept") return vemo::told("", acceptFile(name, std::cout, std::cerr));

  std::ios::sync_with_stdio(false);
  const auto work = [&](std::istream& in, const fs::path& scenario) -> int {
    if (job == "--from") return fromRecording(in, name);
    if (job == "--minimise") return minimise(in, minimising, std::cout, std::cerr, scenario);
    const auto mode = job == "--check" ? Mode::check : Mode::transcript;
    return replay(in, mode, std::cout, std::cerr, scenario);
  };
  const auto run = [&](std::istream& in, const fs::path& scenario) {
    return vemo::told("", work(in, scenario));
  };
  if (name == "-") return run(std::cin, fs::path());
  std::ifstream file(name);
  file.peek();  // a folder can be opened, but not read
  if (!file.is_open() || file.bad()) {
    std::cerr << name << " can't be read: " << std::strerror(errno) << '\n';
    return kUnreadable;
  }
  file.clear();  // an empty file is a scenario without steps
  return run(file, name);
}
