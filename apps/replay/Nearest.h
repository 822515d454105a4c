#pragma once

#include <ranges>
#include <string>
#include <string_view>
#include <vector>

namespace vemo::replay {

/// The name in `known` that `name` is a slip of: letters of another case, and up to a third of
/// them left out, added, replaced or swapped. Of several the nearest, and of these the first;
/// empty when none is near.
std::string_view nearestName(std::string_view name, const std::vector<std::string_view>& known);

/// What is said behind an unknown `name`: `; did you mean "command"?`, or nothing when none of
/// `known`, a range of texts, is near.
template <std::ranges::input_range Names>
std::string didYouMean(std::string_view name, const Names& known) {
  std::vector<std::string_view> names;
  if constexpr (std::ranges::sized_range<Names>) names.reserve(std::ranges::size(known));
  for (const auto& one : known) names.emplace_back(one);
  const auto nearest = nearestName(name, names);
  return nearest.empty() ? "" : "; did you mean \"" + std::string(nearest) + "\"?";
}

}  // namespace vemo::replay
