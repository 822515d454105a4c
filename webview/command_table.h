#pragma once

#include <array>
#include <boost/json/array.hpp>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>

#include "bridge/ActionNames.h"
#include "webview/VEMOKOBUMsgRouter.h"
#include "webview/telling.h"

// The table of the commands: what a row can say, and the two kinds of action behind one.

namespace vemo {

/// When a command is answered.
enum class Answered : std::uint8_t {
  once,   ///< when its handler returns
  later,  ///< once, when the engine, the user or a download has answered
  many    ///< again and again
  // No command is never answered; one that is would be told here.
};

/// What must be there for a command to be more than refused. The frame sees to it before it
/// calls a handler that takes the engine; another one looks for itself.
enum class Guard : std::uint8_t { none, engine, room };

/// What is logged of a command beside its own records, and checked meanwhile.
enum class Logging : std::uint8_t {
  entry,      ///< a record of the call; refused without a web view
  announced,  ///< the same, after a line in the system log
  none        ///< straight to the handler, which can't fail: no record, no web view needed
};

/// A field of a reply's value. `members` tells those of an object, or of a list's elements,
/// and `record` which record of the engine they are.
struct ResultField {
  Words words;
  std::string_view type;
  bool mayBeAbsent = false;
  boost::json::array (*members)() = nullptr;
  std::string_view record = {};
  std::string_view orText = {};  // which stands for the value at times
};

/// How a command comes to stay unanswered, or not answered any more.
enum class SilencedBy : std::uint8_t {
  itself,   ///< by another of the same name
  release,  ///< by "uninitSDK", whatever the engine tells later
  other
};

/// The words follow "when".
struct Silence {
  std::string_view when;
  SilencedBy by = SilencedBy::other;
};

/// At most `Capacity` values, in a table that is made when compiled.
template <class T, std::size_t Capacity>
struct Few {
  std::array<T, Capacity> values{};
  std::size_t count = 0;

  constexpr void add(const T& value) { values.at(count++) = value; }
  constexpr std::span<const T> all() const { return std::span(values).first(count); }
};

struct CommandTable {
  using Router = VEMOKOBUMsgRouter;
  struct Row;

  /// What a row does, and what that takes.
  struct Action {
    Outcome (*run)(Router& router, const Row& row, const Call& call);
    Guard guard;
    boost::json::array (*parameters)(std::string_view rowsText);
    std::string_view (*textWithoutParams)(std::string_view rowsText);
  };

  /// One command. Only what comes first is needed to run it; the rest tells page developers
  /// what they can rely on, and is held by a test that sends every command.
  ///
  /// The frame around the handlers stands in the source once, so the line of its own code
  /// would say nothing of the command. The records that it writes say the row instead, with
  /// a number of their own for a line: the row's line for the call itself, plus one of the numbers
  /// below for each further kind of record.
  struct Row {
   private:  // first, as clang needs it before its constant calls
    template <class Change>
    constexpr Row with(Change change) const {
      Row row = *this;
      change(row);
      return row;
    }

   public:
    static constexpr std::uint_least32_t kNoWebView = 1000;
    static constexpr std::uint_least32_t kNoEngine = 2000;
    static constexpr std::uint_least32_t kNoParameter = 3000;  // and more for the next ones
    static constexpr std::uint_least32_t kNoRoom = 100'000;    // beyond any parameter's

    constexpr Row(std::string_view command, Action whatItDoes,
                  std::string_view textWithoutParameter = {}, Place at = Place::here())
        : name(command),
          action(whatItDoes),
          badParameter(textWithoutParameter),
          place(at),
          guard(whatItDoes.guard) {}

    constexpr Row logged(Logging what) const {
      return with([&](Row& row) { row.logging = what; });
    }
    /// For more than the handler's arguments say: a room; or an engine that the handler itself
    /// looks for.
    constexpr Row guarded(Guard by) const {
      return with([&](Row& row) { row.guard = by; });
    }
    /// The subject, by the stem of the source file that holds it.
    constexpr Row in(std::string_view stem) const {
      return with([&](Row& row) { row.subject = stem; });
    }
    constexpr Row does(std::string_view what) const {
      return with([&](Row& row) { row.about = what; });
    }
    constexpr Row gives(const ResultField& field) const {
      return with([&](Row& row) { row.result.add(field); });
    }
    constexpr Row fails(const ErrorWords& error) const {
      return with([&](Row& row) { row.errors.add(error); });
    }
    /// Fails with `error` unless one of these parameters is given; any will do.
    template <class... P>
    constexpr Row needsOneOf(const ErrorWords& error) const {
      return with([&](Row& row) {
        (row.anyOf.add(P::words.name), ...);
        row.withoutAny = error;
      });
    }
    /// The same of flags: fails with `error` unless one of them is true.
    template <class... P>
    constexpr Row needsOneTrue(const ErrorWords& error) const {
      return needsOneOf<P...>(error).with([](Row& row) { row.anyTrue = true; });
    }
    /// Succeeds without doing anything when this parameter is not given.
    template <class P>
    constexpr Row doesNothingWithout() const {
      return with([](Row& row) { row.nothingWithout = P::words.name; });
    }
    constexpr Row answers(Answered how) const {
      return with([&](Row& row) { row.answered = how; });
    }
    /// For a command that is answered otherwise when its message has a "nativecb".
    constexpr Row answersNativecb(Answered how) const {
      return with([&](Row& row) { row.answeredNativecb = how; });
    }
    constexpr Row unanswered(const Silence& silence) const {
      return with([&](Row& row) { row.silences.add(silence); });
    }
    /// Answers what these flags ask for: nothing when none of them is true.
    template <class... P>
    constexpr Row answersFor() const {
      return with([](Row& row) { (row.askedBy.add(P::words.name), ...); });
    }
    /// For the command that errors of the engine end, each of which answers it.
    constexpr Row endedBy(std::span<const std::int32_t> codes) const {
      return with([&](Row& row) { row.endedByErrors = codes; });
    }
    /// For a command that is answered once as a rule.
    constexpr Row answeredAgain(std::string_view when) const {
      return with([&](Row& row) { row.answeredAgainWhen = when; });
    }

