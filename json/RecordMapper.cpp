#include "json/RecordMapper.h"

#include <boost/json/parse.hpp>

namespace vemo::mapping {

std::optional<Number> numberInText(std::string_view text) {
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) return std::nullopt;
  }
  // The parser would skip blanks and read other kinds of value.
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  if (text.empty() || !isDigit(text.back()) || (!isDigit(text.front()) && text.front() != '-')) {
    return std::nullopt;
  }
  boost::json::error_code problem;
  const auto value = boost::json::parse(text, problem);
  return problem ? std::nullopt : Number::from(value);
}

std::optional<boost::json::object> objectInText(std::string_view text) {
  boost::json::error_code problem;
  auto value = boost::json::parse(text, problem);
  if (problem || !value.is_object()) return std::nullopt;
  return std::move(value.get_object());
}

}  // namespace vemo::mapping
