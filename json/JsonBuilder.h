#pragma once

#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/error.hpp>
#include <boost/json/storage_ptr.hpp>
#include <boost/json/string_view.hpp>
#include <boost/json/value.hpp>
#include <boost/json/value_stack.hpp>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

#include "json/JsonReader.h"

namespace vemo {

/// Builds a value from what the library's parser finds, as the library does, save for
/// floating numbers: a handler of boost::json::basic_parser, or a part of one. The text comes
/// in one piece, so numbers do.
class JsonBuilder {
 public:
  static constexpr std::size_t max_object_size = boost::json::object::max_size();
  static constexpr std::size_t max_array_size = boost::json::array::max_size();
  static constexpr std::size_t max_key_size = boost::json::string::max_size();
  static constexpr std::size_t max_string_size = boost::json::string::max_size();

  using Part = boost::json::string_view;
  using Error = boost::json::error_code;

  /// Works in `memory` as long as it is large enough.
  JsonBuilder(unsigned char* memory, std::size_t size) : stack_({}, memory, size) {}

  /// Begins a value whose memory is from `storage`, and forgets what was built before.
  void begin(boost::json::storage_ptr storage) { stack_.reset(std::move(storage)); }
  /// The value, which must be complete.
  boost::json::value release() { return stack_.release(); }

  bool on_document_begin(Error&) { return true; }
  bool on_document_end(Error&) { return true; }
  bool on_object_begin(Error&) { return true; }
  bool on_object_end(std::size_t count, Error&) { return stack_.push_object(count), true; }
  bool on_array_begin(Error&) { return true; }
  bool on_array_end(std::size_t count, Error&) { return stack_.push_array(count), true; }
  bool on_key_part(Part part, std::size_t, Error&) { return stack_.push_chars(part), true; }
  bool on_key(Part rest, std::size_t, Error&) { return stack_.push_key(rest), true; }
  bool on_string_part(Part part, std::size_t, Error&) { return stack_.push_chars(part), true; }
  bool on_string(Part rest, std::size_t, Error&) { return stack_.push_string(rest), true; }
  bool on_number_part(Part, Error&) { return true; }
  bool on_int64(std::int64_t number, Part, Error&) { return stack_.push_int64(number), true; }
  bool on_uint64(std::uint64_t number, Part, Error&) { return stack_.push_uint64(number), true; }
  bool on_double(double number, Part text, Error&) {
    // Leaves the library's infinity or zero where the number is beyond the type's range.
    std::from_chars(text.data(), text.data() + text.size(), number);
    return stack_.push_double(number), true;
  }
  bool on_bool(bool boolean, Error&) { return stack_.push_bool(boolean), true; }
  bool on_null(Error&) { return stack_.push_null(), true; }
  bool on_comment_part(Part, Error&) { return true; }
  bool on_comment(Part, Error&) { return true; }

 private:
  boost::json::value_stack stack_;
};

/// Gives all of `text`, which is one JSON value, to the handler of a fresh `parser`; `problem`
/// is as readJson says.
template <class Handler>
void parseWhole(boost::json::basic_parser<Handler>& parser, std::string_view text,
                JsonProblem& problem) {
  problem.at = parser.write_some(false, text.data(), text.size(), problem.code);
  if (!problem.code && problem.at < text.size()) problem.code = boost::json::error::extra_data;
}

}  // namespace vemo
