#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "Minimise.h"
#include "Replay.h"
#include "SessionWriter.h"
#include "recorder/Recording.h"

namespace {

constexpr std::string_view kUsage =
    "usage: vemo-replay [--check] FILE.jsonl\n"
    "       vemo-replay --from FILE.vemorec\n"
    "       vemo-replay --minimise FILE.jsonl\n"
    "Plays a scenario of the router (- for standard input) and writes the transcript,\n"
    "or, with --check, what differs from the steps' \"expect\", and how much was checked;\n"
    "with --from, writes a recording as a scenario; with --minimise, a scenario without the\n"
    "steps that its first difference does not need.\n"
    "Exit status: 0 done, 1 an expectation failed, 2 the scenario can't be read.\n";

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
  auto mode = Mode::transcript;
  bool from = false;
  bool least = false;
  std::vector<std::string_view> files;
  for (const std::string_view argument : std::vector<std::string_view>(argv + 1, argv + argc)) {
    if (argument == "--help") {
      std::cout << kUsage;
      return kDone;
    }
    if (argument == "--check") {
      mode = Mode::check;
    } else if (argument == "--from") {
      from = true;
    } else if (argument == "--minimise") {
      least = true;
    } else if (argument.starts_with("--")) {
      std::cerr << "unknown option " << argument << '\n' << kUsage;
      return kUnreadable;
    } else {
      files.push_back(argument);
    }
  }
  if (files.size() != 1) {
    std::cerr << kUsage;
    return kUnreadable;
  }
  std::ios::sync_with_stdio(false);
  const std::string name(files.front());
  if (name == "-" && from) return fromRecording(std::cin, name);
  if (name == "-") return replay(std::cin, mode, std::cout, std::cerr);
  std::ifstream file(name);
  file.peek();  // a folder can be opened, but not read
  if (!file.is_open() || file.bad()) {
    std::cerr << name << " can't be read: " << std::strerror(errno) << '\n';
    return kUnreadable;
  }
  if (from) return fromRecording(file, name);
  file.clear();  // an empty file is a scenario without steps
  if (least) return minimise(file, std::cout, std::cerr, std::filesystem::path(name).parent_path());
  return replay(file, mode, std::cout, std::cerr, std::filesystem::path(name).parent_path());
}
