#include "simulator/SessionFiles.h"

#include <array>
#include <boost/json/object.hpp>
#include <cstddef>
#include <ctime>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "json/JsonText.h"
#include "platform/LineQueue.h"
#include "platform/RotatingFile.h"
#include "platform/SecretMask.h"
#include "recorder/LineJournal.h"

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

std::shared_ptr<Journal> journalIn(const std::filesystem::path& file) {
  const auto lines = std::make_shared<LineQueue>(
      std::make_shared<RotatingFile>(file, kFileBytes, kOldFiles), kWaitingLines, lostLine);
  return std::make_shared<LineJournal>(
      VEMO_VERSION,
      [mask = SecretMask()](std::string_view text, std::string& buffer) {
        return mask.masked(text, buffer);
      },
      [lines](std::string_view line) { lines->add(line); });
}

}  // namespace

SessionFiles::SessionFiles(std::filesystem::path folder) : folder_(std::move(folder)) {
  if (!folder_.empty()) std::filesystem::create_directories(folder_);
}

std::function<std::shared_ptr<Journal>()> SessionFiles::makeJournal(
    std::function<void(std::string_view line)> note) const {
  if (folder_.empty()) return nullptr;
  return [folder = folder_, note = std::move(note), pages = 0]() mutable {
    const auto file = folder / (timeName() + "-page-" + std::to_string(++pages) + ".vemorec");
    try {
      return journalIn(file);
    } catch (const std::system_error& problem) {
      note(file.string() + " can't be written: " + problem.code().message());
      return std::shared_ptr<Journal>();
    }
  };
}

}  // namespace vemo
