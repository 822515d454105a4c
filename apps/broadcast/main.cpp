// Stands in for the screen-broadcast extension: posts its notifications from a process
// of its own.

#include <algorithm>
#include <array>
#include <cstddef>
#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include "platform/DBusNotificationCenter.h"
#include "webview/VEMOKOBUMsgRouter.h"

namespace {

constexpr int kUsageError = 2;
constexpr std::string_view kUsage =
    "usage: vemo-broadcast [started|paused|resumed|finished]...\n"
    "Posts the notifications of a screen broadcast on the session bus, in the order of the\n"
    "arguments; without arguments, those named by the lines of standard input.\n"
    "Exit status: 0 done, 2 an event is unknown or there is no session bus.\n";

struct Event {
  std::string_view word;
  const char* notification;
};
constexpr std::array kEvents{Event{"started", vemo::kVEMOScreenKit_Started_Notify},
                             Event{"paused", vemo::kVEMOScreenKit_Paused_Notify},
                             Event{"resumed", vemo::kVEMOScreenKit_Resumed_Notify},
                             Event{"finished", vemo::kVEMOScreenKit_Finished_Notify}};

/// The event called `word`; null, once that was said, when there is none.
const Event* eventCalled(std::string_view word, const std::string& where) {
  const auto* const event = std::find_if(kEvents.begin(), kEvents.end(),
                                         [&](const Event& each) { return each.word == word; });
  if (event != kEvents.end()) return event;
  std::cerr << "vemo-broadcast: " << where << "there is no event \"" << word
            << "\"; there are started, paused, resumed and finished\n";
  return nullptr;
}

int postLines(vemo::CrossProcessNotificationCenter& center) {
  std::size_t number = 0;
  for (std::string line; std::getline(std::cin, line);) {
    ++number;
    if (line.ends_with('\r')) line.pop_back();
    if (line.empty()) continue;
    const auto* event = eventCalled(line, "line " + std::to_string(number) + ": ");
    if (!event) return kUsageError;
    center.post(event->notification);
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string_view> words(argv + 1, argv + argc);
  if (std::find(words.begin(), words.end(), "--help") != words.end()) {
    std::cout << kUsage;
    return 0;
  }
  std::vector<const Event*> events;
  for (const auto word : words) {
    events.push_back(eventCalled(word, ""));
    if (!events.back()) return kUsageError;
  }
  std::string error;
  const auto center = vemo::DBusNotificationCenter::create({}, &error);
  if (!center) {
    std::cerr << "vemo-broadcast: " << error << '\n';
    return kUsageError;
  }
  if (words.empty()) return postLines(*center);
  for (const auto* event : events) center->post(event->notification);
  return 0;
}
