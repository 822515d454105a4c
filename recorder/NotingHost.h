#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "bridge/Text.h"
#include "bridge/VEMOKOBUEventListener.h"
#include "bridge/VEMOModule.h"
#include "recorder/Notes.h"
#include "recorder/NotingListener.h"

namespace vemo {

/// `completion` of the operation `of`, noted when it is called; null for none.
template <class... Args>
std::function<void(VEMOModule, Args...)> notingCompletion(
    std::shared_ptr<Notes> notes, std::string of,
    std::function<void(VEMOModule, Args...)> completion) {
  if (!completion) return nullptr;
  return [notes = std::move(notes), of = std::move(of), completion = std::move(completion)](
             VEMOModule module, std::type_identity_t<Args>... args) {
    notes->effect("completion", [&](NoteWriter& text) {
      text.add("of", of).addArray("args", static_cast<int>(module), args...);
    });
    completion(module, args...);
  };
}

/// What a host calls the operations of its router by, so that they are noted as steps, with their
/// completions and with what listeners hear as effects:
///
///     NotingHost host(recorder.notes(), router);
///     host.call("kobuStartAudio", &VEMOKOBUMsgRouter::kobuStartAudio, "ann", view);
///
/// Of a record, what is in its table is noted; of what an operation returns, numbers, flags and
/// texts, as an effect. Threads: as the operations.
template <class Router>
class NotingHost {
 public:
  /// `router` is not null.
  NotingHost(std::shared_ptr<Notes> notes, std::shared_ptr<Router> router)
      : notes_(std::move(notes)), router_(std::move(router)) {}

  /// Calls `operation`, which scenarios know by `name`.
  template <class Result, class... Params, class... Args>
  Result call(std::string_view name, Result (Router::*operation)(Params...), Args&&... args) {
    return noted<Result, Params...>(name, operation, std::forward<Args>(args)...);
  }
  template <class Result, class... Params, class... Args>
  Result call(std::string_view name, Result (Router::*operation)(Params...) const, Args&&... args) {
    return noted<Result, Params...>(name, operation, std::forward<Args>(args)...);
  }

  /// Notes which listeners the host has let go of. Each call does so; a host that lets go of one
  /// while it is registered calls this then, so that a replay lets go of it at the same time.
  void noteReleased() {
    std::vector<std::string> released;
    {
      const std::lock_guard lock(mutex_);
      std::erase_if(listeners_, [&](const auto& one) {
        if (!one.target.expired()) return false;
        released.push_back(one.noting->name());
        return true;
      });
    }
    for (const auto& name : released) {
      const Notes::Step step(*notes_, Notes::Step::anywhere,
                             [&](NoteWriter& text) { text.add("release", name); });
    }
  }

 private:
  using Listener = VEMOKOBUEventListener;
  using ListenerPtr = std::shared_ptr<Listener>;

  struct Known {
    std::weak_ptr<Listener> target;
    std::shared_ptr<NotingListener> noting;
  };

  template <class T>
  struct IsCompletion : std::false_type {};
  template <class... Args>
  struct IsCompletion<std::function<void(VEMOModule, Args...)>> : std::true_type {};

  template <class Result, class... Params, class Operation, class... Args>
  Result noted(std::string_view name, Operation operation, Args&&... args) {
    noteReleased();
    std::tuple<std::decay_t<Params>...> held(std::forward<Args>(args)...);
    std::apply([&](auto&... value) { (prepare(name, value), ...); }, held);
    const Notes::Step step(*notes_, Notes::Step::onMain, [&](NoteWriter& text) {
      text.add("host", name);
      text.addElements("args", [&] {
        std::apply([&](const auto&... value) { (write(text, value), ...); }, held);
      });
      const bool hasNone = std::apply(
          [](const auto&... value) { return (false || ... || isNoCompletion(value)); }, held);
      if (hasNone) text.add("completion", false);
    });
    const auto call = [&]() -> Result {
      return std::apply(
          [&](auto&... value) -> Result {
            return (router_.get()->*operation)(std::forward<Params>(value)...);
          },
          held);
    };
    if constexpr (std::is_arithmetic_v<Result> || std::same_as<Result, Text>) {
      const auto result = call();
      notes_->effect("value", [&](NoteWriter& text) { text.add("of", name).add("value", result); });
      return result;
    } else {
      return call();
    }
  }

  template <class T>
  static bool isNoCompletion(const T& value) {
    if constexpr (IsCompletion<T>::value) return !value;
    return false;
  }

  /// Puts what notes in the place of an argument.
  template <class T>
  void prepare(std::string_view name, T& value) {
    if constexpr (IsCompletion<T>::value) {
      value = notingCompletion(notes_, std::string(name), std::move(value));
    } else if constexpr (std::same_as<T, ListenerPtr>) {
      value = noting(value);
    }
  }

  template <class T>
  void write(NoteWriter& text, const T& value) {
    if constexpr (std::same_as<T, ListenerPtr>) {
      if (value) {
        text.element(static_cast<const NotingListener&>(*value).name());
      } else {
        text.element(value);
      }
    } else if constexpr (!IsCompletion<T>::value) {
      text.element(value);
    }
  }

  /// What notes in the place of `target`, of which it is part: it lives as long.
  ListenerPtr noting(const ListenerPtr& target) {
    if (!target) return nullptr;
    std::shared_ptr<NotingListener> made;
    {
      const std::lock_guard lock(mutex_);
      const auto known = std::ranges::find_if(
          listeners_, [&](const auto& one) { return one.target.lock() == target; });
      if (known != listeners_.end()) return {target, known->noting.get()};
      made =
          std::make_shared<NotingListener>(notes_, "listener " + std::to_string(++count_), *target);
      listeners_.push_back({target, made});
    }
    const Notes::Step step(*notes_, Notes::Step::anywhere,
                           [&](NoteWriter& text) { text.add("listener", made->name()); });
    return {target, made.get()};
  }

  const std::shared_ptr<Notes> notes_;
  const std::shared_ptr<Router> router_;
  std::mutex mutex_;
  std::vector<Known> listeners_;
  std::size_t count_ = 0;
};

}  // namespace vemo
