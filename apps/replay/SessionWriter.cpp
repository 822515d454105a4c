#include "replay/SessionWriter.h"

#include <algorithm>
#include <array>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/value.hpp>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "json/JsonText.h"
#include "platform/Version.h"
#include "recorder/DeviceState.h"
#include "replay/Effects.h"
#include "replay/Scenario.h"
#include "replay/ScenarioError.h"

namespace vemo::replay {
namespace {

namespace json = boost::json;

/// A step, or a task of the main queue, with all that came of it.
struct Part {
  const RecordedNote* note = nullptr;
  json::object device;  // what was answered in it, to be set before it
  json::array effects;
  bool overlaps = false;  // another thread's part

  bool isTask() const { return note->kind == Note::Kind::task; }
};

bool isText(const json::object& object, std::string_view key, std::string_view text) {
  const auto* const value = object.if_contains(key);
  return value && value->is_string() && std::string_view(value->get_string()) == text;
}

/// What a system of the version `os` can capture, as the router tells it.
std::int64_t captureMode(std::string_view os) {
  const auto major = versionFrom(os).value_or(Version()).front();
  return (major >= 13 ? 1 : 0) + (major >= 11 ? 2 : 0);
}

/// What the system can capture, where `effects` tell it to a page or a host.
std::optional<std::int64_t> toldCaptureMode(const json::array& effects) {
  for (const auto& one : effects) {
    const auto& effect = one.get_object();
    const auto* const told = effect.if_contains("value");
    if (isText(effect, "of", "kobuScreenCaptureSupportMode") && told && told->is_int64())
      return told->get_int64();
    const auto* const value = effect.if_contains("retval");
    const auto* const object = value ? value->if_object() : nullptr;
    const auto* const mode = object ? object->if_contains("mode") : nullptr;
    if (isText(effect, "action", "isSupportScreenCapture") && mode && mode->is_int64())
      return mode->get_int64();
  }
  return std::nullopt;
}

const json::object& objectAt(const json::value& value, std::string_view key) {
  if (const auto* const object = value.if_object()) return *object;
  throw ScenarioError(std::string(key) + " is no object");
}

/// Adds `changes` to `device`; what has keys of its own key by key.
void merge(json::object& device, const json::object& changes) {
  for (const auto& [key, value] : changes) {
    if (key != "results" || !device.contains(key)) {
      device[key] = key == "results" ? objectAt(value, key) : value;
      continue;
    }
    auto& results = device[key].get_object();
    for (const auto& [operation, result] : objectAt(value, key)) results[operation] = result;
  }
}

/// What a step is expected to do; whether it is to be expected at all.
bool expectation(const RecordedNote& note, json::object& effect) {
  effect = {};
  for (const auto& [key, value] : note.what) {
    if (key == "text" && isText(note.what, "effect", "script")) continue;  // function and argument
    effect[key] = value;
    if (key == "effect") effect["thread"] = note.thread == "main" ? "main" : "other";
  }
  auto* const record = effect.if_contains("record");
  if (!record || !record->is_object()) return true;
  auto& fields = record->get_object();
  if (isText(fields, "actionName", "onUserVoiceVolume")) return false;
  fields.erase("fileName");
  fields.erase("line");
  return true;
}

/// What a host asked its router, by the names of the operation and of what a step asks for.
constexpr auto questions = std::to_array<std::pair<std::string_view, std::string_view>>(
    {{"kobuScreenCaptureSupportMode", "supportMode"},
     {"hasEnterRoom", "hasEnterRoom"},
     {"curEnteredRoomUserId", "curEnteredRoomUserId"}});

/// Has `step` ask the router, where in it the host was told a value, which is among `effects`.
void askForValue(json::object& step, json::array& effects) {
  const auto told = std::ranges::find_if(
      effects, [](const auto& one) { return isText(one.get_object(), "effect", "value"); });
  if (told == effects.end() || !step.contains("host")) return;
  const auto question = std::ranges::find_if(
      questions, [&](const auto& one) { return isText(step, "host", one.first); });
  if (question == questions.end() || step.contains("thread")) {
    effects.erase(told);  // an operation's value is no effect of a scenario
    return;
  }
  told->get_object()["of"] = question->second;
  step = {{"get", question->second}};
}

/// The parts of a recording, in the order in which they began. A note that no scenario can have is
/// a ScenarioError.
class Parts {
 public:
  explicit Parts(const Recording& recording) {
    for (const auto& note : recording.notes) {
      try {
        take(note);
      } catch (const ArgumentError& error) {
        throw ScenarioError(
            (note.line > 0 ? "line " + std::to_string(note.line) + " of the recording is damaged: "
                           : std::string("this dump is damaged: ")) +
            error.what());
      }
    }
  }

