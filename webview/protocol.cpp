#include "webview/protocol.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "webview/command_table.h"
#include "webview/events.h"
#include "webview/telling.h"

namespace vemo {
namespace {

namespace json = boost::json;
using telling::addMembers;
using telling::typeName;

std::string_view nameOf(Answered answered) {
  switch (answered) {
    case Answered::once: return "once";
    case Answered::later: return "later";
    case Answered::many: return "many";
  }
  return {};
}

std::string_view nameOf(Guard guard) {
  switch (guard) {
    case Guard::none: return "none";
    case Guard::engine: return "engine";
    case Guard::room: return "room";
  }
  return {};
}

std::string_view nameOf(SilencedBy by) {
  switch (by) {
    case SilencedBy::itself: return "itself";
    case SilencedBy::release: return "uninitSDK";
    case SilencedBy::other: return "other";
  }
  return {};
}

json::object tell(const ResultField& field) {
  auto told = telling::tell(field.words, field.type);
  if (field.mayBeAbsent) told["mayBeAbsent"] = true;
  if (!field.record.empty()) told["record"] = field.record;
  if (field.members) told["members"] = field.members();
  if (!field.orText.empty()) told["orText"] = field.orText;
  return told;
}

json::object tell(const ErrorWords& error) {
  json::object told{{"module", moduleText(error.module)}};
  told["code"] = error.code == 0 ? json::value(nullptr) : json::value(error.code);
  told["text"] = error.text.empty() ? json::value(nullptr) : json::value(error.text);
  told["when"] = error.when;
  return told;
}

std::string inWords(std::span<const Silence> silences) {
  std::string text;
  for (const auto& silence : silences) {
    if (!text.empty()) text += &silence == &silences.back() ? ", or " : ", ";
    text += silence.when;
  }
  return text;
}

/// The parameters with which something is wrong in the same way.
struct BadParameters {
  std::string_view how;
  std::vector<std::string> names;

