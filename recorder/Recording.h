#pragma once

#include <boost/json/object.hpp>
#include <chrono>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "recorder/Journal.h"

// The form of .vemorec files: a line of JSON that says what the file is, and one for each note.
//
//     {"vemorec":2,"program":"0.1.0","whole":true}
//     {"step":{"message":"..."},"n":7,"at":1760000000000,"thread":"main"}
//     {"effect":{"effect":"reply",...},"n":7,"at":...,"thread":"main"}
//     {"task":{"drain":1},"n":9,"by":8,"at":...,"thread":"main"}
//     {"end":true}
//
// "n" is the step's number, "by" that of the step that queued the task, or after which came what
// came in none. Lines of several threads may come in another order. "before" is true for steps
// whose effects are not there any more, "overlaps" as in Note. A line with "lost" stands for lines
// that could not be written. The line with "end" says that nothing more was noted: a recording
// without it broke off, or goes on; form 1 had none. Where a session has several files, only the
// oldest has the first line, and only the latest the one with "end".
//
// The first line has "failure", too, when a host named one as the reason to write the file.
//
// A dump is what NoteRing::dump writes: kDumpMark, and bytes as they were in memory, to be read on
// a machine of the same kind. Its last part has no bytes.

namespace vemo {

/// The version of the form that is written; older ones can be read.
inline constexpr std::int64_t kRecordingVersion = 2;

/// The last line of a recording, without its line break.
inline constexpr std::string_view kRecordingEnd = R"({"end":true})";

inline constexpr std::string_view kDumpMark = "vemorec dump 1\n";

struct DumpedRecording {
  std::string text;
  bool cutOff = false;  ///< the dump breaks off
};

/// The recording that the dump in `in`, behind its mark, is of; nothing, with a sentence in
/// `error`, when it is damaged. One that breaks off is read as far as it goes. Where notes in it
/// can't be read, the others are there, and the recording is not whole.
std::optional<DumpedRecording> recordingOfDump(std::istream& in, std::string& error);

/// The first line of a recording by `program`; `whole`: nothing of the beginning is missing;
/// `failure`: why it was written, if a host named a failure.
std::string recordingHeader(std::string_view program, bool whole, std::string_view failure = {});

/// Appends the line that says `note`, with its line break; `before`: its effects are not there.
void appendNoteLine(std::string& out, const Note& note, bool before = false);

/// A note as it was read.
struct RecordedNote {
  Note::Kind kind = Note::Kind::step;
  std::chrono::milliseconds at{};
  std::string thread;
  std::uint64_t step = 0;
  std::uint64_t by = 0;
  bool overlaps = false;
  bool before = false;
  boost::json::object what;  ///< the step or the effect, whole
  std::int64_t line = 0;     ///< of the recording; 0 in a dump

  /// Whether it went into the router: not what the device answered when it was asked.
  bool isStep() const { return kind != Note::Kind::effect && !what.contains("device"); }
};

struct Recording {
  std::string program;
  std::string failure;  ///< what the host named; empty: nothing
  bool whole = true;    ///< nothing of the beginning is missing, nor was lost on the way
  bool cutOff = false;  ///< its end is missing; a line that was not finished is left out
  std::vector<RecordedNote> notes;
};

/// Reads a recording or a dump; nothing, with a sentence in `error`, when `in` has none, one that
/// is damaged, or one of a later form.
std::optional<Recording> readRecording(std::istream& in, std::string& error);

}  // namespace vemo
