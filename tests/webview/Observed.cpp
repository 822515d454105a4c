#include "Observed.h"

#include <algorithm>
#include <boost/json/value.hpp>

#include "json/JsonText.h"

namespace vemo::test {

namespace json = boost::json;

const json::object* failureOf(const json::object& reply) {
  const auto* error = reply.at("error").if_object();
  return error && error->at("errcode") != json::value(0) ? error : nullptr;
}

std::string described(const Observed& observed) {
  if (observed.replies.empty()) return "not answered";
  const auto* failure = failureOf(observed.replies.front());
  return failure ? "answered with " + jsonText(*failure) : "a success";
}

bool isRefused(const Observed& observed) {
  return std::any_of(observed.replies.begin(), observed.replies.end(), failureOf);
}

bool isRefusedWith(const Observed& observed, std::int64_t code, std::string_view text) {
  if (observed.replies.size() != 1 || observed.atOnce != 1) return false;
  const auto* failure = failureOf(observed.replies.front());
  const json::object told{{"module", "JS"}, {"errcode", code}, {"errmsg", text}};
  return failure && *failure == told;
}

}  // namespace vemo::test
