#pragma once

#include <boost/json/object.hpp>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vemo::test {

/// What came of one message.
struct Observed {
  std::vector<boost::json::object> replies;
  std::size_t atOnce = 0;      ///< how many of them there were before anything was answered
  bool reachedEngine = false;  ///< whether the engine was called before that
  std::string everything;      ///< all that can be seen from outside, as text
};

/// The error of a reply; null when it is a success.
const boost::json::object* failureOf(const boost::json::object& reply);

/// How the first reply ends, for a reader.
std::string described(const Observed& observed);

bool isRefused(const Observed& observed);
/// Whether the one answer, which came at once, is this error of the router's own.
bool isRefusedWith(const Observed& observed, std::int64_t code, std::string_view text);

}  // namespace vemo::test
