#pragma once

#include <boost/json/array.hpp>
#include <concepts>
#include <cstddef>
#include <memory>
#include <string_view>
#include <tuple>

#include "NamedObjects.h"
#include "Recorder.h"
#include "Values.h"
#include "json/Arguments.h"
#include "webview/VEMOKOBUMsgRouter.h"

namespace vemo::replay {

/// The arguments of a native operation, as a scenario gives them: views and listeners by
/// their names, and completions not at all.
class HostArguments : private Arguments {
 public:
  /// `operation` names the operation in errors and effects. The references outlive
  /// what is read; a completion also holds on to `recorder`.
  HostArguments(std::string_view operation, const json::array& values, NamedObjects& objects,
                Recorder& recorder)
      : Arguments(operation, values), objects_(objects), recorder_(recorder) {}

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
      return [&recorder = recorder_, of = operation()](VEMOModule module, const auto&... rest) {
        recorder.write("completion",
                       {{"of", of}, {"args", jsonArray(static_cast<int>(module), rest...)}});
      };
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
  Recorder& recorder_;
};

}  // namespace vemo::replay
