#pragma once

#include <array>
#include <boost/json/object.hpp>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "bridge/Text.h"
#include "bridge/VEMOJSError.h"
#include "bridge/VEMOJSMsgItem.h"
#include "bridge/VEMOModule.h"
#include "bridge/VEMOWebView.h"
#include "json/Lookup.h"
#include "json/RecordMapper.h"

// What a command takes, told once: a parameter is a type, a handler's declaration lists
// the parameters that it reads, and no other can be read. The table and the reference
// that pages are given are made from the same lists.

namespace vemo {

/// What is told of a value beside its type. `example` is JSON text.
struct Words {
  std::string_view name;
  std::string_view about;
  std::string_view unit = {};
  std::string_view example = {};
};

/// A parameter whose value is a T. A class derived from this has `words`; its T is
///   std::int32_t and other numbers   a JSON number or boolean, converted as Number says
///   bool                             the same; true unless it is zero
///   std::string_view                 a text; points into the message
/// Static members of it say what else there is. Two steer how it is read:
///   read(params)                     reads it instead of the above; nothing when it is missing
///   nonEmpty                         an empty text counts as missing
/// one what the frame answers:
///   missing                          the error's text without it, instead of the row's
/// and the others what is told of it, and must fit its `read` or its handler:
///   values                           all that count
///   format                           what a text must be: "uri"
///   Element                          the list of parameters of each element of an array
///   Properties                       the record whose properties the params as a whole have
///   requiredProperty                 the name of that of them which must be there and not
///   propertyExample                  empty, with an example of it as JSON text
///   ignoredProperty                  the name of one whose value is not used
template <class T>
struct Parameter {
  using Value = T;
};

/// A text that counts as missing when it is empty.
struct NonEmptyText : Parameter<std::string_view> {
  static constexpr bool nonEmpty = true;
};

/// An integer that is replaced by a fallback when it is missing or out of range.
template <std::int32_t Min, std::int32_t Max, std::int32_t Fallback>
struct Ranged : Parameter<std::int32_t> {
  static constexpr std::int32_t min = Min;
  static constexpr std::int32_t max = Max;
  static constexpr std::int32_t fallback = Fallback;
};

/// A record of the engine that the params as a whole describe, by the mapper's rules.
template <class Record, class Mapped = Record>
struct RecordParameter : Parameter<Record> {
  using Properties = Mapped;  // whose names the page uses
  static std::optional<Record> read(const boost::json::object* params) {
    return recordFrom<Mapped>(params);
  }
};

// How a list of parameters names one: by itself when the command fails without it, else

/// ... when the command does without it,
template <class P>
struct Maybe {};

/// ... when another value stands in for it,
template <class P, auto Instead>
struct Or {};

/// ... when the handler itself says in which order things fail,
template <class P>
struct Checked {};

/// and a value that no page gives, between those that it does.
template <auto Constant>
struct Always {};

/// What the forms above have in common: the parameter, whether the command's frame fails
/// without it, and what becomes of what was found in its place: the value that a handler
/// gets, and as `taken`, what a row that has no handler hands to the engine; that is nothing
/// only where the frame has failed.
template <class P>
struct Listed {
  using Of = P;
  static constexpr bool isRequired = !requires { P::fallback; };
  static auto taken(std::optional<typename P::Value> found) { return found; }
  static auto value(std::optional<typename P::Value> found) { return *std::move(found); }
};
template <class P>
struct Listed<Maybe<P>> {
  using Of = P;
  static constexpr bool isRequired = false;
  static auto value(std::optional<typename P::Value> found) { return found; }
};
template <class P, auto Instead>
struct Listed<Or<P, Instead>> {
  using Of = P;
  static constexpr bool isRequired = false;
  static auto value(std::optional<typename P::Value> found) {
    return std::move(found).value_or(Instead);
  }
  static auto taken(std::optional<typename P::Value> found) {
    return std::optional(value(std::move(found)));
  }
};
template <class P>
struct Listed<Checked<P>> : Listed<Maybe<P>> {};
template <auto Constant>
struct Listed<Always<Constant>> {
  using Of = void;
  static constexpr bool isRequired = false;
};

/// Reads single parameters, for the lists below alone: whoever could read by this what is in
/// no list would take what no page is told of.
class ParameterReader {
  template <class... List>
  friend class Params;

  /// The value of the parameter P in `params`; nothing when it is missing or of another type.
  template <class P>
  static std::optional<typename P::Value> valueOf(const boost::json::object* params) {
    using Value = typename P::Value;
    if constexpr (requires { P::read(params); }) {
      return P::read(params);
    } else if constexpr (std::same_as<Value, std::string_view>) {
      auto text = vemo_safeNSStringForKey(params, P::words.name);
      if constexpr (requires { P::nonEmpty; }) {
        if (text && text->empty()) text.reset();
      }
      return text;
    } else {
      const auto number = vemo_safeNSNumberForKey(params, P::words.name);
      if constexpr (requires { P::fallback; }) {
        const auto value = number ? number->int32() : P::fallback;
        return value >= P::min && value <= P::max ? value : P::fallback;
      } else {
        if (!number) return std::nullopt;
        return number->template as<Value>();
      }
    }
  }
};

/// The parameters listed, each in one of the forms above, of an object that is a command's
/// params or an element of one of them; null when there is none.
template <class... List>
class Params {
 public:
  explicit Params(const boost::json::object* object) : object_(object) {}

  /// The value of the parameter P; for one that may be missing, an optional.
  template <class P>
  requires(std::same_as<typename Listed<List>::Of, P> || ...) auto get() const {
    return find<P, List...>();
  }

