#include "json/JsonReader.h"

#include <array>
#include <utility>

#include "json/JsonBuilder.h"

namespace vemo {

namespace json = boost::json;

json::value readJson(std::string_view text, std::size_t maxDepth, JsonProblem& problem,
                     json::storage_ptr storage) {
  json::parse_options options;
  options.max_depth = maxDepth;
  std::array<unsigned char, 4096> temporary;
  json::basic_parser<JsonBuilder> parser(options, temporary.data(), temporary.size());
  parser.handler().begin(std::move(storage));
  parseWhole(parser, text, problem);
  if (problem.code) return nullptr;
  return parser.handler().release();
}

}  // namespace vemo
