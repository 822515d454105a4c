#include "ProtocolShape.h"

#include <algorithm>
#include <utility>

#include "json/JsonText.h"

namespace vemo::test {

namespace json = boost::json;

std::string_view textIn(const json::object& object, std::string_view key) {
  const auto* value = object.if_contains(key);
  const auto* text = value ? value->if_string() : nullptr;
  return text ? std::string_view(*text) : std::string_view();
}

bool isTrue(const json::object& object, std::string_view key) {
  const auto* value = object.if_contains(key);
  return value && *value == json::value(true);
}

const json::array& listIn(const json::object& object, std::string_view key) {
  static const json::array none;
  const auto* value = object.if_contains(key);
  return value ? value->get_array() : none;
}

std::string inQuotes(std::string_view text) { return '"' + std::string(text) + '"'; }

bool isOf(std::string_view type, const json::value& value) {
  if (type == "boolean") return value.is_bool();
  if (type == "integer") return value.is_int64() || value.is_uint64();
  if (type == "number") return value.is_number();
  if (type == "text") return value.is_string();
  if (type == "list") return value.is_array();
  return type == "object" && value.is_object();
}

Shape::Shape(const json::array& fields, Complain complain)
    : fields_(fields), complain_(std::move(complain)) {}

void Shape::compare(const json::object& object) { compare(fields_, object, ""); }

void Shape::finish() { finish(fields_, ""); }

void Shape::compare(const json::array& fields, const json::object& object,
                    const std::string& path) {
  const auto* field = fields.begin();
  const auto skipAbsent = [&](std::string_view until) {
    for (; field != fields.end() && textIn(field->get_object(), "name") != until; ++field) {
      const auto& told = field->get_object();
      const auto at = path + std::string(textIn(told, "name"));
      if (isTrue(told, "mayBeAbsent")) {
        seen_.insert(at + " absent");
      } else {
        complain_("lacks " + inQuotes(at) + ", or has it in another place");
      }
    }
  };
  for (const auto& [name, value] : object) {
    const auto at = path + std::string(name);
    const auto isIt = [&](const auto& other) { return textIn(other.get_object(), "name") == name; };
    if (std::none_of(field, fields.end(), isIt)) {
      complain_("has " + inQuotes(at) + ", which is not told, or not there");
      continue;
    }
    skipAbsent(name);
    compareValue((field++)->get_object(), value, at);
  }
  skipAbsent({});
}

void Shape::compareValue(const json::object& told, const json::value& value,
                         const std::string& at) {
  seen_.insert(at + " present");
  if (const auto* text = told.if_contains("orText"); text && *text == value) {
    seen_.insert(at + " as text");
    return;
  }
  const auto type = textIn(told, "type");
  if (!isOf(type, value)) {
    complain_(inQuotes(at) + " is " + jsonText(value) + ", no " + std::string(type));
    return;
  }
  if (value.is_double()) seen_.insert(at + " with a fraction");
  if (!told.contains("members")) return;
  const auto& members = listIn(told, "members");
  if (const auto* object = value.if_object()) compare(members, *object, at + '/');
  if (const auto* list = value.if_array()) {
    for (const auto& element : *list) compare(members, element.as_object(), at + '/');
  }
}

void Shape::finish(const json::array& fields, const std::string& path) {
  for (const auto& field : fields) {
    const auto& told = field.get_object();
    const auto at = path + std::string(textIn(told, "name"));
    const auto never = [&](const char* what) { return !seen_.contains(at + ' ' + what); };
    if (never("present")) complain_("never has " + inQuotes(at));
    if (isTrue(told, "mayBeAbsent") && never("absent")) complain_("always has " + inQuotes(at));
    if (told.contains("orText") && never("as text")) complain_(inQuotes(at) + " is never the text");
    if (textIn(told, "type") == "number" && never("with a fraction")) {
      complain_(inQuotes(at) + " is an integer");
    }
    finish(listIn(told, "members"), at + '/');
  }
}

}  // namespace vemo::test
