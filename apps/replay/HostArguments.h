#pragma once

#include <boost/json/array.hpp>
#include <concepts>
#include <cstddef>
#include <memory>
#include <string_view>
#include <tuple>
#include <utility>

#include "json/Arguments.h"
#include "recorder/NotingHost.h"
#include "replay/NamedObjects.h"
#include "webview/VEMOKOBUMsgRouter.h"

namespace vemo::replay {

namespace json = boost::json;

/// The arguments of a native operation, as a scenario gives them: views and listeners by
/// their names, and completions not at all.
class HostArguments : private Arguments {
 public:
  /// `operation` names the operation in errors and effects. The references outlive
  /// what is read; completions hold `notes`, without which they are null.
  HostArguments(std::string_view operation, const json::array& values, NamedObjects& objects,
                std::shared_ptr<Notes> notes)
      : Arguments(operation, values), objects_(objects), notes_(std::move(notes)) {}

  /// All arguments, of these types; an ArgumentError when their count or one of them
  /// does not fit. For a completion one is made that writes its call.
  template <class... T>
  std::tuple<T...> readAll() {
    expect((0 + ... + (isCompletion<T> ? 0U : 1U)));
    return std::tuple<T...>{next<T>()...};
  }

 private:
  template <class T>
  static constexpr bool isCompletion =
      std::same_as<T, VEMORoomCallback> || std::same_as<T, VEMOCallback>;

  template <class T>
  T next() {
    if constexpr (isCompletion<T>) {
      if (!notes_) return nullptr;
      return notingCompletion(notes_, operation(), T([](VEMOModule, const auto&...) {}));
    } else if constexpr (std::same_as<T, std::shared_ptr<NativeView>>) {
      const auto name = Arguments::next<Text>();
      return name ? objects_.view(*name) : nullptr;
    } else if constexpr (std::same_as<T, std::shared_ptr<VEMOKOBUEventListener>>) {
      const auto name = Arguments::next<Text>();
      return name ? objects_.listener(*name) : nullptr;
    } else {
      return Arguments::next<T>();
    }
  }

  NamedObjects& objects_;
  std::shared_ptr<Notes> notes_;
};

}  // namespace vemo::replay