  std::vector<Part>& all() { return parts_; }
  /// Where the part with this number is; the end when there is none.
  std::size_t find(std::uint64_t step) const {
    const auto found = places_.find(step);
    return found == places_.end() ? parts_.size() : found->second;
  }
  /// Effects that came in no step after the first one: the end of the router.
  const json::array& end() const { return end_; }

 private:
  void take(const RecordedNote& note) {
    if (note.kind == Note::Kind::effect) return takeEffect(note);
    if (const auto* const changes = note.what.if_contains("device")) {
      const auto place = find(note.step);
      const bool within = note.step > 0 && place < parts_.size();
      merge(within ? parts_[place].device : pending_, objectAt(*changes, "device"));
      return;
    }
    static_cast<void>(stepOf(note.what));
    // A task of a step that is not there any more has nothing that it could run.
    if (note.kind == Note::Kind::task && find(note.by) == parts_.size()) return;
    places_.emplace(note.step, parts_.size());
    if (note.overlaps) markOverlapped(note.thread);
    parts_.push_back({&note, std::exchange(pending_, {}), {}, note.overlaps});
  }

  /// What was going on when a part of `thread` began: most likely what another thread began last.
  void markOverlapped(const std::string& thread) {
    const auto found = std::find_if(parts_.rbegin(), parts_.rend(),
                                    [&](const Part& part) { return part.note->thread != thread; });
    if (found != parts_.rend()) found->overlaps = true;
  }

  void takeEffect(const RecordedNote& note) {
    if (!note.what.contains("effect")) throw ScenarioError("an effect without a name");
    json::object effect;
    const bool expected = expectation(note, effect);
    checkExpected({effect});
    const auto place = find(note.step);
    if (place < parts_.size()) {
      if (expected) parts_[place].effects.push_back(std::move(effect));
    } else if (note.step == 0 && !parts_.empty() && expected) {
      end_.push_back(std::move(effect));
    }
  }

  std::vector<Part> parts_;
  std::unordered_map<std::uint64_t, std::size_t> places_;
  json::object pending_;
  json::array end_;
};

class Writer {
 public:
  Writer(const Recording& recording, std::ostream& out) : parts_(recording), out_(out) {
    auto& all = parts_.all();
    // How many tasks each part queued that ran.
    queued_.resize(all.size());
    for (const auto& part : all) {
      if (!part.isTask()) continue;
      ++queued_[parts_.find(part.note->by)];
      lastTask_ = static_cast<std::size_t>(&part - all.data());
    }
  }

  void write() {
    auto& all = parts_.all();
    for (std::size_t i = 0; i < all.size();) {
      if (all[i].isTask()) {
        i = writeDrain(i);
      } else {
        i = writeStep(i);
      }
    }
    if (!parts_.end().empty()) {
      line({{"free", true}, {"expect", parts_.end()}});
    }
  }

 private:
  void line(const json::object& step) { out_ << jsonText(step) << '\n'; }

  /// The version of the system in `part`. What it can capture a process finds out once: where that
  /// was before the recording began, or at another router, the system is one that can do as much,
  /// while the player finds it out.
  std::string systemIn(const Part& part) {
    const auto mode = knowsCapture_ ? std::nullopt : toldCaptureMode(part.effects);
    if (!mode) return os_;
    knowsCapture_ = true;
    if (captureMode(os_) == *mode) return os_;
    return *mode == captureMode("13") ? "13.0.0" : *mode == captureMode("11") ? "11.0.0" : "10.0.0";
  }

  /// Writes what the device answers in `part`, if anything is another than before.
  void writeDevice(Part& part) {
    const auto* const told = part.device.if_contains("os");
    if (told && told->is_string()) os_ = told->get_string();
    const auto os = systemIn(part);
    if (std::exchange(writtenOs_, os) != os) part.device["os"] = os;
    if (part.device.empty()) return;
    json::object step{{"device", part.device}};
    if (!waiting_.empty() || !quiet_) step["hold"] = true;
    line(step);
  }

  /// How many tasks follow `place` directly.
  std::size_t tasksFrom(std::size_t place) {
    const auto& all = parts_.all();
    auto end = place;
    while (end < all.size() && all[end].isTask()) ++end;
    return end - place;
  }

  /// Puts the tasks that the part at `place` queued behind those that wait.
  void queueTasksOf(std::size_t place) { waiting_.insert(waiting_.end(), queued_[place], place); }

