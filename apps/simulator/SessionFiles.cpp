#include "simulator/SessionFiles.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <boost/json/object.hpp>
#include <cerrno>
#include <cstddef>
#include <ctime>
#include <map>
#include <regex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "json/JsonText.h"
#include "platform/LineQueue.h"
#include "platform/RotatingFile.h"
#include "platform/SecretMask.h"
#include "recorder/CrashDump.h"
#include "recorder/NoteStream.h"

namespace vemo {
namespace {

constexpr std::size_t kFileBytes = std::size_t{64} << 20U;
constexpr std::size_t kOldFiles = 4;
constexpr std::size_t kWaitingLines = 65'536;

std::string lostLine(std::string_view, std::size_t count, std::string_view why) {
  return jsonText(boost::json::object{{"lost", count}, {"why", why}});
}

/// The present time, such as 20260302-080000; in UTC.
std::string timeName() {
  const auto now = std::time(nullptr);
  std::tm parts{};
  gmtime_r(&now, &parts);
  std::array<char, 32> text;
  return {text.data(), std::strftime(text.data(), text.size(), "%Y%m%d-%H%M%S", &parts)};
}

/// Makes the file of the session of `page`, whose name no other program has that began one in this
/// second; its name without the extension. One that can't be made is told when it is opened.
std::string newSession(const std::filesystem::path& folder, int page) {
  const auto begun = timeName() + "-page-" + std::to_string(page);
  auto name = begun;
  for (int others = 1;; name = begun + "-" + std::to_string(++others)) {
    const int made = ::open((folder / (name + ".vemorec")).c_str(),
                            O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (made >= 0) ::close(made);
    if (made >= 0 || errno != EEXIST) return name;
  }
}

/// The file of one session, and what is left of it at a crash.
class Session {
 public:
  Session(const std::filesystem::path& file, const std::shared_ptr<NoteRing>& ring)
      : lines_(std::make_shared<RotatingFile>(file, kFileBytes, kOldFiles), kWaitingLines,
               lostLine),
        stream_(
            ring,
            [mask = SecretMask()](std::string_view text, std::string& buffer) {
              return mask.masked(text, buffer);
            },
            [this](std::string_view line) { lines_.add(line); }),
        crash_(ring, std::filesystem::path(file).replace_extension(".crash.vemorec")) {}

 private:
  LineQueue lines_;
  NoteStream stream_;
  CrashDump crash_;
};

/// A session as it lies in a folder.
struct Stored {
  std::filesystem::file_time_type latest = std::filesystem::file_time_type::min();
  std::uintmax_t bytes = 0;
  std::vector<std::filesystem::path> files;
};

/// The sessions in `folder`, by the names without what tells their files apart.
std::map<std::string, Stored> sessionsIn(const std::filesystem::path& folder) {
  static const std::regex written(R"((\d{8}-\d{6}-page-\d+(?:-\d+)?)(\.\d+|\.crash)?\.vemorec)");
  std::map<std::string, Stored> sessions;
  std::error_code problem;  // what can't be looked at stays
  for (std::filesystem::directory_iterator at(folder, problem), end; !problem && at != end;
       at.increment(problem)) {
    const auto name = at->path().filename().string();
    std::smatch parts;
    if (!std::regex_match(name, parts, written)) continue;
    std::error_code gone;
    const auto bytes = at->file_size(gone);
    const auto latest = at->last_write_time(gone);
    if (gone) continue;
    auto& session = sessions[parts[1]];
    session.latest = std::max(session.latest, latest);
    session.bytes += bytes;
    session.files.push_back(at->path());
  }
  return sessions;
}

/// The sessions that this program is writing.
class OpenSessions {
 public:
  void add(std::string name, const std::shared_ptr<Session>& session) {
    std::erase_if(sessions_, [](const auto& one) { return one.second.expired(); });
    sessions_.insert_or_assign(std::move(name), session);
  }
  bool has(const std::string& name) const {
    const auto found = sessions_.find(name);
    return found != sessions_.end() && !found->second.expired();
  }

 private:
  std::map<std::string, std::weak_ptr<Session>> sessions_;
};

/// Removes the oldest of those that have ended, and notes it.
void removeOldest(const std::filesystem::path& folder, const SessionFiles::Limits& limits,
                  const OpenSessions& open, const std::function<void(std::string_view)>& note) {
  std::vector<Stored> ended;
  for (auto& [name, session] : sessionsIn(folder)) {
    if (!open.has(name)) ended.push_back(std::move(session));
  }
  std::ranges::sort(ended, std::ranges::greater(), &Stored::latest);
  std::size_t kept = 0;
  std::uintmax_t bytes = 0;
  std::size_t removed = 0;
  for (const auto& session : ended) {
    bytes += session.bytes;
    if (kept < limits.sessions && bytes <= limits.bytes) {
      ++kept;
      continue;
    }
    kept = limits.sessions;  // nothing that is older stays
    for (const auto& file : session.files) {
      std::error_code problem;
      std::filesystem::remove(file, problem);
      if (problem) note(file.string() + " can't be removed: " + problem.message());
    }
    ++removed;
  }
  if (removed == 0) return;
  note(std::to_string(removed) + (removed == 1 ? " old session was" : " old sessions were") +
       " removed from " + folder.string() + ": kept are " + std::to_string(limits.sessions) +
       " sessions and " + std::to_string(limits.bytes >> 20U) + " MiB at most");
}

}  // namespace

SessionFiles::SessionFiles(std::filesystem::path folder, Limits limits)
    : folder_(std::move(folder)), limits_(limits) {
  if (!folder_.empty()) std::filesystem::create_directories(folder_);
}

StreamSession SessionFiles::streamSession(std::function<void(std::string_view line)> note) const {
  if (folder_.empty()) return nullptr;
  return [folder = folder_, limits = limits_, note = std::move(note), open = OpenSessions(),
          pages = 0](std::shared_ptr<NoteRing> ring) mutable -> std::shared_ptr<void> {
    removeOldest(folder, limits, open, note);
    const auto name = newSession(folder, ++pages);
    const auto file = folder / (name + ".vemorec");
    try {
      auto session = std::make_shared<Session>(file, ring);
      open.add(name, session);
      return session;
    } catch (const std::system_error& problem) {
      note(file.string() + " can't be written: " + problem.code().message());
    } catch (const std::length_error& problem) {
      note(file.string() + " is not written: " + problem.what());
    }
    return nullptr;
  };
}

}  // namespace vemo
