#pragma once

#include <boost/json/error.hpp>
#include <boost/json/storage_ptr.hpp>
#include <boost/json/value.hpp>
#include <cstddef>
#include <string_view>

namespace vemo {

/// Why a text could not be read, and how many of its bytes could.
struct JsonProblem {
  boost::json::error_code code;  ///< false when the text was read
  std::size_t at = 0;
};

/// The JSON value that `text` is, white space around it aside, with its memory from
/// `storage`; null, and `problem` set, when it is none or nested deeper than `maxDepth`,
/// the value itself being the first level when it is an object or array. Each level needs
/// stack. Floating numbers are the nearest to what is written: the library's own parser
/// may take the neighbour of one with more than 15 digits.
/// Thread-safe: no state.
boost::json::value readJson(std::string_view text, std::size_t maxDepth, JsonProblem& problem,
                            boost::json::storage_ptr storage = {});

}  // namespace vemo
