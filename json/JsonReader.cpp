#include "json/JsonReader.h"

#include <array>
#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/value_stack.hpp>
#include <charconv>
#include <cstdint>
#include <utility>

namespace vemo {
namespace {

namespace json = boost::json;

/// Builds the value from what the library's parser finds, as the library does, save for
/// floating numbers. The text comes in one piece, so numbers do.
struct Builder {
  static constexpr std::size_t max_object_size = json::object::max_size();
  static constexpr std::size_t max_array_size = json::array::max_size();
  static constexpr std::size_t max_key_size = json::string::max_size();
  static constexpr std::size_t max_string_size = json::string::max_size();

  using Text = json::string_view;
  using Error = json::error_code;

  /// Works in `memory` as long as it is large enough.
  Builder(unsigned char* memory, std::size_t size) : stack({}, memory, size) {}

  bool on_document_begin(Error&) { return true; }
  bool on_document_end(Error&) { return true; }
  bool on_object_begin(Error&) { return true; }
  bool on_object_end(std::size_t count, Error&) { return stack.push_object(count), true; }
  bool on_array_begin(Error&) { return true; }
  bool on_array_end(std::size_t count, Error&) { return stack.push_array(count), true; }
  bool on_key_part(Text part, std::size_t, Error&) { return stack.push_chars(part), true; }
  bool on_key(Text rest, std::size_t, Error&) { return stack.push_key(rest), true; }
  bool on_string_part(Text part, std::size_t, Error&) { return stack.push_chars(part), true; }
  bool on_string(Text rest, std::size_t, Error&) { return stack.push_string(rest), true; }
  bool on_number_part(Text, Error&) { return true; }
  bool on_int64(std::int64_t number, Text, Error&) { return stack.push_int64(number), true; }
  bool on_uint64(std::uint64_t number, Text, Error&) { return stack.push_uint64(number), true; }
  bool on_double(double number, Text text, Error&) {
    // Leaves the library's infinity or zero where the number is beyond the type's range.
    std::from_chars(text.data(), text.data() + text.size(), number);
    return stack.push_double(number), true;
  }
  bool on_bool(bool boolean, Error&) { return stack.push_bool(boolean), true; }
  bool on_null(Error&) { return stack.push_null(), true; }
  bool on_comment_part(Text, Error&) { return true; }
  bool on_comment(Text, Error&) { return true; }

  json::value_stack stack;
};

}  // namespace

json::value readJson(std::string_view text, std::size_t maxDepth, JsonProblem& problem,
                     json::storage_ptr storage) {
  json::parse_options options;
  options.max_depth = maxDepth;
  std::array<unsigned char, 4096> temporary;
  json::basic_parser<Builder> parser(options, temporary.data(), temporary.size());
  parser.handler().stack.reset(std::move(storage));
  problem.at = parser.write_some(false, text.data(), text.size(), problem.code);
  if (!problem.code && problem.at < text.size()) problem.code = json::error::extra_data;
  if (problem.code) return nullptr;
  return parser.handler().stack.release();
}

}  // namespace vemo
