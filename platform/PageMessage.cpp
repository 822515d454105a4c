#include "platform/PageMessage.h"

#include <boost/json/error.hpp>
#include <boost/json/value.hpp>
#include <string>
#include <utility>

#include "json/JsonReader.h"
#include "json/JsonText.h"
#include "json/Lookup.h"
#include "platform/JSMsgRouter.h"

namespace vemo {
namespace {

namespace json = boost::json;

Text textIn(const json::object* object, std::string_view key) {
  const auto text = vemo_safeNSStringForKey(object, key);
  return text ? Text(*text) : Text();
}

MessageAddress addressIn(const json::object& message) {
  const auto* const head = message.if_contains("head");
  const auto* const fields = head ? head->if_object() : nullptr;
  return {textIn(fields, "module"), textIn(fields, "action"), textIn(&message, "cbid")};
}

bool hasUsableParams(const json::object& message) {
  const auto* const params = message.if_contains("params");
  return !params || params->is_null() || params->is_object();
}

}  // namespace

PageMessage readPageMessage(std::string_view text, const json::storage_ptr& storage) {
  if (text.size() > JSMsgRouter::kMaxMessageBytes) return {skimAddress(text), {}};
  JsonProblem problem;
  const auto read = [&](std::string_view message, const json::storage_ptr& memory) {
    problem = {};
    return readJson(message, JSMsgRouter::kMaxMessageDepth, problem, memory);
  };
  const auto isBroken = [&] { return problem.code && problem.code != json::error::too_deep; };
  auto value = read(text, storage);
  std::string mended;
  if (isBroken()) value = read(mended = withWholePairs(text), storage);
  const bool isUtf8 = !isBroken();
  // Broken UTF-8: the sender may still be known, and waits.
  if (!isUtf8) value = read(validUtf8(mended), {});
  if (problem.code == json::error::too_deep) return {skimAddress(text), {}};
  auto* const object = problem.code ? nullptr : value.if_object();
  if (!object) return {};
  PageMessage message{addressIn(*object), {}};
  if (isUtf8 && message.address.action && hasUsableParams(*object)) {
    message.content = std::move(*object);  // same storage: no copy
  }
  return message;
}

}  // namespace vemo
