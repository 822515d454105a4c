#pragma once

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/value.hpp>
#include <optional>
#include <string>
#include <vector>

namespace vemo::replay {

namespace json = boost::json;

/// Where a value is not as expected, such as "/record/level: expected 4, got 2".
struct Difference {
  std::string path;
  std::string expected;
  std::string got;

  std::string text() const;
};

/// The first difference of `actual` (null: it is missing) from `expected`; nothing when
/// it matches. An object matches one that has at least its keys with matching values,
/// an array one of the same length element by element, a number one of the same value,
/// "*" anything present, null also what is missing.
std::optional<Difference> difference(const json::value& expected, const json::value* actual);

/// How `effects` differ from `expected`, for a reader; nothing when they match. They
/// match one by one, or, if `partial`, `expected` is a subsequence of them. For the first
/// that does not, the effect most like it is named, and where that one differs.
std::optional<std::string> mismatch(const json::array& expected, bool partial,
                                    const std::vector<json::object>& effects);

}  // namespace vemo::replay
