#include "Samples.h"

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <string_view>

#include "json/EngineEvents.h"
#include "json/JsonText.h"
#include "webview/ProtocolStage.h"
#include "webview/protocol.h"

namespace vemo::test {
namespace {

using Answered = SampleCommand::Answered;

/// How often a command may be answered that a page sends while all kinds of things happen to it.
Answered answeredBy(const boost::json::object& command) {
  const std::string_view answered = command.at("answered").as_string();
  if (answered == "once") return Answered::once;
  if (answered == "many" || command.contains("answeredAgainWhen")) return Answered::often;
  return command.contains("unansweredWhen") ? Answered::onceAtMost : Answered::onceLater;
}

std::vector<SampleCommand> makeSampleCommands() {
  std::vector<SampleCommand> commands;
  const auto document = protocol();
  for (const auto& value : document.at("commands").as_array()) {
    const auto& command = value.as_object();
    const auto* example = command.if_contains("example");
    const std::string name(command.at("name").as_string());
    commands.push_back({name, answeredBy(command),
                        R"({"head":{"module":"kobu","action":")" + name + R"("},"params":)" +
                            (example && example->is_object() ? jsonText(*example) : "{}") +
                            R"(,"cbid":")",
                        R"("})"});
  }
  return commands;
}

}  // namespace

const std::vector<SampleCommand>& sampleCommands() {
  static const auto commands = makeSampleCommands();
  return commands;
}

const std::vector<SampleEvent>& sampleEvents() {
  static const auto events = [] {
    std::vector<SampleEvent> made;
    for (const auto& [name, sample] : eventSamples()) {
      for (const auto& text : {sample.full, sample.empty}) {
        const auto step = boost::json::parse(text).as_object();
        if (!step.contains("event")) continue;  // the broadcast extension causes it
        const auto* args = step.if_contains("args");
        made.push_back(
            {std::string(name), engineEvent(name, args ? args->as_array() : boost::json::array())});
      }
    }
    return made;
  }();
  return events;
}

}  // namespace vemo::test