  /// What a row without a handler hands to the engine: an optional for each of the list.
  auto taken() const { return std::tuple{takenOf(std::type_identity<List>())...}; }

  /// The position in the list of the first required parameter that is not there, with its
  /// own error text if it has one; nothing when all are.
  struct Missing {
    std::size_t position;
    std::string_view text;
  };
  std::optional<Missing> missing() const {
    return firstMissing([this]<class Entry>(std::size_t) {
      return !ParameterReader::valueOf<typename Listed<Entry>::Of>(object_);
    });
  }
  /// The same for what `taken` gave.
  template <class Values>
  static std::optional<Missing> missingIn(const Values& values) {
    return std::apply(
        [](const auto&... value) {
          const std::array<bool, sizeof...(value)> there{value.has_value()...};
          return firstMissing([&there]<class Entry>(std::size_t i) { return !there[i]; });
        },
        values);
  }

 private:
  template <class P, class First, class... Rest>
  auto find() const {
    if constexpr (std::same_as<typename Listed<First>::Of, P>) {
      return Listed<First>::value(ParameterReader::valueOf<P>(object_));
    } else {
      return find<P, Rest...>();
    }
  }

  template <class Entry>
  auto takenOf(std::type_identity<Entry>) const {
    return Listed<Entry>::taken(ParameterReader::valueOf<typename Listed<Entry>::Of>(object_));
  }
  template <auto Constant>
  auto takenOf(std::type_identity<Always<Constant>>) const {
    return std::optional(Constant);
  }

  /// `lacks.operator()<Entry>(position)` says whether that one is not there.
  template <class Lacks>
  static std::optional<Missing> firstMissing(const Lacks& lacks) {
    std::optional<Missing> first;
    [[maybe_unused]] const auto look = [&]<class Entry>(std::size_t position) {
      if constexpr (Listed<Entry>::isRequired) {
        if (lacks.template operator()<Entry>(position)) {
          first = Missing{position, ownText<typename Listed<Entry>::Of>()};
        }
      }
      return first.has_value();
    };
    [[maybe_unused]] std::size_t position = 0;
    static_cast<void>((look.template operator()<List>(position++) || ...));
    return first;
  }

  template <class P>
  static constexpr std::string_view ownText() {
    if constexpr (requires { P::missing; }) {
      return P::missing;
    } else {
      return {};
    }
  }

  const boost::json::object* object_;
};

/// Answers a command whose handler has returned: now, or once more. Keeps the item and the
/// web view that the command came from; what the message holds can't be reached by it.
class Answer {
 public:
  Answer(std::shared_ptr<VEMOJSMsgItem> item, std::shared_ptr<VEMOWebView> webView)
      : item_(std::move(item)), webView_(std::move(webView)) {}

  /// Sends an error record, which with code 0 says that all went well, beside the value
  /// that was set last.
  void send(VEMOModule module, std::int64_t code, const Text& message) const {
    item_->setMsgError({std::string(moduleText(module)), code, message});
    item_->executeJSCallbackIn(webView_);
  }
  /// The same with `value`.
  void send(VEMOModule module, std::int64_t code, const Text& message,
            boost::json::object value) const {
    item_->setMsgRetval(std::move(value));
    send(module, code, message);
  }
  /// Says instead that memory does not suffice for the answer.
  void sendShortage() const {
    send(VEMOModule::JS, -1, std::string(kOutOfMemoryForAnswer), boost::json::object());
  }

 private:
  std::shared_ptr<VEMOJSMsgItem> item_;
  std::shared_ptr<VEMOWebView> webView_;
};

/// One command on its way: all of its item that a handler touches, which its parameters are
/// no part of. Valid until the handler returns.
class Call {
 public:
  Call(const std::shared_ptr<VEMOJSMsgItem>& item, const std::shared_ptr<VEMOWebView>& webView,
       std::string_view text)
      : paramsText(text), item_(item), webView_(webView) {}

  /// The params as JSON text, written once for all records of the command; "(null)" when
  /// there are none. Empty for a command that leaves no record.
  const std::string_view paramsText;

  /// The native callback that the message asks for; empty when none.
  const std::string& nativecb() const { return item_->nativecb(); }
  /// The memory for a value that this command is answered with.
  boost::json::storage_ptr arena() const { return item_->arena(); }

  void setValue(boost::json::object value) const { item_->setMsgRetval(std::move(value)); }
  void setError(VEMOModule module, std::int64_t code, Text message) const {
    item_->setMsgError({std::string(moduleText(module)), code, std::move(message)});
  }
  /// Keeps the reply out of the log.
  void hideReply() const { item_->setPrintLog(false); }
  /// From now on the command is answered by `answer` alone, not when its handler returns.
  void answerLater() const { item_->setIsAsyncTask(true); }
  Answer answer() const { return {item_, webView_}; }

 protected:
  const boost::json::object* params() const { return item_->params(); }

 private:
  friend struct CommandTable;  // which reads the parameters of rows without a handler

  const std::shared_ptr<VEMOJSMsgItem>& item_;
  const std::shared_ptr<VEMOWebView>& webView_;
};

/// A call with the parameters that its handler lists.
template <class... List>
class Command : public Call {
 public:
  explicit Command(const Call& call) : Call(call) {}

  /// The value of the parameter P, which must be listed; for one that may be missing, an
  /// optional.
  template <class P>
  requires(std::same_as<typename Listed<List>::Of, P> || ...) auto get() const {
    return listed().template get<P>();
  }

  auto missing() const { return listed().missing(); }

 private:
  Params<List...> listed() const { return Params<List...>(params()); }
};

}  // namespace vemo
