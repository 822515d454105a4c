#include "EventCheck.h"

#include <boost/json/value.hpp>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "ProtocolStage.h"
#include "json/JsonText.h"

namespace vemo::test {
namespace {

namespace json = boost::json;

class EventCheck {
 public:
  EventCheck(const json::object& event, Complain complain)
      : event_(event),
        name_(textIn(event, "name")),
        complain_(std::move(complain)),
        payload_(listIn(event, "payload"),
                 [this](const std::string& what) { complain_("the payload " + what); }) {}

  void run() {
    const auto sample = eventSamples().find(name_);
    if (sample == eventSamples().end()) {
      complain_("nothing causes this event");
      return;
    }
    check(sample->second.full, Prepared::room);
    check(sample->second.full, Prepared::engine);
    check(sample->second.empty, Prepared::engine);
    payload_.finish();
  }

 private:
  void check(std::string_view sample, Prepared prepared) {
    Stage stage(goodWorld(), prepared);
    stage.play(R"({"command":"registCallBacks","params":{"callbacks":[{"sdkcbName":")" + name_ +
               R"(","jsRecvcbName":"page.hear"}]}})");
    stage.play(R"({"listener":"ear"})");
    stage.play(R"({"host":"addKOBUEventListener","args":["ear"]})");
    std::size_t told = 0;
    std::string heard;
    for (const auto& effect : stage.play(sample)) {
      if (effect.at("effect") == "listener") heard += effect.at("op").get_string();
      if (effect.at("effect") != "script" || effect.at("function") != "page.hear") continue;
      ++told;
      const auto& argument = effect.at("argument").as_object();
      if (argument.at("head").at("action") != json::value(name_)) complain_("has another name");
      payload_.compare(argument.at("retval").as_object());
      if (effect.at("needLog") == event_.at("periodic")) {
        complain_("periodic is " + jsonText(event_.at("periodic")) + ", the log says otherwise");
      }
    }
    if (told != 1) complain_("the page is told " + std::to_string(told) + " times");
    if (const auto listener = textIn(event_, "listener"); heard != listener) {
      complain_("listener is " + inQuotes(listener) + ", called is " + inQuotes(heard));
    }
  }

  const json::object& event_;
  const std::string name_;
  const Complain complain_;
  Shape payload_;
};

}  // namespace

void checkEvent(const json::object& event, const Complain& complain) {
  EventCheck(event, complain).run();
}

}  // namespace vemo::test
