#pragma once

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/value.hpp>
#include <concepts>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "bridge/Fields.h"
#include "bridge/Text.h"
#include "json/RecordMapper.h"

// Calls of operations whose arguments are written as JSON.

namespace vemo {

/// A value that does not fit; says which and what was expected.
class ArgumentError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

namespace arguments {

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
  throw ArgumentError(std::string(what) + " must be " + std::string(expected));
}

template <HasFields R>
R record(const boost::json::value& value, std::string_view what) {
  const auto* object = value.if_object();
  if (!object) refuse(what, "an object");
  MappingError reason;
  if (auto mapped = recordFrom<R>(object, &reason)) return *std::move(mapped);
  throw ArgumentError(std::string(what) + " is no such record: " + reason.text());
}

template <std::integral T>
T integer(const boost::json::value& value, std::string_view what) {
  if (const auto* number = value.if_int64(); number && std::in_range<T>(*number)) {
    return static_cast<T>(*number);
  }
  if (const auto* number = value.if_uint64(); number && std::in_range<T>(*number)) {
    return static_cast<T>(*number);
  }
  refuse(what, "an integer of " + std::to_string(8 * sizeof(T)) + " bits");
}

}  // namespace arguments

/// `value` as a T, exactly: nothing is converted, save objects to records by the mapper.
/// Null stands for an absent value where T knows one. A value that does not fit is an
/// ArgumentError that begins with `what`.
template <class T>
T read(const boost::json::value& value, std::string_view what) {
  if constexpr (std::same_as<T, bool>) {
    if (const auto* boolean = value.if_bool()) return *boolean;
    arguments::refuse(what, "true or false");
  } else if constexpr (std::integral<T>) {
    return arguments::integer<T>(value, what);
  } else if constexpr (std::same_as<T, std::string>) {
    if (const auto* text = value.if_string()) return {text->data(), text->size()};
    arguments::refuse(what, "text");
  } else if constexpr (std::same_as<T, Text>) {
    if (value.is_null()) return std::nullopt;
    if (const auto* text = value.if_string()) return std::string(text->data(), text->size());
    arguments::refuse(what, "text or null");
  } else if constexpr (std::same_as<T, boost::json::object>) {
    if (const auto* object = value.if_object()) return *object;
    arguments::refuse(what, "an object");
  } else if constexpr (std::same_as<T, std::optional<boost::json::object>>) {
    if (value.is_null()) return std::nullopt;
    if (const auto* object = value.if_object()) return *object;
    arguments::refuse(what, "an object or null");
  } else if constexpr (std::same_as<T, boost::json::array>) {
    if (const auto* array = value.if_array()) return *array;
    arguments::refuse(what, "an array");
  } else if constexpr (arguments::SharedRecord<T>) {
    if (value.is_null()) return nullptr;
    using R = typename arguments::Record<T>::type;
    return std::make_shared<const R>(arguments::record<R>(value, what));
  } else {
    static_assert(arguments::SharedRecords<T>);
    if (value.is_null()) return nullptr;
    const auto* array = value.if_array();
    if (!array) arguments::refuse(what, "an array or null");
    using List = typename arguments::Record<T>::type;
    std::vector<typename List::value_type> records;
    records.reserve(array->size());
    for (const auto& element : *array) {
      records.push_back(arguments::record<typename List::value_type>(element, what));
    }
    return std::make_shared<const List>(std::move(records));
  }
}

/// The arguments of one operation, as JSON gives them, to be read in order.
class Arguments {
 public:
  /// `operation` names the operation in errors. `values` outlives this.
  Arguments(std::string_view operation, const boost::json::array& values)
      : operation_(operation), values_(values) {}

  /// All arguments, of these types; an ArgumentError when their count or one of them does
  /// not fit.
  template <class... T>
  std::tuple<T...> readAll() {
    expect(sizeof...(T));
    return std::tuple<T...>{next<T>()...};
  }

 protected:
  const std::string& operation() const { return operation_; }

  /// An ArgumentError unless there are so many.
  void expect(std::size_t count) const {
    if (values_.size() != count) {
      throw ArgumentError(operation_ + " takes " + std::to_string(count) + " arguments, not " +
                          std::to_string(values_.size()));
    }
  }

  template <class T>
  T next() {
    const auto& value = values_[used_++];
    return read<T>(value, "argument " + std::to_string(used_) + " of " + operation_);
  }

 private:
  const std::string operation_;
  const boost::json::array& values_;
  std::size_t used_ = 0;
};

/// A call of an operation of `Receiver` with the arguments already read.
template <class Receiver>
using BoundCall = std::function<void(Receiver&)>;

/// What holds an argument for a parameter of type P until the call.
template <class P>
using Held = std::conditional_t<std::same_as<std::remove_cvref_t<P>, std::string_view>, std::string,
                                std::remove_cvref_t<P>>;

/// Reads the arguments of a member function, of `From`, and makes the call of it.
template <auto operation, class From>
struct Bound;
template <class Receiver, class Result, class... Args, Result (Receiver::*operation)(Args...),
          class From>
struct Bound<operation, From> {
  static BoundCall<Receiver> bind(From& from) {
    return [values = from.template readAll<Held<Args>...>()](Receiver& receiver) {
      std::apply([&](const auto&... value) { (receiver.*operation)(value...); }, values);
    };
  }
};
template <class Receiver, class Result, class... Args, Result (Receiver::*operation)(Args...) const,
          class From>
struct Bound<operation, From> {
  static BoundCall<Receiver> bind(From& from) {
    return [values = from.template readAll<Held<Args>...>()](Receiver& receiver) {
      std::apply([&](const auto&... value) { (receiver.*operation)(value...); }, values);
    };
  }
};

/// An operation under its name.
template <class Receiver, class From>
struct NamedOperation {
  std::string_view name;
  BoundCall<Receiver> (*bind)(From&);
};

}  // namespace vemo
