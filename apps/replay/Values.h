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
#include "bridge/ImageDecoder.h"
#include "bridge/KOBUCloudDelegate.h"
#include "bridge/Text.h"
#include "bridge/VEMOUIRenderSource.h"
#include "json/RecordMapper.h"

// Between the JSON of scenarios and transcripts and the values of the interfaces.

namespace vemo::replay {

namespace json = boost::json;

/// A native view, which a scenario knows by its name alone.
class NamedView final : public NativeView {
 public:
  explicit NamedView(std::string name) : name_(std::move(name)) {}
  const std::string& name() const { return name_; }

 private:
  const std::string name_;
};

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

/// `value` as the transcript shows it: records as the mapper writes them, views and
/// images by name, what is absent or null as null.
template <class T>
json::value jsonOf(const T& value) {
  if constexpr (std::is_arithmetic_v<T> || std::same_as<T, json::object>) {
    return value;
  } else if constexpr (std::convertible_to<const T&, std::string_view>) {
    const std::string_view text = value;
    return json::string(text.data(), text.size());
  } else if constexpr (HasFields<T>) {
    return dictionaryFrom(value);
  } else if constexpr (mapping::IsList<T>::value) {
    return arrayFrom(value);
  } else if constexpr (std::same_as<T, NativeView>) {
    return jsonOf(dynamic_cast<const NamedView&>(value).name());
  } else if constexpr (std::same_as<T, VEMOImage>) {
    return "image";
  } else {
    // An optional or a pointer.
    return value ? jsonOf(*value) : json::value(nullptr);
  }
}

/// The JSON array of `values`.
template <class... T>
json::array jsonArray(const T&... values) {
  json::array array;
  array.reserve(sizeof...(values));
  (array.push_back(jsonOf(values)), ...);
  return array;
}

}  // namespace vemo::replay
