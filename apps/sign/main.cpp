#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>

#include "engine/SignedToken.h"
#include "program/StandardStreams.h"

// vemo-sign: prints a user signature for one room.

namespace {

constexpr std::string_view kWho = "vemo-sign: ";
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

Exit status: 0 printed, 2 something was wrong with an option, or the signature could not be written.
)";

template <class Number>
std::optional<Number> numberIn(std::string_view text) {
  Number number = 0;
  const auto [stopped, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || stopped != text.data() + text.size()) return std::nullopt;
  return number;
}

int fail(const std::string& why) {
  std::cerr << kWho << why << "; see --help\n";
  return 2;
}

/// The first line of the file at `path`; nothing, and the reason in `why`, when that is no secret.
std::optional<std::string> secretIn(const std::string& path, std::string& why) {
  constexpr std::size_t kMostBytes = 1024;
  std::ifstream file(path);
  std::string secret;
  for (int c = file.get(); c != EOF && c != '\n'; c = file.get()) {
    const bool isControl = c < ' ' || c == 0x7F;
    if (isControl || secret.size() == kMostBytes) {
      why = "the first line of " + path +
            (isControl ? " holds a character that can't be seen" : " is longer than 1024 bytes");
      return std::nullopt;
    }
    secret += static_cast<char>(c);
  }
  if (!secret.empty()) return secret;
  why = "no secret can be read from " + path;
  return std::nullopt;
}

}  // namespace

int main(int count, char** texts) {
  constexpr std::int64_t kSecondsPerHour = 3600;
  constexpr std::int64_t kMostHours = 24LL * 366;
  constexpr std::array<std::string_view, 4> kOptions{"--secret-file", "--app", "--room", "--hours"};
  vemo::fillStandardStreams();
  const std::span<char*> arguments(texts, static_cast<std::size_t>(count));
  std::map<std::string_view, std::string> given;
  for (std::size_t i = 1; i < arguments.size(); ++i) {
    const std::string_view name = arguments[i];
    if (name == "--help" || name == "-h") {
      std::cout << kUsage;
      return vemo::told(kWho);
    }
    if (name == "--version") {
      std::cout << "vemo-sign " VEMO_VERSION "\n";
      return vemo::told(kWho);
    }
    if (std::ranges::find(kOptions, name) == kOptions.end())
      return fail("unknown option " + std::string(name));
    if (i + 1 == arguments.size()) return fail(std::string(name) + " needs a value");
    if (!given.emplace(name, arguments[++i]).second)
      return fail(std::string(name) + " is given twice");
  }
  if (!given.contains("--secret-file") || !given.contains("--app") || !given.contains("--room"))
    return fail("--secret-file, --app and --room are needed");
  const auto app = numberIn<std::uint32_t>(given["--app"]);
  if (!app) return fail("--app is no number: " + given["--app"]);
  const auto room = numberIn<std::uint32_t>(given["--room"]);
  if (!room || *room == 0) return fail("--room is no number of a room: " + given["--room"]);
  const auto hours = numberIn<std::int64_t>(given.emplace("--hours", "24").first->second);
  if (!hours || *hours <= 0 || *hours > kMostHours)
    return fail("--hours is no number of hours up to a year: " + given["--hours"]);
  std::string why;
  const auto secret = secretIn(given["--secret-file"], why);
  if (!secret) return fail(why);
  const auto expiry = static_cast<std::int64_t>(std::time(nullptr)) + *hours * kSecondsPerHour;
  std::cout << vemo::signRoom(*secret, expiry, *app, *room).text() << '\n';
  return vemo::told(kWho);
}