  /// Takes the task at `place` off the queue: where it stood there, from 0. Steps of several
  /// threads may have queued in another order than that in which they began.
  std::size_t unqueue(std::size_t place) {
    const auto cause = parts_.find(parts_.all()[place].note->by);
    const auto found = std::ranges::find(waiting_, cause);
    const auto position = found - waiting_.begin();
    if (found != waiting_.end()) waiting_.erase(found);
    return static_cast<std::size_t>(position);
  }

  /// Whether the `tasks` behind the step at `i` are all that waits then, come in order, and
  /// need no device and no expectation of their own.
  bool together(std::size_t i, std::size_t tasks) {
    if (waiting_.size() > tasks) return false;
    auto& all = parts_.all();
    const auto before = waiting_;
    queueTasksOf(i);
    bool whole = true;
    for (auto task = i + 1; task <= i + tasks && whole; ++task) {
      whole = unqueue(task) == 0 && all[task].device.empty() &&
              (!isVolume(all[task]) || isVolume(all[i]));
      queueTasksOf(task);
    }
    whole = whole && waiting_.empty();
    waiting_ = before;
    return whole;
  }

  /// The step at `i`, and the tasks behind it where nothing else waits.
  std::size_t writeStep(std::size_t i) {
    auto& all = parts_.all();
    auto& part = all[i];
    // Behind the last task that ran others may have waited, of which nothing is known; what
    // comes on the main thread queues none.
    quiet_ = quiet_ && (i <= lastTask_ || part.note->thread == "main");
    const auto tasks = tasksFrom(i + 1);
    const bool whole = quiet_ && together(i, tasks);
    writeDevice(part);
    auto step = part.note->what;
    askForValue(step, part.effects);
    if (whole) {
      for (auto task = i + 1; task <= i + tasks; ++task) {
        part.overlaps = part.overlaps || all[task].overlaps;
        part.effects.insert(part.effects.end(), all[task].effects.begin(), all[task].effects.end());
      }
      waiting_.clear();
    } else {
      queueTasksOf(i);
      step["hold"] = true;
    }
    expect(step, part, whole ? i + tasks : i);
    line(step);
    return whole ? i + tasks + 1 : i + 1;
  }

  std::size_t writeDrain(std::size_t i) {
    auto& part = parts_.all()[i];
    writeDevice(part);
    json::object step{{"drain", 1}};
    if (const auto place = unqueue(i); place > 0) step["nth"] = place + 1;
    step["hold"] = true;
    queueTasksOf(i);
    expect(step, part, i);
    line(step);
    return i + 1;
  }

  /// Whether it is a volume event or the task of one, which may leave a record.
  bool isVolume(const Part& part) {
    const auto& step = part.isTask() ? *parts_.all()[parts_.find(part.note->by)].note : *part.note;
    return isText(step.what, "event", "onUserVoiceVolume");
  }

  /// Adds what is expected of a step that has all up to the part at `last`, and whether it
  /// overlapped another. Unless the router
  /// ended, the last step may have gone on when the recording was made, or broke off.
  void expect(json::object& step, const Part& part, std::size_t last) {
    if (part.overlaps) step["overlaps"] = true;
    if (part.note->before) return;
    const bool mayGoOn = parts_.end().empty() && last + 1 == parts_.all().size();
    if (isVolume(part) || mayGoOn) step["partial"] = true;
    step["expect"] = part.effects;
  }

  Parts parts_;
  std::ostream& out_;
  std::vector<std::size_t> queued_;
  std::size_t lastTask_ = 0;
  std::deque<std::size_t> waiting_;  // of each task that waits, which part queued it
  bool quiet_ = true;                // no task can wait but those
  std::string os_ = std::to_string(DeviceState().os[0]);
  std::string writtenOs_ = os_;
  bool knowsCapture_ = false;
};

}  // namespace

void writeSession(const Recording& recording, std::ostream& out) {
  Writer writer(recording, out);
  // Texts of the recording, which a line break would make lines of the scenario.
  const auto quoted = [](std::string_view text) {
    std::string json;
    appendJsonString(json, text);
    return json;
  };
  const auto program = quoted(recording.program.empty() ? "an unknown version" : recording.program);
  out << "# Recorded by " << std::string_view(program).substr(1, program.size() - 2) << ".\n";
  if (!recording.failure.empty()) out << "# Failure: " << quoted(recording.failure) << '\n';
  if (!recording.whole) {
    out << "# Part of it is missing: steps may differ that build on that.\n";
  }
  if (recording.cutOff) out << "# Its end is missing: it broke off, or was going on.\n";
  writer.write();
}

}  // namespace vemo::replay
