#include "json/RecordMapper.h"

#include "json/JsonReader.h"

namespace vemo::mapping {
namespace {

constexpr std::size_t kMaxDepth = 32;

}  // namespace

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
  JsonProblem problem;
  const auto value = readJson(text, kMaxDepth, problem);
  return problem.code ? std::nullopt : Number::from(value);
}

std::optional<boost::json::object> objectInText(std::string_view text) {
  JsonProblem problem;
  auto value = readJson(text, kMaxDepth, problem);
  if (problem.code || !value.is_object()) return std::nullopt;
  return std::move(value.get_object());
}

}  // namespace vemo::mapping
