#include "recorder/Recording.h"

#include <algorithm>
#include <array>
#include <istream>
#include <numeric>
#include <sstream>
#include <stdexcept>
#include <unordered_set>
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

/// Why a line can't be taken in.
class Damage : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The text under `key`, empty where there is none.
std::string text(const json::object& line, std::string_view key) {
  const auto* const value = line.if_contains(key);
  if (!value) return {};
  if (const auto* const string = value->if_string()) return std::string(*string);
  throw Damage(std::string(key) + " is no text");
}

/// The flag under `key`, false where there is none.
bool flag(const json::object& line, std::string_view key) {
  const auto* const value = line.if_contains(key);
  if (!value) return false;
  if (const auto* const is = value->if_bool()) return *is;
  throw Damage(std::string(key) + " is neither true nor false");
}

/// The number under `key`, which is not negative.
std::uint64_t count(const json::object& line, std::string_view key) {
  const auto number = integer(line, key);
  if (!number || *number < 0) throw Damage(std::string(key) + " is no number of steps");
  return static_cast<std::uint64_t>(*number);
}

constexpr std::array<std::pair<std::string_view, Note::Kind>, 3> kKinds{
    {{"step", Note::Kind::step}, {"task", Note::Kind::task}, {"effect", Note::Kind::effect}}};

RecordedNote noteIn(const json::object& line) {
  RecordedNote note;
  const json::value* what = nullptr;
  for (const auto& [name, kind] : kKinds) {
    const auto* const found = line.if_contains(name);
    if (!found) continue;
    if (what) throw Damage("two notes are in it");
    what = found;
    note.kind = kind;
  }
  if (!what) throw Damage("no note is in it");
  if (!what->is_object()) throw Damage("the note is no object");
  const auto at = integer(line, "at");
  if (!at) throw Damage("at is no time");
  note.at = std::chrono::milliseconds(*at);
  note.thread = text(line, "thread");
  if (note.thread.empty()) throw Damage("there is no thread");
  note.step = count(line, "n");
  if (line.contains("by")) note.by = count(line, "by");
  note.overlaps = flag(line, "overlaps");
  note.before = flag(line, "before");
  const auto text = jsonText(what->get_object());
  note.what = note.kind == Note::Kind::effect ? notedEffect(text) : notedStep(text);
  return note;
}

/// Takes the lines of a recording in.
class RecordingReader {
 public:
  /// Lines of which a writer says that they are lost leave a gap.
  void take(const json::object& line, std::int64_t number) {
    if (line.contains("lost")) {
      static_cast<void>(count(line, "lost"));
      recording_.whole = false;
      return;
    }
    if (line.contains("end")) {
      if (std::exchange(hasEnd_, true)) throw Damage("there is an end before");
      return;
    }
    auto note = noteIn(line);
    note.line = number;
    if (note.isStep()) {
      if (note.step == 0) throw Damage("the step has no number");
      if (!steps_.insert(note.step).second)
        throw Damage("there is a step " + std::to_string(note.step) + " before");
      latest_ = std::max(latest_, note.step);
      hasBefore_ = hasBefore_ || note.before;
    }
    recording_.notes.push_back(std::move(note));
  }

  /// The first line: what the file is, or, where the older files of a session are not there, a
  /// note.
  void takeFirst(const std::string& line) {
    const auto first = lineObject(line);
    const auto version = first ? integer(*first, "vemorec") : std::nullopt;
    if (first && !first->contains("vemorec")) {
      try {
        recording_.whole = false;
        return take(*first, 1);
      } catch (const Damage&) {
        throw Damage("this is no recording");
      }
    }
    if (!version || *version < 1) {
      throw Damage(line.starts_with(kByteOrderMark)
                       ? "this is no recording: there is a byte order mark in front"
                       : "this is no recording");
    }
    if (*version > kRecordingVersion) {
      throw Damage("this recording has the form " + std::to_string(*version) +
                   " of a later version; this one reads forms up to " +
                   std::to_string(kRecordingVersion));
    }
    try {
      recording_.program = text(*first, "program");
      recording_.failure = text(*first, "failure");
      recording_.whole = flag(*first, "whole");
      form_ = *version;
    } catch (const Damage& damage) {
      throw Damage(std::string("line 1 of the recording is damaged: ") + damage.what());
    }
  }

  void breaksOff() { recording_.cutOff = true; }

  Recording whole() {
    // Of what was left out for its age the steps that change the router's state are there.
    if (!hasBefore_ && steps_.size() < latest_) recording_.whole = false;
    recording_.cutOff = recording_.cutOff || (form_ > 1 && !hasEnd_);
    sort(recording_.notes);
    return std::move(recording_);
  }

 private:
  static void sort(std::vector<RecordedNote>& notes);

  Recording recording_;
  std::unordered_set<std::uint64_t> steps_;
  std::uint64_t latest_ = 0;
  std::int64_t form_ = kRecordingVersion;
  bool hasBefore_ = false;
  bool hasEnd_ = false;
};

/// Brings steps into the order in which they began, each with what came in it behind it. Lines
/// are written as they come, of several threads.
void RecordingReader::sort(std::vector<RecordedNote>& notes) {
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
  std::string line;
  if (readLine(in, line) == LineRead::tooLong) line.clear();
  if (line + '\n' == kDumpMark) {
    auto dump = recordingOfDump(in, error);
    if (!dump) return std::nullopt;
    std::istringstream lines(std::move(dump->text));
    auto recording = readRecording(lines, error);
    if (!recording) {
      error = "this dump is damaged: of what it holds, " + error;
    } else {
      recording->cutOff = dump->cutOff;
      for (auto& note : recording->notes) note.line = 0;
    }
    return recording;
  }
  RecordingReader reader;
  std::int64_t number = 1;
  try {
    reader.takeFirst(line);
    for (;;) {
      const auto read = readLine(in, line);
      if (read == LineRead::none) break;
      ++number;
      const auto object = read == LineRead::whole ? lineObject(line) : std::nullopt;
      if (object) {
        reader.take(*object, number);
      } else if (read == LineRead::whole && in.eof()) {
        reader.breaksOff();
      } else {
        throw Damage(read == LineRead::tooLong ? std::string(kLineTooLong)
                                               : "it is no JSON object");
      }
    }
  } catch (const Damage& damage) {
    error = number == 1 ? damage.what()
                        : "line " + std::to_string(number) +
                              " of the recording is damaged: " + damage.what();
    return std::nullopt;
  }
  if (in.bad()) {
    error = "the recording can't be read to its end";
    return std::nullopt;
  }
  return reader.whole();
}

}  // namespace vemo
