// Stands in for the screen-broadcast extension: posts its notifications from a process
// of its own.

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bridge/ScreenKitNotifications.h"
#include "platform/DBusNotificationCenter.h"
#include "program/StandardStreams.h"

namespace {

constexpr int kFailure = 2;
constexpr std::string_view kWho = "vemo-broadcast: ";

/// The words of all events, with `between` them and `last` before the last.
std::string allWords(std::string_view between, std::string_view last) {
  std::string words;
  for (const auto& event : vemo::kScreenKitNotifications) {
    if (&event != &vemo::kScreenKitNotifications.front()) {
      words += &event == &vemo::kScreenKitNotifications.back() ? last : between;
    }
    words += event.event;
  }
  return words;
}

std::string usage() {
  return "Usage: vemo-broadcast [" + allWords("|", "|") +
         "]...\n"
         "Posts the notifications of a screen broadcast on the session bus, in the order of the\n"
         "arguments; without arguments, those named by the lines of standard input.\n"
         "\n"
         "Options:\n"
         "  --help     show this text\n"
         "  --version  show the version\n"
         "\n"
         "Exit status: 0 done, 2 an event is unknown, the session bus does not take it, or\n"
         "what names the events can't be read.\n";
}

/// The event called `word`; null, once that was said, when there is none.
const vemo::ScreenKitNotification* eventCalled(std::string_view word, const std::string& where) {
  const auto* const event =
      std::ranges::find(vemo::kScreenKitNotifications, word, &vemo::ScreenKitNotification::event);
  if (event != vemo::kScreenKitNotifications.end()) return event;
  std::cerr << kWho << where << "there is no event \"" << word << "\"; there are "
            << allWords(", ", " and ") << '\n';
  return nullptr;
}

int postLines(vemo::CrossProcessNotificationCenter& center) {
  constexpr std::size_t kMostBytes = 1024;
  std::array<char, kMostBytes + 1> text{};
  std::size_t number = 1;
  for (; std::cin.getline(text.data(), text.size()); ++number) {
    const auto length = static_cast<std::size_t>(std::cin.gcount()) - (std::cin.eof() ? 0 : 1);
    std::string_view line(text.data(), length);
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (line.empty()) continue;
    const auto* event = eventCalled(line, "line " + std::to_string(number) + ": ");
    if (!event) return kFailure;
    center.post(event->name);
  }
  if (std::ferror(stdin) != 0) {
    std::cerr << kWho << "standard input can't be read: " << std::strerror(errno) << '\n';
    return kFailure;
  }
  if (std::cin.eof()) return 0;
  std::cerr << kWho << "line " << number << " is longer than " << kMostBytes << " bytes\n";
  return kFailure;
}

}  // namespace

int main(int argc, char** argv) {
  vemo::fillStandardStreams();
  const std::vector<std::string_view> words(argv + 1, argv + argc);
  if (std::find(words.begin(), words.end(), "--help") != words.end()) {
    std::cout << usage();
    return vemo::told(kWho);
  }
  if (std::find(words.begin(), words.end(), "--version") != words.end()) {
    std::cout << "vemo-broadcast " VEMO_VERSION "\n";
    return vemo::told(kWho);
  }
  std::vector<const vemo::ScreenKitNotification*> events;
  for (const auto word : words) {
    events.push_back(eventCalled(word, ""));
    if (!events.back()) return kFailure;
  }
  bool dropped = false;  // read once the centre, whose thread writes it, is gone
  vemo::DBusNotificationCenterOptions options;
  options.endLimit = std::chrono::seconds(5);  // the program is there for nothing else
  options.news = [&](vemo::DBusNews news, const std::string& sentence) {
    std::cerr << kWho << sentence << '\n';
    if (news == vemo::DBusNews::dropped) dropped = true;
  };
  std::string error;
  auto center = vemo::DBusNotificationCenter::create(std::move(options), &error);
  if (!center) {
    std::cerr << kWho << error << '\n';
    return kFailure;
  }
  int status = 0;
  if (words.empty()) status = postLines(*center);
  for (const auto* event : events) center->post(event->name);
  center.reset();
  return dropped ? kFailure : status;
}
