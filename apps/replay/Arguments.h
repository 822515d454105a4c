#pragma once

#include <boost/json/array.hpp>
#include <concepts>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "NamedObjects.h"
#include "Values.h"
#include "recorder/Notes.h"
#include "webview/VEMOKOBUMsgRouter.h"

namespace vemo::replay {

/// The arguments of one operation, as a scenario gives them, to be read in order.
class Arguments {
 public:
  /// `operation` names the operation in errors and effects. The references outlive
  /// what is read; completions hold `notes`.
  Arguments(std::string_view operation, const json::array& values, NamedObjects& objects,
            std::shared_ptr<Notes> notes)
      : operation_(operation), values_(values), objects_(objects), notes_(std::move(notes)) {}

  /// All arguments, of these types; a ScenarioError when their count or one of them
  /// does not fit. Completions are not among the scenario's arguments: one is made
  /// that writes its call.
  template <class... T>
  std::tuple<T...> readAll() {
    const std::size_t expected = (0 + ... + (isCompletion<T> ? 0 : 1));
    if (values_.size() != expected) {
      throw ScenarioError(operation_ + " takes " + std::to_string(expected) + " arguments, not " +
                          std::to_string(values_.size()));
    }
    return std::tuple<T...>{next<T>()...};
  }

 private:
  template <class T>
  static constexpr bool isCompletion =
      std::same_as<T, VEMORoomCallback> || std::same_as<T, VEMOCallback>;

  template <class T>
  T next() {
    if constexpr (isCompletion<T>) {
      return [notes = notes_, of = operation_](VEMOModule module, const auto&... rest) {
        notes->effect("completion", [&](NoteText& text) {
          text.add("of", of).addArray("args", static_cast<int>(module), rest...);
        });
      };
    } else {
      const auto& value = values_[used_++];
      const auto what = "argument " + std::to_string(used_) + " of " + operation_;
      if constexpr (std::same_as<T, std::shared_ptr<NativeView>>) {
        const auto name = read<Text>(value, what);
        return name ? objects_.view(*name) : nullptr;
      } else if constexpr (std::same_as<T, std::shared_ptr<VEMOKOBUEventListener>>) {
        const auto name = read<Text>(value, what);
        return name ? objects_.listener(*name) : nullptr;
      } else {
        return read<T>(value, what);
      }
    }
  }

  const std::string operation_;
  const json::array& values_;
  std::size_t used_ = 0;
  NamedObjects& objects_;
  std::shared_ptr<Notes> notes_;
};

/// A call of an operation of `Receiver` with the arguments already read.
template <class Receiver>
using Call = std::function<void(Receiver&)>;

/// Reads the arguments of one operation and makes the call of it.
template <class Receiver>
using Bind = Call<Receiver> (*)(Arguments&);

/// What holds an argument for a parameter of type P until the call.
template <class P>
using Held = std::conditional_t<std::same_as<std::remove_cvref_t<P>, std::string_view>, std::string,
                                std::remove_cvref_t<P>>;

/// The Bind of a member function.
template <auto operation>
struct Bound;
template <class Receiver, class Result, class... Args, Result (Receiver::*operation)(Args...)>
struct Bound<operation> {
  static Call<Receiver> bind(Arguments& arguments) {
    return [values = arguments.readAll<Held<Args>...>()](Receiver& receiver) {
      std::apply([&](const auto&... value) { (receiver.*operation)(value...); }, values);
    };
  }
};
template <class Receiver, class Result, class... Args, Result (Receiver::*operation)(Args...) const>
struct Bound<operation> {
  static Call<Receiver> bind(Arguments& arguments) {
    return [values = arguments.readAll<Held<Args>...>()](Receiver& receiver) {
      std::apply([&](const auto&... value) { (receiver.*operation)(value...); }, values);
    };
  }
};

}  // namespace vemo::replay
