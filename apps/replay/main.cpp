#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "Accept.h"
#include "Minimise.h"
#include "Nearest.h"
#include "Replay.h"
#include "SessionWriter.h"
#include "Suite.h"
#include "recorder/Recording.h"

namespace {

constexpr std::string_view kUsage =
    R"(usage: vemo-replay FILE.jsonl
       vemo-replay --check FILE.jsonl
       vemo-replay --check [--junit REPORT.xml] FILE.jsonl|FOLDER...
       vemo-replay --accept FILE.jsonl
       vemo-replay --from FILE.vemorec
       vemo-replay --minimise FILE.jsonl
Plays a scenario of the router (- for standard input) and writes the transcript.

  --check    write what differs from the steps' "expect", and how much was checked; of several
             files, and of all below a folder (but for folders called setup), a line for each
             difference and a sum
  --junit    write the results as JUnit's XML, too
  --accept   write what the steps did into the file as their "expect"; what holds stays as it is
  --from     write a recording as a scenario
  --minimise write the scenario without the steps that its first difference does not need
  --help     show this text

Exit status, the worst of all: 0 done, 1 an expectation failed, 2 a scenario can't be read,
3 something of a scenario outlived its end, or its process broke down.
)";

int usageError(std::string_view sentence) {
  if (!sentence.empty()) std::cerr << sentence << '\n';
  std::cerr << kUsage;
  return vemo::replay::kUnreadable;
}

int fromRecording(std::istream& in, std::string_view name) {
  std::string error;
  const auto recording = vemo::readRecording(in, error);
  if (!recording) {
    std::cerr << name << ": " << error << '\n';
    return vemo::replay::kUnreadable;
  }
  vemo::replay::writeSession(*recording, std::cout);
  return vemo::replay::kDone;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace vemo::replay;
  namespace fs = std::filesystem;
  auto mode = Mode::transcript;
  bool accepting = false;
  bool from = false;
  bool least = false;
  std::string junit;
  std::vector<std::string> files;
  const std::vector<std::string_view> arguments(argv + 1, argv + argc);
  for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
    if (*argument == "--help") {
      std::cout << kUsage;
      return kDone;
    }
    if (*argument == "--check") {
      mode = Mode::check;
    } else if (*argument == "--accept") {
      accepting = true;
    } else if (*argument == "--from") {
      from = true;
    } else if (*argument == "--minimise") {
      least = true;
    } else if (*argument == "--junit") {
      if (++argument == arguments.end() || argument->empty())
        return usageError("--junit needs the name of a file");
      junit = *argument;
    } else if (argument->starts_with("--")) {
      static constexpr std::array<std::string_view, 6> options{"--check", "--junit",    "--accept",
                                                               "--from",  "--minimise", "--help"};
      return usageError("unknown option " + std::string(*argument) +
                        didYouMean(*argument, options));
    } else {
      files.emplace_back(*argument);
    }
  }
  if (files.empty()) return usageError("");
  if (accepting && (mode == Mode::check || !junit.empty()))
    return usageError("--accept goes with no other option");
  if ((from || least) && (accepting || from == least || mode == Mode::check || !junit.empty()))
    return usageError(std::string(from ? "--from" : "--minimise") + " goes with no other option");
  if (!junit.empty() && mode != Mode::check) return usageError("--junit goes with --check");
  std::error_code noFolder;
  const bool isSuite = files.size() > 1 || !junit.empty() || fs::is_directory(files[0], noFolder);
  if (mode == Mode::check && isSuite) {
    if (std::ranges::count(files, "-") > 0)
      return usageError("of several scenarios, none can be standard input");
    return checkSuite(files, junit, std::cout, std::cerr);
  }
  if (files.size() != 1) return usageError("");
  if (accepting) return acceptFile(files.front(), std::cout, std::cerr);
  std::ios::sync_with_stdio(false);
  const auto& name = files.front();
  if (name == "-" && from) return fromRecording(std::cin, name);
  if (name == "-" && least) return minimise(std::cin, std::cout, std::cerr, {});
  if (name == "-") return replay(std::cin, mode, std::cout, std::cerr);
  std::ifstream file(name);
  file.peek();  // a folder can be opened, but not read
  if (!file.is_open() || file.bad()) {
    std::cerr << name << " can't be read: " << std::strerror(errno) << '\n';
    return kUnreadable;
  }
  if (from) return fromRecording(file, name);
  file.clear();  // an empty file is a scenario without steps
  if (least) return minimise(file, std::cout, std::cerr, fs::path(name).parent_path());
  return replay(file, mode, std::cout, std::cerr, fs::path(name).parent_path());
}
