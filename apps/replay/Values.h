#pragma once

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/value.hpp>
#include <concepts>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "ScenarioError.h"
#include "bridge/KOBUCloudDelegate.h"
#include "bridge/Text.h"
#include "json/RecordMapper.h"

// From the JSON of scenarios to the values of the interfaces.

namespace vemo::replay {

namespace json = boost::json;

namespace values {

template <class T>
struct Record;
template <class T>
struct Record<std::shared_ptr<const T>> : std::type_identity<T> {};
template <class T>
concept SharedRecord = requires {
  typename Record<T>::type;
}
&&HasFields<typename Record<T>::type>;
template <class T>
concept SharedRecords = requires {
  typename Record<T>::type::value_type;
}
&&HasFields<typename Record<T>::type::value_type>;

[[noreturn]] inline void refuse(std::string_view what, std::string_view expected) {
  throw ScenarioError(std::string(what) + " must be " + std::string(expected));
}

template <HasFields R>
R record(const json::value& value, std::string_view what) {
  const auto* object = value.if_object();
  if (!object) refuse(what, "an object");
  MappingError reason;
  if (auto mapped = recordFrom<R>(object, &reason)) return *std::move(mapped);
  throw ScenarioError(std::string(what) + " is no such record: " + reason.text());
}

template <std::integral T>
T integer(const json::value& value, std::string_view what) {
  if (const auto* number = value.if_int64(); number && std::in_range<T>(*number)) {
    return static_cast<T>(*number);
  }
  if (const auto* number = value.if_uint64(); number && std::in_range<T>(*number)) {
    return static_cast<T>(*number);
  }
  refuse(what, "an integer of " + std::to_string(8 * sizeof(T)) + " bits");
}

}  // namespace values

/// `value` as a T, exactly: nothing is converted, save objects to records by the mapper.
/// Null stands for an absent value where T knows one. A value that does not fit is a
/// ScenarioError that begins with `what`.
template <class T>
T read(const json::value& value, std::string_view what) {
  if constexpr (std::same_as<T, bool>) {
    if (const auto* boolean = value.if_bool()) return *boolean;
    values::refuse(what, "true or false");
  } else if constexpr (std::integral<T>) {
    return values::integer<T>(value, what);
  } else if constexpr (std::same_as<T, std::string>) {
    if (const auto* text = value.if_string()) return {text->data(), text->size()};
    values::refuse(what, "text");
  } else if constexpr (std::same_as<T, Text>) {
    if (value.is_null()) return std::nullopt;
    if (const auto* text = value.if_string()) return std::string(text->data(), text->size());
    values::refuse(what, "text or null");
  } else if constexpr (std::same_as<T, json::object>) {
    if (const auto* object = value.if_object()) return *object;
    values::refuse(what, "an object");
  } else if constexpr (std::same_as<T, std::optional<json::object>>) {
    if (value.is_null()) return std::nullopt;
    if (const auto* object = value.if_object()) return *object;
    values::refuse(what, "an object or null");
  } else if constexpr (std::same_as<T, json::array>) {
    if (const auto* array = value.if_array()) return *array;
    values::refuse(what, "an array");
  } else if constexpr (values::SharedRecord<T>) {
    if (value.is_null()) return nullptr;
    using R = typename values::Record<T>::type;
    return std::make_shared<const R>(values::record<R>(value, what));
  } else {
    static_assert(values::SharedRecords<T>);
    if (value.is_null()) return nullptr;
    const auto* array = value.if_array();
    if (!array) values::refuse(what, "an array or null");
    using List = typename values::Record<T>::type;
    std::vector<typename List::value_type> records;
    records.reserve(array->size());
    for (const auto& element : *array) {
      records.push_back(values::record<typename List::value_type>(element, what));
    }
    return std::make_shared<const List>(std::move(records));
  }
}

}  // namespace vemo::replay