    Place placeOf(std::uint_least32_t record = 0) const {
      return {place.file, place.line + record};
    }

    std::string_view name;
    Action action;
    std::string_view badParameter;
    Place place;
    Guard guard;
    Logging logging = Logging::entry;
    Answered answered = Answered::once;
    std::optional<Answered> answeredNativecb = {};
    std::string_view subject, about, answeredAgainWhen;
    Few<Silence, 5> silences;
    Few<std::string_view, 3> askedBy;
    std::span<const std::int32_t> endedByErrors;
    Few<std::string_view, 2> anyOf;
    bool anyTrue = false;
    ErrorWords withoutAny;
    std::string_view nothingWithout;
    Few<ResultField, 5> result;
    Few<ErrorWords, 3> errors;
  };

  /// All commands, in the order in which they are registered.
  static std::span<const Row> rows();
  /// Their names, in the same order.
  static const ActionNames& names();

  /// Runs a command within its frame.
  static void run(Router& router, const Row& row, const std::shared_ptr<VEMOJSMsgItem>& item,
                  const std::shared_ptr<VEMOWebView>& webView);

 private:
  template <auto Handler>
  struct HandlerOf;
  template <auto Operation, class... List>
  static Outcome callEngine(Router& router, const Row& row, const Call& call);

  /// Calls a handler. One that takes the engine is called only when there is one, and any
  /// only when its required parameters are there.
  template <auto Handler>
  static constexpr Action call = HandlerOf<Handler>::action;

  /// Reads the parameters listed and makes one call of the engine, or of a manager of it.
  template <auto Operation, class... List>
  static constexpr Action engine{&callEngine<Operation, List...>, Guard::engine,
                                 &telling::parameters<List...>,
                                 &telling::textWithoutParams<List...>};

  static void failed(Router& router, const Row& row, const Call& call, const Failure& failure);

  /// Why a command may not run, if it may not: an engine is what it needs at least.
  static Outcome guard(const Router& router, const Row& row, const KOBUCloud* engine) {
    if (!engine) return fail(error::noEngine, row.placeOf(Row::kNoEngine));
    if (row.guard == Guard::room && !router.room_.entered) {
      return fail(error::noRoom, row.placeOf(Row::kNoRoom));
    }
    return success;
  }
  template <class Missing>
  static Failure noParameter(const Row& row, const Missing& missing) {
    const auto record =
        Row::kNoParameter + 1000 * static_cast<std::uint_least32_t>(missing.position);
    return paramError(missing.text.empty() ? row.badParameter : missing.text, row.placeOf(record));
  }

  static KOBUCloud& ownerOf(KOBUCloud& engine, KOBUCloud*) { return engine; }
  static PWAudioEffectManager& ownerOf(KOBUCloud& engine, PWAudioEffectManager*) {
    return engine.getAudioEffectManager();
  }
  static KOBUDeviceManager& ownerOf(KOBUCloud& engine, KOBUDeviceManager*) {
    return engine.getDeviceManager();
  }
  template <class Owner, class Result, class... Args>
  static Owner* ownerType(Result (Owner::*)(Args...)) {
    return nullptr;
  }

  /// As what an operation takes a T: a text as a copy, all else as it is.
  template <class T>
  using Argument =
      std::conditional_t<std::same_as<std::remove_cvref_t<T>, std::string_view>, std::string, T>;
};

template <auto Operation, class... List>
Outcome CommandTable::callEngine(Router& router, const Row& row, const Call& call) {
  const auto engine = router.sharedKOBU_.load();
  if (auto refused = guard(router, row, engine.get())) return refused;
  // Read once: for a record that is most of the work.
  const auto values = Params<List...>(call.params()).taken();
  if (const auto missing = Params<List...>::missingIn(values)) return noParameter(row, *missing);
  auto& owner = ownerOf(*engine, ownerType(Operation));
  std::apply(
      [&](const auto&... value) {
        (owner.*Operation)(static_cast<Argument<decltype(*value)>>(*value)...);
      },
      values);
  return success;
}

template <class... List, Outcome (VEMOKOBUMsgRouter::*Handler)(KOBUCloud&, const Command<List...>&)>
struct CommandTable::HandlerOf<Handler> {
  static Outcome run(Router& router, const Row& row, const Call& call) {
    const auto engine = router.sharedKOBU_.load();
    if (auto refused = guard(router, row, engine.get())) return refused;
    const Command<List...> command(call);
    if (const auto missing = command.missing()) return noParameter(row, *missing);
    return (router.*Handler)(*engine, command);
  }
  static constexpr Action action{&run, Guard::engine, &telling::parameters<List...>,
                                 &telling::textWithoutParams<List...>};
};

template <class... List, Outcome (VEMOKOBUMsgRouter::*Handler)(const Command<List...>&)>
struct CommandTable::HandlerOf<Handler> {
  static Outcome run(Router& router, const Row& row, const Call& call) {
    const Command<List...> command(call);
    if (const auto missing = command.missing()) return noParameter(row, *missing);
    return (router.*Handler)(command);
  }
  static constexpr Action action{&run, Guard::none, &telling::parameters<List...>,
                                 &telling::textWithoutParams<List...>};
};

}  // namespace vemo
