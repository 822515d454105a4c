#pragma once

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/value.hpp>
#include <concepts>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "ScenarioError.h"
#include "bridge/ImageDecoder.h"
#include "bridge/VEMOUIRenderSource.h"
#include "json/RecordMapper.h"

// The values of the interfaces as JSON; json/Arguments.h reads them.

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
