#include "replay/Nearest.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <utility>

namespace vemo::replay {
namespace {

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

/// How many letters have to be left out, added, replaced or swapped with the next to make one
/// text of the other, whatever their case (the optimal string alignment distance).
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> beforeLast;
  std::vector<std::size_t> last(b.size() + 1);
  std::iota(last.begin(), last.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::vector<std::size_t> row{i};
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const char one = lower(a[i - 1]);
      const char other = lower(b[j - 1]);
      const std::size_t replaced = one == other ? 0 : 1;
      auto best = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + replaced});
      const bool swapped = i > 1 && j > 1 && one == lower(b[j - 2]) && lower(a[i - 2]) == other;
      if (swapped) best = std::min(best, beforeLast[j - 2] + 1);
      row.push_back(best);
    }
    beforeLast = std::exchange(last, std::move(row));
  }
  return last.back();
}

}  // namespace

std::string_view nearestName(std::string_view name, const std::vector<std::string_view>& known) {
  constexpr std::size_t kLongest = 100;  // nobody means a longer one
  if (name.empty() || name.size() > kLongest) return {};
  std::string_view nearest;
  std::size_t least = 0;
  for (const auto candidate : known) {
    if (candidate.empty() || candidate.size() > kLongest) continue;
    const auto wrong = distance(name, candidate);
    const auto most = std::max(name.size(), candidate.size()) / 3;
    if (wrong > most || (!nearest.empty() && wrong >= least)) continue;
    least = wrong;
    nearest = candidate;
  }
  return nearest;
}

}  // namespace vemo::replay
