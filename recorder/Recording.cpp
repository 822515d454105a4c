#include "recorder/Recording.h"

#include <algorithm>
#include <istream>
#include <numeric>
#include <sstream>
#include <utility>

#include "json/JsonReader.h"
#include "json/JsonText.h"
#include "recorder/NotedJson.h"
#include "recorder/ReadLine.h"

namespace vemo {
namespace {

namespace json = boost::json;

constexpr std::size_t kMaxLineDepth = 1024;

std::optional<json::object> lineObject(std::string_view line) {
  JsonProblem problem;
  auto value = readJson(line, kMaxLineDepth, problem);
  auto* const object = problem.code ? nullptr : value.if_object();
  if (!object) return std::nullopt;
  return std::move(*object);
}

std::optional<std::int64_t> integer(const json::object& line, std::string_view key) {
  const auto* const value = line.if_contains(key);
  const auto* const number = value ? value->if_int64() : nullptr;
  return number ? std::optional(*number) : std::nullopt;
}

std::string text(const json::object& line, std::string_view key) {
  const auto* const value = line.if_contains(key);
  const auto* const string = value ? value->if_string() : nullptr;
  return string ? std::string(*string) : std::string();
}

bool flag(const json::object& line, std::string_view key) {
  const auto* const value = line.if_contains(key);
  return value && value->is_bool() && value->get_bool();
}

std::optional<RecordedNote> noteIn(const json::object& line) {
  RecordedNote note;
  const json::value* what = line.if_contains("step");
  if (const auto* const effect = line.if_contains("effect")) {
    note.kind = Note::Kind::effect;
    what = effect;
  } else if (const auto* const task = line.if_contains("task")) {
    note.kind = Note::Kind::task;
    what = task;
  }
  const auto at = integer(line, "at");
  const auto number = integer(line, "n");
  const auto* const thread = line.if_contains("thread");
  if (!what || !what->is_object() || !at || !number || *number < 0) return std::nullopt;
  if (!thread || !thread->is_string()) return std::nullopt;
  note.at = std::chrono::milliseconds(*at);
  note.thread = thread->get_string();
  note.step = static_cast<std::uint64_t>(*number);
  note.by = static_cast<std::uint64_t>(integer(line, "by").value_or(0));
  note.overlaps = flag(line, "overlaps");
  note.before = flag(line, "before");
  const auto text = jsonText(what->get_object());
  note.what = note.kind == Note::Kind::effect ? notedEffect(text) : notedStep(text);
  return note;
}

/// Takes in one line; false when it is damaged. Lines of which a writer says that they are
/// lost leave a gap.
bool takeLine(const json::object& line, Recording& recording) {
  if (line.contains("lost")) {
    recording.whole = false;
    return true;
  }
  auto note = noteIn(line);
  if (!note) return false;
  recording.notes.push_back(*std::move(note));
  return true;
}

/// Brings steps into the order in which they began, each with what came in it behind it. Lines
/// are written as they come, of several threads.
void sort(std::vector<RecordedNote>& notes) {
  std::uint64_t latest = 0;
  std::vector<std::pair<std::uint64_t, int>> keys(notes.size());
  for (std::size_t i = 0; i < notes.size(); ++i) {
    const auto& note = notes[i];
    if (note.step > 0) latest = std::max(latest, note.step);
    const auto before = note.by > 0 ? note.by : latest;  // what came in none says after which
    keys[i] = {note.step > 0 ? note.step : before, note.step == 0                    ? 2
                                                   : note.kind == Note::Kind::effect ? 1
                                                                                     : 0};
  }
  std::vector<std::size_t> order(notes.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::ranges::sort(order, {}, [&](std::size_t i) { return std::pair(keys[i], i); });
  std::vector<RecordedNote> sorted;
  sorted.reserve(notes.size());
  for (const auto i : order) sorted.push_back(std::move(notes[i]));
  notes = std::move(sorted);
}

/// The first line: what the file is, or, where the older files of a session are not there, a
/// note.
bool takeFirstLine(const std::string& line, Recording& recording, std::string& error) {
  const auto first = lineObject(line);
  const auto version = first ? integer(*first, "vemorec") : std::nullopt;
  if (first && !version && takeLine(*first, recording)) {
    recording.whole = false;
    return true;
  }
  if (!version || *version < 1) {
    error = line.starts_with(kByteOrderMark)
                ? "this is no recording: there is a byte order mark in front"
                : "this is no recording";
    return false;
  }
  if (*version > kRecordingVersion) {
    error = "this recording has the form " + std::to_string(*version) +
            " of a later version; this one reads forms up to " + std::to_string(kRecordingVersion);
    return false;
  }
  recording.program = text(*first, "program");
  recording.failure = text(*first, "failure");
  recording.whole = flag(*first, "whole");
  return true;
}

}  // namespace

std::string recordingHeader(std::string_view program, bool whole, std::string_view failure) {
  json::object header{{"vemorec", kRecordingVersion}, {"program", program}, {"whole", whole}};
  if (!failure.empty()) header["failure"] = failure;
  return jsonText(header) + "\n";
}

void appendNoteLine(std::string& out, const Note& note, bool before) {
  const auto name = note.kind == Note::Kind::effect ? "effect"
                    : note.kind == Note::Kind::task ? "task"
                                                    : "step";
  out.append("{\"").append(name).append("\":").append(note.text);
  out.append(",\"n\":").append(std::to_string(note.step));
  if (note.by > 0) out.append(",\"by\":").append(std::to_string(note.by));
  if (note.overlaps) out += R"(,"overlaps":true)";
  if (before) out += R"(,"before":true)";
  out.append(",\"at\":").append(std::to_string(note.at.count())).append(",\"thread\":");
  appendJsonString(out, note.thread);
  out += "}\n";
}

std::optional<Recording> readRecording(std::istream& in, std::string& error) {
  Recording recording;
  std::string line;
  if (readLine(in, line) == LineRead::tooLong) line.clear();
  if (line + '\n' == kDumpMark) {
    const auto text = recordingOfDump(in);
    if (!text) {
      error = "this dump is damaged";
      return std::nullopt;
    }
    std::istringstream lines(*text);
    return readRecording(lines, error);
  }
  if (!takeFirstLine(line, recording, error)) return std::nullopt;
  for (std::int64_t number = 2;; ++number) {
    const auto read = readLine(in, line);
    if (read == LineRead::none) break;
    const auto object = read == LineRead::whole ? lineObject(line) : std::nullopt;
    if (object && takeLine(*object, recording)) continue;
    if (read == LineRead::tooLong || !in.eof()) {
      error = "line " + std::to_string(number) + " of the recording is damaged";
      return std::nullopt;
    }
    recording.cutOff = true;
  }
  sort(recording.notes);
  if (in.bad()) {
    error = "the recording can't be read to its end";
    return std::nullopt;
  }
  return recording;
}

}  // namespace vemo