  std::string text() const {
    std::string text;
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (i > 0) text += i + 1 == names.size() ? " or " : ", ";
      text += '"' + names[i] + '"';
    }
    return text.append(" is ").append(how);
  }
};

/// When parameters fail a command with the error `text`; empty when they don't.
std::string badParameters(std::string_view text, const json::array& params) {
  std::vector<BadParameters> all;
  bool isRecordAlone = true;
  for (const auto& value : params) {
    const auto& param = value.get_object();
    isRecordAlone = isRecordAlone && param.contains("of");
    const auto* onWrongType = param.if_contains("onWrongType");
    if (!onWrongType || *onWrongType != json::value(text)) continue;
    const std::string_view how = !param.contains("onMissing") ? "of another type"
                                 : param.contains("values")   ? "missing or none of its values"
                                 : param.contains("format")   ? "missing or no absolute URL"
                                 : param.contains("nonEmpty") ? "missing, empty or of another type"
                                                              : "missing or of another type";
    if (all.empty() || all.back().how != how) all.push_back({how, {}});
    all.back().names.emplace_back(param.at("name").get_string());
  }
  std::string when;
  for (const auto& bad : all) when.append(when.empty() ? "" : "; ").append(bad.text());
  if (!when.empty() && isRecordAlone) when = "there are no params; " + when;
  return when;
}

/// What the command fails with when it comes without params; empty when it does not.
std::string_view textWithoutParams(const CommandTable::Row& row) {
  if (row.anyOf.count != 0) return row.withoutAny.text;
  if (!row.nothingWithout.empty()) return {};
  return row.action.textWithoutParams(row.badParameter);
}

/// The errors that follow from guard and parameters, then those that the row adds.
json::array errorsOf(const CommandTable::Row& row, const json::array& params) {
  json::array told;
  if (row.guard != Guard::none) {
    told.push_back(tell(error::noEngine));
  }
  if (row.guard == Guard::room) told.push_back(tell(error::noRoom));
  std::vector<std::string> texts;
  for (const auto& param : params) {
    if (const auto* text = param.get_object().if_contains("onWrongType")) {
      texts.emplace_back(text->get_string());
    }
  }
  for (auto text = texts.begin(); text != texts.end(); ++text) {
    if (std::find(texts.begin(), text, *text) != text) continue;  // told already
    told.push_back(tell(ErrorWords{kBadParameter, *text, badParameters(*text, params)}));
  }
  if (row.anyOf.count != 0) {
    std::string when;
    for (const auto name : row.anyOf.all()) {
      when.append(when.empty() ? "neither \"" : " nor \"").append(name).append("\"");
    }
    when += row.anyTrue ? " is true" : " is given";
    auto error = row.withoutAny;
    error.when = when;
    told.push_back(tell(error));
  }
  for (const auto& error : row.errors.all()) told.push_back(tell(error));
  return told;
}

json::object tell(const CommandTable::Row& row) {
  auto params = row.action.parameters(row.badParameter);
  json::object told{{"name", row.name},
                    {"subject", row.subject},
                    {"about", row.about},
                    {"guard", nameOf(row.guard)},
                    {"answered", nameOf(row.answered)}};
  if (row.answeredNativecb) told["answeredWithNativecb"] = nameOf(*row.answeredNativecb);
  if (const auto silences = row.silences.all(); !silences.empty()) {
    told["unansweredWhen"] = inWords(silences);
    auto& each = told["unanswered"].emplace_array();
    for (const auto& [when, by] : silences) each.push_back({{"when", when}, {"by", nameOf(by)}});
  }
  if (const auto flags = row.askedBy.all(); !flags.empty()) {
    told["answersFor"] = json::array(flags.begin(), flags.end());
  }
  if (!row.endedByErrors.empty()) {
    told["endedByErrors"] = json::array(row.endedByErrors.begin(), row.endedByErrors.end());
  }
  if (!row.answeredAgainWhen.empty()) told["answeredAgainWhen"] = row.answeredAgainWhen;
  if (const auto text = textWithoutParams(row); !text.empty()) told["onNoParams"] = text;
  if (row.anyOf.count != 0) {
    const auto names = row.anyOf.all();
    told[row.anyTrue ? "anyTrue" : "anyOf"] = json::array(names.begin(), names.end());
  }
  if (!row.nothingWithout.empty()) told["nothingWithout"] = row.nothingWithout;
  json::array result;
  for (const auto& field : row.result.all()) result.push_back(tell(field));
  auto errors = errorsOf(row, params);
  told["params"] = std::move(params);
  told["result"] = std::move(result);
  told["errors"] = std::move(errors);
  return told;
}

template <class Field>
json::object tellField() {
  using Given = typename Field::Given;
  if constexpr (requires { typename Field::Of; }) {
    auto told = telling::tell(Field::words, typeName<typename Field::Of>());
    addMembers<typename Field::Of>(told);
    told["mayBeAbsent"] = true;
    return told;
  } else {
    auto told = telling::tell(Field::words, typeName<Given>());
    if constexpr (requires { Field::mayBeAbsent; }) told["mayBeAbsent"] = true;
    return told;
  }
}

template <class Event>
json::object tellEvent() {
  json::object told{{"name", Event::words.name},
                    {"subject", Event::subject},
                    {"about", Event::words.about},
                    {"periodic", isPeriodic<Event>}};
  if constexpr (requires { Event::listener; })
    told["listener"] = std::get<ListenerOperation<Event::listener>>(listenerOperations).name;
  json::array payload;
  Event::forEachField([&]<class Field>(const Field&) { payload.push_back(tellField<Field>()); });
  told["payload"] = std::move(payload);
  return told;
}

}  // namespace

boost::json::object protocol() {
  json::array commands;
  for (const auto& row : CommandTable::rows()) commands.push_back(tell(row));
  json::array events;
  AllEvents::forEach([&]<class Event>(const Event&) { events.push_back(tellEvent<Event>()); });
  return {{"commands", std::move(commands)}, {"events", std::move(events)}};
}

}  // namespace vemo
