#include "engine/Presence.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vemo::janus {
namespace {

constexpr std::array<std::pair<std::string_view, bool Presence::*>, 6> kWords{{
    {"anchor", &Presence::anchor},
    {"audio", &Presence::audio},
    {"video", &Presence::video},
    {"small", &Presence::small},
    {"screen", &Presence::screen},
    {"leaving", &Presence::leaving},
}};

}  // namespace

std::string Presence::text() const {
  std::string text;
  for (const auto& [word, member] : kWords) {
    if (!(this->*member)) continue;
    if (!text.empty()) text += ' ';
    text += word;
  }
  // Without any display name the server would not tell of later ones.
  return text.empty() ? "audience" : text;
}

Presence Presence::of(std::string_view text) {
  Presence presence;
  while (!text.empty()) {
    const auto end = std::min(text.find(' '), text.size());
    for (const auto& [word, member] : kWords) {
      if (text.substr(0, end) == word) presence.*member = true;
    }
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return presence;
}

}  // namespace vemo::janus
