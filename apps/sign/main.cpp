#include <charconv>
#include <cstdint>
#include <ctime>
#include <fstream>
#include <iostream>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>

#include "engine/SignedToken.h"

// vemo-sign: prints a user signature for one room.

namespace {

constexpr std::string_view kUsage =
    R"(Usage: vemo-sign --secret-file FILE --app N --room N [--hours N]

Prints the user signature with which a page may enter room N of application N: two tokens, for the
media server and for the room, signed with the server's secret, the file's first line. It is good
for 24 hours, or as many as are named.

It is bound to the room, not to a user: whoever has it may enter under any user id. Give it only to
those who may be in that room, and say yourself who they are.

Options:
  --secret-file FILE  where the server's secret stands
  --app N             the application
  --room N            the room
  --hours N           for how long it is good
  --help              show this text
  --version           show the version
)";

template <class Number>
std::optional<Number> numberIn(std::string_view text) {
  Number number = 0;
  const auto [stopped, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || stopped != text.data() + text.size()) return std::nullopt;
  return number;
}

int fail(const std::string& why) {
  std::cerr << "vemo-sign: " << why << "; see --help\n";
  return 2;
}

}  // namespace

int main(int count, char** texts) {
  constexpr std::int64_t kSecondsPerHour = 3600;
  constexpr std::int64_t kMostHours = 24LL * 366;
  const std::span<char*> arguments(texts, static_cast<std::size_t>(count));
  std::string secretFile;
  std::optional<std::uint32_t> app;
  std::optional<std::uint32_t> room;
  std::optional<std::int64_t> hours = 24;
  for (std::size_t i = 1; i < arguments.size(); ++i) {
    const std::string_view name = arguments[i];
    if (name == "--help" || name == "-h") {
      std::cout << kUsage;
      return 0;
    }
    if (name == "--version") {
      std::cout << "vemo-sign " VEMO_VERSION "\n";
      return 0;
    }
    if (i + 1 == arguments.size()) return fail(std::string(name) + " has no value");
    const std::string_view value = arguments[++i];
    if (name == "--secret-file") {
      secretFile = value;
    } else if (name == "--app") {
      app = numberIn<std::uint32_t>(value);
      if (!app) return fail("--app is no number: " + std::string(value));
    } else if (name == "--room") {
      room = numberIn<std::uint32_t>(value);
      if (!room || *room == 0) return fail("--room is no number of a room: " + std::string(value));
    } else if (name == "--hours") {
      hours = numberIn<std::int64_t>(value);
      if (!hours || *hours <= 0 || *hours > kMostHours) {
        return fail("--hours is no number of hours up to a year: " + std::string(value));
      }
    } else {
      return fail("unknown option " + std::string(name));
    }
  }
  if (secretFile.empty() || !app || !room)
    return fail("--secret-file, --app and --room are needed");
  std::ifstream file(secretFile);
  std::string secret;
  if (!std::getline(file, secret) || secret.empty()) {
    return fail("no secret can be read from " + secretFile);
  }
  const auto expiry = static_cast<std::int64_t>(std::time(nullptr)) + *hours * kSecondsPerHour;
  std::cout << vemo::signRoom(secret, expiry, *app, *room).text() << '\n';
  return 0;
}
