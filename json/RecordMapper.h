#pragma once

#include <array>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/value.hpp>
#include <charconv>
#include <cmath>
#include <concepts>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#include "bridge/Fields.h"
#include "bridge/Text.h"
#include "json/JsonText.h"
#include "json/Number.h"

// The JSON model mapper: dictionary to record and back, through the record's table.

namespace vemo {

/// Where a mapping failed and what was expected there, such as "/bitrate: integer
/// expected". The path of the dictionary itself is empty.
struct MappingError {
  std::string path;
  std::string_view expected;

  std::string text() const {
    return (path.empty() ? "" : path + ": ") + std::string(expected) + " expected";
  }
};

namespace mapping {

using Json = boost::json::value;

/// The object that `text` is the JSON of.
std::optional<boost::json::object> objectInText(std::string_view text);

/// A number written as text: what Boost.JSON reads as a number from the whole of it.
std::optional<Number> numberInText(std::string_view text);

template <class T>
struct IsList : std::false_type {};
template <class T>
struct IsList<std::vector<T>> : std::true_type {};

template <class Record>
bool readRecord(const boost::json::object& from, Record& to, MappingError& error);

template <std::integral T>
bool integerInText(std::string_view text, T& to) {
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) return false;
  }
  if (std::unsigned_integral<T> && text.starts_with('-') &&
      text.find_first_not_of('0', 1) == std::string_view::npos && text.size() > 1) {
    to = 0;  // "-0" is in the range of an unsigned type too
    return true;
  }
  const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), to);
  return problem == std::errc{} && end == text.data() + text.size();
}

template <class T>
requires std::is_arithmetic_v<T>
bool readNumber(const Json& from, T& to, MappingError& error) {
  if (const auto number = Number::from(from)) {
    to = number->as<T>();
    return true;
  }
  if (const auto* json = from.if_string()) {
    const std::string_view text(json->data(), json->size());
    if constexpr (std::same_as<T, bool>) {
      const bool yes = text == "true" || text == "1";
      if (yes || text == "false" || text == "0") {
        to = yes;
        return true;
      }
    } else if constexpr (std::integral<T>) {
      if (integerInText(text, to)) return true;
    } else if (const auto number = numberInText(text)) {
      to = number->as<T>();
      return true;
    }
  }
  error.expected = std::same_as<T, bool> ? "boolean" : std::integral<T> ? "integer" : "number";
  return false;
}

inline bool readText(const Json& from, Text& to, MappingError& error) {
  if (const auto* text = from.if_string()) {
    to.emplace(text->data(), text->size());
    return true;
  }
  // A number too large for JSON to write again has no text of its own.
  if (from.is_number() && !(from.is_double() && !std::isfinite(from.get_double()))) {
    to = jsonText(from);
    return true;
  }
  error.expected = "text";
  return false;
}

template <class T>
bool readValue(const Json& from, T& to, MappingError& error);

template <class Item>
bool readList(const Json& from, std::vector<Item>& to, MappingError& error) {
  const auto* array = from.if_array();
  if (!array) {
    error.expected = "array";
    return false;
  }
  to.clear();
  for (std::size_t i = 0; i < array->size(); ++i) {
    if (!readValue((*array)[i], to.emplace_back(), error)) {
      error.path.insert(0, "/" + std::to_string(i));
      return false;
    }
  }
  return true;
}

template <class T>
bool readValue(const Json& from, T& to, MappingError& error) {
  if constexpr (std::is_arithmetic_v<T>) {
    return readNumber(from, to, error);
  } else if constexpr (std::same_as<T, Text>) {
    return readText(from, to, error);
  } else if constexpr (IsList<T>::value) {
    return readList(from, to, error);
  } else {
    if (const auto* object = from.if_object()) return readRecord(*object, to, error);
    error.expected = "object";
    return false;
  }
}

template <class Record>
bool readRecord(const boost::json::object& from, Record& to, MappingError& error) {
  const auto readField = [&](const auto& field) {
    const auto* value = from.if_contains(field.name);
    if (!value || value->is_null()) return true;
    if (readValue(*value, to.*field.member, error)) return true;
    error.path.insert(0, "/" + std::string(field.name));
    return false;
  };
  return std::apply([&](const auto&... field) { return (readField(field) && ...); },
                    Fields<Record>::table);
}

template <class T>
Json written(const T& from, const boost::json::storage_ptr& storage);

