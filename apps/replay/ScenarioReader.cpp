#include "replay/ScenarioReader.h"

#include <fstream>
#include <string>
#include <utility>

#include "recorder/ReadLine.h"

namespace vemo::replay {
namespace {

namespace fs = std::filesystem;

bool isName(std::string_view text) {
  static constexpr std::string_view letters =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-";
  return !text.empty() && text.find_first_not_of(letters) == std::string_view::npos;
}

/// The nearest setup/`name`.jsonl, in `folder` or one above it.
fs::path setUpFile(const fs::path& folder, const std::string& name) {
  if (!isName(name)) {
    throw ScenarioError("use must name a set-up by letters, digits, \"_\" and \"-\", not \"" +
                        name + "\"");
  }
  const auto file = fs::path("setup") / (name + ".jsonl");
  std::error_code ignored;  // what can't be looked at is not there
  for (auto at = fs::absolute(folder / "x", ignored).lexically_normal().parent_path();;
       at = at.parent_path()) {
    if (fs::is_regular_file(at / file, ignored)) return at / file;
    if (at == at.parent_path()) break;
  }
  throw ScenarioError("no set-up \"" + name + "\": " + file.string() +
                      " is neither beside the scenario nor in a folder above it");
}

Step setUpStepFrom(json::value value) {
  auto* keys = value.if_object();
  if (!keys || keys->contains("rows")) throw ScenarioError("a set-up has no rows");
  auto step = stepOf(std::move(*keys));
  if (step.verb == Verb::use) throw ScenarioError("a set-up can't use another");
  if (step.has("expect") || step.has("partial")) {
    throw ScenarioError("a step of a set-up expects nothing");
  }
  return step;
}

std::vector<Step> readSetUp(const fs::path& path, const std::string& name) {
  const auto inSetUp = "set-up \"" + name + "\"";
  std::ifstream file(path);
  std::vector<Step> steps;
  std::int64_t number = 0;
  std::string line;
  for (auto read = readLine(file, line); read != LineRead::none; read = readLine(file, line)) {
    ++number;
    try {
      if (read == LineRead::tooLong) throw ScenarioError(std::string(kLineTooLong));
      auto value = valueFrom(line);
      if (!value) continue;
      steps.push_back(setUpStepFrom(std::move(*value)));
      steps.back().line = number;
    } catch (const ArgumentError& error) {
      throw ScenarioError(inSetUp + ", line " + std::to_string(number) + ": " + error.what());
    }
  }
  if (!file.eof()) throw ScenarioError(inSetUp + " can't be read");
  if (steps.empty()) throw ScenarioError(inSetUp + " has no steps");
  return steps;
}

}  // namespace

std::vector<Step> ScenarioReader::stepsOf(std::string_view line, std::int64_t first) {
  auto value = valueFrom(line);
  if (!value) return {};
  if (const auto* row = value->if_array()) {
    if (!table_) throw ScenarioError("a row must stand below \"rows\"");
    return stepsOfRow(*table_, *row, line, first);
  }
  auto& keys = value->get_object();
  if (keys.contains("rows")) {
    table_ = tableFrom(keys);
    if (table_->then) table_->then = complete(*std::move(table_->then));
    return {};
  }
  std::vector<Step> steps;
  steps.push_back(complete(stepOf(std::move(keys))));
  return steps;
}

/// `step` with what it takes from other files.
Step ScenarioReader::complete(Step step) const {
  if (step.verb == Verb::use) {
    const auto name = step.value<std::string>();
    step.setUp = readSetUp(setUpFile(folder_, name), name);
  }
  return step;
}

}  // namespace vemo::replay
