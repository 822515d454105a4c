#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <list>
#include <optional>
#include <utility>

namespace vemo {

/// Work that waits for several requesters, to be taken from each in turn, so that one with
/// much of it keeps no other waiting. Work of one requester keeps its order. One thread at
/// a time.
template <class Work>
class Turns {
 public:
  using Requester = std::uint64_t;

  bool empty() const { return lines_.empty(); }

  void add(Requester requester, Work work) {
    auto line = find(requester);
    if (line == lines_.end()) line = lines_.insert(line, {requester, {}});
    line->waiting.push_back(std::move(work));
  }

  /// All that waits for `requester`, in order.
  const std::deque<Work>& of(Requester requester) {
    static const std::deque<Work> kNone;
    const auto line = find(requester);
    return line == lines_.end() ? kNone : line->waiting;
  }

  struct Turn {
    Requester requester;
    Work work;
  };
  /// The oldest work of the requester whose turn it is among those for which `may` holds.
  template <class May>
  std::optional<Turn> take(May may) {
    const auto line = std::find_if(lines_.begin(), lines_.end(),
                                   [&](const Line& each) { return may(each.requester); });
    if (line == lines_.end()) return std::nullopt;
    Turn turn{line->requester, std::move(line->waiting.front())};
    line->waiting.pop_front();
    if (line->waiting.empty()) {
      lines_.erase(line);
    } else {
      lines_.splice(lines_.end(), lines_, line);
    }
    return turn;
  }
  std::optional<Turn> take() {
    return take([](Requester) { return true; });
  }

  /// Takes away all that waits for `requester`.
  std::deque<Work> drop(Requester requester) {
    const auto line = find(requester);
    if (line == lines_.end()) return {};
    auto dropped = std::move(line->waiting);
    lines_.erase(line);
    return dropped;
  }

 private:
  struct Line {
    Requester requester;
    std::deque<Work> waiting;  // never empty
  };

  auto find(Requester requester) {
    return std::find_if(lines_.begin(), lines_.end(),
                        [&](const Line& line) { return line.requester == requester; });
  }

  std::list<Line> lines_;  // whose turn is next stands first
};

}  // namespace vemo