template <class Record>
boost::json::object writtenRecord(const Record& from, const boost::json::storage_ptr& storage) {
  boost::json::object object(storage);
  object.reserve(std::tuple_size_v<decltype(Fields<Record>::table)>);
  const auto writeField = [&](const auto& field) {
    const auto& member = from.*field.member;
    if constexpr (std::same_as<std::remove_cvref_t<decltype(member)>, Text>) {
      if (member) object.emplace(field.name, *member);
    } else {
      object.emplace(field.name, written(member, storage));
    }
  };
  std::apply([&](const auto&... field) { (writeField(field), ...); }, Fields<Record>::table);
  return object;
}

template <class T>
Json written(const T& from, const boost::json::storage_ptr& storage) {
  if constexpr (std::is_arithmetic_v<T>) {
    return Json(from, storage);
  } else if constexpr (IsList<T>::value) {
    boost::json::array array(storage);
    array.reserve(from.size());
    for (const auto& item : from) array.push_back(written(item, storage));
    return array;
  } else {
    return writtenRecord(from, storage);
  }
}

template <class T>
void appendWritten(std::string& out, const T& from);

/// `,"name":` of a field's name, which needs no escapes, as text that is there when the
/// program begins.
template <class Field>
inline constexpr auto keyText = [] {
  std::array<char, Field::name.size() + 4> text{',', '"'};
  for (std::size_t i = 0; i < Field::name.size(); ++i) text[i + 2] = Field::name[i];
  text[text.size() - 2] = '"';
  text[text.size() - 1] = ':';
  return text;
}();

template <class Record>
void appendWrittenRecord(std::string& out, const Record& from) {
  out += '{';
  std::size_t comma = 1;  // left out before the first
  forEachField(from, [&]<class Field, class T>(Field, const T& value) {
    const auto& key = keyText<Field>;
    if constexpr (std::same_as<T, Text>) {
      if (!value) return;
    }
    out.append(key.data() + comma, key.size() - comma);
    comma = 0;
    if constexpr (std::same_as<T, Text>) {
      appendJsonString(out, *value);
    } else {
      appendWritten(out, value);
    }
  });
  out += '}';
}

template <class T>
void appendWritten(std::string& out, const T& from) {
  if constexpr (std::integral<T> && !std::same_as<T, bool>) {
    appendJsonInteger(out, from);
  } else if constexpr (std::is_arithmetic_v<T>) {
    appendJsonText(out, Json(from));
  } else if constexpr (IsList<T>::value) {
    out += '[';
    for (const auto& item : from) {
      if (&item != from.data()) out += ',';
      appendWritten(out, item);
    }
    out += ']';
  } else {
    appendWrittenRecord(out, from);
  }
}

}  // namespace mapping

/// The record that `dictionary` describes: keys are matched to property names exactly,
/// unknown keys are ignored, null leaves a property as it is. Nothing when the
/// dictionary is absent (null) or a value can't be converted; `error`, if given, then
/// says where and why. An empty dictionary gives the record's defaults.
template <HasFields Record>
std::optional<Record> recordFrom(const boost::json::object* dictionary,
                                 MappingError* error = nullptr) {
  MappingError reason;
  std::optional<Record> record(std::in_place);
  if (!dictionary) {
    reason.expected = "object";
    record.reset();
  } else if (!mapping::readRecord(*dictionary, *record, reason)) {
    record.reset();
  }
  if (error && !record) *error = std::move(reason);
  return record;
}

/// The record that the object in `text` describes; nothing when the text is no JSON object.
template <HasFields Record>
std::optional<Record> recordFrom(std::string_view text, MappingError* error = nullptr) {
  const auto dictionary = mapping::objectInText(text);
  return recordFrom<Record>(dictionary ? &*dictionary : nullptr, error);
}

/// The dictionary that describes `record`: every property under its name, in the
/// order of the table; an absent text is left out.
template <HasFields Record>
boost::json::object dictionaryFrom(const Record& record,
                                   const boost::json::storage_ptr& storage = {}) {
  return mapping::writtenRecord(record, storage);
}

/// Appends the JSON text of what dictionaryFrom gives for `record`, without making it; a
/// list of records gives an array.
template <class RecordOrList>
void appendRecordText(std::string& out, const RecordOrList& record) {
  mapping::appendWritten(out, record);
}

/// The dictionaries of a list of records.
template <HasFields Record>
boost::json::array arrayFrom(const std::vector<Record>& records,
                             const boost::json::storage_ptr& storage = {}) {
  return mapping::written(records, storage).as_array();
}

}  // namespace vemo
