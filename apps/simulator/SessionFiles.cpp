#include "simulator/SessionFiles.h"

#include <array>
#include <boost/json/object.hpp>
#include <cstddef>
#include <ctime>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

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

}  // namespace

SessionFiles::SessionFiles(std::filesystem::path folder) : folder_(std::move(folder)) {
  if (!folder_.empty()) std::filesystem::create_directories(folder_);
}

StreamSession SessionFiles::streamSession(std::function<void(std::string_view line)> note) const {
  if (folder_.empty()) return nullptr;
  return [folder = folder_, note = std::move(note),
          pages = 0](std::shared_ptr<NoteRing> ring) mutable -> std::shared_ptr<void> {
    const auto file = folder / (timeName() + "-page-" + std::to_string(++pages) + ".vemorec");
    try {
      return std::make_shared<Session>(file, ring);
    } catch (const std::system_error& problem) {
      note(file.string() + " can't be written: " + problem.code().message());
    } catch (const std::length_error& problem) {
      note(file.string() + " is not written: " + problem.what());
    }
    return nullptr;
  };
}

}  // namespace vemo
