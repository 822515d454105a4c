#pragma once

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#include "bridge/Fields.h"
#include "bridge/Text.h"
#include "json/RecordMapper.h"
#include "webview/Command.h"

// Telling readers of the protocol what the tables hold: parameters, results and payloads
// as JSON. Nothing here is used when a command or an event runs.

namespace vemo::telling {

template <class T>
inline constexpr bool isList = false;
template <class T>
inline constexpr bool isList<std::vector<T>> = true;
template <>
inline constexpr bool isList<const boost::json::array*> = true;

/// The type of a value as the protocol names it.
template <class T>
constexpr std::string_view typeName() {
  if constexpr (std::same_as<T, bool>) {
    return "boolean";
  } else if constexpr (std::integral<T>) {
    return "integer";
  } else if constexpr (std::floating_point<T>) {
    return "number";
  } else if constexpr (isList<T>) {
    return "list";
  } else if constexpr (HasFields<T> || std::same_as<T, boost::json::object>) {
    return "object";
  } else {
    return "text";
  }
}

/// Name, type and what else `words` say.
inline boost::json::object tell(const Words& words, std::string_view type) {
  boost::json::object told{{"name", words.name}, {"type", type}};
  if (!words.unit.empty()) told["unit"] = words.unit;
  if (!words.about.empty()) told["about"] = words.about;
  if (!words.example.empty()) told["example"] = boost::json::parse(words.example);
  return told;
}

template <class Record>
boost::json::array properties();

/// The members of what a T holds; nothing when it is no record and no list of records.
template <class T>
void addMembers(boost::json::object& told) {
  if constexpr (HasFields<T>) {
    told["record"] = Fields<T>::name;
    told["members"] = properties<T>();
  } else if constexpr (isList<T>) {
    addMembers<typename T::value_type>(told);
  }
}

/// The first name in the record's table of what `field` holds: a later one only reads it.
template <class Record, class OneField>
std::string_view firstName(const OneField& field) {
  auto name = field.name;
  const auto look = [&](const auto& other) {
    if constexpr (std::same_as<std::remove_cvref_t<decltype(other)>, OneField>) {
      if (other.member != field.member) return false;
      name = other.name;
      return true;
    } else {
      return false;
    }
  };
  std::apply([&](const auto&... all) { static_cast<void>((look(all) || ...)); },
             Fields<Record>::table);
  return name;
}

/// The properties of a record, each with the value that it has when it is not given, if
/// it has one, or with the name of the property that it is another name of.
template <class Record>
boost::json::array properties() {
  boost::json::array told;
  const auto defaults = dictionaryFrom(Record{});
  std::apply(
      [&](const auto&... fields) {
        const auto one = [&](const auto& field) {
          using Member = typename std::remove_cvref_t<decltype(field)>::MemberType;
          auto& property =
              told.emplace_back(tell({field.name, field.about, field.unit}, typeName<Member>()));
          auto& object = property.get_object();
          const auto* fallback = defaults.if_contains(field.name);
          if (!fallback) object["mayBeAbsent"] = true;
          if (fallback && !fallback->is_array()) object["default"] = *fallback;
          if (const auto first = firstName<Record>(field); first != field.name) {
            object["sameAs"] = first;
            object.erase("default");
          }
          addMembers<Member>(object);
        };
        (one(fields), ...);
      },
      Fields<Record>::table);
  return told;
}

// ---- Parameters

/// What a command fails with when the parameter P is missing: its own text, or the row's.
template <class P>
constexpr std::string_view textWithout(std::string_view rowsText) {
  if constexpr (requires { P::missing; }) {
    return P::missing;
  } else {
    return rowsText;
  }
}

template <class Entry>
inline constexpr bool failsWithout = Listed<Entry>::isRequired;
template <class P>
inline constexpr bool failsWithout<Checked<P>> = true;

template <class Entry>
void addFallback(boost::json::object& told) {
  using P = typename Listed<Entry>::Of;
  if constexpr (requires { P::fallback; }) {
    told["default"] = P::fallback;
    told["min"] = P::min;
    told["max"] = P::max;
  }
}
template <class P, auto Instead>
void addInstead(boost::json::object& told, const Or<P, Instead>&) {
  told["default"] = Instead;
}
inline void addInstead(boost::json::object&, const auto&) {}

template <class... List>
boost::json::array parametersOf(const Params<List...>* /*list*/);

/// Adds what the entry of a list says of its parameter: one object, or for a record one
/// for each of its properties.
template <class Entry>
void addParameters(boost::json::array& told, std::string_view rowsText) {
  using P = typename Listed<Entry>::Of;
  const auto text = textWithout<P>(rowsText);
  if constexpr (requires { typename P::Properties; }) {
    for (auto& property : properties<typename P::Properties>()) {
      auto& object = property.get_object();
      object.erase("mayBeAbsent");  // what "required" says of a parameter
      bool required = false;
      if constexpr (requires { P::requiredProperty; }) {
        required = object["name"].get_string() == P::requiredProperty;
        if (required) {
          object["example"] = boost::json::parse(P::propertyExample);
          object["nonEmpty"] = true;
        }
      }
      if constexpr (requires { P::ignoredProperty; }) {
        if (object["name"].get_string() == P::ignoredProperty) object["ignored"] = true;
      }
      object["required"] = required;
      if (required) object["onMissing"] = text;
      if (failsWithout<Entry>) object["onWrongType"] = text;
      object["of"] = Fields<typename P::Properties>::name;
      told.push_back(std::move(property));
    }
  } else {
    auto object = tell(P::words, typeName<typename P::Value>());
    object["required"] = failsWithout<Entry>;
    addFallback<Entry>(object);
    addInstead(object, Entry{});
    if constexpr (requires { P::nonEmpty; }) object["nonEmpty"] = true;
    if constexpr (requires { P::format; }) object["format"] = P::format;
    if constexpr (requires { P::values; }) {
      boost::json::array values;
      for (const auto value : P::values) values.emplace_back(value);
      object["values"] = std::move(values);
    }
    if (failsWithout<Entry>) {
      object["onMissing"] = text;
      object["onWrongType"] = text;
    }
    if constexpr (requires { typename P::Element; }) {
      object["members"] = parametersOf(static_cast<const typename P::Element*>(nullptr));
    }
    told.push_back(std::move(object));
  }
}

template <auto Constant>
constexpr bool isGivenByNoPage(const Always<Constant>&) {
  return true;
}
constexpr bool isGivenByNoPage(const auto&) { return false; }

/// The parameters of a list, in order.
template <class... List>
boost::json::array parameters(std::string_view rowsText) {
  boost::json::array told;
  [[maybe_unused]] const auto add = [&]<class Entry>(const Entry&) {
    if constexpr (!isGivenByNoPage(Entry{})) addParameters<Entry>(told, rowsText);
  };
  (add(List{}), ...);
  return told;
}

template <class... List>
boost::json::array parametersOf(const Params<List...>* /*list*/) {
  return parameters<List...>({});
}

/// What a command fails with when it comes without params; empty when it does not.
template <class... List>
constexpr std::string_view textWithoutParams(std::string_view rowsText) {
  std::string_view text;
  [[maybe_unused]] const auto look = [&]<class Entry>(const Entry&) {
    if constexpr (failsWithout<Entry>) {
      text = textWithout<typename Listed<Entry>::Of>(rowsText);
      return true;
    }
    return false;
  };
  static_cast<void>((look(List{}) || ...));
  return text;
}

}  // namespace vemo::telling
